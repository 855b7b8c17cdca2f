// The shell as a user meets it: the host's services behind the SQL functions,
// readable headers and errors, translations, scripts and standard input.

#include "engine/Engine.h"
#include "engine/EngineCache.h"
#include "platform/core/Core.h"
#include "platform/dp/DataCatalogWithSelection.h"
#include "platform/dp/GeometryAttributeDefinition.h"
#include "platform/dp/MemoryTable.h"
#include "platform/dp/SimpleAttributeDefinition.h"
#include "platform/cs/CoordSystem.h"
#include "platform/dp/FeatureCursor.h"
#include "platform/geometry/Geometry.h"
#include "providers/gdal/GdalTableReader.h"
#include "tests/engine/TestApplication.h"
#include "tools/tessera-sql/CellAbbreviation.h"
#include "tools/tessera-sql/Shell.h"

#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QThread>
#include <QTextStream>
#include <gtest/gtest.h>

using namespace tessera::shell;

namespace {

struct Outcome {
    bool ok;
    QString out;
    QString err;
};

class ShellSession : public ::testing::Test {
protected:
    static void SetUpTestSuite()
    {
        ShellOptions options;
        options.pluginPaths << QStringLiteral(TESSERA_PLUGIN_DIR);
        shell = new Shell(options);
        QString error;
        if (!shell->openFile(QStringLiteral(TESSERA_TEST_DATA "/countries.geojson"), QStringLiteral("countries"), error))
            ADD_FAILURE() << error.toStdString();
    }
    static void TearDownTestSuite() { delete shell; shell = nullptr; }
    void SetUp() override { shell->setOptions(ShellOptions{}); }

    static Outcome run(const QString& script, OutputFormat format = OutputFormat::Csv)
    {
        ShellOptions options = shell->options();
        options.format = format;
        shell->setOptions(options);
        Outcome o;
        QTextStream out(&o.out), err(&o.err);
        o.ok = shell->runScript(script, out, err);
        out.flush();
        err.flush();
        return o;
    }

    static Shell* shell;
};

Shell* ShellSession::shell = nullptr;

TEST_F(ShellSession, HostServicesBehindTheSqlFunctions)
{
    // FromMif needs the host's MIF reader.
    const Outcome mif = run(QStringLiteral("Select FromMif(\"Pline 3 0 0 1 0,001 2 0\") As line, FromMif(\"Point 1 2\") As point"));
    ASSERT_TRUE(mif.ok) << mif.err.toStdString();
    EXPECT_TRUE(mif.out.contains(QStringLiteral("LINESTRING(0 0, 1 0.001, 2 0)"))) << mif.out.toStdString();
    EXPECT_TRUE(mif.out.contains(QStringLiteral("POINT(1 2)"))) << mif.out.toStdString();

    // The resemblance extension answers before the geometry model's fallback.
    auto* core = tessera::Core::instance();
    ASSERT_NE(core, nullptr);
    auto* engine = tessera::Engine::load(core);
    const auto line = std::make_shared<tessera::geometry::LineString>(QVector<QPointF>{{0, 0}, {1, 0.00001}, {2, 0}, {3, 5}});
    const auto look = engine->cache()->tryResemblance(line);
    ASSERT_NE(look, nullptr);
    EXPECT_EQ(static_cast<const tessera::geometry::LineString&>(*look).points().size(), 3);

    // Nothing selected: the Selection table says so instead of failing oddly.
    const Outcome selection = run(QStringLiteral("Select * From Selection"));
    EXPECT_FALSE(selection.ok);
    EXPECT_TRUE(selection.err.contains(QStringLiteral("nothing is selected"))) << selection.err.toStdString();
}

TEST_F(ShellSession, HeadersAreTheUsersOwnText)
{
    const struct {
        const char* name;
        const char* statement;
        const char* header;
    } rows[] = {
        {"operator as written", "Select 7 \\ 2, 7 Mod 2", "7 \\ 2,7 Mod 2"},
        {"alias with and without As", "Select 1 As one, 2 two", "one,two"},
        {"qualified column", "Select x.b From (Select 1 As b) x", "b"},
        {"geometry column", "Select obj, Name From countries Limit 1", "obj,Name"},
        {"hidden columns from the asterisk", "Select * From countries Limit 1", "name,continent,iso_a3,pop_est,gdp_md_est,obj"},
        {"asterisk keeps the names beside it", "Select 0 As a, *, Upper( 'q' ) From (Select 1 As b, 2 As c)",
         "a,b,c,Upper( 'q' )"},
        {"sub-query and Distinct", "Select Distinct (Select 1), 2 From (Select 1) Where 1 = 1", "(Select 1),2"},
        {"compound query: the first part names", "Select 1 As k Union Select 2 As z", "k"},
    };
    for (const auto& row : rows) {
        const Outcome o = run(QString::fromUtf8(row.statement));
        ASSERT_TRUE(o.ok) << row.name << ": " << o.err.toStdString();
        EXPECT_EQ(o.out.section(QLatin1Char('\n'), 0, 0), QString::fromUtf8(row.header)) << row.name;
    }
}

TEST_F(ShellSession, ScriptErrorsNameTheirLine)
{
    const struct {
        const char* name;
        const char* script;
        const char* error;
    } rows[] = {
        {"one line: position in the line", "Select 1 +", "line 1, column 11: expected an expression"},
        {"third line of a script", "Select 1;\n-- note\nSelect Frobnicate(1);", "error: line 3, column 8: unknown or disallowed function: Frobnicate"},
        {"a later statement on the line", "Select 1;\nSelect 2; Select Frob(3);", "error: line 2, column 18: unknown or disallowed function: Frob"},
        {"the statement's line without a place", "Select 1;\nSelect * From nowhere;", "error: line 2: no such table: nowhere"},
        {"syntax error inside a later statement", "Select 1;\n\n  Select 2 +\n 3 +;", "line 4, column 5: expected an expression"},
        {"column after a statement on the same line", "Select 1;\nSelect 2; Select (;", "line 2, column 19: expected an expression"},
    };
    for (const auto& row : rows) {
        const Outcome o = run(QString::fromUtf8(row.script));
        EXPECT_FALSE(o.ok) << row.name;
        EXPECT_TRUE(o.err.contains(QString::fromUtf8(row.error))) << row.name << ": " << o.err.toStdString();
    }
}

TEST_F(ShellSession, SpatiaLiteFunctionsTakeTheDialectsGeometry)
{
    const char square[] = "FromMif(\"Region 1 5 0 0 2 0 2 2 0 2 0 0\")";
    const char shifted[] = "FromMif(\"Region 1 5 1 1 3 1 3 3 1 3 1 1\")";
    const struct {
        const char* name;
        QString expression;
        const char* value;
    } rows[] = {
        {"AsText", QStringLiteral("AsText(%1)").arg(square), "POLYGON((0 0, 2 0, 2 2, 0 2, 0 0))"},
        {"AsGeoJSON", QStringLiteral("AsGeoJSON(FromMif(\"Point 1 2\"))"), "{\"type\":\"Point\",\"coordinates\":[1,2]}"},
        // The squares overlap in [1,2] x [1,2].
        {"ST_Intersection of two", QStringLiteral("ST_Area(ST_Intersection(%1, %2))").arg(square, shifted), "1"},
        {"engine result into SpatiaLite", QStringLiteral("AsText(Centroid(%1))").arg(square), "POINT(1 1)"},
        {"numbers pass", QStringLiteral("ST_X(MakePoint(1.5, 2))"), "1.5"},
        {"NULL stays NULL", QStringLiteral("AsText(Null) Is Null"), "1"},
        {"table geometry and its SRID", QStringLiteral("Srid(obj) From countries Where iso_a3 = \"DEU\""), "4326"},
        {"table geometry as text", QStringLiteral("Substr(AsText(obj), 1, 7) From countries Where iso_a3 = \"DEU\""), "POLYGON"},
        {"two tables", QStringLiteral("ST_Intersects(a.obj, b.obj) From countries a, countries b Where a.iso_a3 = \"DEU\" And b.iso_a3 = \"POL\""), "1"},
    };
    for (const auto& row : rows) {
        const Outcome o = run(QStringLiteral("Select ") + row.expression);
        ASSERT_TRUE(o.ok) << row.name << ": " << o.err.toStdString();
        // A CSV cell with a comma comes quoted, its quotes doubled.
        QString cell = o.out.section(QLatin1Char('\n'), 1, 1);
        if (cell.startsWith(QLatin1Char('"')))
            cell = cell.mid(1, cell.size() - 2).replace(QLatin1String("\"\""), QLatin1String("\""));
        EXPECT_EQ(cell, QString::fromUtf8(row.value)) << row.name;
    }
}

TEST_F(ShellSession, MetaCommandHandlers)
{
    ShellOptions options;
    options.nullValue = QStringLiteral("(none)");
    options.timer = true;
    shell->setOptions(options);
    Outcome o = run(QStringLiteral("Select Null As n"));
    EXPECT_TRUE(o.out.startsWith(QStringLiteral("n\n(none)\nTime: "))) << o.out.toStdString();
    EXPECT_TRUE(o.out.endsWith(QStringLiteral(" ms\n"))) << o.out.toStdString();
    shell->setOptions(ShellOptions{});

    // .output and .read, as script lines
    QTemporaryDir dir;
    const QString results = dir.filePath(QStringLiteral("out.csv"));
    const QString script = dir.filePath(QStringLiteral("script.sql"));
    QFile scriptFile(script);
    ASSERT_TRUE(scriptFile.open(QIODevice::WriteOnly));
    scriptFile.write("Select 1 As a;\n\nSelect Frob(2);\n");
    scriptFile.close();
    o = run(QStringLiteral(".output '%1'\n.read '%2'\n.output\nSelect 3 As c").arg(results, script));
    EXPECT_FALSE(o.ok);
    EXPECT_TRUE(o.err.contains(QStringLiteral("error: line 3, column 8: unknown or disallowed function: Frob"))) << o.err.toStdString();
    EXPECT_EQ(o.out, QStringLiteral("c\n3\n")) << "after .output alone the results come back";
    QFile written(results);
    ASSERT_TRUE(written.open(QIODevice::ReadOnly));
    EXPECT_EQ(written.readAll(), QByteArray("a\n1\n"));
    QString error;
    EXPECT_FALSE(shell->setOutput(dir.filePath(QStringLiteral("no/such/dir/x.csv")), error));
    o = run(QStringLiteral(".read '%1'").arg(dir.filePath(QStringLiteral("missing.sql"))));
    EXPECT_TRUE(o.err.contains(QStringLiteral("cannot read"))) << o.err.toStdString();
    // A script that reads itself stops instead of exhausting the stack.
    const QString loop = dir.filePath(QStringLiteral("loop.sql"));
    QFile loopFile(loop);
    ASSERT_TRUE(loopFile.open(QIODevice::WriteOnly));
    loopFile.write(QStringLiteral(".read '%1'\n").arg(loop).toUtf8());
    loopFile.close();
    o = run(QStringLiteral(".read '%1'").arg(loop));
    EXPECT_FALSE(o.ok);
    EXPECT_TRUE(o.err.contains(QStringLiteral("nested more than 16 deep"))) << o.err.toStdString();

    // .export: the next query's result to a GIS file, read back through GDAL.
    const QString exported = dir.filePath(QStringLiteral("germany.geojson"));
    o = run(QStringLiteral(".export '%1'\nSelect name, obj From countries Where iso_a3 = \"DEU\";\nSelect 4 As d").arg(exported));
    ASSERT_TRUE(o.ok) << o.err.toStdString();
    EXPECT_EQ(o.out, QStringLiteral("d\n4\n")) << "only the next query goes to the file";
    const auto germany = tessera::providers::GdalTableReader::read(exported);
    ASSERT_NE(germany, nullptr);
    EXPECT_EQ(germany->featureCount(), 1);

    QString screen, errors;
    QTextStream err(&errors);
    // .eval over a table of the catalog
    auto* catalog = tessera::Core::instance()->findService<tessera::dp::DataCatalogWithSelection>();
    ASSERT_NE(catalog, nullptr);
    auto table = std::make_shared<tessera::dp::MemoryTable>(
        QStringLiteral("parcels"),
        tessera::dp::TableSchema({tessera::dp::AttributeDefinitionPtr(new tessera::dp::SimpleAttributeDefinition(QStringLiteral("owner"), QMetaType::QString, 20)),
                                  tessera::dp::AttributeDefinitionPtr(new tessera::dp::GeometryAttributeDefinition(QStringLiteral("shape"), {}))}));
    tessera::dp::Feature parcel = table->newFeature();
    parcel.setAttribute(0, QStringLiteral("o'Hara"));
    parcel.setGeometry(1, std::make_shared<tessera::geometry::Polygon>(QVector<tessera::geometry::Ring>{{{0, 0}, {3, 0}, {3, 2}, {0, 2}, {0, 0}}}));
    ASSERT_TRUE(table->insertFeature(parcel).isValid());
    ASSERT_TRUE(catalog->addDataObject(table));
    // The expression is the rest of the line as written, quotes included.
    o = run(QStringLiteral(".eval parcels Upper(owner) & \" \" & CartesianArea(obj, \"sq m\")"));
    ASSERT_TRUE(o.ok) << o.err.toStdString();
    const QString evaluated = o.out;
    EXPECT_EQ(evaluated.section(QLatin1Char('\n'), 1, 1).section(QLatin1Char(','), 1), QStringLiteral("O'HARA 6.0")) << evaluated.toStdString();
    QTextStream evalOut(&screen);
    EXPECT_FALSE(shell->evaluate(QStringLiteral("nowhere"), QStringLiteral("1"), evalOut, err));
    EXPECT_FALSE(shell->evaluate(QStringLiteral("parcels"), QStringLiteral("Select 1"), evalOut, err)) << "not an expression";
    catalog->closeDataObject(table->id());
}

TEST(CellAbbreviation, GeometryTextsFitTheTerminal)
{
    const QString wkt = QStringLiteral("POLYGON((") + QString(200, QLatin1Char('1')) + QStringLiteral("))");
    const struct {
        const char* name;
        int width;
        int expected;   // length of the geometry cell afterwards
    } rows[] = {
        // "name" is 7 wide ("Germany"), plus " | ": 80 - 10 = 70 for the geometry.
        {"fits 80 columns", 80, 70},
        {"never below 16", 20, 16},
        {"no terminal: whole", 0, 211},
        {"wide terminal: whole", 300, 211},
    };
    for (const auto& row : rows) {
        ResultSet result;
        result.columns = QStringList{QStringLiteral("name"), QStringLiteral("obj")};
        result.rows = {{QStringLiteral("Germany"), wkt}, {QStringLiteral("Chad"), QVariant()}};
        abbreviateWideCells(result, {false, true}, row.width);
        const QString cell = result.rows[0][1].toString();
        EXPECT_EQ(cell.size(), row.expected) << row.name;
        EXPECT_EQ(cell.endsWith(QChar(0x2026)), row.expected < wkt.size()) << row.name;
        EXPECT_TRUE(result.rows[1][1].isNull()) << row.name;
        EXPECT_EQ(result.rows[0][0].toString(), QStringLiteral("Germany")) << row.name;
    }
}

// The program as a user runs it, with `environment` added to its own.
struct ProgramRun {
    int status;
    QByteArray out;
    QByteArray err;
};

ProgramRun runProgram(const QStringList& arguments, const QByteArray& input = {}, const QStringList& environment = {})
{
    QProcess process;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    for (const QString& assignment : environment)
        env.insert(assignment.section('=', 0, 0), assignment.section('=', 1));
    process.setProcessEnvironment(env);
    process.start(QStringLiteral(TESSERA_SQL_PROGRAM), arguments);
    process.write(input);
    process.closeWriteChannel();
    process.waitForFinished(60000);
    return {process.exitCode(), process.readAllStandardOutput(), process.readAllStandardError()};
}

TEST(TesseraSqlProgram, EngineTextsFollowTheLocale)
{
    const struct {
        const char* locale;
        const char* text;
    } rows[] = {
        {"en_US.UTF-8", "check that the expressions in the query are correct"},
        {"C", "check that the expressions in the query are correct"},
        {"ru_RU.UTF-8", "проверьте корректность выражений в запросе"},
    };
    for (const auto& row : rows) {
        const ProgramRun run = runProgram({QStringLiteral("-c"), QStringLiteral("Select (")}, {},
                                          {QStringLiteral("LC_ALL=") + QLatin1String(row.locale)});
        EXPECT_NE(run.status, 0);
        EXPECT_TRUE(QString::fromUtf8(run.err).contains(QString::fromUtf8(row.text))) << row.locale << ": " << run.err.toStdString();
    }
}

TEST(TesseraSqlProgram, ScriptingOptionsAndExitStatus)
{
    const struct {
        const char* name;
        QStringList arguments;
        QByteArray input;
        int status;
        QByteArray out;
        const char* err;
    } rows[] = {
        {"a failing statement does not stop the script", {"--format", "csv"}, "Select 1 As a;\nSelect Frob(1);\nSelect 2 As b;\n",
         1, "a\n1\nb\n2\n", "error: line 2, column 8: unknown or disallowed function: Frob"},
        {"--bail stops there", {"--format", "csv", "--bail"}, "Select 1 As a;\nSelect Frob(1);\nSelect 2 As b;\n",
         1, "a\n1\n", "line 2"},
        {"--no-header", {"--format", "csv", "--no-header", "-c", "Select 1 As a, \"x\" As b"}, {}, 0, "1,x\n", ""},
        {"--no-header in a table", {"--no-header", "-c", "Select 7 As a"}, {}, 0, "7\n(1 row)\n", ""},
        {"unknown option", {"--bogus"}, {}, 2, "", "Unknown option 'bogus'"},
        {"unknown format", {"--format", "xml", "-c", "Select 1"}, {}, 2, "", "unknown output format"},
        {"GDAL's reason instead of 'unknown error'", {"-o", TESSERA_TEST_DATA "/README.md", "-c", "Select 1"}, {}, 1, "",
         "not recognized as a supported file format"},
        {".exit leaves, the rest is not run", {"--format", "csv"}, "Select 1 As a;\n.exit\nSelect 2 As b;\n", 0, "a\n1\n", ""},
        {"meta-commands from standard input", {}, ".mode csv\n.headers off\nSelect 1;\n", 0, "1\n", ""},
        {".quit in -c", {"--format", "csv", "-c", ".quit", "-c", "Select 1"}, {}, 0, "", ""},
        {"pipes keep going after an unfinished statement", {"--format", "csv"}, "Select 1 As a; Select", 1, "a\n1\n", "line 1, column 22"},
    };
    for (const auto& row : rows) {
        const ProgramRun run = runProgram(row.arguments, row.input);
        EXPECT_EQ(run.status, row.status) << row.name << ": " << run.err.toStdString();
        EXPECT_EQ(run.out, row.out) << row.name;
        EXPECT_TRUE(run.err.contains(row.err)) << row.name << ": " << run.err.toStdString();
        EXPECT_FALSE(run.err.contains("ERROR 4")) << row.name << ": GDAL printed beside the shell";
    }
}

TEST(TesseraSqlProgram, StandardInputRunsEachStatementAsItArrives)
{
    QProcess process;
    process.start(QStringLiteral(TESSERA_SQL_PROGRAM), {QStringLiteral("--format"), QStringLiteral("csv")});
    ASSERT_TRUE(process.waitForStarted(10000));
    process.write("Select 41 + 1 As answer;\n");
    // The answer comes while standard input is still open.
    QByteArray out;
    QElapsedTimer timer;
    timer.start();
    while (!out.contains("42\n") && timer.elapsed() < 30000) {
        process.waitForReadyRead(1000);
        out += process.readAllStandardOutput();
    }
    EXPECT_EQ(out, QByteArray("answer\n42\n"));
    process.write("Select 2 As b;\n");
    process.closeWriteChannel();
    ASSERT_TRUE(process.waitForFinished(30000));
    EXPECT_EQ(process.exitCode(), 0);
    EXPECT_EQ(process.readAllStandardOutput(), QByteArray("b\n2\n"));
}

// A long statement: every quadruple of countries.
const char longStatement[] = "Select Count(*) From countries a, countries b, countries c, countries d";

TEST(TesseraSqlProgram, CtrlCStopsAScriptWithItsOwnStatus)
{
    QProcess process;
    process.start(QStringLiteral(TESSERA_SQL_PROGRAM),
                  {QStringLiteral("-o"), QStringLiteral(TESSERA_TEST_DATA "/countries.geojson"), QStringLiteral("-c"),
                   QLatin1String("Select \"ready\" As state; ") + QLatin1String(longStatement) + QLatin1String("; Select \"after\"")});
    ASSERT_TRUE(process.waitForStarted(10000));
    // Ctrl-C once the long statement runs (before, it would end the program).
    QByteArray out;
    QElapsedTimer timer;
    timer.start();
    while (!out.contains("ready") && timer.elapsed() < 30000) {
        process.waitForReadyRead(500);
        out += process.readAllStandardOutput();
    }
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
        : socket(QStringLiteral("tessera-test-%1-%2").arg(QCoreApplication::applicationPid()).arg(++sessions))
    {
        tmux({QStringLiteral("new-session"), QStringLiteral("-d"), QStringLiteral("-x"), QStringLiteral("150"),
              QStringLiteral("-y"), QStringLiteral("50"), QStringLiteral("env HOME=%1 %2").arg(home, command)});
        // remain-on-exit keeps the pane's text readable after the shell leaves.
        tmux({QStringLiteral("set-option"), QStringLiteral("-g"), QStringLiteral("remain-on-exit"), QStringLiteral("on")});
    }
    ~TmuxSession() { tmux({QStringLiteral("kill-server")}); }

    // Keys as tmux names them ("Up", "Enter", "C-c") or literal text.
    void keys(const QStringList& keys) { tmux(QStringList{QStringLiteral("send-keys")} + keys); }
    void type(QString text)
    {
        // tmux reads an argument's last ';' as the end of its command.
        if (text.endsWith(QLatin1Char(';')))
            text.insert(text.size() - 1, QLatin1Char('\\'));
        tmux({QStringLiteral("send-keys"), QStringLiteral("-l"), text});
    }
    QString screen() { return tmux({QStringLiteral("capture-pane"), QStringLiteral("-p"), QStringLiteral("-S"), QStringLiteral("-200")}); }

    // Waits until the shell in the pane has left.
    bool waitForExit(int timeoutMs = 30000)
    {
        QElapsedTimer timer;
        timer.start();
        while (timer.elapsed() < timeoutMs) {
            if (tmux({QStringLiteral("display-message"), QStringLiteral("-p"), QStringLiteral("#{pane_dead}")}).trimmed() == QLatin1String("1"))
                return true;
            QThread::msleep(100);
        }
        return false;
    }

    // Waits until the screen shows `text` `count` times.
    bool waitFor(const QString& text, int count = 1, int timeoutMs = 30000)
    {
        QElapsedTimer timer;
        timer.start();
        while (timer.elapsed() < timeoutMs) {
            if (screen().count(text) >= count)
                return true;
            QThread::msleep(100);
        }
        return false;
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
    static inline int sessions = 0;
};

TEST(TesseraSqlProgram, InteractiveSessionInATerminal)
{
    if (QStandardPaths::findExecutable(QStringLiteral("tmux")).isEmpty())
        GTEST_SKIP() << "tmux is not installed";
    QTemporaryDir home;
    ASSERT_TRUE(home.isValid());
    TmuxSession session(QStringLiteral("%1 -o %2").arg(QStringLiteral(TESSERA_SQL_PROGRAM), QStringLiteral(TESSERA_TEST_DATA "/countries.geojson")),
                        home.path());
    ASSERT_TRUE(session.waitFor(QStringLiteral("tessera>"))) << session.screen().toStdString();

    session.type(QStringLiteral("Select Count(*) As n From countries;"));
    session.keys({QStringLiteral("Enter")});
    ASSERT_TRUE(session.waitFor(QStringLiteral("(1 row)"))) << session.screen().toStdString();
    // Up and Enter run it again.
    session.keys({QStringLiteral("Up"), QStringLiteral("Enter")});
    ASSERT_TRUE(session.waitFor(QStringLiteral("(1 row)"), 2)) << session.screen().toStdString();

    // Ctrl-C cancels a long statement and the table is still there.
    session.type(QLatin1String(longStatement) + QLatin1Char(';'));
    session.keys({QStringLiteral("Enter")});
    ASSERT_TRUE(session.waitFor(QStringLiteral("running... "))) << "progress line: " << session.screen().toStdString();
    session.keys({QStringLiteral("C-c")});
    ASSERT_TRUE(session.waitFor(QStringLiteral("error: interrupted"))) << session.screen().toStdString();
    session.type(QStringLiteral("Select name From countries"));
    session.keys({QStringLiteral("Enter")});
    ASSERT_TRUE(session.waitFor(QStringLiteral("    ...>"))) << "continuation prompt: " << session.screen().toStdString();
    session.type(QStringLiteral("Where iso_a3 = \"DEU\";"));
    session.keys({QStringLiteral("Enter")});
    ASSERT_TRUE(session.waitFor(QStringLiteral("Germany"))) << session.screen().toStdString();

    // Ctrl-C at the prompt drops the unfinished statement only.
    session.type(QStringLiteral("Select 1 +"));
    session.keys({QStringLiteral("Enter"), QStringLiteral("C-c")});
    session.type(QStringLiteral("Select 6 * 7 As product;"));
    session.keys({QStringLiteral("Enter")});
    ASSERT_TRUE(session.waitFor(QStringLiteral("42"))) << session.screen().toStdString();

    session.type(QStringLiteral(".quit"));
    session.keys({QStringLiteral("Enter")});
    ASSERT_TRUE(session.waitForExit()) << session.screen().toStdString();
    QFile history(home.filePath(QStringLiteral(".tessera_sql_history")));
    ASSERT_TRUE(history.open(QIODevice::ReadOnly));
    EXPECT_TRUE(history.readAll().contains("Select\\040Count(*)\\040As\\040n")) << "the history file keeps the statements";
}

// name -> (population, bounding box) of a table read through GDAL.
using Countries = QMap<QString, QPair<qint64, QRectF>>;

Countries readCountries(const QString& path)
{
    Countries countries;
    const auto table = tessera::providers::GdalTableReader::read(path);
    const auto schema = table->schema();
    const int name = schema.indexOf(QStringLiteral("name"));
    const int population = schema.indexOf(QStringLiteral("pop_est"));
    auto cursor = table->features();
    while (auto feature = cursor->next()) {
        const auto g = feature->geometry();
        countries.insert(feature->getAttribute(name).toString(),
                         {qint64(feature->getAttribute(population).toDouble()), g ? g->boundingRect() : QRectF()});
    }
    return countries;
}

TEST(TesseraSqlProgram, ResultsAsGisFiles)
{
    QTemporaryDir dir;
    const QString source = QStringLiteral(TESSERA_TEST_DATA "/countries.geojson");
    // The source read directly, without the shell.
    Countries expected;
    for (auto [name, value] : readCountries(source).toStdMap())
        if (name.startsWith(QLatin1Char('S')))
            expected.insert(name, value);
    ASSERT_GT(expected.size(), 3);

    for (const char* file : {"out.gpkg", "out.geojson", "out.shp", "out.csv"}) {
        const QString path = dir.filePath(QLatin1String(file));
        const ProgramRun run = runProgram({QStringLiteral("-o"), source, QStringLiteral("--output"), path, QStringLiteral("-c"),
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
        const auto table = tessera::providers::GdalTableReader::read(path);
        ASSERT_NE(table->coordSystem(), nullptr) << file;
        if (!QByteArray(file).endsWith(".csv")) {
            EXPECT_EQ(table->coordSystem()->epsg(), 4326) << file;
        }
        const Countries written = readCountries(path);
        ASSERT_EQ(written.keys(), expected.keys()) << file;
        for (const QString& name : expected.keys()) {
            EXPECT_EQ(written[name].first, expected[name].first) << file << " " << name.toStdString();
            const QRectF a = written[name].second, b = expected[name].second;
            EXPECT_NEAR(a.left(), b.left(), 1e-6) << file << " " << name.toStdString();
            EXPECT_NEAR(a.top(), b.top(), 1e-6) << file << " " << name.toStdString();
            EXPECT_NEAR(a.right(), b.right(), 1e-6) << file << " " << name.toStdString();
            EXPECT_NEAR(a.bottom(), b.bottom(), 1e-6) << file << " " << name.toStdString();
        }
    }

    // --format geojson prints a FeatureCollection.
    const ProgramRun collection = runProgram({QStringLiteral("-o"), source, QStringLiteral("--format"), QStringLiteral("geojson"), QStringLiteral("-c"),
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
