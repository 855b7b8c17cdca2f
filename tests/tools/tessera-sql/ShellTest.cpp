// The shell end to end: dialect queries translated and run on the engine with
// the function module, geometry tables, GIS files, and the program's options.

#include "engine/Engine.h"
#include "engine/indices/EngineIndices.h"
#include "platform/dp/Table.h"
#include "tests/engine/TestApplication.h"
#include "tools/tessera-sql/Shell.h"

#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QRegularExpression>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QTextStream>
#include <gtest/gtest.h>

using namespace tessera::shell;

namespace {

struct Outcome {
    bool ok;
    QString out;
    QString err;
};

class ShellTest : public ::testing::Test {
protected:
    // The engine is made once per process, so the whole suite shares one shell.
    static void SetUpTestSuite()
    {
        ShellOptions options;
        options.pluginPaths << QStringLiteral(TESSERA_PLUGIN_DIR);
        shell = new Shell(options);
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

    // The single value of a one-row, one-column result.
    static QString scalar(const QString& query)
    {
        const Outcome o = run(query);
        EXPECT_TRUE(o.ok) << query.toStdString() << ": " << o.err.toStdString();
        const QStringList lines = o.out.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        EXPECT_EQ(lines.size(), 2) << o.out.toStdString();
        return lines.value(1);
    }

    static Shell* shell;
};

Shell* ShellTest::shell = nullptr;

TEST_F(ShellTest, RunsDialectFunctionsThroughTheModule)
{
    EXPECT_EQ(scalar(QStringLiteral("Select Proper(\"hello world\")")), QStringLiteral("Hello World"));
    EXPECT_EQ(scalar(QStringLiteral("Select Left(\"Tessera\", 3) & Right(\"Tessera\", 2)")), QStringLiteral("Tesra"));
    EXPECT_EQ(scalar(QStringLiteral("Select 7 \\ 2, 7 Mod 2")).split(',').value(0), QStringLiteral("3"));
    EXPECT_EQ(scalar(QStringLiteral("Select Round(2.567, 0.01)")), QStringLiteral("2.57"));
    EXPECT_EQ(scalar(QStringLiteral("Select \"ПРИВЕТ\" Like \"привет\"")), QStringLiteral("1"));

    // SQLite's error text reaches the user.
    const Outcome division = run(QStringLiteral("Select 1 / 0"));
    EXPECT_FALSE(division.ok);
    EXPECT_TRUE(division.err.contains(QStringLiteral("Division by zero"))) << division.err.toStdString();
}

TEST_F(ShellTest, ReportsTranslationErrorsAndStopsTheScript)
{
    ShellOptions bail;
    bail.bail = true;
    shell->setOptions(bail);
    const Outcome syntax = run(QStringLiteral("Select From Where; Select 1"));
    EXPECT_FALSE(syntax.ok);
    EXPECT_TRUE(syntax.out.isEmpty()) << "with --bail the second statement must not run";
    EXPECT_TRUE(syntax.err.startsWith(QStringLiteral("error: "))) << syntax.err.toStdString();
    EXPECT_TRUE(syntax.err.contains(QStringLiteral("column"))) << "the parser's position is shown: " << syntax.err.toStdString();

    // An unknown name is caught before SQLite, with its place; the dialect
    // names that the translator renames are known.
    const Outcome unknown = run(QStringLiteral("Select Abs(1),\n  NoSuchFunction(1)"));
    EXPECT_FALSE(unknown.ok);
    EXPECT_TRUE(unknown.err.contains(QStringLiteral("line 2, column 3: unknown or disallowed function: NoSuchFunction")))
        << unknown.err.toStdString();
    EXPECT_EQ(scalar(QStringLiteral("Select Left('ab', 1) & Right('ab', 1) & Round(1.4, 1)")), QStringLiteral("ab1.0"));

    const Outcome misplaced = run(QStringLiteral("Select 1 Where rownum > 1"));
    EXPECT_FALSE(misplaced.ok);
    EXPECT_TRUE(misplaced.err.contains(QStringLiteral("rownum may stand only in the select list"))) << misplaced.err.toStdString();
}

// Runs `script` as plain SQLite SQL (set-up of a test's tables).
static void rawScript(Shell* shell, const QString& script)
{
    ShellOptions raw;
    raw.raw = true;
    shell->setOptions(raw);
    QString out, err;
    QTextStream o(&out), e(&err);
    EXPECT_TRUE(shell->runScript(script, o, e)) << err.toStdString();
    shell->setOptions(ShellOptions{});
}

TEST_F(ShellTest, TextLiteralsAreNeverColumns)
{
    rawScript(shell, QStringLiteral("Drop Table If Exists literals; Create Table literals (name Text, s Text, a Text);"
                                    "Insert Into literals Values ('name', 'a', 'zz'), ('bob', 'b', 'b');"));
    const struct {
        const char* query;
        const char* expected;
    } cases[] = {
        {"Select Group_Concat(name) From literals Where name = 'name'", "name"},
        {"Select Group_Concat(name) From literals Where s = \"a\"", "name"},
        {"Select 'it''s' & \" ok\"", "it's ok"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(scalar(QString::fromUtf8(c.query)), QString::fromUtf8(c.expected)) << c.query;
}

TEST_F(ShellTest, LongOperatorChainsRunInTheRightOrder)
{
    // 24 columns summed, and chains of 500 terms of each operator.
    QString columns, values, sum;
    for (int i = 1; i <= 24; ++i) {
        columns += QStringLiteral("%1c%2 Integer").arg(i > 1 ? ", " : "").arg(i);
        values += QStringLiteral("%1%2").arg(i > 1 ? ", " : "").arg(i);
        sum += QStringLiteral("%1c%2").arg(i > 1 ? " + " : "").arg(i);
    }
    rawScript(shell, QStringLiteral("Drop Table If Exists wide; Create Table wide (%1); Insert Into wide Values (%2);").arg(columns, values));
    EXPECT_EQ(scalar(QStringLiteral("Select ") + sum + QStringLiteral(" From wide")), QStringLiteral("300"));

    auto chain = [](const QString& first, const QString& op, const QString& term) {
        QString text = QStringLiteral("Select ") + first;
        for (int i = 1; i < 500; ++i)
            text += QLatin1Char(' ') + op + QLatin1Char(' ') + term;
        return text;
    };
    QString oneToFiveHundred = QStringLiteral("Select 1");
    for (int i = 2; i <= 500; ++i)
        oneToFiveHundred += QStringLiteral(" + %1").arg(i);
    EXPECT_EQ(scalar(oneToFiveHundred), QStringLiteral("125250"));
    const struct {
        QString query;
        const char* expected;
    } chains[] = {
        {chain("1000", "-", "1"), "501"},
        {chain("3", "*", "1"), "3"},
        {chain("1024", "/", "1"), "1024"},
        {chain("7", "Mod", "9"), "7"},
        {chain("1000", "\\", "1"), "1000"},
        {chain("1", "^", "2"), "1"},
        {chain("1", "Xor", "1"), "0"},
    };
    for (const auto& c : chains)
        EXPECT_EQ(scalar(c.query), QString::fromUtf8(c.expected)) << c.query.left(40).toStdString();

    // Precedence and left associativity, computed by hand (the output shows
    // integral reals without a fraction).
    const struct {
        const char* expression;
        const char* expected;
    } mixed[] = {
        {"2 ^ 3 ^ 2", "64"},
        {"100 / 10 / 5", "2"},
        {"17 \\ 2 \\ 3", "2"},
        {"29 Mod 8 Mod 3", "2"},
        {"1 + 2 * 3 ^ 2", "19"},
        {"10 - 2 + 3", "11"},
        {"10 - (2 + 3)", "5"},
        {"2 * 3 + 4 * 5 - 1", "25"},
        {"8 / 2 / 2 * 3", "6"},
        {"2 * 8 / 4 / 2", "2"},
        {"100 / 5 Mod 3", "2"},
        {"-2 ^ 2", "4"},
        {"1 Xor 0 And 0", "0"},
        {"0 And 0 Xor 1", "1"},
        {"1 + 2 & \"x\"", "3x"},
        {"1 + 2 + \"a\"", "3a"},
        {"1.5 + 2 + \"a\"", "3.5a"},
        {"\"a\" + 1 + 2", "a12"},
        {"\"\" + 1 + 2", "12"},
    };
    for (const auto& m : mixed)
        EXPECT_EQ(scalar(QStringLiteral("Select ") + QString::fromUtf8(m.expression)), QString::fromUtf8(m.expected)) << m.expression;
}

TEST_F(ShellTest, RownumPositionOverAnAsterisk)
{
    rawScript(shell, QStringLiteral("Drop Table If Exists people; Create Table people (n Integer, имя Text);"
                                    "Insert Into people Values (1, 'в'), (2, 'а'), (3, 'б');"));
    const struct {
        const char* name;
        const char* query;
        const char* expected;
    } cases[] = {
        {"column name in UTF-8", "Select *, rownum From people Order By 2", "2,а,1\n3,б,2\n1,в,3\n"},
        {"self-join", "Select *, rownum From people x, people y Where x.n = y.n Order By 4 Desc",
         "1,в,1,в,1\n3,б,3,б,2\n2,а,2,а,3\n"},
        {"aliased expression", "Select *, -n As n, rownum From people Order By 3",
         "3,б,-3,1\n2,а,-2,2\n1,в,-1,3\n"},
    };
    for (const auto& c : cases) {
        const Outcome o = run(QString::fromUtf8(c.query));
        EXPECT_TRUE(o.ok) << c.name << ": " << o.err.toStdString();
        // The rows, after the header line.
        EXPECT_EQ(o.out.mid(o.out.indexOf(QLatin1Char('\n')) + 1), QString::fromUtf8(c.expected)) << c.name;
    }
}

TEST_F(ShellTest, TheUsersCollationWins)
{
    // The engine's "Locale" ignores case and sorts a before B; Binary does neither.
    const struct {
        const char* expression;
        const char* expected;
    } cases[] = {
        {"'x' = 'X'", "1"},
        {"'x' = 'X' Collate Binary", "0"},
        {"'x' Collate Binary = 'X'", "0"},
        {"'a' < 'B'", "1"},
        {"'a' < 'B' Collate Binary", "0"},
        {"'a' Collate Binary < 'B'", "0"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(scalar(QStringLiteral("Select ") + QString::fromUtf8(c.expression)), QString::fromUtf8(c.expected)) << c.expression;
}

TEST_F(ShellTest, TranslateOnlyAndRawModes)
{
    ShellOptions translateOnly;
    translateOnly.translateOnly = true;
    shell->setOptions(translateOnly);
    QString out, err;
    {
        QTextStream o(&out), e(&err);
        ASSERT_TRUE(shell->runScript(QStringLiteral("Select 1 / 2 Xor 3"), o, e)) << err.toStdString();
    }
    EXPECT_TRUE(out.contains(QStringLiteral("divide(")) && out.contains(QStringLiteral("xor("))) << out.toStdString();

    ShellOptions raw;
    raw.raw = true;
    raw.format = OutputFormat::Csv;
    shell->setOptions(raw);
    out.clear();
    {
        QTextStream o(&out), e(&err);
        // Plain SQLite: integer division, no dialect rewrite.
        ASSERT_TRUE(shell->runScript(QStringLiteral("Select 7 / 2 As q"), o, e)) << err.toStdString();
    }
    EXPECT_EQ(out, QStringLiteral("q\n3\n"));
}

TEST_F(ShellTest, GeometryQueriesOverHiddenColumns)
{
    ShellOptions raw;
    raw.raw = true;
    shell->setOptions(raw);
    QString out, err;
    {
        QTextStream o(&out), e(&err);
        const bool made = shell->runScript(QStringLiteral(
            "Create Table parcels (name Text, cd750f8a9a2b4fac9b9b05eb53795d97 Blob);"
            "Insert Into parcels Values ('big', ToTesGeo(GeomFromText('POLYGON((0 0, 2000 0, 2000 1000, 0 1000, 0 0))', 3857)));"
            "Insert Into parcels Values ('far', ToTesGeo(GeomFromText('POLYGON((9000 9000, 9100 9000, 9100 9100, 9000 9000))', 3857)));"
            "Create Table probe (cd750f8a9a2b4fac9b9b05eb53795d97 Blob);"
            "Insert Into probe Values (ToTesGeo(GeomFromText('POINT(10 10)', 3857)));"), o, e);
        ASSERT_TRUE(made) << err.toStdString();
    }
    shell->setOptions(ShellOptions{});

    EXPECT_EQ(scalar(QStringLiteral(
                  "Select name, Area(obj, \"sq km\") From parcels Where obj Intersects (Select obj From probe)")),
              QStringLiteral("big,2"));
    EXPECT_EQ(scalar(QStringLiteral("Select Count(*) From parcels Where obj Contains (Select object From probe)")),
              QStringLiteral("1"));
    // Geometry blobs print as text with their coordinate system.
    const QString point = scalar(QStringLiteral("Select obj From probe"));
    EXPECT_TRUE(point.startsWith(QStringLiteral("SRID=3857;POINT"))) << point.toStdString();
    // An unknown unit is an error, not a number.
    EXPECT_FALSE(run(QStringLiteral("Select Area(obj, \"furlongs\") From parcels")).ok);
}

TEST_F(ShellTest, OpensGisFiles)
{
    QString error;
    EXPECT_FALSE(shell->openFile(QStringLiteral("/nonexistent/file.geojson"), QString(), error));
    EXPECT_TRUE(error.contains(QStringLiteral("/nonexistent/file.geojson"))) << error.toStdString();

    const QString countries = QStringLiteral(TESSERA_TEST_DATA "/countries.geojson");
    if (!QFile::exists(countries))
        GTEST_SKIP() << "no sample data";
    ASSERT_TRUE(shell->openFile(countries, QStringLiteral("countries"), error)) << error.toStdString();
    EXPECT_GT(scalar(QStringLiteral("Select Count(*) From countries")).toInt(), 10);
    // France's area in square kilometres on the ellipsoid, roughly (with overseas parts in the sample or not).
    const double area = scalar(QStringLiteral("Select Area(obj, \"sq km\") From countries Where iso_a3 = \"FRA\"")).toDouble();
    EXPECT_GT(area, 400000.0);
    EXPECT_LT(area, 700000.0);
    // The same name twice is refused and the first table survives.
    EXPECT_FALSE(shell->openFile(countries, QStringLiteral("countries"), error));
    EXPECT_GT(scalar(QStringLiteral("Select Count(*) From countries")).toInt(), 10);
}

TEST_F(ShellTest, MetaCommands)
{
    const QString path = QStringLiteral(TESSERA_TEST_DATA "/countries.geojson");
    if (!QFile::exists(path))
        GTEST_SKIP() << "no sample data";
    const QString table = QStringLiteral("meta_countries");
    QString error;
    if (!shell->table(table)) {
        ASSERT_TRUE(shell->openFile(path, table, error)) << error.toStdString();
    }

    struct Case {
        const char* name;
        const char* script;
        bool ok;
        const char* out;   // a part of the output
        const char* err;   // a part of the error
    };
    const Case cases[] = {
        {"functions", ".functions", true, "\nLambertDistance\n", ""},
        {"aggregates", ".functions 2", true, "\nWtAvg\n", ""},
        {"bad mask", ".functions scalar", false, "", "MASK"},
        {"operators", ".operators", true, "\n9\n11\n", ""},
        {"unknown table", ".index nowhere name", false, "", "no table nowhere is open"},
        {"unknown column", ".index meta_countries nothing", false, "", "table meta_countries has no column nothing"},
        {"geometry column", ".index meta_countries obj", false, "", "cannot be indexed"},
        {"unknown index", ".dropindex meta_countries 999", false, "", "table meta_countries has no index 999"},
        {"unknown command", ".nothing", false, "", "unknown command .nothing"},
        {"plugins", ".plugins", true, "name,version,file\nengine,0.1.0,", ""},
        {"help", ".help", true, "\n.plugins ", ""},
        {"argument count", ".dropindex meta_countries", false, "", "usage: .dropindex TABLE INDEX"},
        {"between statements", "Select 1 As a;\n  .operators\nSelect 2 As b", true, "a\n1\n1\n2\n", ""},
        {"inside a string", "Select 'x\n.operators' As t", true, "\"x\n.operators\"", ""},
    };
    for (const Case& c : cases) {
        const Outcome o = run(QString::fromUtf8(c.script));
        EXPECT_EQ(o.ok, c.ok) << c.name << ": " << o.err.toStdString();
        EXPECT_TRUE(o.out.contains(QString::fromUtf8(c.out))) << c.name << ": " << o.out.toStdString();
        EXPECT_TRUE(o.err.contains(QString::fromUtf8(c.err))) << c.name << ": " << o.err.toStdString();
    }
    // The catalogue offers only what the function module registered.
    const QStringList functions = run(QStringLiteral(".functions")).out.split('\n');
    EXPECT_FALSE(functions.contains(QStringLiteral("LambertArea")));
    EXPECT_FALSE(functions.contains(QStringLiteral("VincentyArea")));

    // .index builds a real, filled store over the opened table.
    const Outcome built = run(QStringLiteral(".index meta_countries continent, name"));
    ASSERT_TRUE(built.ok) << built.err.toStdString();
    const auto match = QRegularExpression(QStringLiteral("^index (\\d+) on meta_countries \\(continent, name\\): (\\d+) rows\n$")).match(built.out);
    ASSERT_TRUE(match.hasMatch()) << built.out.toStdString();
    const int id = match.captured(1).toInt();
    EXPECT_EQ(match.captured(2), scalar(QStringLiteral("Select Count(*) From meta_countries")));
    std::vector<std::int64_t> europe;
    QSqlQuery query(shell->engine().engineDatabase());
    ASSERT_TRUE(query.exec(QStringLiteral("Select rowid From meta_countries Where continent = 'Europe' Order By rowid")));
    while (query.next())
        europe.push_back(query.value(0).toLongLong());
    ASSERT_FALSE(europe.empty());
    using C = tessera::engine::EngineIndices::Constant;
    EXPECT_EQ(shell->engine().indices(shell->table(table))->findRows(id, {C{0, C::Equal, {QStringLiteral("EUROPE")}}}), europe);

    const QString listed = QStringLiteral("meta_countries,%1,\"continent,name\",%2").arg(id).arg(match.captured(2));
    EXPECT_TRUE(run(QStringLiteral(".indexes")).out.contains(listed));
    EXPECT_TRUE(run(QStringLiteral(".indexes META_COUNTRIES")).out.contains(listed));
    EXPECT_TRUE(run(QStringLiteral(".dropindex meta_countries %1").arg(id)).ok);
    EXPECT_FALSE(run(QStringLiteral(".indexes")).out.contains(listed));
}

// The program as a user runs it.
QProcess* runProgram(const QStringList& arguments, const QByteArray& input = QByteArray())
{
    auto* process = new QProcess;
    process->start(QStringLiteral(TESSERA_SQL_PROGRAM), arguments);
    process->write(input);
    process->closeWriteChannel();
    process->waitForFinished(60000);
    return process;
}

TEST_F(ShellTest, OutputMetaCommands)
{
    const struct {
        const char* name;
        const char* script;
        bool ok;
        const char* out;   // how the output starts
        const char* err;   // a part of the error
    } cases[] = {
        {"headers off", ".headers off\nSelect 5 As a", true, "5\n", ""},
        {"headers on again", ".headers off\n.headers ON\nSelect 5 As a", true, "a\n5\n", ""},
        {"headers: not a switch", ".headers maybe", false, "", "expected on or off, not 'maybe'"},
        {"null value", ".nullvalue '(null)'\nSelect Null As n, 1 As m", true, "n,m\n(null),1\n", ""},
        {"timer", ".timer on\nSelect 1 As a", true, "a\n1\nTime: ", ""},
        {"mode json", ".mode json\nSelect 1 As a", true, "[", ""},
        {"mode table", ".mode table\nSelect 1 As a", true, "a", ""},
        {"mode unknown", ".mode xml", false, "", "unknown output format 'xml'"},
        {"help lists the commands", ".help", true, ".close", ""},
    };
    for (const auto& c : cases) {
        shell->setOptions(ShellOptions{});
        const Outcome o = run(QString::fromUtf8(c.script));
        EXPECT_EQ(o.ok, c.ok) << c.name << ": " << o.err.toStdString();
        const QString start = QString::fromUtf8(c.out);
        EXPECT_EQ(o.out.left(start.size()), start) << c.name << ": " << o.out.toStdString();
        EXPECT_TRUE(o.err.contains(QString::fromUtf8(c.err))) << c.name << ": " << o.err.toStdString();
    }
    const QString help = run(QStringLiteral(".help")).out;
    for (const char* command : {".mode", ".headers", ".nullvalue", ".timer", ".output", ".read", ".eval", ".export", ".quit", ".exit",
                                ".open", ".tables", ".rename", ".schema", ".index", ".indexes", ".dropindex"})
        EXPECT_TRUE(help.contains(QLatin1Char('\n') + QLatin1String(command) + QLatin1Char(' '))) << command;
}

TEST(TesseraSqlProgram, ExitStatusOptionsAndStreams)
{
    std::unique_ptr<QProcess> ok(runProgram({QStringLiteral("--format"), QStringLiteral("json"), QStringLiteral("-c"),
                                              QStringLiteral("Select Proper(\"hello world\") As t")}));
    EXPECT_EQ(ok->exitCode(), 0) << ok->readAllStandardError().toStdString();
    EXPECT_TRUE(ok->readAllStandardOutput().contains("\"t\": \"Hello World\""));

    std::unique_ptr<QProcess> bad(runProgram({QStringLiteral("-c"), QStringLiteral("Select (1")}));
    EXPECT_NE(bad->exitCode(), 0);
    EXPECT_TRUE(bad->readAllStandardOutput().isEmpty());
    EXPECT_TRUE(bad->readAllStandardError().startsWith("error: "));

    std::unique_ptr<QProcess> format(runProgram({QStringLiteral("--format"), QStringLiteral("xml"), QStringLiteral("-c"), QStringLiteral("Select 1")}));
    EXPECT_EQ(format->exitCode(), 2);

    // Statements from standard input, one per ';'.
    std::unique_ptr<QProcess> piped(runProgram({QStringLiteral("--format"), QStringLiteral("csv")}, "Select 1 As a;\nSelect \"x;y\" As b;\n"));
    EXPECT_EQ(piped->exitCode(), 0) << piped->readAllStandardError().toStdString();
    EXPECT_EQ(piped->readAllStandardOutput(), QByteArray("a\n1\nb\nx;y\n"));

    // A NUL byte is an error, in a file as on standard input, and nothing runs.
    const QByteArray withNul("Select 1 As a;\nSelect 2\0 As b;\nSelect 3 As c;\n", 46);
    QTemporaryDir dir;
    QFile script(dir.filePath(QStringLiteral("nul.sql")));
    ASSERT_TRUE(script.open(QIODevice::WriteOnly));
    script.write(withNul);
    script.close();
    for (auto& nul : {std::unique_ptr<QProcess>(runProgram({script.fileName()})), std::unique_ptr<QProcess>(runProgram({}, withNul))}) {
        EXPECT_EQ(nul->exitCode(), 1);
        EXPECT_TRUE(nul->readAllStandardOutput().isEmpty());
        EXPECT_TRUE(nul->readAllStandardError().contains("line 2, column 9: NUL character"));
    }

    std::unique_ptr<QProcess> meta(runProgram({QStringLiteral("-c"), QStringLiteral(".operators")}));
    EXPECT_EQ(meta->exitCode(), 0) << meta->readAllStandardError().toStdString();
    EXPECT_TRUE(meta->readAllStandardOutput().startsWith("1\n2\n3\n"));

    std::unique_ptr<QProcess> missing(runProgram({QStringLiteral("/nonexistent/script.sql")}));
    EXPECT_EQ(missing->exitCode(), 1);
    EXPECT_TRUE(missing->readAllStandardError().contains("cannot read"));
}

TEST(TesseraSqlProgram, IndexStoreWithoutAWritableFolder)
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("TMPDIR"), QStringLiteral("/dev/null"));
    process.setProcessEnvironment(environment);
    process.start(QStringLiteral(TESSERA_SQL_PROGRAM),
                  {QStringLiteral("--open"), QStringLiteral(TESSERA_TEST_DATA "/countries.geojson"), QStringLiteral("-c"),
                   QStringLiteral(".index countries name")});
    process.closeWriteChannel();
    ASSERT_TRUE(process.waitForFinished(60000));
    EXPECT_EQ(process.exitCode(), 1);
    EXPECT_TRUE(process.readAllStandardError().startsWith("error: cannot make an index store for table countries: "));
}

} // namespace
