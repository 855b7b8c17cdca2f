// The shell as a user meets it: the host's services behind the SQL functions,
// readable headers and errors, translations, scripts and standard input.

#include "engine/Engine.h"
#include "engine/EngineCache.h"
#include "platform/core/Core.h"
#include "platform/geometry/Geometry.h"
#include "tests/engine/TestApplication.h"
#include "tools/tessera-sql/Shell.h"

#include <QProcess>
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
        shell = new Shell(ShellOptions{});
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
        EXPECT_EQ(o.out.section(QStringLiteral("\r\n"), 0, 0), QString::fromUtf8(row.header)) << row.name;
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
        {"third line of a script", "Select 1;\n-- note\nSelect Frobnicate(1);", "error: line 3: no such function: Frobnicate"},
        {"syntax error inside a later statement", "Select 1;\n\n  Select 2 +\n 3 +;", "line 4, column 5: expected an expression"},
        {"column after a statement on the same line", "Select 1;\nSelect 2; Select (;", "line 2, column 19: expected an expression"},
    };
    for (const auto& row : rows) {
        const Outcome o = run(QString::fromUtf8(row.script));
        EXPECT_FALSE(o.ok) << row.name;
        EXPECT_TRUE(o.err.contains(QString::fromUtf8(row.error))) << row.name << ": " << o.err.toStdString();
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

} // namespace
