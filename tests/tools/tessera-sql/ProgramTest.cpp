// tessera-sql as a user runs it: options, exit status, standard streams,
// plug-ins, locale, Ctrl-C, the interactive terminal and results written as
// GIS files.

#include "platform/cs/CoordSystem.h"
#include "platform/dp/FeatureCursor.h"
#include "platform/dp/MemoryTable.h"
#include "platform/geometry/Geometry.h"
#include "providers/gdal/GdalTableReader.h"
#include "tests/support/ShellRunner.h"

#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QThread>

namespace tessera::test {
namespace {

const QString countries = QStringLiteral(TESSERA_TEST_DATA "/countries.geojson");

TEST(TesseraSqlProgram, OptionsStreamsAndExitStatus)
{
    // A NUL byte is an error, in a file as on standard input, and nothing runs.
    const QByteArray withNul("Select 1 As a;\nSelect 2\0 As b;\nSelect 3 As c;\n", 46);
    QTemporaryDir dir;
    QFile nulScript(dir.filePath(QStringLiteral("nul.sql")));
    ASSERT_TRUE(nulScript.open(QIODevice::WriteOnly));
    nulScript.write(withNul);
    nulScript.close();
    const QStringList csv{QStringLiteral("--format"), QStringLiteral("csv")};
    const QString select = QStringLiteral("Select Proper(\"ab cd\") As t");

    const struct {
        const char* name;
        QStringList arguments;
        QByteArray input;
        QStringList environment;
        int status;
        const char* out;   // "…" stands for any text
        const char* err;   // a part of standard error
    } rows[] = {
        {"json", {"--format", "json", "-c", "Select Proper(\"hello world\") As t"}, {}, {}, 0, "[\n {\"t\": \"Hello World\"}\n]\n", ""},
        {"syntax error", {"-c", "Select (1"}, {}, {}, 1, "", "error: "},
        {"statements from standard input, one per ';'", csv, "Select 1 As a;\nSelect \"x;y\" As b;\n", {}, 0, "a\n1\nb\nx;y\n", ""},
        {"a failing statement does not stop the script", csv, "Select 1 As a;\nSelect Frob(1);\nSelect 2 As b;\n", {}, 1, "a\n1\nb\n2\n",
         "error: line 2, column 8: unknown or disallowed function: Frob"},
        {"--bail stops there", csv + QStringList{"--bail"}, "Select 1 As a;\nSelect Frob(1);\nSelect 2 As b;\n", {}, 1, "a\n1\n", "line 2"},
        {"pipes keep going after an unfinished statement", csv, "Select 1 As a; Select", {}, 1, "a\n1\n", "line 1, column 22"},
        {"NUL on standard input", {}, withNul, {}, 1, "", "line 2, column 9: NUL character"},
        {"NUL in a script file", {nulScript.fileName()}, {}, {}, 1, "", "line 2, column 9: NUL character"},
        {"missing script", {"/nonexistent/script.sql"}, {}, {}, 1, "", "cannot read"},
        {"--no-header", csv + QStringList{"--no-header", "-c", "Select 1 As a, \"x\" As b"}, {}, {}, 0, "1,x\n", ""},
        {"--no-header in a table", {"--no-header", "-c", "Select 7 As a"}, {}, {}, 0, "7\n(1 row)\n", ""},
        {"unknown option", {"--bogus"}, {}, {}, 2, "", "Unknown option 'bogus'"},
        {"unknown format", {"--format", "xml", "-c", "Select 1"}, {}, {}, 2, "", "unknown output format"},
        {"GDAL's reason instead of 'unknown error'", {"-o", TESSERA_TEST_DATA "/README.md", "-c", "Select 1"}, {}, {}, 1, "",
         "not recognized as a supported file format"},
        {"meta-command in -c", {"-c", ".operators"}, {}, {}, 0, "1\n2\n3\n…", ""},
        {"meta-commands from standard input", {}, ".mode csv\n.headers off\nSelect 1;\n", {}, 0, "1\n", ""},
        {".exit leaves, the rest is not run", csv, "Select 1 As a;\n.exit\nSelect 2 As b;\n", {}, 0, "a\n1\n", ""},
        {".quit in -c", csv + QStringList{"-c", ".quit", "-c", "Select 1"}, {}, {}, 0, "", ""},
        {"index store without a writable folder", {"--open", countries, "-c", ".index countries name"}, {}, {"TMPDIR=/dev/null"}, 1, "",
         "error: cannot make an index store for table countries: "},
        {"English texts", {"-c", "Select ("}, {}, {"LC_ALL=en_US.UTF-8"}, 1, "", "check that the expressions in the query are correct"},
        {"English texts in the C locale", {"-c", "Select ("}, {}, {"LC_ALL=C"}, 1, "", "check that the expressions in the query are correct"},
        {"Russian texts", {"-c", "Select ("}, {}, {"LC_ALL=ru_RU.UTF-8"}, 1, "", "проверьте корректность выражений в запросе"},
        // The engine before the modules that need it, the functions before the
        // tables (which answer their spatial predicates).
        // gdal is loaded when first needed (here by .plugins itself), so it comes last.
        {"plug-ins with versions", csv + QStringList{"-c", ".plugins"}, {}, {}, 0,
         "name,version,file\nengine,0.1.0,…\nfunctions,0.1.0,…\ntables,0.1.0,…\ngdal,0.1.0,…\n", ""},
        {"a missing plug-in is skipped", csv + QStringList{"--plugin", "/nonexistent/extra.so", "-c", select}, {}, {}, 0, "t\nAb Cd\n",
         "warning: plug-in extra not loaded: file not found\n"},
        {"not a plug-in", csv + QStringList{"--plugin", TESSERA_SQL_PROGRAM, "-c", select}, {}, {}, 0, "t\nAb Cd\n",
         "warning: plug-in tessera-sql not loaded: not a plug-in: "},
    };
    for (const auto& row : rows) {
        const ProgramRun run = runProgram(row.arguments, row.input, row.environment);
        EXPECT_EQ(run.status, row.status) << row.name << ": " << run.err.toStdString();
        EXPECT_TRUE(matchesPattern(QString::fromUtf8(run.out), QString::fromUtf8(row.out))) << row.name << ": " << run.out.toStdString();
        EXPECT_TRUE(QString::fromUtf8(run.err).contains(QString::fromUtf8(row.err))) << row.name << ": " << run.err.toStdString();
        if (!*row.err) {
            EXPECT_EQ(run.err, QByteArray()) << row.name;
        }
        EXPECT_FALSE(run.err.contains("ERROR 4")) << row.name << ": GDAL printed beside the shell";
    }
}

// Reads the process's standard output until it holds `text`.
QByteArray readUntil(QProcess& process, const QByteArray& text)
{
    QByteArray out;
    QElapsedTimer timer;
    timer.start();
    while (!out.contains(text) && timer.elapsed() < 30000) {
        process.waitForReadyRead(500);
        out += process.readAllStandardOutput();
    }
    return out;
}

TEST(TesseraSqlProgram, StandardInputRunsEachStatementAsItArrives)
{
    QProcess process;
    process.start(QStringLiteral(TESSERA_SQL_PROGRAM), {QStringLiteral("--format"), QStringLiteral("csv")});
    ASSERT_TRUE(process.waitForStarted(10000));
    process.write("Select 41 + 1 As answer;\n");
    // The answer comes while standard input is still open.
    EXPECT_EQ(readUntil(process, "42\n"), QByteArray("answer\n42\n"));
    process.write("Select 2 As b;\n");
    process.closeWriteChannel();
    ASSERT_TRUE(process.waitForFinished(30000));
    EXPECT_EQ(process.exitCode(), 0);
    EXPECT_EQ(process.readAllStandardOutput(), QByteArray("b\n2\n"));
}

// A long statement: every quintuple of countries (billions of rows).
const char longStatement[] = "Select Count(*) From countries a, countries b, countries c, countries d, countries e";

TEST(TesseraSqlProgram, CtrlCStopsAScriptWithItsOwnStatus)
{
    QProcess process;
    process.start(QStringLiteral(TESSERA_SQL_PROGRAM),
                  {QStringLiteral("-o"), countries, QStringLiteral("-c"),
                   QLatin1String("Select \"ready\" As state; ") + QLatin1String(longStatement) + QLatin1String("; Select \"after\"")});
    ASSERT_TRUE(process.waitForStarted(10000));
    // Ctrl-C once the long statement runs (before, it would end the program).
    QByteArray out = readUntil(process, "ready");
    QThread::msleep(300);
    QProcess::execute(QStringLiteral("kill"), {QStringLiteral("-INT"), QString::number(process.processId())});
    ASSERT_TRUE(process.waitForFinished(30000)) << "the statement was not cancelled";
    EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(process.exitCode(), 130);
    out += process.readAllStandardOutput();
    EXPECT_FALSE(out.contains("after")) << "the script went on after Ctrl-C";
    EXPECT_TRUE(process.readAllStandardError().contains("interrupted"));
}

// An interactive session in a terminal made by tmux.
class TmuxSession {
public:
    TmuxSession(const QString& command, const QString& home)
        : socket(QStringLiteral("tessera-test-%1").arg(QCoreApplication::applicationPid()))
    {
        tmux({QStringLiteral("new-session"), QStringLiteral("-d"), QStringLiteral("-x"), QStringLiteral("150"), QStringLiteral("-y"),
              QStringLiteral("50"), QStringLiteral("env HOME=%1 %2").arg(home, command)});
        // remain-on-exit keeps the pane's text readable after the shell leaves.
        tmux({QStringLiteral("set-option"), QStringLiteral("-g"), QStringLiteral("remain-on-exit"), QStringLiteral("on")});
    }
    ~TmuxSession() { tmux({QStringLiteral("kill-server")}); }

    // Keys as tmux names them ("Up", "Enter", "C-c").
    void keys(const QStringList& keys) { tmux(QStringList{QStringLiteral("send-keys")} + keys); }
    // Literal text, then Enter.
    void line(QString text)
    {
        // tmux reads an argument's last ';' as the end of its command.
        if (text.endsWith(QLatin1Char(';')))
            text.insert(text.size() - 1, QLatin1Char('\\'));
        tmux({QStringLiteral("send-keys"), QStringLiteral("-l"), text});
        keys({QStringLiteral("Enter")});
    }
    QString screen() { return tmux({QStringLiteral("capture-pane"), QStringLiteral("-p"), QStringLiteral("-S"), QStringLiteral("-200")}); }
    bool exited() { return tmux({QStringLiteral("display-message"), QStringLiteral("-p"), QStringLiteral("#{pane_dead}")}).trimmed() == QLatin1String("1"); }

    // Waits until `done` holds, for up to 30 seconds.
    template <typename Condition>
    static bool waitUntil(Condition done)
    {
        QElapsedTimer timer;
        timer.start();
        while (!done()) {
            if (timer.elapsed() > 30000)
                return false;
            QThread::msleep(100);
        }
        return true;
    }
    // Waits until the screen shows `text` `count` times.
    bool waitFor(const QString& text, int count = 1)
    {
        return waitUntil([&] { return screen().count(text) >= count; });
    }

private:
    QString tmux(const QStringList& arguments)
    {
        QProcess process;
        process.start(QStringLiteral("tmux"), QStringList{QStringLiteral("-L"), socket} + arguments);
        process.waitForFinished(10000);
        return QString::fromUtf8(process.readAllStandardOutput());
    }
    QString socket;
};

TEST(TesseraSqlProgram, InteractiveSessionInATerminal)
{
    if (QStandardPaths::findExecutable(QStringLiteral("tmux")).isEmpty())
        GTEST_SKIP() << "tmux is not installed";
    QTemporaryDir home;
    ASSERT_TRUE(home.isValid());
    TmuxSession session(QStringLiteral("%1 -o %2").arg(QStringLiteral(TESSERA_SQL_PROGRAM), countries), home.path());
    ASSERT_TRUE(session.waitFor(QStringLiteral("tessera>"))) << session.screen().toStdString();

    session.line(QStringLiteral("Select Count(*) As n From countries;"));
    ASSERT_TRUE(session.waitFor(QStringLiteral("(1 row)"))) << session.screen().toStdString();
    // Up and Enter run it again.
    session.keys({QStringLiteral("Up"), QStringLiteral("Enter")});
    ASSERT_TRUE(session.waitFor(QStringLiteral("(1 row)"), 2)) << session.screen().toStdString();

    // Ctrl-C cancels a long statement and the table is still there.
    session.line(QLatin1String(longStatement) + QLatin1Char(';'));
    ASSERT_TRUE(session.waitFor(QStringLiteral("running... "))) << "progress line: " << session.screen().toStdString();
    session.keys({QStringLiteral("C-c")});
    ASSERT_TRUE(session.waitFor(QStringLiteral("error: interrupted"))) << session.screen().toStdString();
    session.line(QStringLiteral("Select name From countries"));
    ASSERT_TRUE(session.waitFor(QStringLiteral("    ...>"))) << "continuation prompt: " << session.screen().toStdString();
    session.line(QStringLiteral("Where iso_a3 = \"DEU\";"));
    ASSERT_TRUE(session.waitFor(QStringLiteral("Germany"))) << session.screen().toStdString();

    // Ctrl-C at the prompt drops the unfinished statement only (each key
    // once the shell is waiting for it).
    session.line(QStringLiteral("Select 1 +"));
    ASSERT_TRUE(session.waitFor(QStringLiteral("    ...>"), 2)) << session.screen().toStdString();
    const int prompts = session.screen().count(QStringLiteral("tessera>"));
    session.keys({QStringLiteral("C-c")});
    ASSERT_TRUE(session.waitFor(QStringLiteral("tessera>"), prompts + 1)) << session.screen().toStdString();
    session.line(QStringLiteral("Select 6 * 7 As product;"));
    ASSERT_TRUE(session.waitFor(QStringLiteral("42"))) << session.screen().toStdString();

    session.line(QStringLiteral(".quit"));
    ASSERT_TRUE(TmuxSession::waitUntil([&] { return session.exited(); })) << session.screen().toStdString();
    QFile history(home.filePath(QStringLiteral(".tessera_sql_history")));
    ASSERT_TRUE(history.open(QIODevice::ReadOnly));
    EXPECT_TRUE(history.readAll().contains("Select\\040Count(*)\\040As\\040n")) << "the history file keeps the statements";
}

// name -> (population, bounding box) of a table read through GDAL.
using Countries = QMap<QString, QPair<qint64, QRectF>>;

Countries readCountries(const QString& path)
{
    Countries result;
    const auto table = providers::GdalTableReader::read(path);
    const int name = table->schema().indexOf(QStringLiteral("name"));
    const int population = table->schema().indexOf(QStringLiteral("pop_est"));
    auto cursor = table->features();
    while (auto feature = cursor->next()) {
        const auto g = feature->geometry();
        result.insert(feature->getAttribute(name).toString(),
                      {qint64(feature->getAttribute(population).toDouble()), g ? g->boundingRect() : QRectF()});
    }
    return result;
}

TEST(TesseraSqlProgram, ResultsAsGisFiles)
{
    QTemporaryDir dir;
    // The source read directly, without the shell.
    Countries expected;
    for (auto [name, value] : readCountries(countries).toStdMap())
        if (name.startsWith(QLatin1Char('S')))
            expected.insert(name, value);
    ASSERT_GT(expected.size(), 3);

    for (const char* file : {"out.gpkg", "out.geojson", "out.shp", "out.csv"}) {
        const QString path = dir.filePath(QLatin1String(file));
        const ProgramRun run = runProgram({QStringLiteral("-o"), countries, QStringLiteral("--output"), path, QStringLiteral("-c"),
                                           QStringLiteral("Select name, pop_est, obj From countries Where name Like \"S%\"")});
        ASSERT_EQ(run.status, 0) << file << ": " << run.err.toStdString();
        EXPECT_TRUE(run.out.isEmpty()) << file;

        // Valid for others: ogrinfo reads it with its coordinate system.
        QProcess ogrinfo;
        ogrinfo.start(QStringLiteral("ogrinfo"), {QStringLiteral("-so"), QStringLiteral("-al"), path});
        ASSERT_TRUE(ogrinfo.waitForFinished(30000));
        const QByteArray info = ogrinfo.readAllStandardOutput();
        EXPECT_EQ(ogrinfo.exitCode(), 0) << file;
        EXPECT_TRUE(info.contains(QByteArray("Feature Count: ") + QByteArray::number(expected.size()))) << file << info.toStdString();
        EXPECT_TRUE(info.contains("WGS 84")) << file;
        // A CSV's coordinate system is a .prj without the EPSG code.
        const auto table = providers::GdalTableReader::read(path);
        ASSERT_NE(table->coordSystem(), nullptr) << file;
        if (!QByteArray(file).endsWith(".csv")) {
            EXPECT_EQ(table->coordSystem()->epsg(), 4326) << file;
        }

        const Countries written = readCountries(path);
        ASSERT_EQ(written.keys(), expected.keys()) << file;
        for (const QString& name : expected.keys()) {
            EXPECT_EQ(written[name].first, expected[name].first) << file << " " << name.toStdString();
            const QRectF a = written[name].second, b = expected[name].second;
            for (const auto& [x, y] : {std::pair{a.left(), b.left()}, {a.top(), b.top()}, {a.right(), b.right()}, {a.bottom(), b.bottom()}})
                EXPECT_NEAR(x, y, 1e-6) << file << " " << name.toStdString();
        }
    }

    // --format geojson prints a FeatureCollection.
    const ProgramRun collection = runProgram({QStringLiteral("-o"), countries, QStringLiteral("--format"), QStringLiteral("geojson"), QStringLiteral("-c"),
                                              QStringLiteral("Select name, obj From countries Where iso_a3 In (\"LUX\", \"BEL\") Order By name")});
    ASSERT_EQ(collection.status, 0) << collection.err.toStdString();
    const QJsonObject json = QJsonDocument::fromJson(collection.out).object();
    EXPECT_EQ(json.value(QStringLiteral("type")).toString(), QStringLiteral("FeatureCollection"));
    const QJsonArray features = json.value(QStringLiteral("features")).toArray();
    ASSERT_EQ(features.size(), 2);
    EXPECT_EQ(features[0].toObject().value(QStringLiteral("properties")).toObject().value(QStringLiteral("name")).toString(), QStringLiteral("Belgium"));
    EXPECT_EQ(features[1].toObject().value(QStringLiteral("geometry")).toObject().value(QStringLiteral("type")).toString(), QStringLiteral("Polygon"));

    const ProgramRun bad = runProgram({QStringLiteral("--output"), dir.filePath(QStringLiteral("out.nosuch")), QStringLiteral("-c"), QStringLiteral("Select 1")});
    EXPECT_EQ(bad.status, 1);
    EXPECT_TRUE(bad.err.contains("no GDAL driver writes files of this extension")) << bad.err.toStdString();
}

} // namespace
} // namespace tessera::test
