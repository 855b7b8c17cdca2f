// tessera-sql: runs dialect queries on the engine from the command line.

#include "tools/tessera-sql/MetaCommands.h"
#include "tools/tessera-sql/Shell.h"
#include "tools/tessera-sql/StatementSplitter.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QTextStream>
#include <cstdio>
#include <exception>
#include <unistd.h>

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

// Reads statements from an interactive terminal, running each at its ';'.
bool interactive(Shell& shell, QTextStream& in, QTextStream& out, QTextStream& err)
{
    QString pending;
    bool ok = true;
    for (;;) {
        out << (pending.isEmpty() ? "tessera> " : "    ...> ");
        out.flush();
        const QString line = in.readLine();
        if (line.isNull())
            break;
        if (pending.isEmpty() && isMetaCommand(line)) {
            ok = shell.runScript(line, out, err) && ok;
            continue;
        }
        pending += line + '\n';
        // Run what is complete; keep an unfinished tail for the next line.
        const int end = pending.lastIndexOf(';');
        if (end < 0)
            continue;
        const QStringList statements = splitStatements(pending.left(end + 1));
        pending = pending.mid(end + 1).trimmed();
        for (const QString& s : statements)
            ok = shell.runStatement(s, out, err) && ok;
    }
    if (!pending.trimmed().isEmpty())
        ok = shell.runScript(pending, out, err) && ok;
    return ok;
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("tessera-sql"));
    QCoreApplication::setApplicationVersion(QStringLiteral("0.1"));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "Runs queries of the GIS SQL dialect on the Tessera engine.\n"
        "Statements come from -c, from FILE, or from standard input; ';' separates them.\n"
        "A line that starts with '.' is a meta-command (.help lists them)."));
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
        QStringLiteral("Output format: table (default), csv or json."), QStringLiteral("FORMAT"), QStringLiteral("table"));
    const QCommandLineOption translateOption(QStringLiteral("translate"),
        QStringLiteral("Print the SQLite translation instead of running the query."));
    const QCommandLineOption rawOption(QStringLiteral("raw"),
        QStringLiteral("Run the text as SQLite SQL, without translation."));
    const QCommandLineOption verboseOption(QStringLiteral("verbose"),
        QStringLiteral("Show the engine's debug and info log on standard error."));
    const QCommandLineOption pluginOption(QStringLiteral("plugin"),
        QStringLiteral("Load the plug-in at PATH (a file or a folder of plug-ins) besides those of the plug-in folder."),
        QStringLiteral("PATH"));
    parser.addOptions({commandOption, openOption, openOptionOption, formatOption, translateOption, rawOption, verboseOption, pluginOption});
    parser.addPositionalArgument(QStringLiteral("FILE"), QStringLiteral("Script of statements to run."), QStringLiteral("[FILE]"));
    parser.process(app);
    // The engine logs through Qt's categories; a shell shows only warnings
    // unless asked, so that standard error carries the user's errors.
    if (!parser.isSet(verboseOption))
        QLoggingCategory::setFilterRules(QStringLiteral("tessera.*.debug=false\ntessera.*.info=false"));

    QTextStream out(stdout);
    QTextStream err(stderr);
    out.setCodec("UTF-8");
    err.setCodec("UTF-8");

    ShellOptions options;
    if (!parseOutputFormat(parser.value(formatOption), options.format)) {
        err << "error: unknown output format '" << parser.value(formatOption) << "' (use table, csv or json)\n";
        return 2;
    }
    options.translateOnly = parser.isSet(translateOption);
    options.raw = parser.isSet(rawOption);
    if (options.raw && options.translateOnly) {
        err << "error: --raw and --translate exclude each other\n";
        return 2;
    }
    if (parser.positionalArguments().size() > 1) {
        err << "error: at most one script file\n";
        return 2;
    }

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
                return 1;
            }
        }

        bool ok = true;
        const QStringList commands = parser.values(commandOption);
        for (const QString& command : commands)
            ok = ok && shell.runScript(command, out, err);
        if (!ok)
            return 1;

        if (!parser.positionalArguments().isEmpty()) {
            QString script;
            if (!readFile(parser.positionalArguments().front(), script, err))
                return 1;
            return shell.runScript(script, out, err) ? 0 : 1;
        }
        if (!commands.isEmpty())
            return 0;

        QTextStream in(stdin);
        in.setCodec("UTF-8");
        if (isatty(fileno(stdin)))
            return interactive(shell, in, out, err) ? 0 : 1;
        return shell.runScript(in.readAll(), out, err) ? 0 : 1;
    } catch (const std::exception& e) {
        err << "error: " << QString::fromUtf8(e.what()) << '\n';
        return 1;
    }
}
