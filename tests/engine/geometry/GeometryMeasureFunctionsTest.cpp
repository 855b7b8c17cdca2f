// The measuring SQL functions, called through SQL under their dialect names,
// checked against values worked out independently of the host's algorithms:
// published geodesic distances, closed-form areas on the sphere and the
// ellipsoid, and planar figures measured by hand.

#include "tests/support/SqlGeometryHarness.h"
#include "tests/support/EngineApplication.h"

#include "engine/geometry/GeometryMeasureFunctions.h"
#include "platform/geometry/Geometry.h"

#include <GeographicLib/Geodesic.hpp>

#include <cmath>
#include <cstdio>
#include <string>

namespace tessera::engine::test {
namespace {

using namespace tessera::test;

constexpr double pi = 3.14159265358979323846;
constexpr double degree = pi / 180.0;
constexpr double meanEarthRadius = 6371008.8;
constexpr double wgs84A = 6378137.0;
constexpr double wgs84F = 1.0 / 298.257223563;

std::string number(double v)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.12f", v);
    return text;
}

std::string point(double x, double y, int srid = 0)
{
    return "GeomFromText('POINT(" + number(x) + " " + number(y) + ")'"
        + (srid ? ", " + std::to_string(srid) : std::string()) + ")";
}

std::string geom(const std::string& wkt, int srid = 0)
{
    return "GeomFromText('" + wkt + "'" + (srid ? ", " + std::to_string(srid) : std::string()) + ")";
}

// Great-circle distance on the mean-radius sphere (haversine).
double haversine(double lon1, double lat1, double lon2, double lat2)
{
    const double dlat = (lat2 - lat1) * degree;
    const double dlon = (lon2 - lon1) * degree;
    const double h = std::pow(std::sin(dlat / 2), 2)
        + std::cos(lat1 * degree) * std::cos(lat2 * degree) * std::pow(std::sin(dlon / 2), 2);
    return 2 * meanEarthRadius * std::asin(std::sqrt(h));
}

// Area on the WGS84 ellipsoid between the equator and latitude `lat`, over
// one degree of longitude (closed form through the authalic latitude).
double ellipsoidBandArea(double lat)
{
    const double e2 = wgs84F * (2 - wgs84F);
    const double e = std::sqrt(e2);
    const double b = wgs84A * (1 - wgs84F);
    const double s = std::sin(lat * degree);
    const double q = s / (1 - e2 * s * s) + std::log((1 + e * s) / (1 - e * s)) / (2 * e);
    return b * b / 2 * degree * q;
}

const std::string flindersPeak = point(144.0 + 25.0 / 60 + 29.52440 / 3600, -(37.0 + 57.0 / 60 + 3.72030 / 3600), 4326);
const std::string buninyong = point(143.0 + 55.0 / 60 + 35.38390 / 3600, -(37.0 + 39.0 / 60 + 10.15610 / 3600), 4326);
const std::string jfk = point(-73.8, 40.6, 4326);
const std::string lhr = point(-0.5, 51.6, 4326);

TEST(GeometryMeasureFunctions, GeodesicDistancesMatchPublishedValues)
{
    SqlGeometryHarness sql;
    // Flinders Peak to Buninyong, the classic geodesic test line: 54972.271 m.
    for (const char* f : {"ObjectDistance", "EllipsoidalDistance", "VincentyDistance"}) {
        EXPECT_NEAR(sql.real(std::string("Select ") + f + "(" + flindersPeak + ", " + buninyong + ", 'm')"), 54972.271, 0.01)
            << f;
    }
    // JFK to Heathrow on WGS84: 5551.76 km.
    EXPECT_NEAR(sql.real("Select ObjectDistance(" + jfk + ", " + lhr + ", 'km')"), 5551.76, 0.01);
    EXPECT_NEAR(sql.real("Select EllipsoidalDistance(" + jfk + ", " + lhr + ", 'mi')"), 5551.76 / 1.609344, 0.01);
    // Between points the centroid distance is the same distance.
    EXPECT_NEAR(sql.real("Select CentroidDistance(" + jfk + ", " + lhr + ", 'km')"), 5551.76, 0.01);
    EXPECT_NEAR(sql.real("Select EllipsoidalObjectDistance(" + jfk + ", " + lhr + ", 'km')"), 5551.76, 0.01);

    // The sphere gives the haversine distance.
    const double sphere = haversine(-73.8, 40.6, -0.5, 51.6);
    EXPECT_NEAR(sql.real("Select SphericalDistance(" + jfk + ", " + lhr + ", 'm')"), sphere, 1.0);
    EXPECT_NEAR(sql.real("Select SphericalObjectDistance(" + jfk + ", " + lhr + ", 'm')"), sphere, 1.0);
    EXPECT_GT(std::abs(sphere - 5551760.0), 1000.0);   // the models really differ here

    // One degree along the equator.
    const std::string equator = geom("LINESTRING(0 0, 1 0)", 4326);
    EXPECT_NEAR(sql.real("Select ObjectLen(" + equator + ", 'm')"), wgs84A * degree, 0.01);
    EXPECT_NEAR(sql.real("Select EllipsoidalObjectLen(" + equator + ", 'm')"), wgs84A * degree, 0.01);
    EXPECT_NEAR(sql.real("Select VincentyObjectLen(" + equator + ", 'm')"), wgs84A * degree, 0.01);
    EXPECT_NEAR(sql.real("Select SphericalObjectLen(" + equator + ", 'km')"), meanEarthRadius * degree / 1000, 1e-5);
}

TEST(GeometryMeasureFunctions, OneDegreeSquareOnSphereAndEllipsoid)
{
    SqlGeometryHarness sql;
    const std::string square = geom("POLYGON((0 0, 1 0, 1 1, 0 1, 0 0))", 4326);

    // Lune of one degree between the equator and 1 degree north: R^2 dλ sin φ.
    const double sphere = meanEarthRadius * meanEarthRadius * degree * std::sin(degree) / 1e6;
    EXPECT_NEAR(sql.real("Select SphericalArea(" + square + ", 'sq km')"), sphere, sphere * 1e-4);

    const double ellipsoid = ellipsoidBandArea(1.0) / 1e6;
    EXPECT_NEAR(sql.real("Select EllipsoidalArea(" + square + ", 'sq km')"), ellipsoid, ellipsoid * 1e-4);
    // The generic area of a geographic geometry is the ellipsoidal one.
    EXPECT_NEAR(sql.real("Select ObjectArea(" + square + ", 'sq km')"), ellipsoid, ellipsoid * 1e-4);
    EXPECT_NEAR(sql.real("Select ObjectArea(" + square + ", 'hectare')"), ellipsoid * 100, ellipsoid * 100 * 1e-4);
    EXPECT_GT(std::abs(sphere - ellipsoid), 10.0);   // the two models are told apart

    // The same square further north is smaller, by the closed form again.
    const std::string north = geom("POLYGON((10 59, 11 59, 11 60, 10 60, 10 59))", 4326);
    const double band = (ellipsoidBandArea(60.0) - ellipsoidBandArea(59.0)) / 1e6;
    EXPECT_NEAR(sql.real("Select EllipsoidalArea(" + north + ", 'sq km')"), band, band * 1e-3);
}

TEST(GeometryMeasureFunctions, PlanarMeasuresInSeveralUnits)
{
    SqlGeometryHarness sql;
    // 2000 m by 1000 m, no coordinate system: measured in the plane, metres.
    const std::string rect = geom("POLYGON((0 0, 2000 0, 2000 1000, 0 1000, 0 0))");
    const struct {
        const char* unit;
        double area;
    } areas[] = {
        {"sq m", 2e6},           {"sq km", 2.0},
        {"hectare", 200.0},      {"acre", 2e6 / 4046.8564224},
        {"sq mi", 2e6 / 2589988.110336}, {"sq ft", 2e6 / 0.09290304},
        {"sq yd", 2e6 / 0.83612736},
    };
    for (const auto& a : areas) {
        EXPECT_NEAR(sql.real(std::string("Select ObjectArea(") + rect + ", '" + a.unit + "')"), a.area, a.area * 1e-9) << a.unit;
        EXPECT_NEAR(sql.real(std::string("Select CartesianArea(") + rect + ", '" + a.unit + "')"), a.area, a.area * 1e-9) << a.unit;
    }
    const struct {
        const char* unit;
        double length;
    } lengths[] = {{"m", 6000.0}, {"km", 6.0}, {"mi", 6000.0 / 1609.344}, {"nmi", 6000.0 / 1852.0}, {"ft", 6000.0 / 0.3048}};
    for (const auto& l : lengths) {
        EXPECT_NEAR(sql.real(std::string("Select ObjectPerimeter(") + rect + ", '" + l.unit + "')"), l.length, l.length * 1e-9) << l.unit;
        EXPECT_NEAR(sql.real(std::string("Select CartesianPerimeter(") + rect + ", '" + l.unit + "')"), l.length, l.length * 1e-9) << l.unit;
    }

    // A hole is taken out of the area.
    const std::string holed = geom("POLYGON((0 0, 10 0, 10 10, 0 10, 0 0), (2 2, 4 2, 4 4, 2 4, 2 2))");
    EXPECT_NEAR(sql.real("Select ObjectArea(" + holed + ", 'sq m')"), 96.0, 1e-9);
    // A 3-4-5 line has length 12 in the plane.
    EXPECT_NEAR(sql.real("Select ObjectLen(" + geom("LINESTRING(0 0, 3 4, 3 11)") + ", 'm')"), 12.0, 1e-9);
    EXPECT_NEAR(sql.real("Select CartesianObjectLen(" + geom("LINESTRING(0 0, 3 4, 3 11)") + ", 'cm')"), 1200.0, 1e-6);

    // Smallest distance between two squares is corner to corner; the centroid
    // distance is between their centres.
    const std::string a = geom("POLYGON((0 0, 1 0, 1 1, 0 1, 0 0))");
    const std::string b = geom("POLYGON((4 5, 5 5, 5 6, 4 6, 4 5))");
    EXPECT_NEAR(sql.real("Select ObjectDistance(" + a + ", " + b + ", 'm')"), 5.0, 1e-9);
    EXPECT_NEAR(sql.real("Select CartesianDistance(" + a + ", " + b + ", 'm')"), 5.0, 1e-9);
    EXPECT_NEAR(sql.real("Select CentroidDistance(" + a + ", " + b + ", 'm')"), std::sqrt(41.0), 1e-9);
    EXPECT_NEAR(sql.real("Select CartesianObjectDistance(" + a + ", " + b + ", 'km')"), std::sqrt(41.0) / 1000, 1e-12);
    // Overlapping shapes are at distance 0.
    EXPECT_NEAR(sql.real("Select ObjectDistance(" + a + ", " + geom("POINT(0.5 0.5)") + ", 'm')"), 0.0, 1e-12);
}

TEST(GeometryMeasureFunctions, CentroidCoordinates)
{
    SqlGeometryHarness sql;
    EXPECT_DOUBLE_EQ(sql.real("Select CentroidX(" + geom("POLYGON((0 0, 10 0, 10 4, 0 4, 0 0))") + ")"), 5.0);
    EXPECT_DOUBLE_EQ(sql.real("Select CentroidY(" + geom("POLYGON((0 0, 10 0, 10 4, 0 4, 0 0))") + ")"), 2.0);
    // A U: a 3x1 bar with two 1x2 posts. By moments the centroid is
    // (1.5, 9.5 / 7), in the notch between the posts.
    const std::string u = geom("POLYGON((0 0, 3 0, 3 3, 2 3, 2 1, 1 1, 1 3, 0 3, 0 0))");
    EXPECT_NEAR(sql.real("Select CentroidX(" + u + ")"), 1.5, 1e-12);
    EXPECT_NEAR(sql.real("Select CentroidY(" + u + ")"), 9.5 / 7.0, 1e-12);
    EXPECT_TRUE(sql.isNull("Select CentroidX(NULL)"));
}

TEST(GeometryMeasureFunctions, MixedCoordinateSystemsShareTheOneThatIsThere)
{
    SqlGeometryHarness sql;
    // One point in WGS84 and one without: both lie in WGS84, so one degree of
    // the equator on the ellipsoid, whichever comes first.
    const double oneDegree = wgs84A * degree;
    EXPECT_NEAR(sql.real("Select ObjectDistance(" + point(0, 0, 4326) + ", " + point(1, 0) + ", 'm')"), oneDegree, 0.01);
    EXPECT_NEAR(sql.real("Select ObjectDistance(" + point(0, 0) + ", " + point(1, 0, 4326) + ", 'm')"), oneDegree, 0.01);
    EXPECT_NEAR(sql.real("Select CentroidDistance(" + point(1, 0) + ", " + point(0, 0, 4326) + ", 'm')"), oneDegree, 0.01);
    // Neither has one: the plane.
    EXPECT_NEAR(sql.real("Select ObjectDistance(" + point(0, 0) + ", " + point(1, 0) + ", 'm')"), 1.0, 1e-12);
    // A projected system: its units are metres.
    EXPECT_NEAR(sql.real("Select ObjectDistance(" + point(0, 0, 3395) + ", " + point(3000, 4000) + ", 'km')"), 5.0, 1e-9);
}

TEST(GeometryMeasureFunctions, SharingACoordinateSystemLabelsACopyOfTheBareGeometry)
{
    using geometry::Point;
    const auto wgs84 = cs::CoordSysFactory::defaultCoordSysFactory()->createFromEpsg(4326);
    ASSERT_TRUE(wgs84);
    auto labelledPoint = std::make_shared<Point>(QPointF(10, 50));
    labelledPoint->setCoordSystem(wgs84);
    const std::shared_ptr<const geometry::Geometry> bare = std::make_shared<Point>(QPointF(370, 95));

    for (const bool bareFirst : {false, true}) {
        std::shared_ptr<const geometry::Geometry> g1 = labelledPoint, g2 = bare;
        if (bareFirst)
            std::swap(g1, g2);
        sqlfn::shareCoordSystem(g1, g2);
        const auto& changed = bareFirst ? g1 : g2;
        const auto& kept = bareFirst ? g2 : g1;
        EXPECT_EQ(kept, labelledPoint);
        ASSERT_NE(changed, bare);   // a copy, the shared original stays bare
        EXPECT_FALSE(bare->coordSystem());
        EXPECT_EQ(changed->coordSystem(), wgs84);
        // Fitted to the geographic system: longitude wrapped, latitude clamped.
        const QPointF p = static_cast<const Point&>(*changed).point();
        EXPECT_DOUBLE_EQ(p.x(), 10.0);
        EXPECT_DOUBLE_EQ(p.y(), 90.0);
    }

    // Both or neither labelled: nothing changes, nothing is copied.
    std::shared_ptr<const geometry::Geometry> a = bare, b = std::make_shared<Point>(QPointF(1, 2));
    const auto b0 = b;
    sqlfn::shareCoordSystem(a, b);
    EXPECT_EQ(a, bare);
    EXPECT_EQ(b, b0);
    auto mercator = std::make_shared<Point>(QPointF(1, 2));
    mercator->setCoordSystem(cs::CoordSysFactory::defaultCoordSysFactory()->createFromEpsg(3857));
    std::shared_ptr<const geometry::Geometry> c = labelledPoint, d = mercator;
    sqlfn::shareCoordSystem(c, d);
    EXPECT_EQ(c, labelledPoint);
    EXPECT_EQ(d, mercator);
    EXPECT_EQ(d->coordSystem()->epsg(), 3857);
}

// The probes of the earth's measures, through SQL. References: GeographicLib
// outside the code under test (PolygonArea on a sphere of the mean radius:
// 2,485,429.7 sq km; the closest point of the geodesic sampled along a
// GeodesicLine: 1,001,525.8 m and 18,455 km), see the platform tests.
TEST(GeometryMeasureFunctions, EarthProbes)
{
    SqlGeometryHarness sql;
    const std::string across = geom("POLYGON((170 -10, 190 -10, 190 10, 170 10, 170 -10))", 4326);
    const struct {
        const char* name;
        std::string query;
        double expected, tolerance;
    } cases[] = {
        {"ring around the pole on the sphere",
         "SphericalArea(" + geom("POLYGON((-180 80, -90 80, 0 80, 90 80, -180 80))", 4326) + ", 'sq km')", 2485429.7, 0.1},
        {"...clockwise", "SphericalArea(" + geom("POLYGON((0 80, -90 80, 180 80, 90 80, 0 80))", 4326) + ", 'sq km')",
         2485429.7, 0.1},
        {"point to a line bowing north",
         "ObjectDistance(" + point(0, 45, 4326) + ", " + geom("LINESTRING(-30 50, 30 50)", 4326) + ", 'm')", 1001525.8, 0.05},
        {"box across 180 to (0 0)", "ObjectDistance(" + across + ", " + point(0, 0, 4326) + ", 'km')", 18455, 1},
        {"...labelled and fitted",
         "ObjectDistance(ToTesGeo(" + geom("POLYGON((170 -10, 190 -10, 190 10, 170 10, 170 -10))") + ", 'EPSG:4326'), "
             + point(0, 0, 4326) + ", 'km')",
         18455, 1},
        {"point in that box", "ObjectDistance(" + across + ", " + point(-175, 5, 4326) + ", 'm')", 0, 0},
    };
    for (const auto& c : cases)
        EXPECT_NEAR(sql.real("Select " + c.query), c.expected, c.tolerance) << c.name;
    EXPECT_EQ(sql.integer("Select GeometryIntersects(" + across + ", " + point(0, 0, 4326) + ")"), 0);
    EXPECT_EQ(sql.integer("Select GeometryIntersects(" + across + ", " + point(-175, 5, 4326) + ")"), 1);
}

TEST(GeometryMeasureFunctions, EmptyGeometriesMeasureNothing)
{
    SqlGeometryHarness sql;
    using namespace geometry;
    const std::string empties[] = {
        tesGeoLiteral(std::make_shared<Point>()),
        tesGeoLiteral(std::make_shared<LineString>()),
        tesGeoLiteral(std::make_shared<Polygon>()),
        tesGeoLiteral(std::make_shared<MultiPolygon>()),
        tesGeoLiteral(std::make_shared<GeometryCollection>()),
    };
    for (const std::string& g : empties) {
        for (const char* f : {"ObjectArea(", "SphericalArea(", "EllipsoidalArea("})
            EXPECT_EQ(sql.real(std::string("Select ") + f + g + ", 'sq m')"), 0.0) << f << g;
        for (const char* f : {"ObjectLen(", "ObjectPerimeter(", "CartesianObjectLen(", "VincentyPerimeter("})
            EXPECT_EQ(sql.real(std::string("Select ") + f + g + ", 'm')"), 0.0) << f << g;
    }
    // A whole query is not aborted by one empty row.
    EXPECT_EQ(sql.real("Select Sum(ObjectArea(g, 'sq m')) From (Select " + empties[2] + " As g Union All Select "
                       + geom("POLYGON((0 0, 2 0, 2 2, 0 2, 0 0))") + ")"),
              4.0);
}

// Two coordinate systems: the distance is the same in either order, on the
// earth rather than in the map of whichever came first. Web mercator (3 50)
// is x = a lon, y = a ln tan(pi/4 + lat/2); references: GeographicLib's
// Inverse on WGS84 and the haversine on the mean sphere.
TEST(GeometryMeasureFunctions, DistanceIgnoresTheOrderOfCoordinateSystems)
{
    SqlGeometryHarness sql;
    const std::string lonLat = point(2, 60, 4326);
    const std::string web = point(wgs84A * 3 * degree, wgs84A * std::log(std::tan(pi / 4 + 25 * degree)), 3857);
    double geodesic = 0;
    GeographicLib::Geodesic::WGS84().Inverse(60, 2, 50, 3, geodesic);
    const struct {
        const char* f;
        double expected;
    } cases[] = {
        {"ObjectDistance", geodesic},
        {"CentroidDistance", geodesic},
        {"VincentyDistance", geodesic},
        {"SphericalDistance", haversine(2, 60, 3, 50)},
    };
    for (const auto& c : cases) {
        const double ab = sql.real(std::string("Select ") + c.f + "(" + lonLat + ", " + web + ", 'm')");
        EXPECT_EQ(ab, sql.real(std::string("Select ") + c.f + "(" + web + ", " + lonLat + ", 'm')")) << c.f;
        EXPECT_NEAR(ab, c.expected, 1e-3) << c.f;
    }
}

TEST(GeometryMeasureFunctions, BadInput)
{
    SqlGeometryHarness sql;
    const std::string square = geom("POLYGON((0 0, 1 0, 1 1, 0 1, 0 0))");

    // Missing or unreadable geometries give NULL.
    for (const char* f : {"ObjectArea", "ObjectPerimeter", "ObjectLen", "SphericalArea", "LambertPerimeter", "VincentyObjectLen"}) {
        EXPECT_TRUE(sql.isNull(std::string("Select ") + f + "(NULL, 'sq m')")) << f;
        EXPECT_TRUE(sql.isNull(std::string("Select ") + f + "(X'00010203040506070809', 'sq m')")) << f;
        EXPECT_TRUE(sql.isNull(std::string("Select ") + f + "('POLYGON((0 0, 1 0, 1 1, 0 0))', 'sq m')")) << f;
        EXPECT_TRUE(sql.isNull(std::string("Select ") + f + "(42, 'sq m')")) << f;
    }
    EXPECT_TRUE(sql.isNull("Select ObjectDistance(NULL, " + square + ", 'm')"));
    EXPECT_TRUE(sql.isNull("Select ObjectDistance(" + square + ", X'0102', 'm')"));
    EXPECT_TRUE(sql.isNull("Select LambertObjectDistance(" + square + ", NULL, 'm')"));

    // An unknown unit is the host's error for one-geometry measures...
    EXPECT_EQ(sql.error("Select ObjectArea(" + square + ", 'parsec')"), "Unknown unit: parsec");
    EXPECT_EQ(sql.error("Select CartesianPerimeter(" + square + ", 'furlong')"), "Unknown unit: furlong");
    EXPECT_EQ(sql.error("Select EllipsoidalObjectLen(" + geom("LINESTRING(0 0, 1 1)", 4326) + ", 'sq m')"), "Unknown unit: sq m");
    // ... and -1 for the two-geometry ones.
    EXPECT_DOUBLE_EQ(sql.real("Select ObjectDistance(" + square + ", " + square + ", 'parsec')"), -1.0);
    EXPECT_DOUBLE_EQ(sql.real("Select VincentyObjectDistance(" + point(0, 0, 4326) + ", " + point(1, 1, 4326) + ", 'sq m')"), -1.0);
}

} // namespace
} // namespace tessera::engine::test
