// tessera-sql: runs dialect queries on the engine from the command line.

#include "platform/cs/CoordSystem.h"
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
    // Every option says what it does and shows one use.
    const auto describe = [](const char* what, const char* example) {
        return QString::fromUtf8(what) + QStringLiteral("\nExample: ") + QString::fromUtf8(example);
    };
    const QCommandLineOption commandOption({QStringLiteral("c"), QStringLiteral("command")},
        describe("Run QUERY (may be given several times).", "tessera-sql -c 'Select 7 \\ 2'"), QStringLiteral("QUERY"));
    const QCommandLineOption openOption({QStringLiteral("o"), QStringLiteral("open")},
        describe("Open a GIS source as a table, served live; NAME defaults to the file's base name. "
                 "PATH may name a layer (file.gpkg:roads) or be a connection string (PG:...).",
                 "tessera-sql --open tests/data/countries.geojson=c -c 'Select Count(*) From c'"), QStringLiteral("PATH[=NAME]"));
    const QCommandLineOption openOptionOption(QStringLiteral("open-option"),
        describe("GDAL open option for the sources of --open (may be given several times).",
                 "tessera-sql --open points.csv --open-option GEOM_POSSIBLE_NAMES=wkt"), QStringLiteral("KEY=VALUE"));
    const QCommandLineOption srsOption(QStringLiteral("srs"),
        describe("Coordinate system of the opened sources that name none (a CSV with WKT, ...): EPSG:code, "
                 "a PROJ string or WKT. Without it their geometries have no coordinate system, and the earth "
                 "models read them as WGS84 longitude and latitude (with a warning).",
                 "tessera-sql --srs EPSG:3857 --open sites.csv -c 'Select SphericalArea(obj, \"sq km\") From sites'"),
        QStringLiteral("CODE"));
    const QCommandLineOption formatOption(QStringLiteral("format"),
        describe("Output format: table (default), csv, json or geojson (a FeatureCollection).", "tessera-sql --format csv -c 'Select 1 As one'"),
        QStringLiteral("FORMAT"), QStringLiteral("table"));
    const QCommandLineOption translateOption(QStringLiteral("translate"),
        describe("Print the SQLite translation instead of running the query.", "tessera-sql --translate -c 'Select 7 \\ 2'"));
    const QCommandLineOption rawOption(QStringLiteral("raw"),
        describe("Run the text as SQLite SQL, without translation.", "tessera-sql --raw -c 'Select sqlite_version()'"));
    const QCommandLineOption verboseOption(QStringLiteral("verbose"),
        describe("Show the engine's debug and info log on standard error.", "tessera-sql --verbose -c 'Select 1'"));
    const QCommandLineOption noHeaderOption(QStringLiteral("no-header"),
        describe("Print rows without the column headers (table and csv).", "tessera-sql --no-header --format csv -c 'Select 1'"));
    const QCommandLineOption bailOption(QStringLiteral("bail"),
        describe("Stop at the first failing statement (by default a script goes on).", "tessera-sql --bail script.sql"));
    const QCommandLineOption fullOption(QStringLiteral("full"),
        describe("Show geometries whole in table output (by default cut to the terminal's width).",
                 "tessera-sql --full --open tests/data/countries.geojson -c 'Select obj From countries Limit 1'"));
    const QCommandLineOption outputOption(QStringLiteral("output"),
        describe("Write query results to the GIS file PATH through GDAL (GeoPackage, GeoJSON, Shapefile, "
                 "FlatGeobuf, CSV with WKT, ...; the driver follows the extension); an image file name "
                 "(.png, .jpg, .bmp) draws the result's geometries as a map instead (see --plot-label, --plot-size).",
                 "tessera-sql --open tests/data/countries.geojson --output europe.png -c 'Select obj From countries Where continent = \"Europe\"'"),
        QStringLiteral("PATH"));
    const QCommandLineOption outputDriverOption(QStringLiteral("output-driver"),
        describe("GDAL driver for --output (e.g. GPKG, GeoJSON, \"ESRI Shapefile\", FlatGeobuf, CSV).",
                 "tessera-sql --output result.dat --output-driver GPKG -c 'Select 1 As one'"),
        QStringLiteral("NAME"));
    const QCommandLineOption plotLabelOption(QStringLiteral("plot-label"),
        describe("Label each geometry of a map drawn with --output PATH.png with the text of this column.",
                 "tessera-sql --output map.png --plot-label name --open tests/data/countries.geojson -c 'Select name, obj From countries'"),
        QStringLiteral("COLUMN"));
    const QCommandLineOption plotSizeOption(QStringLiteral("plot-size"),
        describe("Size in pixels of a map drawn with --output PATH.png (default 800x600).",
                 "tessera-sql --output map.png --plot-size 1600x1200 --open tests/data/countries.geojson -c 'Select obj From countries'"),
        QStringLiteral("WIDTHxHEIGHT"));
    const QCommandLineOption pluginOption(QStringLiteral("plugin"),
        describe("Load the plug-in at PATH (a file or a folder of plug-ins) besides those of the plug-in folder.",
                 "tessera-sql --plugin build-example/series_plugin.so -c '.plugins'"),
        QStringLiteral("PATH"));
    const QCommandLineOption helpOption({QStringLiteral("h"), QStringLiteral("help"), QStringLiteral("?")},
        describe("Show this help: every option and meta-command, each with an example.", "tessera-sql --help | less"));
    QCommandLineOption helpAllOption(QStringLiteral("help-all"), QStringLiteral("The same help."));
    helpAllOption.setFlags(QCommandLineOption::HiddenFromHelp);
    const QCommandLineOption versionOption({QStringLiteral("v"), QStringLiteral("version")},
        describe("Show the version.", "tessera-sql --version"));
    parser.addOptions({helpOption, helpAllOption, versionOption, commandOption, openOption, openOptionOption, srsOption,
                       formatOption, translateOption, rawOption, verboseOption, noHeaderOption, bailOption, fullOption,
                       outputOption, outputDriverOption, plotLabelOption, plotSizeOption, pluginOption});
    parser.addPositionalArgument(QStringLiteral("FILE"), QStringLiteral("Script of statements to run."), QStringLiteral("[FILE]"));
    // Bad options exit with ExitUsage (QCommandLineParser::process would use 1).
    if (!parser.parse(QCoreApplication::arguments())) {
        QTextStream err(stderr);
        return usageError(err, parser.errorText());
    }
    if (parser.isSet(helpOption) || parser.isSet(helpAllOption))
        parser.showHelp(ExitSuccess);
    if (parser.isSet(versionOption))
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

    options.plot.labelColumn = parser.value(plotLabelOption);
    if (parser.isSet(plotSizeOption) && !parsePlotSize(parser.value(plotSizeOption), options.plot.size))
        return usageError(err, QStringLiteral("--plot-size takes WIDTHxHEIGHT, each side from %1 to %2 pixels, not '%3'")
                                   .arg(plotMinimumSide).arg(plotMaximumSide).arg(parser.value(plotSizeOption)));
    options.srs = parser.value(srsOption);
    if (!options.srs.isEmpty() && !tessera::cs::CoordSysFactory::defaultCoordSysFactory()->createFromTaggedString(options.srs))
        return usageError(err, QStringLiteral("--srs: '%1' is not a coordinate system (use EPSG:code, a PROJ string or WKT)").arg(options.srs));
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
