// The shell's catalog: sources opened live, listed, renamed, described and
// closed through meta-commands between statements.

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
    Shell shell(options);

    const struct {
        const char* name;
        QString script;
        bool ok;
        QString out;   // exact standard output
        QString err;   // part of standard error
    } rows[] = {
        {"open", QStringLiteral(".open %1 c").arg(countries), true, QString(), QString()},
        {"count", QStringLiteral("Select Count(*) As n From c;"), true, QStringLiteral("n\r\n90\r\n"), QString()},
        {"name taken", QStringLiteral(".open %1 C").arg(countries), false, QString(), QStringLiteral("a table named C is open")},
        {"missing file", QStringLiteral(".open /nonexistent/x.gpkg x"), false, QString(), QStringLiteral("/nonexistent/x.gpkg: no such file")},
        {"layer", QStringLiteral(".open %1:land").arg(gpkg), true, QString(), QString()},
        {"no such layer", QStringLiteral(".open %1:sea s").arg(gpkg), false, QString(), QStringLiteral("no layer named sea")},
        {"tables", QStringLiteral(".tables"), true, QStringLiteral("c\nland\n"), QString()},
        {"mixed script", QStringLiteral("Select 1 As a;\n.rename land Earth\nSelect Count(*) As n From earth Where pop_est > 1e8;"), true,
         QStringLiteral("a\r\n1\r\nn\r\n4\r\n"), QString()},
        {"renamed", QStringLiteral(".tables"), true, QStringLiteral("c\nEarth\n"), QString()},
        {"invalid name", QStringLiteral(".rename Earth \"a b\""), false, QString(), QStringLiteral("not a valid table name")},
        {"schema", QStringLiteral(".schema c"), true,
         QStringLiteral("c (ogr:%1)\n  name: name Text(254)\n  continent: continent Text(254)\n  iso_a3: iso_a3 Text(254)\n"
                        "  pop_est: pop_est REAL\n  gdp_md_est: gdp_md_est INTEGER\n  obj: cd750f8a9a2b4fac9b9b05eb53795d97 BLOB\n").arg(countries),
         QString()},
        {"close", QStringLiteral(".close c\n.tables"), true, QStringLiteral("Earth\n"), QString()},
        {"closed table", QStringLiteral("Select Count(*) From c;"), false, QString(), QStringLiteral("no such table: c")},
        {"edit the GeoPackage", QStringLiteral("Delete From Earth Where pop_est > 1e8;\nSelect Count(*) As n From Earth;"), true,
         QStringLiteral("n\r\n86\r\n"), QString()},
        {"unknown command", QStringLiteral(".frobnicate"), false, QString(), QStringLiteral("unknown command")},
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
}

} // namespace
