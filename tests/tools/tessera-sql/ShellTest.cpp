// The shell in the test process: dialect statements on the engine with the
// function module, geometry tables, meta-commands, the catalog of opened GIS
// sources and their attribute indices.

#include "engine/Engine.h"
#include "engine/EngineCache.h"
#include "platform/core/Core.h"
#include "platform/dp/DataCatalogWithSelection.h"
#include "platform/dp/GeometryAttributeDefinition.h"
#include "platform/dp/MemoryTable.h"
#include "platform/dp/SimpleAttributeDefinition.h"
#include "platform/geometry/Geometry.h"
#include "providers/gdal/GdalTableReader.h"
#include "tests/support/GdalLayerCopy.h"
#include "tests/support/ShellRunner.h"

#include <QFile>
#include <QTemporaryDir>

namespace tessera::test {
namespace {

const QString countries = QStringLiteral(TESSERA_TEST_DATA "/countries.geojson");

// The shared shell with the sample countries and a few tables of its own.
class ShellTest : public ShellFixture {
protected:
    static void SetUpTestSuite()
    {
        ShellFixture::SetUpTestSuite();
        QString error;
        if (!shell->openFile(countries, QStringLiteral("countries"), error))
            ADD_FAILURE() << error.toStdString();
        runRaw(QStringLiteral(
            "Create Table literals (name Text, s Text, a Text);"
            "Insert Into literals Values ('name', 'a', 'zz'), ('bob', 'b', 'b');"
            "Create Table people (n Integer, имя Text);"
            "Insert Into people Values (1, 'в'), (2, 'а'), (3, 'б');"
            "Create Table parcels (name Text, cd750f8a9a2b4fac9b9b05eb53795d97 Blob);"
            "Insert Into parcels Values ('big', ToTesGeo(GeomFromText('POLYGON((0 0, 2000 0, 2000 1000, 0 1000, 0 0))', 3857))),"
            " ('far', ToTesGeo(GeomFromText('POLYGON((9000 9000, 9100 9000, 9100 9100, 9000 9000))', 3857)));"
            "Create Table probe (cd750f8a9a2b4fac9b9b05eb53795d97 Blob);"
            "Insert Into probe Values (ToTesGeo(GeomFromText('POINT(10 10)', 3857)));"));
    }
};

TEST_F(ShellTest, QueryResults)
{
    const char square[] = "FromMif(\"Region 1 5 0 0 2 0 2 2 0 2 0 0\")";
    const char shifted[] = "FromMif(\"Region 1 5 1 1 3 1 3 3 1 3 1 1\")";
    // Expected values worked out by hand; CSV without headers.
    const struct {
        const char* name;
        QString query;
        const char* rows;
    } cases[] = {
        {"text functions", QStringLiteral("Select Proper(\"hello world\"), Left(\"Tessera\", 3) & Right(\"Tessera\", 2)"), "Hello World,Tesra"},
        {"integer division and remainder", QStringLiteral("Select 7 \\ 2, 7 Mod 2"), "3,1"},
        {"Round to a step", QStringLiteral("Select Round(2.567, 0.01), Left('ab', 1) & Right('ab', 1) & Round(1.4, 1)"), "2.57,ab1.0"},
        {"Like ignores case beyond ASCII", QStringLiteral("Select \"ПРИВЕТ\" Like \"привет\""), "1"},
        // 15 significant digits, as sqlite3 prints reals: 2/3 = 0.666..., pi = 3.14159265358979|3...
        {"reals", QStringLiteral("Select 2 / 3, 3.14159265358979323846, 0.1 + 0.2, 1e-7, 0.5"), "0.666666666666667,3.14159265358979,0.3,1e-07,0.5"},
        {"text literals are never columns", QStringLiteral("Select (Select Group_Concat(name) From literals Where name = 'name'), (Select Group_Concat(name) From literals Where s = \"a\")"),
         "name,name"},
        {"quotes inside literals", QStringLiteral("Select 'it''s' & \" ok\""), "it's ok"},
        {"the user's collation wins",
         QStringLiteral("Select 'x' = 'X', 'x' = 'X' Collate Binary, 'x' Collate Binary = 'X', 'a' < 'B', 'a' < 'B' Collate Binary, 'a' Collate Binary < 'B'"),
         "1,0,0,1,0,0"},
        {"rownum by a UTF-8 column", QStringLiteral("Select *, rownum From people Order By 2"), "2,а,1\n3,б,2\n1,в,3"},
        {"rownum in a self-join", QStringLiteral("Select *, rownum From people x, people y Where x.n = y.n Order By 4 Desc"),
         "1,в,1,в,1\n3,б,3,б,2\n2,а,2,а,3"},
        {"rownum by an aliased expression", QStringLiteral("Select *, -n As n, rownum From people Order By 3"), "3,б,-3,1\n2,а,-2,2\n1,в,-1,3"},
        {"geometry over hidden columns", QStringLiteral("Select name, Area(obj, \"sq km\") From parcels Where obj Intersects (Select obj From probe)"), "big,2"},
        {"Contains with object", QStringLiteral("Select Count(*) From parcels Where obj Contains (Select object From probe)"), "1"},
        {"geometry prints as text", QStringLiteral("Select obj From probe"), "SRID=3857;POINT(10 10)"},
        {"MIF text", QStringLiteral("Select FromMif(\"Pline 3 0 0 1 0,001 2 0\"), FromMif(\"Point 1 2\")"),
         "\"LINESTRING(0 0, 1 0.001, 2 0)\",POINT(1 2)"},
        {"SpatiaLite AsText", QStringLiteral("Select AsText(%1)").arg(square), "\"POLYGON((0 0, 2 0, 2 2, 0 2, 0 0))\""},
        {"SpatiaLite AsGeoJSON", QStringLiteral("Select AsGeoJSON(FromMif(\"Point 1 2\"))"), "\"{\"\"type\"\":\"\"Point\"\",\"\"coordinates\"\":[1,2]}\""},
        // The squares overlap in [1,2] x [1,2].
        {"SpatiaLite on two dialect geometries", QStringLiteral("Select ST_Area(ST_Intersection(%1, %2))").arg(square, shifted), "1"},
        {"engine result into SpatiaLite", QStringLiteral("Select AsText(Centroid(%1))").arg(square), "POINT(1 1)"},
        {"SpatiaLite numbers and NULL", QStringLiteral("Select ST_X(MakePoint(1.5, 2)), AsText(Null) Is Null"), "1.5,1"},
        {"table geometry into SpatiaLite", QStringLiteral("Select Srid(obj), Substr(AsText(obj), 1, 7) From countries Where iso_a3 = \"DEU\""), "4326,POLYGON"},
        {"SpatiaLite over two tables",
         QStringLiteral("Select ST_Intersects(a.obj, b.obj) From countries a, countries b Where a.iso_a3 = \"DEU\" And b.iso_a3 = \"POL\""), "1"},
        {"precedence and associativity",
         QStringLiteral("Select 2 ^ 3 ^ 2, 100 / 10 / 5, 17 \\ 2 \\ 3, 29 Mod 8 Mod 3, 1 + 2 * 3 ^ 2, 10 - 2 + 3, 10 - (2 + 3), "
                        "8 / 2 / 2 * 3, 2 * 8 / 4 / 2, 100 / 5 Mod 3, -2 ^ 2, 1 Xor 0 And 0, 0 And 0 Xor 1"),
         "64,2,2,2,19,11,5,6,2,2,4,0,1"},
        {"+ on text concatenates", QStringLiteral("Select 1 + 2 & \"x\", 1 + 2 + \"a\", 1.5 + 2 + \"a\", \"a\" + 1 + 2, \"\" + 1 + 2"), "3x,3a,3.5a,a12,12"},
    };
    shell::ShellOptions options = csvOptions();
    options.headers = false;
    for (const auto& c : cases) {
        shell->setOptions(options);
        const ShellOutcome o = run(c.query);
        EXPECT_TRUE(o.ok) << c.name << ": " << o.err.toStdString();
        EXPECT_EQ(o.out.toStdString(), std::string(c.rows) + '\n') << c.name;
    }
}

TEST_F(ShellTest, LongOperatorChains)
{
    // 24 columns summed, and chains of 500 terms of each operator.
    QString columns, values, sum;
    for (int i = 1; i <= 24; ++i) {
        columns += QStringLiteral("%1c%2 Integer").arg(i > 1 ? ", " : "").arg(i);
        values += QStringLiteral("%1%2").arg(i > 1 ? ", " : "").arg(i);
        sum += QStringLiteral("%1c%2").arg(i > 1 ? " + " : "").arg(i);
    }
    runRaw(QStringLiteral("Drop Table If Exists wide; Create Table wide (%1); Insert Into wide Values (%2);").arg(columns, values));
    EXPECT_EQ(rows(QStringLiteral("Select ") + sum + QStringLiteral(" From wide")), QStringLiteral("300\n"));

    const auto chain = [](const char* first, const char* op, const char* term, bool counting = false) {
        QString text = QStringLiteral("Select ") + QLatin1String(first);
        for (int i = 2; i <= 500; ++i)
            text += QStringLiteral(" %1 %2").arg(QLatin1String(op), counting ? QString::number(i) : QLatin1String(term));
        return text;
    };
    const struct {
        QString query;
        const char* expected;
    } chains[] = {
        {chain("1", "+", "", true), "125250\n"},   // 500 * 501 / 2
        {chain("1000", "-", "1"), "501\n"},        {chain("3", "*", "1"), "3\n"},      {chain("1024", "/", "1"), "1024\n"},
        {chain("7", "Mod", "9"), "7\n"},           {chain("1000", "\\", "1"), "1000\n"}, {chain("1", "^", "2"), "1\n"},
        {chain("1", "Xor", "1"), "0\n"},
    };
    for (const auto& c : chains)
        EXPECT_EQ(rows(c.query), QString::fromUtf8(c.expected)) << c.query.left(40).toStdString();
}

// Scripts of statements and meta-commands: whether they succeed, what they
// print ("…" stands for any text) and a part of the error.
TEST_F(ShellTest, Scripts)
{
    const struct {
        const char* name;
        const char* script;
        bool ok;
        const char* out;
        const char* err;
    } cases[] = {
        {"header: operator as written", "Select 7 \\ 2, 7 Mod 2", true, "7 \\ 2,7 Mod 2\n3,1\n", ""},
        {"header: alias with and without As", "Select 1 As one, 2 two", true, "one,two\n1,2\n", ""},
        {"header: qualified column", "Select x.b From (Select 1 As b) x", true, "b\n1\n", ""},
        {"header: geometry column", "Select obj, Name From countries Limit 1", true, "obj,Name\n…", ""},
        {"header: hidden columns from the asterisk", "Select * From countries Limit 1", true, "name,continent,iso_a3,pop_est,gdp_md_est,obj\n…", ""},
        {"header: asterisk keeps the names beside it", "Select 0 As a, *, Upper( 'q' ) From (Select 1 As b, 2 As c)", true,
         "a,b,c,Upper( 'q' )\n0,1,2,Q\n", ""},
        {"header: sub-query and Distinct", "Select Distinct (Select 1), 2 From (Select 1) Where 1 = 1", true, "(Select 1),2\n1,2\n", ""},
        {"header: the first part of a compound query", "Select 1 As k Union Select 2 As z", true, "k\n1\n2\n", ""},
        {"SQLite's error text", "Select 1 / 0", false, "", "Division by zero"},
        {"syntax error with its place", "Select 1 +", false, "", "line 1, column 11: expected an expression"},
        {"unknown function before SQLite", "Select Abs(1),\n  NoSuchFunction(1)", false, "",
         "line 2, column 3: unknown or disallowed function: NoSuchFunction"},
        {"rownum out of place", "Select 1 Where rownum > 1", false, "", "rownum may stand only in the select list"},
        {"third line of a script", "Select 1 As a;\n-- note\nSelect Frobnicate(1);", false, "a\n1\n",
         "error: line 3, column 8: unknown or disallowed function: Frobnicate"},
        {"a later statement on the line", "Select 1 As a;\nSelect 2 As b; Select Frob(3);", false, "a\n1\nb\n2\n",
         "error: line 2, column 23: unknown or disallowed function: Frob"},
        {"the statement's line without a place", "Select 1 As a;\nSelect * From nowhere;", false, "a\n1\n", "error: line 2: no such table: nowhere"},
        {"syntax error in a later statement", "Select 1 As a;\n\n  Select 2 +\n 3 +;", false, "a\n1\n", "line 4, column 5: expected an expression"},
        {"column after a statement on the same line", "Select 1 As a;\nSelect 2 As b; Select (;", false, "a\n1\nb\n2\n",
         "line 2, column 24: expected an expression"},
        {"nothing selected", "Select * From Selection", false, "", "nothing is selected"},
        {"unknown unit", "Select Area(obj, \"furlongs\") From parcels", false, "", "furlongs"},
        {"functions", ".functions", true, "…\nLambertDistance\n…", ""},
        {"aggregates", ".functions 2", true, "…\nWtAvg\n…", ""},
        {"bad mask", ".functions scalar", false, "", "MASK"},
        {"operators", ".operators", true, "1\n2\n3\n…\n9\n11\n…", ""},
        {"index: unknown table", ".index nowhere name", false, "", "no table nowhere is open"},
        {"index: unknown column", ".index countries nothing", false, "", "table countries has no column nothing"},
        {"index: geometry column", ".index countries obj", false, "", "cannot be indexed"},
        {"index: unknown index", ".dropindex countries 999", false, "", "table countries has no index 999"},
        {"index: argument count", ".dropindex countries", false, "", "usage: .dropindex TABLE INDEX"},
        {"unknown command", ".nothing", false, "", "unknown command .nothing"},
        {"plugins", ".plugins", true, "name,version,file\nengine,0.1.0,…", ""},
        {"meta-commands between statements", "Select 1 As a;\n  .headers off\nSelect 2 As b", true, "a\n1\n2\n", ""},
        {"a dot inside a string", "Select 'x\n.operators' As t", true, "t\n\"x\n.operators\"\n", ""},
        {"headers on again", ".headers off\n.headers ON\nSelect 5 As a", true, "a\n5\n", ""},
        {"headers: not a switch", ".headers maybe", false, "", "expected on or off, not 'maybe'"},
        {"null value", ".nullvalue '(null)'\nSelect Null As n, 1 As m", true, "n,m\n(null),1\n", ""},
        {"timer", ".timer on\nSelect 1 As a", true, "a\n1\nTime: … ms\n", ""},
        {"mode json", ".mode json\nSelect 1 As a", true, "[\n {\"a\": 1}\n]\n", ""},
        {"mode table", ".mode table\nSelect 1 As a", true, "a\n-\n1\n(1 row)\n", ""},
        {"mode unknown", ".mode xml", false, "", "unknown output format 'xml'"},
        {"rows changed, in a table", ".mode table\nUpdate parcels Set name = name Where name = 'far'", true, "(1 rows affected)\n", ""},
    };
    for (const auto& c : cases) {
        shell->setOptions(csvOptions());
        const ShellOutcome o = run(QString::fromUtf8(c.script));
        EXPECT_EQ(o.ok, c.ok) << c.name << ": " << o.err.toStdString();
        EXPECT_TRUE(matchesPattern(o.out, QString::fromUtf8(c.out))) << c.name << ": " << o.out.toStdString();
        EXPECT_TRUE(o.err.contains(QString::fromUtf8(c.err))) << c.name << ": " << o.err.toStdString();
    }
    // .help lists every command; .functions only what the function module registered.
    const QString help = QLatin1Char('\n') + run(QStringLiteral(".help")).out;
    for (const char* command : {".mode", ".headers", ".nullvalue", ".timer", ".output", ".read", ".eval", ".export", ".quit", ".exit", ".open",
                                ".tables", ".close", ".rename", ".schema", ".index", ".indexes", ".dropindex", ".functions", ".plugins"})
        EXPECT_TRUE(help.contains(QLatin1Char('\n') + QLatin1String(command) + QLatin1Char(' '))) << command;
    const QStringList functions = run(QStringLiteral(".functions")).out.split(QLatin1Char('\n'));
    EXPECT_FALSE(functions.contains(QStringLiteral("LambertArea")));
    EXPECT_FALSE(functions.contains(QStringLiteral("VincentyArea")));
}

TEST_F(ShellTest, TranslateOnlyAndRawModes)
{
    shell::ShellOptions options = csvOptions();
    options.translateOnly = true;
    shell->setOptions(options);
    const ShellOutcome translated = run(QStringLiteral("Select 1 / 2 Xor 3"));
    EXPECT_TRUE(translated.out.contains(QStringLiteral("divide(")) && translated.out.contains(QStringLiteral("xor(")))
        << translated.out.toStdString();
    // Plain SQLite: integer division, no dialect rewrite.
    options.translateOnly = false;
    options.raw = true;
    shell->setOptions(options);
    EXPECT_EQ(run(QStringLiteral("Select 7 / 2 As q")).out, QStringLiteral("q\n3\n"));
    // With --bail the statement after the failing one does not run.
    options.raw = false;
    options.bail = true;
    shell->setOptions(options);
    const ShellOutcome bail = run(QStringLiteral("Select From Where; Select 1"));
    EXPECT_FALSE(bail.ok);
    EXPECT_EQ(bail.out, QString());
    EXPECT_TRUE(bail.err.startsWith(QStringLiteral("error: "))) << bail.err.toStdString();
}

TEST_F(ShellTest, FilesAndEvaluation)
{
    QTemporaryDir dir;
    const auto write = [&](const char* name, const QByteArray& text) {
        QFile file(dir.filePath(QLatin1String(name)));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text);
        return file.fileName();
    };
    // .output and .read, as script lines; after .output alone the results come back.
    const QString results = dir.filePath(QStringLiteral("out.csv"));
    const QString script = write("script.sql", "Select 1 As a;\n\nSelect Frob(2);\n");
    ShellOutcome o = run(QStringLiteral(".output '%1'\n.read '%2'\n.output\nSelect 3 As c").arg(results, script));
    EXPECT_FALSE(o.ok);
    EXPECT_TRUE(o.err.contains(QStringLiteral("error: line 3, column 8: unknown or disallowed function: Frob"))) << o.err.toStdString();
    EXPECT_EQ(o.out, QStringLiteral("c\n3\n"));
    QFile written(results);
    ASSERT_TRUE(written.open(QIODevice::ReadOnly));
    EXPECT_EQ(written.readAll(), QByteArray("a\n1\n"));
    QString error;
    EXPECT_FALSE(shell->setOutput(dir.filePath(QStringLiteral("no/such/dir/x.csv")), error));
    EXPECT_TRUE(run(QStringLiteral(".read '%1'").arg(dir.filePath(QStringLiteral("missing.sql")))).err.contains(QStringLiteral("cannot read")));
    // A script that reads itself stops instead of exhausting the stack.
    const QString loop = dir.filePath(QStringLiteral("loop.sql"));
    write("loop.sql", QStringLiteral(".read '%1'\n").arg(loop).toUtf8());
    o = run(QStringLiteral(".read '%1'").arg(loop));
    EXPECT_FALSE(o.ok);
    EXPECT_TRUE(o.err.contains(QStringLiteral("nested more than 16 deep"))) << o.err.toStdString();

    // .export: only the next query's result goes to the GIS file.
    const QString exported = dir.filePath(QStringLiteral("germany.geojson"));
    o = run(QStringLiteral(".export '%1'\nSelect name, obj From countries Where iso_a3 = \"DEU\";\nSelect 4 As d").arg(exported));
    ASSERT_TRUE(o.ok) << o.err.toStdString();
    EXPECT_EQ(o.out, QStringLiteral("d\n4\n"));
    const auto germany = providers::GdalTableReader::read(exported);
    ASSERT_NE(germany, nullptr);
    EXPECT_EQ(germany->featureCount(), 1);

    // .eval over a table of the host's catalog; the expression is the rest of
    // the line as written, quotes included.
    auto* catalog = Core::instance()->findService<dp::DataCatalogWithSelection>();
    ASSERT_NE(catalog, nullptr);
    auto table = std::make_shared<dp::MemoryTable>(
        QStringLiteral("parcels2"),
        dp::TableSchema({dp::AttributeDefinitionPtr(new dp::SimpleAttributeDefinition(QStringLiteral("owner"), QMetaType::QString, 20)),
                         dp::AttributeDefinitionPtr(new dp::GeometryAttributeDefinition(QStringLiteral("shape"), {}))}));
    dp::Feature parcel = table->newFeature();
    parcel.setAttribute(0, QStringLiteral("o'Hara"));
    parcel.setGeometry(1, std::make_shared<geometry::Polygon>(QVector<geometry::Ring>{{{0, 0}, {3, 0}, {3, 2}, {0, 2}, {0, 0}}}));
    ASSERT_TRUE(table->insertFeature(parcel).isValid());
    ASSERT_TRUE(catalog->addDataObject(table));
    o = run(QStringLiteral(".eval parcels2 Upper(owner) & \" \" & CartesianArea(obj, \"sq m\")"));
    EXPECT_TRUE(o.ok) << o.err.toStdString();
    EXPECT_EQ(o.out.section(QLatin1Char('\n'), 1, 1).section(QLatin1Char(','), 1), QStringLiteral("O'HARA 6.0")) << o.out.toStdString();
    QString ignored;
    QTextStream sink(&ignored);
    EXPECT_FALSE(shell->evaluate(QStringLiteral("nowhere"), QStringLiteral("1"), sink, sink));
    EXPECT_FALSE(shell->evaluate(QStringLiteral("parcels2"), QStringLiteral("Select 1"), sink, sink)) << "not an expression";
    catalog->closeDataObject(table->id());
}

TEST_F(ShellTest, HostServicesBehindTheSqlFunctions)
{
    // The resemblance extension answers before the geometry model's fallback:
    // the middle point of a nearly straight line goes.
    auto* engine = Engine::load(Core::instance());
    const auto line = std::make_shared<geometry::LineString>(QVector<QPointF>{{0, 0}, {1, 0.00001}, {2, 0}, {3, 5}});
    const auto look = engine->cache()->tryResemblance(line);
    ASSERT_NE(look, nullptr);
    EXPECT_EQ(static_cast<const geometry::LineString&>(*look).points().size(), 3);
}

// Sources opened, listed, renamed, described, edited and closed between
// statements; then their attribute indices.
class ShellCatalogTest : public ShellFixture {
protected:
    void SetUp() override
    {
        ShellFixture::SetUp();
        ASSERT_TRUE(dir.isValid());
        gpkg = dir.filePath(QStringLiteral("world.gpkg"));
        ASSERT_TRUE(copyLayer(countries, gpkg, "GPKG", "land"));
    }
    void TearDown() override
    {
        QString error;
        for (const QString& name : shell->tableNames())
            shell->closeTable(name, error);
    }
    QTemporaryDir dir;
    QString gpkg;
};

TEST_F(ShellCatalogTest, MetaCommandsBetweenStatements)
{
    const struct {
        const char* name;
        QString script;
        bool ok;
        QString out;   // exact standard output
        QString err;   // part of standard error
    } rows[] = {
        {"open", QStringLiteral(".open %1 c").arg(countries), true, QString(), QString()},
        {"count", QStringLiteral("Select Count(*) As n From c;"), true, QStringLiteral("n\n90\n"), QString()},
        {"name taken", QStringLiteral(".open %1 C").arg(countries), false, QString(), QStringLiteral("a table named C is open")},
        {"missing file", QStringLiteral(".open /nonexistent/x.gpkg x"), false, QString(), QStringLiteral("/nonexistent/x.gpkg: no such file")},
        {"layer", QStringLiteral(".open %1:land").arg(gpkg), true, QString(), QString()},
        {"no such layer", QStringLiteral(".open %1:sea s").arg(gpkg), false, QString(), QStringLiteral("no layer named sea")},
        {"tables", QStringLiteral(".tables"), true, QStringLiteral("c\nland\n"), QString()},
        {"mixed script", QStringLiteral("Select 1 As a;\n.rename land Earth\nSelect Count(*) As n From earth Where pop_est > 1e8;"), true,
         QStringLiteral("a\n1\nn\n4\n"), QString()},
        {"renamed", QStringLiteral(".tables"), true, QStringLiteral("c\nEarth\n"), QString()},
        {"invalid name", QStringLiteral(".rename Earth \"a b\""), false, QString(), QStringLiteral("not a valid table name")},
        {"schema", QStringLiteral(".schema c"), true,
         QStringLiteral("c (ogr:%1)\n  name: name Text(254)\n  continent: continent Text(254)\n  iso_a3: iso_a3 Text(254)\n"
                        "  pop_est: pop_est REAL\n  gdp_md_est: gdp_md_est INTEGER\n  obj: cd750f8a9a2b4fac9b9b05eb53795d97 BLOB\n").arg(countries),
         QString()},
        {"close", QStringLiteral(".close c\n.tables"), true, QStringLiteral("Earth\n"), QString()},
        {"closed table", QStringLiteral("Select Count(*) From c;"), false, QString(), QStringLiteral("no such table: c")},
        {"edit the GeoPackage", QStringLiteral("Delete From Earth Where pop_est > 1e8;\nSelect Count(*) As n From Earth;"), true,
         QStringLiteral("n\n86\n"), QString()},
        // Natural Earth's Russia with its parts cut at 180 degrees: made continuous
        // they overlap, which GEOS refuses; the shape as stored answers instead
        // (expected values: SpatiaLite's ST_Contains on the same file).
        {"parts cut at 180",
         QStringLiteral(".open %1 ru\nSelect obj Contains MakePoint(-175, 65, 4326) As a, obj Contains MakePoint(-172, 67, 4326) As b,"
                        " obj Contains MakePoint(170, 65, 4326) As c, obj Contains MakePoint(100, 60, 4326) As d From ru;\n.close ru")
             .arg(QStringLiteral(TESSERA_TEST_DATA "/russia-110m.geojson")),
         true, QStringLiteral("a,b,c,d\n0,1,0,1\n"), QString()},
    };
    for (const auto& row : rows) {
        const ShellOutcome o = run(row.script);
        EXPECT_EQ(o.ok, row.ok) << row.name << ": " << o.err.toStdString();
        EXPECT_EQ(o.out.toStdString(), row.out.toStdString()) << row.name;
        EXPECT_TRUE(o.err.contains(row.err)) << row.name << ": " << o.err.toStdString();
    }
    // .eval reads the live table: a header and one row per feature left.
    const ShellOutcome evaluated = run(QStringLiteral(".eval Earth iso_a3 & \"!\""));
    EXPECT_EQ(evaluated.out.count(QLatin1Char('\n')), 87) << evaluated.out.toStdString();
    EXPECT_TRUE(evaluated.out.contains(QStringLiteral(",DEU!\n"))) << evaluated.out.toStdString();
}

TEST_F(ShellCatalogTest, IndexAnswersAsTheScan)
{
    // NULL keys for Is Null: the 8 countries whose names start with "B".
    ASSERT_EQ(run(QStringLiteral(".open %1:land t\nUpdate t Set gdp_md_est = Null Where name Like 'b%';").arg(gpkg)).err, QString());
    const struct {
        const char* name;
        const char* where;
        bool indexed;   // the plan reads the index (a plain comparison is cheaper through the source's filter)
    } rows[] = {
        {"=", "name = 'Spain'", true},
        {"= in another case", "name = 'SPAIN'", true},
        {"= without a match", "name = 'Atlantis'", true},
        {"= on a number", "gdp_md_est = 63177", true},
        {"<", "gdp_md_est < 3000", false},
        {"> and <", "gdp_md_est > 3000 And gdp_md_est < 30000", true},
        {">= and <=", "gdp_md_est >= 3000 And gdp_md_est <= 30000", true},
        {"Between", "gdp_md_est Between 1941 And 30000", true},
        {"In", "name In ('Spain', 'france', 'Nowhere')", true},
        {"Is Null", "gdp_md_est Is Null", true},
        {"Like prefix", "name Like 'S%'", true},
        {"Like prefix in another case", "name Like 'sw%'", true},
        {"= on a text and a range", "name = 'Spain' And gdp_md_est > 100", true},
    };
    // The SQLite text of each query, then its rows before any index exists.
    std::vector<QString> queries, scanned;
    for (const auto& row : rows) {
        QString sqlite, error;
        ASSERT_TRUE(shell->translate(QStringLiteral("Select name, gdp_md_est From t Where %1 Order By name").arg(QLatin1String(row.where)), sqlite, error))
            << row.name << ": " << error.toStdString();
        queries.push_back(sqlite + QLatin1Char(';'));
        scanned.push_back(run(queries.back()).out);
    }
    ASSERT_EQ(scanned[0].toStdString(), "name,gdp_md_est\nSpain,1393490\n");
    ASSERT_EQ(scanned[9].count(QLatin1Char('\n')), 9) << scanned[9].toStdString();
    ASSERT_EQ(run(QStringLiteral(".index t name\n.index t gdp_md_est")).out,
              QStringLiteral("index 1 on t (name): 90 rows\nindex 2 on t (gdp_md_est): 90 rows\n"));
    const ShellOutcome listed = run(QStringLiteral(".indexes T"));
    EXPECT_TRUE(listed.ok) << listed.err.toStdString();
    EXPECT_EQ(listed.out, QStringLiteral("table,index,columns,rows\nt,1,name,90\nt,2,gdp_md_est,90\n"));

    shell::ShellOptions raw = csvOptions();
    raw.raw = true;
    shell->setOptions(raw);
    const auto indexed = [&](const QString& query) { return run(QStringLiteral("Explain Query Plan ") + query).out.contains(QLatin1String("index ")); };
    for (std::size_t i = 0; i < queries.size(); ++i) {
        EXPECT_EQ(run(queries[i]).out.toStdString(), scanned[i].toStdString()) << rows[i].name;
        EXPECT_EQ(indexed(queries[i]), rows[i].indexed) << rows[i].name;
    }

    // An edit drops the table's indices: no row id of the old data is served.
    EXPECT_TRUE(run(QStringLiteral("Update t Set name = 'Espana' Where name = 'Spain';")).ok);
    EXPECT_FALSE(indexed(queries[0]));
    EXPECT_EQ(run(QStringLiteral(".indexes")).out, QStringLiteral("table,index,columns,rows\n"));
    // So do .dropindex, a reset of the table's management and closing the table.
    const auto indexName = [&] { return run(QStringLiteral(".index t name")).out.section(QLatin1Char(' '), 1, 1); };
    EXPECT_TRUE(run(QStringLiteral(".dropindex t %1").arg(indexName())).ok);
    EXPECT_FALSE(indexed(queries[0]));
    indexName();
    EXPECT_TRUE(indexed(queries[0]));
    shell->engine().clearIndices(shell->table(QStringLiteral("t")));
    EXPECT_FALSE(indexed(queries[0]));
    indexName();
    EXPECT_EQ(run(QStringLiteral(".close t\n.open %1:land t\n.indexes").arg(gpkg)).out, QStringLiteral("table,index,columns,rows\n"));
    EXPECT_FALSE(indexed(queries[0]));
}

} // namespace
} // namespace tessera::test
