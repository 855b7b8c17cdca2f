#pragma once
// The shell run the two ways a test needs it: a Shell in the test process
// (statements, meta-commands, catalog), and the tessera-sql program in a child
// process (options, exit status, standard streams). Both capture what was
// printed. Test targets define TESSERA_PLUGIN_DIR (the build's plug-in folder)
// and, to run the program, TESSERA_SQL_PROGRAM.

#include "tests/support/EngineApplication.h"
#include "tools/tessera-sql/Shell.h"

#include <QProcess>
#include <QProcessEnvironment>
#include <QRegularExpression>
#include <QTextStream>
#include <gtest/gtest.h>

namespace tessera::test {

// What a script printed, and whether all of it ran without error.
struct ShellOutcome {
    bool ok = false;
    QString out;
    QString err;
};

inline ShellOutcome runScript(shell::Shell& shell, const QString& script)
{
    ShellOutcome o;
    QTextStream out(&o.out), err(&o.err);
    o.ok = shell.runScript(script, out, err);
    out.flush();
    err.flush();
    return o;
}

// `actual` is `pattern`, where "…" stands for any text.
inline bool matchesPattern(const QString& actual, const QString& pattern)
{
    QStringList parts = pattern.split(QChar(0x2026));
    for (QString& part : parts)
        part = QRegularExpression::escape(part);
    const QRegularExpression re(QLatin1Char('^') + parts.join(QLatin1String(".*")) + QLatin1Char('$'),
                                QRegularExpression::DotMatchesEverythingOption);
    return re.match(actual).hasMatch();
}

// The build's plug-ins, CSV output (one line per row, easy to compare).
inline shell::ShellOptions csvOptions()
{
    shell::ShellOptions options;
    options.format = shell::OutputFormat::Csv;
    options.pluginPaths << QStringLiteral(TESSERA_PLUGIN_DIR);
    return options;
}

// One shell for a test suite (a process has one engine, hence one shell at a
// time); every test starts with csvOptions().
class ShellFixture : public ::testing::Test {
protected:
    static void SetUpTestSuite() { shell = new shell::Shell(csvOptions()); }
    static void TearDownTestSuite()
    {
        delete shell;
        shell = nullptr;
    }
    void SetUp() override { shell->setOptions(csvOptions()); }

    static ShellOutcome run(const QString& script) { return runScript(*shell, script); }
    // The rows of a query's output, after its header line.
    static QString rows(const QString& query)
    {
        const ShellOutcome o = run(query);
        EXPECT_TRUE(o.ok) << query.toStdString() << ": " << o.err.toStdString();
        return o.out.section(QLatin1Char('\n'), 1);
    }
    // Runs `script` as SQLite SQL, untranslated (a test's own tables).
    static void runRaw(const QString& script)
    {
        shell::ShellOptions raw = csvOptions();
        raw.raw = true;
        shell->setOptions(raw);
        const ShellOutcome o = run(script);
        EXPECT_TRUE(o.ok) << o.err.toStdString();
        shell->setOptions(csvOptions());
    }

    static inline shell::Shell* shell = nullptr;
};

#ifdef TESSERA_SQL_PROGRAM
struct ProgramRun {
    int status = -1;   // -1: crashed or did not finish
    QByteArray out;
    QByteArray err;
};

// tessera-sql with `arguments`, `input` on its standard input and
// `environment` ("NAME=value") added to the test's own.
inline ProgramRun runProgram(const QStringList& arguments, const QByteArray& input = {}, const QStringList& environment = {})
{
    QProcess process;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    for (const QString& assignment : environment)
        env.insert(assignment.section(QLatin1Char('='), 0, 0), assignment.section(QLatin1Char('='), 1));
    process.setProcessEnvironment(env);
    process.start(QStringLiteral(TESSERA_SQL_PROGRAM), arguments);
    process.write(input);
    process.closeWriteChannel();
    const bool finished = process.waitForFinished(60000);
    ProgramRun run;
    run.status = finished && process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    run.out = process.readAllStandardOutput();
    run.err = process.readAllStandardError();
    return run;
}
#endif

} // namespace tessera::test
