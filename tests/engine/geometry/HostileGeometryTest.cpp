// Bytes and shapes that once crashed the process or took gigabytes: each row
// must now give NULL or the right answer, quickly.

#include "engine/geometry/EngineGeometry.h"
#include "engine/geometry/GaiaBlobLayout.h"
#include "engine/geometry/GaiaDecoding.h"
#include "platform/geometry/Geometry.h"

#include "tests/support/SqlGeometryHarness.h"

#include <QByteArray>
#include <gtest/gtest.h>
#include <limits>
#include <memory>
#include <string>

namespace tessera::engine::test {
namespace {

using namespace tessera::test;

const unsigned char* bytesOf(const QByteArray& b)
{
    return reinterpret_cast<const unsigned char*>(b.constData());
}

std::string sqlBlob(const QByteArray& bytes)
{
    return "X'" + bytes.toHex().toStdString() + "'";
}

TEST(HostileGeometry, LayoutChecksRefuseCountsBeyondTheBytes)
{
    struct Row {
        const char* name;
        const char* hex;
    };
    // Counts are little-endian unless the row says otherwise.
    const Row rows[] = {
        {"FGF line cut after its type", "02000000"},
        {"FGF point without coordinates", "0100000000000000"},
        {"FGF line of 2^31 points", "0200000000000000ffffff7f0000000000000000"},
        {"FGF multi-point of 2^28 members", "0400000000000010" "01000000000000000000000000000000000000000000000000000000"},
        {"FGF multi-line holding a point", "05000000010000000100000000000000" "00000000000000000000000000000000"},
        {"FGF dimensionality 7", "01000000070000000000000000000000000000000000000000000000"},
        // 16 x 2^28 overflows a C int to 0: SpatiaLite's own check passes and 4 GB are asked for.
        {"WKB line of 2^28 points", "0102000000000000100000000000000000000000000000000000000000"},
        {"WKB polygon of 2^31 rings", "0103000000ffffff7f00000000"},
        {"big-endian WKB line of 2^31 points", "00000000027fffffff0000000000000000"},
        {"WKB collection inside a collection", "0107000000010000000107000000000000000000"},
        {"WKB with an embedded SRID", "0101000020e610000000000000000000000000000000000000"},
        {"SpatiaLite blob collection of 2^31 members",
         "0001e6100000" "0000000000000000" "0000000000000000" "0000000000000000" "0000000000000000" "7c" "07000000" "ffffff7f"
         "69010000000000000000000000000000000000000000" "fe"},
        {"SpatiaLite blob ending before its end mark",
         "0001e6100000" "0000000000000000" "0000000000000000" "0000000000000000" "0000000000000000" "7c" "02000000" "02000000"
         "00000000000000000000000000000000" "fe"},
        {"tiny point cut short", "0081e61000000100000000000000fe"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const QByteArray bytes = QByteArray::fromHex(row.hex);
        EXPECT_FALSE(fitsSpatiaLiteBlob(bytesOf(bytes), bytes.size()));
        EXPECT_FALSE(fitsWkb(bytesOf(bytes), bytes.size()));
        EXPECT_FALSE(fitsFgf(bytesOf(bytes), bytes.size()));
        EXPECT_EQ(toGaia(bytesOf(bytes), bytes.size()), nullptr);
    }

    SqlGeometryHarness sql;
    // Once a read past the end of the blob gave 8.9e249 here.
    for (int i = 0; i < 4; ++i)
        EXPECT_TRUE(sql.isNull("Select objectlen(X'02000000', 'km')"));
    EXPECT_TRUE(sql.isNull("Select GeometryIntersects(X'0102000000000000100000000000000000000000000000000000000000', "
                           "X'0103000000ffffff7f00000000')"));
}

TEST(HostileGeometry, LayoutChecksAcceptWhatSpatiaLiteWrites)
{
    SqlGeometryHarness sql;
    const char* const shapes[] = {
        "POINT(1 2)",
        "LINESTRING(0 0, 1 1, 2 5)",
        "POLYGON((0 0, 10 0, 10 10, 0 10, 0 0), (2 2, 4 2, 4 4, 2 2))",
        "MULTIPOINT(1 2, 3 4)",
        "MULTILINESTRING((0 0, 1 1), (2 2, 3 3, 4 4))",
        "MULTIPOLYGON(((0 0, 1 0, 1 1, 0 0)), ((5 5, 6 5, 6 6, 5 5)))",
        "GEOMETRYCOLLECTION(POINT(1 2), LINESTRING(0 0, 1 1), POLYGON((0 0, 1 0, 1 1, 0 0)))",
        "LINESTRING Z(0 0 1, 1 1 2, 2 5 3)",
        "POLYGON M((0 0 1, 10 0 2, 10 10 3, 0 0 1))",
        "MULTILINESTRING ZM((0 0 1 2, 1 1 2 3), (5 5 0 0, 6 6 0 0, 7 7 0 0))",
    };
    struct Form {
        const char* name;
        const char* sql;   // %s is the geometry
        bool (*fits)(const unsigned char*, std::size_t);
    };
    const Form forms[] = {
        {"blob", "Select GeomFromText('%s', 4326)", fitsSpatiaLiteBlob},
        {"compressed blob", "Select CompressGeometry(GeomFromText('%s', 4326))", fitsSpatiaLiteBlob},
        {"WKB", "Select AsBinary(GeomFromText('%s'))", fitsWkb},
        {"FGF", "Select AsFGF(GeomFromText('%s'), 0)", fitsFgf},
    };
    for (const Form& form : forms) {
        for (const char* shape : shapes) {
            std::string text = form.sql;
            text.replace(text.find("%s"), 2, shape);
            SCOPED_TRACE(text);
            const QByteArray bytes = sql.query(text).blob;
            if (bytes.isEmpty())
                continue;   // a form SpatiaLite does not write for this kind (FGF has no collections)
            EXPECT_TRUE(form.fits(bytesOf(bytes), bytes.size()));
            // SpatiaLite writes FGF multi-points and collections that it does
            // not read back; every other form decodes.
            std::unique_ptr<gaiaGeomColl, GaiaDeleter> g(toGaia(bytesOf(bytes), bytes.size()));
            if (form.fits != fitsFgf || (bytes.at(0) != 4 && bytes.at(0) != 7)) {
                EXPECT_TRUE(g);
            }
            // Every cut is refused before SpatiaLite reads it.
            for (int cut = 0; cut < bytes.size(); ++cut)
                EXPECT_FALSE(form.fits(bytesOf(bytes), cut)) << cut;
        }
    }
}

TEST(HostileGeometry, EmptyPartsNeverReachGeos)
{
    using namespace geometry;
    const QVector<QPointF> line{{0, 0}, {1, 0}, {2, 0}};
    const std::shared_ptr<Geometry> multiLine = std::make_shared<MultiLineString>(QVector<QVector<QPointF>>{line, {}});
    const std::shared_ptr<Geometry> collection = std::make_shared<GeometryCollection>(
        std::vector<std::shared_ptr<Geometry>>{std::make_shared<LineString>(), std::make_shared<LineString>(line)});
    const std::shared_ptr<Geometry> emptyFirst = std::make_shared<MultiLineString>(QVector<QVector<QPointF>>{{}, line});

    SqlGeometryHarness sql;
    for (const auto& g : {multiLine, collection, emptyFirst}) {
        const std::string blob = sqlBlob(EngineGeometry::serialize(g, [](const auto&, const auto&) {}));
        SCOPED_TRACE(blob);
        EXPECT_DOUBLE_EQ(sql.real("Select CentroidX(" + blob + ")"), 1.0);
        EXPECT_DOUBLE_EQ(sql.real("Select CentroidY(" + blob + ")"), 0.0);
        EXPECT_EQ(sql.text("Select AsText(Centroid(" + blob + "))"), "POINT(1 0)");
        EXPECT_EQ(sql.integer("Select GeometryIntersects(" + blob + ", GeomFromText('POINT(1 0)'))"), 1);
    }
}

TEST(HostileGeometry, NonFiniteCoordinatesNeverReachGeos)
{
    // Found by fuzzing: GEOS dereferenced null for the interior point of NaN points.
    using namespace geometry;
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    const std::shared_ptr<Geometry> shapes[] = {
        std::make_shared<MultiPoint>(QVector<QPointF>{{1, 1}, {nan, nan}}),
        std::make_shared<Point>(QPointF(inf, 0)),
        std::make_shared<LineString>(QVector<QPointF>{{0, 0}, {nan, 1}, {2, 2}}),
        std::make_shared<MultiLineString>(QVector<QVector<QPointF>>{{{0, 0}, {1, 1}}, {{0, 0}, {-inf, 1}}}),
        std::make_shared<Polygon>(QVector<Ring>{{{0, 0}, {4, 0}, {4, nan}, {0, 0}}}),
    };
    SqlGeometryHarness sql;
    for (const auto& g : shapes) {
        const std::string blob = sqlBlob(EngineGeometry::serialize(g, [](const auto&, const auto&) {}));
        SCOPED_TRACE(blob);
        for (const char* call : {"Centroid(%s)", "CentroidX(%s)", "GeometryIntersects(%s, %s)", "ContainsCentroid(%s, %s)",
                                 "NearestPoints(%s, GeomFromText('POINT(0 0)'))", "MakeValidGeo(%s)"}) {
            std::string text = std::string("Select ") + call;
            for (std::size_t at; (at = text.find("%s")) != std::string::npos;)
                text.replace(at, 2, blob);
            const SqlValue r = sql.query(text);
            EXPECT_TRUE(r.type == 0 || r.type == SQLITE_NULL) << call << " gave type " << r.type;
        }
    }
}

} // namespace
} // namespace tessera::engine::test
