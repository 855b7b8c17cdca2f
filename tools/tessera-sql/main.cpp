// tessera-sql: runs dialect queries on the engine from the command line.

#include "tools/tessera-sql/CellAbbreviation.h"
#include "tools/tessera-sql/InputLoop.h"
#include "tools/tessera-sql/InterruptHandler.h"
#include "tools/tessera-sql/LineEditor.h"
#include "tools/tessera-sql/MetaCommands.h"
#include "tools/tessera-sql/Shell.h"
#include "tools/tessera-sql/Translations.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QTextStream>
#include <cstdio>
#include <exception>
#include <iostream>

#ifdef _WIN32
#include <io.h>
#define isatty _isatty
#define fileno _fileno
#else
#include <unistd.h>
#endif

using namespace tessera::shell;

namespace {

bool readFile(const QString& path, QString& text, QTextStream& err)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        err << "error: cannot read " << path << ": " << file.errorString() << '\n';
        return false;
    }
    // With its size: Qt's plain overload stops at a NUL byte, which would
    // cut the script short without a word (runScript refuses such a script).
    const QByteArray data = file.readAll();
    text = QString::fromUtf8(data.constData(), data.size());
    return true;
}

// Bad usage: the reason and a pointer to --help, then ExitUsage.
int usageError(QTextStream& err, const QString& reason)
{
    err << "error: " << reason << "\nTry 'tessera-sql --help'.\n";
    return ExitUsage;
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("tessera-sql"));
    QCoreApplication::setApplicationVersion(QStringLiteral("0.1"));
    installTranslations();

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Runs queries of the GIS SQL dialect on the Tessera engine.\n"
        "Statements come from -c, from FILE, or from standard input; ';' separates them.\n"
        "Standard input runs each statement as soon as its ';' arrives; on a terminal the\n"
        "shell edits lines and keeps a history in ~/.tessera_sql_history, Ctrl-C cancels\n"
        "the running statement and Ctrl-D or .quit leaves.\n\n"
        "Exit status: 0 every statement ran; 1 a statement failed or a file could not be\n"
        "read; 2 bad options; 130 interrupted by Ctrl-C outside interactive use.\n\n"
        "Example: tessera-sql -o countries.geojson -c 'Select name, Area(obj, \"sq km\") From countries'\n\n"
        "A line that starts with '.' is a meta-command:\n") + metaCommandHelp());
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption commandOption({QStringLiteral("c"), QStringLiteral("command")},
        QStringLiteral("Run QUERY (may be given several times)."), QStringLiteral("QUERY"));
    const QCommandLineOption openOption({QStringLiteral("o"), QStringLiteral("open")},
        QStringLiteral("Open a GIS source as a table, served live; NAME defaults to the file's base name. "
                       "PATH may name a layer (file.gpkg:roads) or be a connection string (PG:...)."), QStringLiteral("PATH[=NAME]"));
    const QCommandLineOption openOptionOption(QStringLiteral("open-option"),
        QStringLiteral("GDAL open option for the sources of --open (may be given several times)."), QStringLiteral("KEY=VALUE"));
    const QCommandLineOption formatOption(QStringLiteral("format"),
        QStringLiteral("Output format: table (default), csv, json or geojson (a FeatureCollection)."), QStringLiteral("FORMAT"), QStringLiteral("table"));
    const QCommandLineOption translateOption(QStringLiteral("translate"),
        QStringLiteral("Print the SQLite translation instead of running the query."));
    const QCommandLineOption rawOption(QStringLiteral("raw"),
        QStringLiteral("Run the text as SQLite SQL, without translation."));
    const QCommandLineOption verboseOption(QStringLiteral("verbose"),
        QStringLiteral("Show the engine's debug and info log on standard error."));
    const QCommandLineOption noHeaderOption(QStringLiteral("no-header"),
        QStringLiteral("Print rows without the column headers (table and csv)."));
    const QCommandLineOption bailOption(QStringLiteral("bail"),
        QStringLiteral("Stop at the first failing statement (by default a script goes on)."));
    const QCommandLineOption fullOption(QStringLiteral("full"),
        QStringLiteral("Show geometries whole in table output (by default cut to the terminal's width)."));
    const QCommandLineOption outputOption(QStringLiteral("output"),
        QStringLiteral("Write query results to the GIS file PATH through GDAL (GeoPackage, GeoJSON, Shapefile, "
                       "FlatGeobuf, CSV with WKT, ...; the driver follows the extension)."), QStringLiteral("PATH"));
    const QCommandLineOption outputDriverOption(QStringLiteral("output-driver"),
        QStringLiteral("GDAL driver for --output (e.g. GPKG, GeoJSON, \"ESRI Shapefile\", FlatGeobuf, CSV)."), QStringLiteral("NAME"));
    const QCommandLineOption pluginOption(QStringLiteral("plugin"),
        QStringLiteral("Load the plug-in at PATH (a file or a folder of plug-ins) besides those of the plug-in folder."),
        QStringLiteral("PATH"));
    parser.addOptions({commandOption, openOption, openOptionOption, formatOption, translateOption, rawOption, verboseOption,
                       noHeaderOption, bailOption, fullOption, outputOption, outputDriverOption, pluginOption});
    parser.addPositionalArgument(QStringLiteral("FILE"), QStringLiteral("Script of statements to run."), QStringLiteral("[FILE]"));
    // Bad options exit with ExitUsage (QCommandLineParser::process would use 1).
    if (!parser.parse(QCoreApplication::arguments())) {
        QTextStream err(stderr);
        return usageError(err, parser.errorText());
    }
    if (parser.isSet(QStringLiteral("help")))
        parser.showHelp(ExitSuccess);
    if (parser.isSet(QStringLiteral("version")))
        parser.showVersion();
    // The engine logs through Qt's categories; a shell shows only warnings
    // unless asked, so that standard error carries the user's errors.
    if (!parser.isSet(verboseOption))
        QLoggingCategory::setFilterRules(QStringLiteral("tessera.*.debug=false\ntessera.*.info=false"));

    QTextStream out(stdout);
    QTextStream err(stderr);
    out.setCodec("UTF-8");
    err.setCodec("UTF-8");

    ShellOptions options;
    // GeoJSON is a GIS file written to standard output.
    const bool geojson = parser.value(formatOption).compare(QLatin1String("geojson"), Qt::CaseInsensitive) == 0;
    if (!geojson && !parseOutputFormat(parser.value(formatOption), options.format))
        return usageError(err, QStringLiteral("unknown output format '%1' (use table, csv, json or geojson)").arg(parser.value(formatOption)));
    options.translateOnly = parser.isSet(translateOption);
    options.raw = parser.isSet(rawOption);
    options.headers = !parser.isSet(noHeaderOption);
    options.bail = parser.isSet(bailOption);
    options.width = parser.isSet(fullOption) ? 0 : terminalWidth();
    options.progress = isatty(fileno(stderr));
    options.gisOutput = geojson ? QStringLiteral("/vsistdout/") : parser.value(outputOption);
    options.gisDriver = geojson ? QStringLiteral("GeoJSON") : parser.value(outputDriverOption);
    if (options.raw && options.translateOnly)
        return usageError(err, QStringLiteral("--raw and --translate exclude each other"));
    if (parser.positionalArguments().size() > 1)
        return usageError(err, QStringLiteral("at most one script file"));

    options.pluginPaths = parser.values(pluginOption);

    try {
        Shell shell(options);
        // The shell goes on without a plug-in that failed.
        for (const auto& failure : shell.pluginFailures())
            err << "warning: plug-in " << failure.name << " not loaded: " << failure.error << '\n';
        err.flush();
        for (const QString& opening : parser.values(openOption)) {
            const int eq = opening.lastIndexOf('=');
            const QString path = eq > 0 ? opening.left(eq) : opening;
            const QString name = eq > 0 ? opening.mid(eq + 1) : QString();
            QString error;
            if (!shell.openFile(path, name, parser.values(openOptionOption), error)) {
                err << "error: " << error << '\n';
                return ExitFailure;
            }
            if (!error.isEmpty())
                err << "warning: " << error << '\n';
        }
        err.flush();

        InterruptHandler interrupts([&shell] { shell.cancelQuery(); });
        InputLoop loop(shell, interrupts, out, err);
        const QStringList commands = parser.values(commandOption);
        for (const QString& command : commands)
            if (!loop.runText(command))
                return loop.status();

        if (!parser.positionalArguments().isEmpty()) {
            QString script;
            if (!readFile(parser.positionalArguments().front(), script, err))
                return ExitFailure;
            loop.runText(script);
            return loop.status();
        }
        if (!commands.isEmpty())
            return loop.status();

        if (isatty(fileno(stdin))) {
            LineEditor editor(LineEditor::defaultHistoryPath());
            loop.runInteractive(editor);
        } else {
            // Standard input keeps a buffer of its own, so that the loop sees
            // what has already arrived (in_avail) beyond the line it reads.
            std::ios::sync_with_stdio(false);
            loop.runStream(std::cin);
        }
        return loop.status();
    } catch (const std::exception& e) {
        err << "error: " << QString::fromUtf8(e.what()) << '\n';
        return ExitFailure;
    }
}
