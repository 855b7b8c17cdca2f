// .select and the Selection table, --srs with the warning for geometries
// without coordinate system, and --help.

#include "tests/support/EngineApplication.h"
#include "tests/tools/tessera-sql/ProgramRun.h"
#include "tools/tessera-sql/MetaCommands.h"
#include "tools/tessera-sql/Shell.h"

#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTextStream>
#include <gtest/gtest.h>

using namespace tessera::shell;
using tessera::test::runTesseraSql;

namespace {

struct Outcome {
    bool ok;
    QString out;
    QString err;
};

class ShellSelection : public ::testing::Test {
protected:
    static void SetUpTestSuite()
    {
        ShellOptions options;
        options.pluginPaths << QStringLiteral(TESSERA_PLUGIN_DIR);
        options.format = OutputFormat::Csv;
        shell = new Shell(options);
        QString error;
        if (!shell->openFile(QStringLiteral(TESSERA_TEST_DATA "/countries.geojson"), QStringLiteral("countries"), error))
            ADD_FAILURE() << error.toStdString();
    }
    static void TearDownTestSuite() { delete shell; shell = nullptr; }
    void SetUp() override { run(QStringLiteral(".select")); }

    static Outcome run(const QString& script)
    {
        Outcome o;
        QTextStream out(&o.out), err(&o.err);
        o.ok = shell->runScript(script, out, err);
        out.flush();
        err.flush();
        return o;
    }
    // The single value a query prints in CSV after its header.
    static QString value(const QString& query)
    {
        const Outcome o = run(query);
        EXPECT_TRUE(o.ok) << query.toStdString() << ": " << o.err.toStdString();
        return o.out.section(QLatin1Char('\n'), 1, -2);
    }

    static Shell* shell;
};

Shell* ShellSelection::shell = nullptr;

} // namespace

TEST_F(ShellSelection, TheConditionsFeaturesBecomeTheSelectionTable)
{
    const struct {
        const char* name;
        const char* condition;
        const char* query;   // over the table, the same rows as the selection
    } rows[] = {
        {"attribute condition", "continent = \"Europe\"", "Select Count(*) From countries Where continent = \"Europe\""},
        {"dialect comparison ignores case", "iso_a3 In (\"deu\", \"FRA\")", "Select 2"},
        {"spatial condition with a sub-query", "obj Intersects (Select obj From countries Where iso_a3 = \"DEU\")",
         "Select Count(*) From countries Where obj Intersects (Select obj From countries Where iso_a3 = \"DEU\")"},
    };
    for (const auto& row : rows) {
        const QString expected = value(QString::fromUtf8(row.query));
        const Outcome selected = run(QStringLiteral(".select countries %1").arg(QString::fromUtf8(row.condition)));
        ASSERT_TRUE(selected.ok) << row.name << ": " << selected.err.toStdString();
        EXPECT_EQ(selected.out, QStringLiteral("%1 features of countries selected\n").arg(expected)) << row.name;
        EXPECT_EQ(value(QStringLiteral("Select count(*) From Selection")), expected) << row.name;
    }
    EXPECT_EQ(value(QStringLiteral("Select name From Selection Where iso_a3 = \"DEU\"")), QStringLiteral("Germany"));
}

TEST_F(ShellSelection, BadSelectionsAreClearAndKeepTheSelection)
{
    ASSERT_TRUE(run(QStringLiteral(".select countries iso_a3 = \"DEU\"")).ok);
    const struct {
        const char* name;
        const char* command;
        const char* error;
    } rows[] = {
        {"unknown table", ".select nowhere 1 = 1", "no table nowhere is open"},
        {"unknown column", ".select countries nosuch = 1", "bad condition nosuch = 1: no such column: nosuch"},
        {"not an expression", ".select countries 1 +", "bad condition 1 +: column 4: expected an expression"},
        {"a statement, not a condition", ".select countries Select 1", "bad condition Select 1"},
        {"no condition", ".select countries", "usage: .select TABLE CONDITION"},
    };
    for (const auto& row : rows) {
        const Outcome o = run(QString::fromUtf8(row.command));
        EXPECT_FALSE(o.ok) << row.name;
        EXPECT_TRUE(o.err.contains(QString::fromUtf8(row.error))) << row.name << ": " << o.err.toStdString();
        EXPECT_EQ(value(QStringLiteral("Select name From Selection")), QStringLiteral("Germany")) << row.name;
    }
    // Alone it clears the selection.
    ASSERT_TRUE(run(QStringLiteral(".select")).ok);
    EXPECT_TRUE(run(QStringLiteral("Select * From Selection")).err.contains(QStringLiteral("nothing is selected")));
}

TEST(ShellSrs, AssignsACoordinateSystemAndWarnsOnceWithout)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString csv = dir.filePath(QStringLiteral("cells.csv"));
    QFile file(csv);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("id,WKT\n1,\"POLYGON((0 0,1 0,1 1,0 1,0 0))\"\n2,\"POLYGON((0 1,1 1,1 2,0 2,0 1))\"\n");
    file.close();
    const QString warning = QStringLiteral("--srs CODE");
    // A 1 by 1 degree cell at the equator on WGS84 covers about 12,309 km²
    // (111.32 km of equator by 110.57 km of meridian).
    const QString area = QStringLiteral("Select Round(Area(obj, \"sq km\"), 1) From cells Where id = 1");
    const QString twoEarthMeasures = QStringLiteral("Select SphericalArea(obj, \"sq km\") From cells; Select EllipsoidalArea(obj, \"sq km\") From cells");
    const struct {
        const char* name;
        QStringList arguments;
        int status;
        int warnings;
        const char* out;   // a part of the output
    } rows[] = {
        {"no system: earth measures warn once", {QStringLiteral("--open"), csv, QStringLiteral("-c"), twoEarthMeasures}, 0, 1, ""},
        {"no system: cartesian measures do not warn",
         {QStringLiteral("--open"), csv, QStringLiteral("-c"), QStringLiteral("Select CartesianArea(obj, \"sq m\") From cells")}, 0, 0, ""},
        {"no system: Area is planar", {QStringLiteral("--open"), csv, QStringLiteral("--format"), QStringLiteral("csv"), QStringLiteral("-c"), area},
         0, 0, "\n0\n"},
        {"--srs: geographic, no warning", {QStringLiteral("--srs"), QStringLiteral("EPSG:4326"), QStringLiteral("--open"), csv,
                                           QStringLiteral("-c"), twoEarthMeasures}, 0, 0, ""},
        {"--srs: the geometries carry it", {QStringLiteral("--srs"), QStringLiteral("EPSG:4326"), QStringLiteral("--open"), csv,
                                            QStringLiteral("--full"), QStringLiteral("-c"), QStringLiteral("Select obj From cells")},
         0, 0, "SRID=4326;POLYGON"},
        {"--srs: Area is ellipsoidal", {QStringLiteral("--srs"), QStringLiteral("EPSG:4326"), QStringLiteral("--open"), csv,
                                        QStringLiteral("--format"), QStringLiteral("csv"), QStringLiteral("-c"), area}, 0, 0, "\n1230"},
        {"--srs leaves a file's own system", {QStringLiteral("--srs"), QStringLiteral("EPSG:3857"), QStringLiteral("--open"),
                                              QStringLiteral(TESSERA_TEST_DATA "/countries.geojson"), QStringLiteral("--full"),
                                              QStringLiteral("-c"), QStringLiteral("Select obj From countries Limit 1")},
         0, 0, "SRID=4326;"},
        {"--srs with no such system", {QStringLiteral("--srs"), QStringLiteral("EPSG:999999"), QStringLiteral("-c"), QStringLiteral("Select 1")},
         2, 0, ""},
    };
    for (const auto& row : rows) {
        const auto run = runTesseraSql(row.arguments);
        EXPECT_EQ(run.status, row.status) << row.name << ": " << run.err.toStdString();
        EXPECT_EQ(run.err.count(warning), row.warnings) << row.name << ": " << run.err.toStdString();
        EXPECT_TRUE(run.out.contains(QString::fromUtf8(row.out))) << row.name << ": " << run.out.toStdString();
    }
}

TEST(ShellHelp, EveryOptionAndMetaCommandHasAnExample)
{
    const auto help = runTesseraSql({QStringLiteral("--help")});
    ASSERT_EQ(help.status, 0);
    // Each option's block (from its line to the next option's) shows a use of the program.
    const QStringList options = {"-c, --command", "--open <", "--open-option", "--srs", "--format", "--translate", "--raw",
                                 "--verbose", "--no-header", "--bail", "--full", "--output <", "--output-driver", "--plot-label",
                                 "--plot-size", "--plugin", "--help", "--version"};
    const int optionsAt = help.out.indexOf(QStringLiteral("\nOptions:\n"));
    ASSERT_GE(optionsAt, 0) << help.out.toStdString();
    const QStringList blocks = help.out.mid(optionsAt).split(QRegularExpression(QStringLiteral("\n(?=  -)")));
    for (const QString& option : options) {
        const auto block = std::find_if(blocks.begin(), blocks.end(), [&](const QString& b) { return b.contains(option); });
        ASSERT_NE(block, blocks.end()) << option.toStdString();
        EXPECT_TRUE(block->contains(QStringLiteral("Example: tessera-sql"))) << block->toStdString();
    }
    // .help is the meta-command part of --help, an example under each usage.
    const auto dotHelp = runTesseraSql({QStringLiteral("-c"), QStringLiteral(".help")});
    ASSERT_EQ(dotHelp.status, 0);
    EXPECT_TRUE(help.out.contains(dotHelp.out));
    for (const MetaCommand& command : metaCommands())
        EXPECT_TRUE(dotHelp.out.contains(QStringLiteral("%1\n").arg(QString::fromUtf8(command.summary))
                                         + QString(37, QLatin1Char(' ')) + QStringLiteral("e.g. ") + QString::fromUtf8(command.example)))
            << command.name;
}
