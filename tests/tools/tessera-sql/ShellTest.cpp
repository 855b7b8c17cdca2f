// The shell end to end: dialect queries translated and run on the engine with
// the function module, geometry tables, GIS files, and the program's options.

#include "tests/engine/TestApplication.h"
#include "tools/tessera-sql/Shell.h"

#include <QFile>
#include <QProcess>
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
        const QStringList lines = o.out.split(QStringLiteral("\r\n"), Qt::SkipEmptyParts);
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
    const Outcome syntax = run(QStringLiteral("Select From Where; Select 1"));
    EXPECT_FALSE(syntax.ok);
    EXPECT_TRUE(syntax.out.isEmpty()) << "the second statement must not run";
    EXPECT_TRUE(syntax.err.startsWith(QStringLiteral("error: "))) << syntax.err.toStdString();
    EXPECT_TRUE(syntax.err.contains(QStringLiteral("column"))) << "the parser's position is shown: " << syntax.err.toStdString();

    const Outcome unknown = run(QStringLiteral("Select NoSuchFunction(1)"));
    EXPECT_FALSE(unknown.ok);
    EXPECT_TRUE(unknown.err.contains(QStringLiteral("NoSuchFunction"), Qt::CaseInsensitive)) << unknown.err.toStdString();
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
    EXPECT_EQ(out, QStringLiteral("q\r\n3\r\n"));
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
    EXPECT_EQ(piped->readAllStandardOutput(), QByteArray("a\r\n1\r\nb\r\nx;y\r\n"));

    std::unique_ptr<QProcess> missing(runProgram({QStringLiteral("/nonexistent/script.sql")}));
    EXPECT_EQ(missing->exitCode(), 1);
    EXPECT_TRUE(missing->readAllStandardError().contains("cannot read"));
}

} // namespace
