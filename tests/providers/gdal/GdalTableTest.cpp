// The live GDAL table: reading on demand, filters, edits that reach the file,
// and the table adapter over it.

#include "providers/gdal/GdalTable.h"

#include "platform/dp/Feature.h"
#include "platform/geometry/Geometry.h"
#include "tests/support/GdalLayerCopy.h"
#include "tests/support/TableAdapterFixture.h"

#include <QFile>
#include <QTemporaryDir>
#include <future>

namespace tessera::test {
namespace {

using providers::GdalTable;

const QString countries = QStringLiteral(TESSERA_TEST_DATA "/countries.geojson");

QStringList names(dp::FeatureCursor& cursor, int attribute)
{
    QStringList result;
    while (auto f = cursor.next())
        result << f->getAttribute(attribute).toString();
    result.sort();
    return result;
}

TEST(GdalTable, ReadsOnDemandWithFiltersAndFeatureIds)
{
    const auto table = GdalTable::open(countries, {});
    EXPECT_EQ(table->featureCount(), 90);
    EXPECT_FALSE(table->isEditable());   // GeoJSON is not edited in place
    const int name = table->schema().indexOf(QStringLiteral("name"));
    const int population = table->schema().indexOf(QStringLiteral("pop_est"));

    // Brute force: every feature through the cursor, and each again by id.
    QStringList big, inEurope;
    const QRectF europe(QPointF(5, 45), QPointF(15, 55));
    auto all = table->features();
    int read = 0;
    while (auto f = all->next()) {
        ++read;
        const auto again = table->feature(f->id());
        ASSERT_TRUE(again);
        EXPECT_EQ(again->getAttribute(name), f->getAttribute(name));
        if (f->getAttribute(population).toDouble() > 1e8)
            big << f->getAttribute(name).toString();
        const QRectF box = f->geometry()->boundingRect().normalized();
        if (box.left() <= europe.right() && europe.left() <= box.right() && box.top() <= europe.bottom() && europe.top() <= box.bottom())
            inEurope << f->getAttribute(name).toString();
    }
    EXPECT_EQ(read, 90);
    big.sort();

    dp::FeatureFilter filter;
    filter.conditions << dp::AttributeCondition{population, dp::AttributeCondition::Greater, 1e8};
    EXPECT_EQ(table->attributeFilter(filter), QStringLiteral("\"pop_est\" > 100000000"));
    EXPECT_EQ(names(*table->filteredFeatures(filter), name), big);
    EXPECT_GE(big.size(), 3);   // a real filter: some, not all

    // OGR's spatial filter keeps features whose geometry meets the box: a
    // subset of those whose bounds do, holding Germany for sure.
    dp::FeatureFilter spatial;
    spatial.bounds = europe;
    const QStringList found = names(*table->filteredFeatures(spatial), name);
    EXPECT_TRUE(found.contains(QStringLiteral("Germany"))) << found.join(',').toStdString();
    for (const QString& n : found)
        EXPECT_TRUE(inEurope.contains(n)) << n.toStdString();

    EXPECT_FALSE(table->feature(dp::FeatureId(QStringLiteral("not a number"))));
    EXPECT_FALSE(table->feature(dp::FeatureId(100000)));
}

TEST(GdalTable, NestedAndParallelCursorsKeepTheirOwnPositions)
{
    const auto table = GdalTable::open(countries, {});
    auto outer = table->features();
    int pairs = 0;
    for (int i = 0; i < 3 && outer->next(); ++i) {
        auto inner = table->features();
        while (inner->next())
            ++pairs;
    }
    EXPECT_EQ(pairs, 3 * 90);
    std::vector<std::future<int>> counts;
    for (int t = 0; t < 4; ++t)
        counts.push_back(std::async(std::launch::async, [&] {
            int n = 0;
            auto cursor = table->features();
            while (cursor->next())
                ++n;
            return n;
        }));
    for (auto& c : counts)
        EXPECT_EQ(c.get(), 90);
}

TEST(GdalTable, MissingSourcesFailClearly)
{
    EXPECT_THROW(GdalTable::open(QStringLiteral("/nonexistent/x.gpkg"), {}), providers::GdalError);
    GdalTable::Options options;
    options.layer = QStringLiteral("no_such_layer");
    try {
        GdalTable::open(countries, options);
        FAIL() << "no exception";
    } catch (const providers::GdalError& e) {
        EXPECT_NE(std::string(e.what()).find("no layer named no_such_layer"), std::string::npos) << e.what();
    }
}

class GdalAdapterTest : public TableAdapterFixture {};

TEST_F(GdalAdapterTest, SqlEditsReachTheGeoPackageFile)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("countries.gpkg"));
    ASSERT_TRUE(copyLayer(countries, path, "GPKG", "countries"));
    {
        GdalTable::Options options;
        options.name = QStringLiteral("c");
        auto table = GdalTable::open(path, options);
        ASSERT_TRUE(table->isEditable());
        EXPECT_EQ(table->driverName(), QStringLiteral("GPKG"));
        catalog.addDataObject(table);
        QString error;
        ASSERT_TRUE(run(QStringLiteral("Update c Set pop_est = 1 Where name = 'Germany'"), &error)) << error.toStdString();
        ASSERT_TRUE(run(QStringLiteral("Delete From c Where name = 'France'"), &error)) << error.toStdString();
        ASSERT_TRUE(run(QStringLiteral("Insert Into c (name, pop_est, %1) Select 'Copyland', 7, %1 From c Where name = 'Spain'").arg(g()), &error))
            << error.toStdString();
        // Seen through the provider at once.
        const int name = table->schema().indexOf(QStringLiteral("name"));
        const int population = table->schema().indexOf(QStringLiteral("pop_est"));
        QMap<QString, double> seen;
        auto cursor = table->features();
        while (auto f = cursor->next())
            seen[f->getAttribute(name).toString()] = f->getAttribute(population).toDouble();
        EXPECT_EQ(seen.value(QStringLiteral("Germany")), 1.0);
        EXPECT_FALSE(seen.contains(QStringLiteral("France")));
        EXPECT_EQ(seen.value(QStringLiteral("Copyland")), 7.0);
        catalog.closeDataObject(table->id());
    }
    // And in the file, opened afresh after closing.
    GDALDatasetH file = GDALOpenEx(path.toUtf8().constData(), GDAL_OF_VECTOR | GDAL_OF_READONLY, nullptr, nullptr, nullptr);
    ASSERT_TRUE(file);
    OGRLayerH layer = GDALDatasetGetLayer(file, 0);
    EXPECT_EQ(OGR_L_GetFeatureCount(layer, TRUE), 90);
    OGR_L_SetAttributeFilter(layer, "name IN ('Germany', 'Copyland')");
    QMap<QString, double> inFile;
    while (OGRFeatureH f = OGR_L_GetNextFeature(layer)) {
        inFile[QString::fromUtf8(OGR_F_GetFieldAsString(f, OGR_F_GetFieldIndex(f, "name")))] = OGR_F_GetFieldAsDouble(f, OGR_F_GetFieldIndex(f, "pop_est"));
        EXPECT_TRUE(OGR_F_GetGeometryRef(f));
        OGR_F_Destroy(f);
    }
    GDALClose(file);
    EXPECT_EQ(inFile.value(QStringLiteral("Germany")), 1.0);
    EXPECT_EQ(inFile.value(QStringLiteral("Copyland")), 7.0);
}

TEST_F(GdalAdapterTest, AnswersEqualAFullReading)
{
    GdalTable::Options options;
    options.name = QStringLiteral("c");
    catalog.addDataObject(GdalTable::open(countries, options));
    // Attribute-only passes first read the layer without geometries; those
    // read afterwards are all there.
    EXPECT_EQ(column(QStringLiteral("Select Count(*) From c Where pop_est > 0")), QStringList{QStringLiteral("90")});
    ASSERT_TRUE(run(QStringLiteral("Create Temp Table plain As Select rowid As r, name, pop_est, %1 As obj From c").arg(g())));
    EXPECT_EQ(column(QStringLiteral("Select Count(*) From plain Where obj Is Null")), QStringList{QStringLiteral("0")});
    const struct {
        const char* name;
        QString adapted;
        QString plain;
    } rows[] = {
        {"attribute filter in OGR", QStringLiteral("Select name From c Where pop_est > 1e8 And pop_est <= 1e9 Order By 1"),
         QStringLiteral("Select name From plain Where pop_est > 1e8 And pop_est <= 1e9 Order By 1")},
        {"rowid in", QStringLiteral("Select name From c Where rowid In (Select rowid From c Where name Like 'B%') Order By 1"),
         QStringLiteral("Select name From plain Where r In (Select r From plain Where name Like 'B%') Order By 1")},
        {"self-join", QStringLiteral("Select Count(*) From c a, c b Where a.rowid < b.rowid And GeometryIntersects(a.%1, b.%1)").arg(g()),
         QStringLiteral("Select Count(*) From plain a, plain b Where a.r < b.r And GeometryIntersects(a.obj, b.obj)")},
        {"within a subquery's geometry",
         QStringLiteral("Select name From c Where GeometryIntersects(%1, (Select %1 From c Where name = 'Germany')) Order By 1").arg(g()),
         QStringLiteral("Select name From plain Where GeometryIntersects(obj, (Select obj From plain Where name = 'Germany')) Order By 1")},
    };
    for (const auto& row : rows)
        EXPECT_EQ(column(row.adapted).join(',').toStdString(), column(row.plain).join(',').toStdString()) << row.name;
    // Germany has nine neighbours in the sample or fewer, and itself.
    EXPECT_GE(column(rows[3].adapted).size(), 2);

    QString error;
    EXPECT_FALSE(run(QStringLiteral("Delete From c"), &error));
    EXPECT_TRUE(error.contains(QStringLiteral("table c is read-only"))) << error.toStdString();
    EXPECT_EQ(column(QStringLiteral("Select Count(*) From c")), QStringList{QStringLiteral("90")});
}

} // namespace
} // namespace tessera::test
