// The shell's catalog: sources opened live, listed, renamed, described and
// closed through meta-commands between statements; attribute indices built
// with .index answering the table adapter's constraints.

#include "engine/Engine.h"
#include "tests/engine/TestApplication.h"
#include "tools/tessera-sql/Shell.h"

#include <QTemporaryDir>
#include <QTextStream>
#include <gdal_utils.h>
#include <gtest/gtest.h>

using namespace tessera::shell;

namespace {

const QString countries = QStringLiteral(TESSERA_TEST_DATA "/countries.geojson");

// The sample countries as layer "land" of a GeoPackage in `dir`.
QString geoPackage(const QTemporaryDir& dir)
{
    const QString path = dir.filePath(QStringLiteral("world.gpkg"));
    GDALAllRegister();
    GDALDatasetH source = GDALOpenEx(countries.toUtf8().constData(), GDAL_OF_VECTOR, nullptr, nullptr, nullptr);
    const char* args[] = {"-f", "GPKG", "-nln", "land", nullptr};
    GDALVectorTranslateOptions* options = GDALVectorTranslateOptionsNew(const_cast<char**>(args), nullptr);
    GDALDatasetH copy = GDALVectorTranslate(path.toUtf8().constData(), nullptr, 1, &source, options, nullptr);
    GDALVectorTranslateOptionsFree(options);
    GDALClose(source);
    if (!copy)
        return QString();
    GDALClose(copy);
    return path;
}

TEST(ShellCatalog, MetaCommandsBetweenStatements)
{
    QTemporaryDir dir;
    const QString gpkg = geoPackage(dir);
    ASSERT_FALSE(gpkg.isEmpty());
    ShellOptions options;
    options.format = OutputFormat::Csv;
    options.pluginPaths << QStringLiteral(TESSERA_PLUGIN_DIR);
    Shell shell(options);

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
        {"unknown command", QStringLiteral(".frobnicate"), false, QString(), QStringLiteral("unknown command")},
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
        QString out, err;
        QTextStream o(&out), e(&err);
        EXPECT_EQ(shell.runScript(row.script, o, e), row.ok) << row.name << ": " << err.toStdString();
        o.flush();
        e.flush();
        if (row.ok) {
            EXPECT_EQ(out.toStdString(), row.out.toStdString()) << row.name;
        }
        EXPECT_TRUE(err.contains(row.err)) << row.name << ": " << err.toStdString();
    }
    // One dispatcher: .help lists the catalog's commands with the others.
    QString help;
    QTextStream h(&help), e(&help);
    ASSERT_TRUE(shell.runScript(QStringLiteral(".help"), h, e));
    h.flush();
    for (const char* command : {".open PATH", ".tables", ".close NAME", ".rename OLD NEW", ".schema [NAME]", ".index TABLE", ".functions",
                                ".eval TABLE", ".mode", ".quit"})
        EXPECT_TRUE(help.contains(QLatin1String(command))) << command;

    // .eval reads a live table of the same catalog: one row per feature.
    QString evaluated;
    QTextStream v(&evaluated);
    ASSERT_TRUE(shell.runScript(QStringLiteral(".open %1 k\n.eval k iso_a3 & \"!\"").arg(countries), v, v)) << evaluated.toStdString();
    v.flush();
    EXPECT_EQ(evaluated.count(QLatin1Char('\n')), 91) << evaluated.toStdString();
    EXPECT_TRUE(evaluated.contains(QStringLiteral(",DEU!\n"))) << evaluated.toStdString();
}

// Runs `script`; its standard output, or "error: ..." when it failed.
QString run(Shell& shell, const QString& script)
{
    QString out, err;
    QTextStream o(&out), e(&err);
    const bool ok = shell.runScript(script, o, e);
    o.flush();
    e.flush();
    return ok ? out : err;
}

TEST(ShellCatalog, IndexAnswersAsTheScan)
{
    QTemporaryDir dir;
    const QString gpkg = geoPackage(dir);
    ASSERT_FALSE(gpkg.isEmpty());
    ShellOptions options;
    options.format = OutputFormat::Csv;
    options.pluginPaths << QStringLiteral(TESSERA_PLUGIN_DIR);
    Shell shell(options);
    // NULL keys for Is Null: the 8 countries whose names start with "B".
    ASSERT_EQ(run(shell, QStringLiteral(".open %1:land t\nUpdate t Set gdp_md_est = Null Where name Like 'b%';").arg(gpkg)), QString());

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
        ASSERT_TRUE(shell.translate(QStringLiteral("Select name, gdp_md_est From t Where %1 Order By name").arg(QLatin1String(row.where)),
                                    sqlite, error))
            << row.name << ": " << error.toStdString();
        queries.push_back(sqlite + QLatin1Char(';'));
        scanned.push_back(run(shell, queries.back()));
    }
    ASSERT_EQ(scanned[0].toStdString(), "name,gdp_md_est\nSpain,1393490\n");
    ASSERT_EQ(scanned[9].count(QLatin1Char('\n')), 9) << scanned[9].toStdString();
    ASSERT_EQ(run(shell, QStringLiteral(".index t name\n.index t gdp_md_est")),
              QStringLiteral("index 1 on t (name): 90 rows\nindex 2 on t (gdp_md_est): 90 rows\n"));

    options.raw = true;
    shell.setOptions(options);
    const auto plan = [&](const QString& query) { return run(shell, QStringLiteral("Explain Query Plan ") + query); };
    for (std::size_t i = 0; i < queries.size(); ++i) {
        EXPECT_EQ(run(shell, queries[i]).toStdString(), scanned[i].toStdString()) << rows[i].name;
        EXPECT_EQ(plan(queries[i]).contains(QLatin1String("index ")), rows[i].indexed) << rows[i].name << ": " << plan(queries[i]).toStdString();
    }

    // An edit drops the table's indices: no row id of the old data is served.
    EXPECT_EQ(run(shell, QStringLiteral("Update t Set name = 'Espana' Where name = 'Spain';")), QString());
    EXPECT_FALSE(plan(queries[0]).contains(QLatin1String("index ")));
    EXPECT_EQ(run(shell, QStringLiteral(".indexes")), QStringLiteral("table,index,columns,rows\n"));
    // So do a reset of the table's management and closing the table.
    ASSERT_TRUE(run(shell, QStringLiteral(".index t name")).startsWith(QLatin1String("index ")));
    EXPECT_TRUE(plan(queries[0]).contains(QLatin1String("index ")));
    shell.engine().clearIndices(shell.table(QStringLiteral("t")));
    EXPECT_FALSE(plan(queries[0]).contains(QLatin1String("index ")));
    ASSERT_TRUE(run(shell, QStringLiteral(".index t name")).startsWith(QLatin1String("index ")));
    EXPECT_EQ(run(shell, QStringLiteral(".close t\n.open %1:land t\n.indexes").arg(gpkg)), QStringLiteral("table,index,columns,rows\n"));
    EXPECT_FALSE(plan(queries[0]).contains(QLatin1String("index ")));
}

} // namespace
