// Areas, lengths and distances through the public functions. Expected values
// are hand computations with published constants (WGS84 a = 6378137 m, the
// mean earth radius 6371008.8 m, the US survey foot 1200/3937 m) or published
// geodesic examples, never the constants of the code under test.

#include "platform/geometry/Algorithms.h"

#include "TestShapes.h"

#include <GeographicLib/Geodesic.hpp>
#include <GeographicLib/GeodesicLine.hpp>

#include <gtest/gtest.h>
#include <algorithm>
#include <cmath>
#include <functional>
#include <stdexcept>

using namespace tessera;
using namespace tessera::geometry;
using namespace tessera::geometry::testing;

namespace {

constexpr auto Auto = core::CalcMode::Auto;
// One degree along the equator: 6378137 pi / 180, and on the sphere of the
// mean radius 6371008.8 pi / 180.
constexpr double equatorDegree = 111319.490793;
constexpr double sphereDegree = 111195.080234;
// GeographicLib's documented JFK to LHR geodesic, in metres.
constexpr double jfkToLhr = 5551759.400;

struct Row {
    const char* name;
    std::function<double()> measure;
    double expected, tolerance;
};

void expectRows(const std::vector<Row>& rows)
{
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_NEAR(row.measure(), row.expected, row.tolerance);
    }
}

} // namespace

TEST(Measures, PlanarShapesInSeveralUnits)
{
    const ConstGeometryPtr hectare = square(0, 0, 100, 100);
    const ConstGeometryPtr path = line({{0, 0}, {3, 4}, {3, 10}});
    // A square with a square hole: hole subtracted, its boundary counted.
    const ConstGeometryPtr holed = polygon({box(0, 0, 10, 10), box(2, 2, 4, 4)});
    const auto two = std::make_shared<MultiPolygon>(QVector<QVector<Ring>>{{box(0, 0, 1, 1)}, {box(5, 5, 7, 7)}});
    const auto mixed = std::make_shared<GeometryCollection>(std::vector<std::shared_ptr<Geometry>>{
        std::make_shared<Polygon>(QVector<Ring>{box(0, 0, 2, 2)}),
        std::make_shared<LineString>(QVector<QPointF>{{0, 0}, {0, 5}}), std::make_shared<Point>(QPointF(9, 9))});
    // Long Island in US survey feet: a 1000 ft square.
    const ConstGeometryPtr nyFeet = square(1000000, 200000, 1001000, 201000, epsg(2263));
    const auto circle = std::make_shared<Ellipse>(QRectF(-10, -10, 20, 20));
    expectRows({
        {"hectare in sq m", [&] { return area(hectare, "sq m", Auto); }, 10000.0, 1e-9},
        {"hectare in hectare", [&] { return area(hectare, "hectare", Auto); }, 1.0, 1e-12},
        {"hectare in acre", [&] { return area(hectare, "acre", Auto); }, 2.4710538, 1e-7},
        {"hectare in sq ft", [&] { return area(hectare, "sq ft", Auto); }, 107639.104, 1e-3},
        {"hectare perimeter in ft", [&] { return perimeter(hectare, "ft", Auto); }, 1312.33596, 1e-5},
        {"hectare perimeter in km", [&] { return perimeter(hectare, "km", Auto); }, 0.4, 1e-12},
        {"a polygon has no length", [&] { return length(hectare, "m", Auto); }, 0.0, 0.0},
        {"path length in cm", [&] { return cartesianLength(path, "cm"); }, 1100.0, 1e-9},
        {"a line has no area", [&] { return cartesianArea(path, "sq m"); }, 0.0, 0.0},
        {"a point has no length", [&] { return cartesianLength(point(1, 1), "m"); }, 0.0, 0.0},
        {"triangle", [&] { return cartesianArea(polygon({{{0, 0}, {4, 0}, {0, 3}, {0, 0}}}), "sq m"); }, 6.0, 1e-12},
        {"holed area", [&] { return cartesianArea(holed, "sq m"); }, 96.0, 1e-12},
        {"holed perimeter", [&] { return cartesianPerimeter(holed, "m"); }, 48.0, 1e-12},
        {"multipolygon area", [&] { return cartesianArea(two, "sq m"); }, 5.0, 1e-12},
        {"collection area", [&] { return cartesianArea(mixed, "sq m"); }, 4.0, 1e-12},
        {"collection length", [&] { return cartesianLength(mixed, "m"); }, 5.0, 1e-12},
        {"collection perimeter", [&] { return cartesianPerimeter(mixed, "m"); }, 8.0, 1e-12},
        {"survey feet square in sq m", [&] { return area(nyFeet, "sq m", Auto); }, 92903.411613, 1e-6},
        {"survey feet square in sq survey ft", [&] { return area(nyFeet, "sq survey ft", Auto); }, 1e6, 1e-6},
        {"survey feet perimeter in m", [&] { return perimeter(nyFeet, "m", Auto); }, 1219.202438, 1e-6},
        // Curves are measured on their linear form: within 1 % of pi r^2 ...
        {"circle area", [&] { return cartesianArea(circle, "sq m"); }, 314.159, 3.1},
        {"circle perimeter", [&] { return cartesianPerimeter(circle, "m"); }, 62.832, 0.63},
        {"half circle arc", [&] { return cartesianLength(std::make_shared<Arc>(QRectF(-10, -10, 20, 20), 0.0, 180.0), "m"); },
         31.416, 0.32},
    });
    // ... and a polygon inscribed in the circle is smaller than it.
    EXPECT_LT(cartesianArea(circle, "sq m"), M_PI * 100);
}

// Longitude and latitude, 2D or 3D, are measured on the earth in metres.
TEST(Measures, GeographicSystemsAreMeasuredOnTheEarth)
{
    for (const int code : {4326, 4979}) {
        const CoordSystemPtr cs = epsg(code);
        ASSERT_TRUE(cs) << code;
        SCOPED_TRACE("EPSG:" + std::to_string(code));
        const ConstGeometryPtr degree = line({{0, 0}, {1, 0}}, cs);
        // The octant between the equator and two meridians 90 degrees apart:
        // an eighth of the published WGS84 surface 510065621.724088 sq km.
        const ConstGeometryPtr octant = polygon({{{0, 0}, {90, 0}, {0, 90}, {0, 0}}}, cs);
        expectRows({
            {"automatic length", [&] { return length(degree, "m", Auto); }, equatorDegree, 1e-6},
            {"ellipsoidal length", [&] { return ellipsoidLength(degree, "m"); }, equatorDegree, 1e-6},
            {"Vincenty length", [&] { return vincentyLength(degree, "m"); }, equatorDegree, 1e-6},
            {"Lambert length", [&] { return lambertLength(degree, "m"); }, equatorDegree, 1e-3},
            {"spherical length", [&] { return sphericalLength(degree, "m"); }, sphereDegree, 1e-6},
            {"spherical length in km", [&] { return sphericalLength(degree, "km"); }, sphereDegree / 1000, 1e-9},
            {"automatic octant", [&] { return area(octant, "sq km", Auto); }, 63758202.7155110, 1e-3},
            {"Vincenty octant falls back to the geodesic", [&] { return area(octant, "sq km", core::CalcMode::Vincenty); },
             63758202.7155110, 1e-3},
            // 4 pi R^2 / 8 with R = 6371008.8.
            {"spherical octant", [&] { return sphericalArea(octant, "sq m"); }, 63758235121608.98, 100.0},
            // The equator and two quarter meridians (published 10001965.7293 m).
            {"ellipsoidal octant perimeter", [&] { return ellipsoidPerimeter(octant, "m"); }, 30022685.6300, 1e-3},
            {"Vincenty octant perimeter", [&] { return vincentyPerimeter(octant, "m"); }, 30022685.6300, 1e-3},
            {"JFK to LHR", [&] { return smallestDistance(point(-73.8, 40.6, cs), point(-0.5, 51.6, cs), "m"); }, jfkToLhr, 1e-3},
        });
        // Longitude and latitude are no plane.
        EXPECT_THROW(cartesianLength(degree, "m"), std::invalid_argument);
    }

    // Projected: planar by default; on the earth through longitude and
    // latitude, where the UTM northing on the central meridian is 0.9996
    // times the meridian arc.
    const ConstGeometryPtr meridian = line({{500000, 0}, {500000, 1000000}}, epsg(32631));
    EXPECT_DOUBLE_EQ(length(meridian, "m", Auto), 1e6);
    EXPECT_NEAR(ellipsoidLength(meridian, "m"), 1e6 / 0.9996, 1e-2);
    EXPECT_NEAR(vincentyLength(meridian, "m"), 1e6 / 0.9996, 1e-2);
}

TEST(Measures, SmallestAndCentroidDistances)
{
    const ConstGeometryPtr a = square(0, 0, 1, 1);
    const ConstGeometryPtr b = square(4, 0, 5, 1);
    const CoordSystemPtr wgs84 = epsg(4326);
    const ConstGeometryPtr jfk = point(-73.8, 40.6, wgs84), lhr = point(-0.5, 51.6, wgs84);
    const ConstGeometryPtr cell = square(2, -1, 3, 1, wgs84);
    expectRows({
        {"planar smallest", [&] { return smallestDistance(a, b, "m"); }, 3.0, 1e-12},
        {"planar smallest in cm", [&] { return cartesianMinDistance(a, b, "cm"); }, 300.0, 1e-9},
        {"planar centroids", [&] { return centroidDistance(a, b, "m"); }, 4.0, 1e-12},
        {"planar object distance", [&] { return cartesianObjectDistance(a, b, "m"); }, 4.0, 1e-12},
        {"touching shapes", [&] { return smallestDistance(a, square(1, 0, 2, 1), "m"); }, 0.0, 0.0},
        {"overlapping shapes", [&] { return smallestDistance(a, square(0.5, 0.5, 3, 3), "m"); }, 0.0, 0.0},
        {"centroids of touching shapes", [&] { return centroidDistance(a, square(1, 0, 2, 1), "m"); }, 1.0, 1e-12},
        {"geodesic in km", [&] { return ellipsoidalObjectDistance(jfk, lhr, "km"); }, jfkToLhr / 1000, 1e-6},
        {"Vincenty", [&] { return vincentyMinDistance(jfk, lhr, "m"); }, jfkToLhr, 1e-3},
        {"Lambert, within metres", [&] { return lambertObjectDistance(jfk, lhr, "m"); }, jfkToLhr, 15.0},
        {"haversine, within 0.4 %", [&] { return sphericalMinDistance(jfk, lhr, "m"); }, jfkToLhr, 20000.0},
        // Along the equator to the meridian edge at longitude 2.
        {"point to a geographic polygon", [&] { return smallestDistance(point(0, 0, wgs84), cell, "m"); }, 2 * equatorDegree, 1e-5},
        {"point in a geographic polygon", [&] { return smallestDistance(point(2.5, 0, wgs84), cell, "m"); }, 0.0, 0.0},
        // Half the published equatorial circumference of the geodesic: 20003931.4586 m.
        {"antipodes by the geodesic", [&] { return ellipsoidalMinDistance(point(0, 0, wgs84), point(180, 0, wgs84), "m"); },
         20003931.4586, 1e-3},
    });
    EXPECT_NEAR(sphericalMinDistance(jfk, lhr, "m"), sphericalObjectDistance(jfk, lhr, "m"), 1e-6);
    // Vincenty cannot measure between antipodes.
    EXPECT_THROW(vincentyMinDistance(point(0, 0, wgs84), point(180, 0, wgs84), "m"), std::runtime_error);
}

TEST(Measures, DistancesAcrossCoordinateSystems)
{
    const CoordSystemPtr wgs84 = epsg(4326), mercator = epsg(3857), utm = epsg(32631);
    ASSERT_TRUE(wgs84 && mercator && utm);
    // (3 50) in web mercator: x = a lon, y = a ln tan(pi/4 + lat/2).
    const double a = 6378137.0, toRad = M_PI / 180;
    const ConstGeometryPtr web = point(a * 3 * toRad, a * std::log(std::tan(M_PI / 4 + 50 * toRad / 2)), mercator);
    const ConstGeometryPtr lonLat = point(2, 60, wgs84);
    const ConstGeometryPtr inUtm = square(500000, 5500000, 501000, 5501000, utm);
    double expected = 0;
    GeographicLib::Geodesic::WGS84().Inverse(60, 2, 50, 3, expected);
    EXPECT_NEAR(smallestDistance(lonLat, web, "m"), expected, 1e-3);
    EXPECT_NEAR(smallestDistance(point(3, 50, wgs84), web, "m"), 0.0, 1e-3);
    // The order of the operands does not matter.
    for (const auto& [g1, g2] : {std::pair{lonLat, web}, std::pair{web, inUtm}, std::pair{lonLat, inUtm}}) {
        EXPECT_EQ(smallestDistance(g1, g2, "m"), smallestDistance(g2, g1, "m"));
        EXPECT_EQ(centroidDistance(g1, g2, "m"), centroidDistance(g2, g1, "m"));
        EXPECT_EQ(sphericalMinDistance(g1, g2, "m"), sphericalMinDistance(g2, g1, "m"));
        EXPECT_EQ(cartesianMinDistance(g1, g2, "m"), cartesianMinDistance(g2, g1, "m"));
    }
    // In the plane, a map and the earth meet in the map.
    EXPECT_GT(cartesianMinDistance(lonLat, web, "m"), 1e6);

    // A geometry without a system lies in the other one's, longitudes wrapped.
    EXPECT_NEAR(smallestDistance(point(-73.8, 40.6), point(-0.5, 51.6, wgs84), "m"), jfkToLhr, 1e-3);
    EXPECT_NEAR(smallestDistance(point(0, 0, wgs84), point(361, 0), "m"), equatorDegree, 1e-6);
}

TEST(Measures, BadInputGivesClearErrors)
{
    const ConstGeometryPtr s = square(0, 0, 1, 1);
    try {
        area(s, "sq parsec", Auto);
        FAIL() << "no exception";
    } catch (const std::invalid_argument& e) {
        EXPECT_STREQ(e.what(), "Unknown unit: sq parsec");
    }
    const struct {
        const char* name;
        std::function<double()> measure;
    } refused[] = {
        {"area unit for a perimeter", [&] { return perimeter(s, "sq m", Auto); }},
        {"length unit for an area", [&] { return cartesianArea(s, "m"); }},
        {"unknown unit for a distance", [&] { return smallestDistance(s, s, "lightyear"); }},
        {"empty unit", [&] { return vincentyObjectDistance(s, s, ""); }},
        {"no geometry", [&] { return area(nullptr, "sq m", Auto); }},
        {"unknown unit of an empty geometry", [&] { return area(std::make_shared<Point>(), "no unit", Auto); }},
        {"distance to an empty geometry", [&] { return smallestDistance(s, std::make_shared<Point>(), "m"); }},
        {"centroid distance without a geometry", [&] { return centroidDistance(nullptr, s, "m"); }},
        {"unknown mode", [&] { return area(s, "sq m", static_cast<core::CalcMode>(7)); }},
        // Latitudes beyond the poles are no place on the earth.
        {"latitude 95", [&] { return ellipsoidLength(line({{0, 0}, {0, 95}}, epsg(4326)), "m"); }},
        {"latitude -91 without a system", [&] { return sphericalLength(line({{0, 0}, {0, -91}}), "m"); }},
    };
    for (const auto& row : refused)
        EXPECT_THROW(row.measure(), std::invalid_argument) << row.name;

    // Empty and degenerate shapes measure as nothing.
    const struct {
        const char* name;
        std::function<double()> measure;
    } nothing[] = {
        {"empty polygon", [] { return area(std::make_shared<Polygon>(), "sq m", Auto); }},
        {"empty multipolygon", [] { return ellipsoidArea(std::make_shared<MultiPolygon>(), "sq km"); }},
        {"empty line", [] { return length(std::make_shared<LineString>(), "m", Auto); }},
        {"empty collection", [] { return sphericalPerimeter(std::make_shared<GeometryCollection>(), "m"); }},
        {"empty point", [] { return perimeter(std::make_shared<Point>(), "km", Auto); }},
        {"flat ring", [] { return cartesianArea(polygon({{{0, 0}, {1, 1}, {0, 0}}}), "sq m"); }},
        {"one-point line", [] { return cartesianLength(line({{2, 2}}), "m"); }},
        {"one-point line to its point", [] { return smallestDistance(line({{2, 2}}), point(2, 2), "m"); }},
    };
    for (const auto& row : nothing)
        EXPECT_EQ(row.measure(), 0.0) << row.name;
}

namespace {

// Independent reference for the smallest distance on the earth: the distance
// from p to a geodesic edge, from GeographicLib's GeodesicLine sampled at
// 500 points and the best bracket narrowed by golden section; a shape's
// distance is the smallest from any corner of either shape to any edge of
// the other (the shapes below neither cross nor hold one another).
double toEdge(const GeographicLib::Geodesic& g, QPointF p, QPointF from, QPointF to)
{
    const GeographicLib::GeodesicLine line = g.InverseLine(from.y(), from.x(), to.y(), to.x());
    auto at = [&](double s) {
        double lat = 0, lon = 0, d = 0;
        line.Position(s, lat, lon);
        g.Inverse(p.y(), p.x(), lat, lon, d);
        return d;
    };
    constexpr int samples = 500;
    const double step = line.Distance() / samples;
    int best = 0;
    for (int i = 1; i <= samples; ++i)
        best = at(i * step) < at(best * step) ? i : best;
    double lo = std::max(0, best - 1) * step, hi = std::min(samples, best + 1) * step;
    for (int i = 0; i < 100; ++i) {
        const double m1 = lo + (hi - lo) * 0.381966, m2 = hi - (hi - lo) * 0.381966;
        (at(m1) < at(m2) ? hi : lo) = at(m1) < at(m2) ? m2 : m1;
    }
    return std::min({at(lo), at(0), at(line.Distance())});
}

double cornersToEdges(const GeographicLib::Geodesic& g, const QVector<QPointF>& a, const QVector<QPointF>& b)
{
    double best = 1e300;
    for (const auto& [corners, edges] : {std::pair{a, b}, std::pair{b, a}})
        for (const QPointF& p : corners)
            for (int i = 0; i < std::max(1, int(edges.size()) - 1); ++i)
                best = std::min(best, toEdge(g, p, edges[i], edges[std::min(i + 1, int(edges.size()) - 1)]));
    return best;
}

// A closed list is a polygon, one point a point, anything else a line.
ConstGeometryPtr shape(const QVector<QPointF>& pts, const CoordSystemPtr& cs)
{
    if (pts.size() == 1)
        return point(pts[0].x(), pts[0].y(), cs);
    return pts.front() == pts.back() ? polygon({pts}, cs) : line(pts, cs);
}

} // namespace

TEST(Measures, SmallestDistanceOnTheEarthIsTheGeodesicOne)
{
    const CoordSystemPtr wgs84 = epsg(4326);
    ASSERT_TRUE(wgs84);
    const GeographicLib::Geodesic& ellipsoid = GeographicLib::Geodesic::WGS84();
    const GeographicLib::Geodesic sphere(6371008.8, 0.0);
    const struct {
        const char* name;
        QVector<QPointF> a, b;
    } cases[] = {
        // The geodesic bows towards the pole: its middle, not (0 50), is nearest.
        {"point to a long line", {{0, 45}}, {{-30, 50}, {30, 50}}},
        {"two squares near the equator", box(0, 0, 1, 1), box(1.5, 0.2, 2.5, 1.2)},
        {"tilted squares", {{0, 0}, {1, 0.3}, {0.7, 1.3}, {-0.3, 1}, {0, 0}}, box(2, 1, 3, 2)},
        {"high latitude", {{-40, 70}, {40, 70}}, box(-1, 75, 1, 76)},
        // Read as the area reads it: the box 170..190 lies across the
        // antimeridian, on the far side of the earth from (0 0).
        {"box across the antimeridian", box(170, -10, 190, 10), {{0, 0}}},
        {"antimeridian, near side", box(170, -10, 190, 10), {{-160, 0}}},
    };
    const struct {
        const char* name;
        double (*f)(const ConstGeometryPtr&, const ConstGeometryPtr&, const QString&);
        const GeographicLib::Geodesic& g;
        double tolerance; // relative
    } models[] = {
        {"ellipsoidal", &ellipsoidalMinDistance, ellipsoid, 1e-9}, {"spherical", &sphericalMinDistance, sphere, 1e-9},
        {"automatic", &smallestDistance, ellipsoid, 1e-9},         {"Vincenty", &vincentyMinDistance, ellipsoid, 1e-9},
        {"Lambert", &lambertMinDistance, ellipsoid, 1e-4},
    };
    for (const auto& c : cases) {
        for (const auto& m : models) {
            SCOPED_TRACE(std::string(c.name) + ", " + m.name);
            const double expected = cornersToEdges(m.g, c.a, c.b);
            const double d = m.f(shape(c.a, wgs84), shape(c.b, wgs84), "m");
            EXPECT_NEAR(d, expected, expected * m.tolerance);
            EXPECT_NEAR(d, m.f(shape(c.b, wgs84), shape(c.a, wgs84), "m"), d * 1e-14) << "swapped";
        }
    }
    // The probes: 1,001,525.8 m, not the 555,902.7 m to (0 50); 18,455 km.
    EXPECT_NEAR(smallestDistance(point(0, 45, wgs84), line({{-30, 50}, {30, 50}}, wgs84), "m"), 1001525.8, 0.05);
    EXPECT_NEAR(smallestDistance(square(170, -10, 190, 10, wgs84), point(0, 0, wgs84), "km"), 18455, 1);

    // Shapes that meet are 0 apart, also where only the geodesic edges meet:
    // (0 51) lies under the bowed northern edge of the box 40..50.
    const struct {
        const char* name;
        QVector<QPointF> a, b;
    } meeting[] = {
        {"crossing lines", {{-10, 1}, {10, -1}}, {{0.5, -10}, {-0.5, 10}}},
        {"point under the bowed edge", box(-30, 40, 30, 50), {{0, 51}}},
        {"line within a polygon", box(-30, 40, 30, 50), {{-1, 51}, {1, 51}}},
        {"polygon within a polygon", box(-30, 40, 30, 50), box(-1, 44, 1, 45)},
        {"point across the antimeridian", box(170, -10, 190, 10), {{-175, 5}}},
        // A ring along 20 S (its edges bow south to 27 S) holds the smaller
        // side, the south polar cap, whichever way round it is given.
        {"south cap, ring eastward", {{0, -20}, {90, -20}, {180, -20}, {-90, -20}, {0, -20}}, {{0, -89}}},
        {"south cap, ring westward", {{0, -20}, {-90, -20}, {180, -20}, {90, -20}, {0, -20}}, {{0, -89}}},
    };
    for (const auto& c : meeting) {
        for (const auto& m : models) {
            EXPECT_EQ(m.f(shape(c.a, wgs84), shape(c.b, wgs84), "m"), 0.0) << c.name << ", " << m.name;
            EXPECT_EQ(m.f(shape(c.b, wgs84), shape(c.a, wgs84), "m"), 0.0) << c.name << ", " << m.name;
        }
    }
    // In a hole a point is as far from the polygon as from the hole's edge.
    const ConstGeometryPtr holed = polygon({box(0, 0, 10, 10), box(2, 2, 8, 8)}, wgs84);
    EXPECT_NEAR(smallestDistance(holed, point(5, 3, wgs84), "m"), cornersToEdges(ellipsoid, {{5, 3}}, box(2, 2, 8, 8)), 1e-3);
}
