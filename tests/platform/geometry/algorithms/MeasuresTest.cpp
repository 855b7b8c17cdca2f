#include "platform/geometry/Algorithms.h"

#include "TestShapes.h"

#include <GeographicLib/Geodesic.hpp>
#include <GeographicLib/GeodesicLine.hpp>

#include <gtest/gtest.h>
#include <algorithm>
#include <cmath>
#include <stdexcept>

using namespace tessera;
using namespace tessera::geometry;
using namespace tessera::geometry::testing;

namespace {
constexpr auto Auto = core::CalcMode::Auto;
constexpr double toRad = M_PI / 180.0;
}

TEST(Measures, PlanarShapesInSeveralUnits)
{
    const ConstGeometryPtr hectare = square(0, 0, 100, 100);
    EXPECT_DOUBLE_EQ(area(hectare, "sq m", Auto), 10000.0);
    EXPECT_DOUBLE_EQ(area(hectare, "hectare", Auto), 1.0);
    EXPECT_DOUBLE_EQ(area(hectare, "sq km", Auto), 0.01);
    EXPECT_NEAR(area(hectare, "acre", Auto), 2.4710538, 1e-7);
    EXPECT_NEAR(area(hectare, "sq ft", Auto), 107639.104, 1e-3);
    EXPECT_DOUBLE_EQ(perimeter(hectare, "m", Auto), 400.0);
    EXPECT_NEAR(perimeter(hectare, "ft", Auto), 400 / 0.3048, 1e-9);
    EXPECT_DOUBLE_EQ(perimeter(hectare, "km", Auto), 0.4);
    // A polygon has no length of its own and a line no area.
    EXPECT_EQ(length(hectare, "m", Auto), 0.0);
    const ConstGeometryPtr path = line({{0, 0}, {3, 4}, {3, 10}});
    EXPECT_DOUBLE_EQ(cartesianLength(path, "m"), 11.0);
    EXPECT_DOUBLE_EQ(cartesianLength(path, "cm"), 1100.0);
    EXPECT_EQ(cartesianArea(path, "sq m"), 0.0);
    EXPECT_EQ(cartesianLength(point(1, 1), "m"), 0.0);

    // A triangle, and a square with a square hole (hole subtracted, its
    // boundary part of the perimeter).
    EXPECT_DOUBLE_EQ(cartesianArea(std::make_shared<Polygon>(QVector<Ring>{{{0, 0}, {4, 0}, {0, 3}, {0, 0}}}), "sq m"), 6.0);
    const auto holed = std::make_shared<Polygon>(QVector<Ring>{box(0, 0, 10, 10), box(2, 2, 4, 4)});
    EXPECT_DOUBLE_EQ(cartesianArea(holed, "sq m"), 96.0);
    EXPECT_DOUBLE_EQ(cartesianPerimeter(holed, "m"), 48.0);

    // Multi-geometries and collections add up their parts.
    const auto two = std::make_shared<MultiPolygon>(QVector<QVector<Ring>>{{box(0, 0, 1, 1)}, {box(5, 5, 7, 7)}});
    EXPECT_DOUBLE_EQ(cartesianArea(two, "sq m"), 5.0);
    const auto mixed = std::make_shared<GeometryCollection>(std::vector<std::shared_ptr<Geometry>>{
        std::make_shared<Polygon>(QVector<Ring>{box(0, 0, 2, 2)}),
        std::make_shared<LineString>(QVector<QPointF>{{0, 0}, {0, 5}}),
        std::make_shared<Point>(QPointF(9, 9))});
    EXPECT_DOUBLE_EQ(cartesianArea(mixed, "sq m"), 4.0);
    EXPECT_DOUBLE_EQ(cartesianLength(mixed, "m"), 5.0);
    EXPECT_DOUBLE_EQ(cartesianPerimeter(mixed, "m"), 8.0);
}

TEST(Measures, CurvesAreMeasuredOnTheirLinearForm)
{
    const auto circle = std::make_shared<Ellipse>(QRectF(-10, -10, 20, 20));
    const double a = cartesianArea(circle, "sq m");
    EXPECT_LT(a, M_PI * 100);
    EXPECT_NEAR(a, M_PI * 100, M_PI * 100 * 0.01);
    EXPECT_NEAR(cartesianPerimeter(circle, "m"), 2 * M_PI * 10, 2 * M_PI * 10 * 0.01);
    // A half circle arc of radius 10.
    const auto arc = std::make_shared<Arc>(QRectF(-10, -10, 20, 20), 0.0, 180.0);
    EXPECT_NEAR(cartesianLength(arc, "m"), M_PI * 10, M_PI * 10 * 0.01);
}

TEST(Measures, ProjectedUnitsBecomeMetres)
{
    // New York Long Island, in US survey feet.
    const CoordSystemPtr nyFeet = epsg(2263);
    ASSERT_TRUE(nyFeet);
    const ConstGeometryPtr s = square(1000000, 200000, 1001000, 201000, nyFeet);
    const double foot = 1200.0 / 3937.0;
    EXPECT_NEAR(area(s, "sq m", Auto), 1e6 * foot * foot, 1e-6);
    EXPECT_NEAR(area(s, "sq survey ft", Auto), 1e6, 1e-6);
    EXPECT_NEAR(perimeter(s, "m", Auto), 4000 * foot, 1e-9);
}

TEST(Measures, ModelsAndTheAutomaticChoice)
{
    const CoordSystemPtr wgs84 = epsg(4326);
    ASSERT_TRUE(wgs84);
    const ConstGeometryPtr equatorDegree = line({{0, 0}, {1, 0}}, wgs84);
    // Geographic: ellipsoidal by default.
    EXPECT_NEAR(length(equatorDegree, "m", Auto), 6378137.0 * toRad, 1e-6);
    EXPECT_NEAR(ellipsoidLength(equatorDegree, "m"), 6378137.0 * toRad, 1e-6);
    EXPECT_NEAR(vincentyLength(equatorDegree, "m"), 6378137.0 * toRad, 1e-6);
    EXPECT_NEAR(lambertLength(equatorDegree, "m"), 6378137.0 * toRad, 1e-3);
    EXPECT_NEAR(sphericalLength(equatorDegree, "m"), sphereRadius * toRad, 1e-6);
    EXPECT_NEAR(sphericalLength(equatorDegree, "km"), sphereRadius * toRad / 1000, 1e-9);
    // Longitude and latitude are no plane.
    EXPECT_THROW(cartesianLength(equatorDegree, "m"), std::invalid_argument);

    // The octant on WGS84 by every model that knows areas; Lambert and
    // Vincenty fall back to the geodesic model for areas.
    auto octantPolygon = std::make_shared<Polygon>(QVector<Ring>{{{0, 0}, {90, 0}, {0, 90}, {0, 0}}});
    octantPolygon->setCoordSystem(wgs84);
    const ConstGeometryPtr octant = octantPolygon;
    EXPECT_NEAR(area(octant, "sq km", Auto), 510065621.724088 / 8, 1e-3);
    EXPECT_NEAR(sphericalArea(octant, "sq m") / (M_PI * sphereRadius * sphereRadius / 2), 1.0, 1e-12);
    EXPECT_DOUBLE_EQ(area(octant, "sq m", core::CalcMode::Vincenty), ellipsoidArea(octant, "sq m"));
    EXPECT_NEAR(vincentyPerimeter(octant, "m"), ellipsoidPerimeter(octant, "m"), 1e-3);
    EXPECT_NEAR(ellipsoidPerimeter(octant, "m"), 10018754.1714 + 2 * 10001965.7293, 1e-3);
}

TEST(Measures, ProjectedGeometriesOnTheEarthGoThroughLongitudeAndLatitude)
{
    // On the central meridian of a UTM zone the northing is 0.9996 times the
    // meridian arc from the equator.
    const CoordSystemPtr utm31 = epsg(32631);
    ASSERT_TRUE(utm31);
    const ConstGeometryPtr meridian = line({{500000, 0}, {500000, 1000000}}, utm31);
    EXPECT_NEAR(ellipsoidLength(meridian, "m"), 1e6 / 0.9996, 1e-2);
    EXPECT_NEAR(vincentyLength(meridian, "m"), 1e6 / 0.9996, 1e-2);
    EXPECT_DOUBLE_EQ(length(meridian, "m", Auto), 1e6);   // projected: planar
}

TEST(Measures, SmallestAndCentroidDistances)
{
    const ConstGeometryPtr a = square(0, 0, 1, 1);
    const ConstGeometryPtr b = square(4, 0, 5, 1);
    EXPECT_DOUBLE_EQ(smallestDistance(a, b, "m"), 3.0);
    EXPECT_DOUBLE_EQ(cartesianMinDistance(a, b, "cm"), 300.0);
    EXPECT_DOUBLE_EQ(centroidDistance(a, b, "m"), 4.0);
    EXPECT_DOUBLE_EQ(cartesianObjectDistance(a, b, "m"), 4.0);
    // Touching and overlapping shapes are 0 apart; their centroids are not.
    EXPECT_EQ(smallestDistance(a, square(1, 0, 2, 1), "m"), 0.0);
    EXPECT_EQ(smallestDistance(a, square(0.5, 0.5, 3, 3), "m"), 0.0);
    EXPECT_DOUBLE_EQ(centroidDistance(a, square(1, 0, 2, 1), "m"), 1.0);

    const CoordSystemPtr wgs84 = epsg(4326);
    ASSERT_TRUE(wgs84);
    const ConstGeometryPtr jfk = point(-73.8, 40.6, wgs84);
    const ConstGeometryPtr lhr = point(-0.5, 51.6, wgs84);
    EXPECT_NEAR(smallestDistance(jfk, lhr, "m"), 5551759.400, 1e-3);
    EXPECT_NEAR(ellipsoidalObjectDistance(jfk, lhr, "km"), 5551.759400, 1e-6);
    EXPECT_NEAR(vincentyMinDistance(jfk, lhr, "m"), 5551759.400, 1e-3);
    EXPECT_NEAR(lambertObjectDistance(jfk, lhr, "m"), 5551759.400, 15.0);
    const double haversine = sphericalMinDistance(jfk, lhr, "m");
    EXPECT_NEAR(haversine, sphericalObjectDistance(jfk, lhr, "m"), 1e-6);
    EXPECT_NEAR(haversine, 5551759.4, 20000.0);
    // From a point to the nearest edge of a geographic polygon, here a
    // parallel-free case: along the equator to the meridian edge at lon 2.
    const ConstGeometryPtr cell = square(2, -1, 3, 1, wgs84);
    EXPECT_NEAR(smallestDistance(point(0, 0, wgs84), cell, "m"), 2 * 6378137.0 * toRad, 1e-6);
    EXPECT_EQ(smallestDistance(point(2.5, 0, wgs84), cell, "m"), 0.0);

    // Vincenty cannot measure between antipodes; the geodesic model can.
    EXPECT_THROW(vincentyMinDistance(point(0, 0, wgs84), point(180, 0, wgs84), "m"), std::runtime_error);
    EXPECT_NEAR(ellipsoidalMinDistance(point(0, 0, wgs84), point(180, 0, wgs84), "m"), 20003931.4586, 1e-3);
}

TEST(Measures, DistancesAcrossCoordinateSystems)
{
    const CoordSystemPtr wgs84 = epsg(4326);
    const CoordSystemPtr mercator = epsg(3857);
    ASSERT_TRUE(wgs84 && mercator);
    // b is transformed into a's system: the same place in two systems.
    const ConstGeometryPtr lonLat = point(10, 50, wgs84);
    const double x = 6378137.0 * 10 * toRad;
    const double y = 6378137.0 * std::log(std::tan(M_PI / 4 + 50 * toRad / 2));
    EXPECT_NEAR(smallestDistance(lonLat, point(x, y, mercator), "m"), 0.0, 1e-3);
    EXPECT_NEAR(smallestDistance(lonLat, point(x, 0, mercator), "m"), smallestDistance(lonLat, point(10, 0, wgs84), "m"), 1e-3);

    // A geometry without a system is taken to lie in the other one's.
    EXPECT_NEAR(smallestDistance(point(-73.8, 40.6), point(-0.5, 51.6, wgs84), "m"), 5551759.400, 1e-3);
    // ...with longitudes wrapped into [-180, 180].
    EXPECT_NEAR(smallestDistance(point(0, 0, wgs84), point(361, 0), "m"), 6378137.0 * toRad, 1e-6);
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
    EXPECT_THROW(perimeter(s, "sq m", Auto), std::invalid_argument);
    EXPECT_THROW(cartesianArea(s, "m"), std::invalid_argument);
    EXPECT_THROW(smallestDistance(s, s, "lightyear"), std::invalid_argument);
    EXPECT_THROW(vincentyObjectDistance(s, s, ""), std::invalid_argument);

    EXPECT_THROW(area(nullptr, "sq m", Auto), std::invalid_argument);
    // An empty geometry has no extent; a distance to it is undefined.
    EXPECT_EQ(area(std::make_shared<Polygon>(), "sq m", Auto), 0.0);
    EXPECT_EQ(ellipsoidArea(std::make_shared<MultiPolygon>(), "sq km"), 0.0);
    EXPECT_EQ(length(std::make_shared<LineString>(), "m", Auto), 0.0);
    EXPECT_EQ(sphericalPerimeter(std::make_shared<GeometryCollection>(), "m"), 0.0);
    EXPECT_EQ(perimeter(std::make_shared<Point>(), "km", Auto), 0.0);
    EXPECT_THROW(area(std::make_shared<Point>(), "no unit", Auto), std::invalid_argument);
    EXPECT_THROW(smallestDistance(s, std::make_shared<Point>(), "m"), std::invalid_argument);
    EXPECT_THROW(centroidDistance(nullptr, s, "m"), std::invalid_argument);
    EXPECT_THROW(area(s, "sq m", static_cast<core::CalcMode>(7)), std::invalid_argument);

    // Degenerate shapes measure as nothing rather than failing.
    EXPECT_EQ(cartesianArea(std::make_shared<Polygon>(QVector<Ring>{{{0, 0}, {1, 1}, {0, 0}}}), "sq m"), 0.0);
    EXPECT_EQ(cartesianLength(line({{2, 2}}), "m"), 0.0);
    EXPECT_EQ(smallestDistance(line({{2, 2}}), point(2, 2), "m"), 0.0);

    // Latitudes beyond the poles are no place on the earth.
    const CoordSystemPtr wgs84 = epsg(4326);
    ASSERT_TRUE(wgs84);
    auto beyond = std::make_shared<LineString>(QVector<QPointF>{{0, 0}, {0, 95}});
    beyond->setCoordSystem(wgs84);
    EXPECT_THROW(ellipsoidLength(beyond, "m"), std::invalid_argument);
    EXPECT_THROW(sphericalLength(line({{0, 0}, {0, -91}}), "m"), std::invalid_argument);
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
    for (const auto& [corners, edges] : {std::pair{a, b}, std::pair{b, a}}) {
        for (const QPointF& p : corners) {
            for (int i = 0; i + 1 < edges.size(); ++i)
                best = std::min(best, toEdge(g, p, edges[i], edges[i + 1]));
            if (edges.size() == 1)
                best = std::min(best, toEdge(g, p, edges[0], edges[0]));
        }
    }
    return best;
}

ConstGeometryPtr shape(const QVector<QPointF>& pts, const CoordSystemPtr& cs)
{
    if (pts.size() == 1)
        return point(pts[0].x(), pts[0].y(), cs);
    if (pts.front() == pts.back()) {
        auto p = std::make_shared<Polygon>(QVector<Ring>{pts});
        p->setCoordSystem(cs);
        return p;
    }
    return line(pts, cs);
}

} // namespace

TEST(Measures, SmallestDistanceOnTheEarthIsTheGeodesicOne)
{
    const CoordSystemPtr wgs84 = epsg(4326);
    ASSERT_TRUE(wgs84);
    const GeographicLib::Geodesic& ellipsoid = GeographicLib::Geodesic::WGS84();
    const GeographicLib::Geodesic sphere(sphereRadius, 0.0);
    const struct {
        const char* name;
        QVector<QPointF> a, b;   // a closed list is a polygon
    } cases[] = {
        // The geodesic bows towards the pole: its middle, not (0 50), is nearest.
        {"point to a long line", {{0, 45}}, {{-30, 50}, {30, 50}}},
        {"line to a point", {{-30, 50}, {30, 50}}, {{0, 45}}},
        {"two squares near the equator", box(0, 0, 1, 1), box(1.5, 0.2, 2.5, 1.2)},
        {"tilted squares", {{0, 0}, {1, 0.3}, {0.7, 1.3}, {-0.3, 1}, {0, 0}}, box(2, 1, 3, 2)},
        {"high latitude", {{-40, 70}, {40, 70}}, box(-1, 75, 1, 76)},
        // Read as the area reads it: the box 170..190 lies across the
        // antimeridian, on the far side of the earth from (0 0).
        {"box across the antimeridian", box(170, -10, 190, 10), {{0, 0}}},
        {"antimeridian, near side", box(170, -10, 190, 10), {{-160, 0}}},
    };
    struct Model {
        const char* name;
        double (*f)(const ConstGeometryPtr&, const ConstGeometryPtr&, const QString&);
        const GeographicLib::Geodesic& g;
        double tolerance;   // relative
    };
    const Model models[] = {
        {"ellipsoidal", &ellipsoidalMinDistance, ellipsoid, 1e-9},
        {"spherical", &sphericalMinDistance, sphere, 1e-9},
        {"automatic", &smallestDistance, ellipsoid, 1e-9},
        {"Vincenty", &vincentyMinDistance, ellipsoid, 1e-9},
        {"Lambert", &lambertMinDistance, ellipsoid, 1e-4},
    };
    for (const auto& c : cases) {
        const double onEllipsoid = cornersToEdges(ellipsoid, c.a, c.b);
        const double onSphere = cornersToEdges(sphere, c.a, c.b);
        for (const Model& m : models) {
            const double expected = &m.g == &sphere ? onSphere : onEllipsoid;
            const double d = m.f(shape(c.a, wgs84), shape(c.b, wgs84), "m");
            EXPECT_NEAR(d, expected, expected * m.tolerance) << c.name << ", " << m.name;
            EXPECT_NEAR(d, m.f(shape(c.b, wgs84), shape(c.a, wgs84), "m"), d * 1e-14) << c.name << ", " << m.name << " swapped";
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
    };
    for (const auto& c : meeting) {
        for (const Model& m : models) {
            EXPECT_EQ(m.f(shape(c.a, wgs84), shape(c.b, wgs84), "m"), 0.0) << c.name << ", " << m.name;
            EXPECT_EQ(m.f(shape(c.b, wgs84), shape(c.a, wgs84), "m"), 0.0) << c.name << ", " << m.name;
        }
    }
    // In a hole a point is as far from the polygon as from the hole's edge.
    auto holed = std::make_shared<Polygon>(QVector<Ring>{box(0, 0, 10, 10), box(2, 2, 8, 8)});
    holed->setCoordSystem(wgs84);
    EXPECT_NEAR(smallestDistance(holed, point(5, 3, wgs84), "m"), cornersToEdges(ellipsoid, {{5, 3}}, box(2, 2, 8, 8)),
                1e-3);
}

TEST(Measures, DistanceAcrossCoordinateSystemsIgnoresTheOrder)
{
    const CoordSystemPtr wgs84 = epsg(4326), mercator = epsg(3857), utm = epsg(32631);
    ASSERT_TRUE(wgs84 && mercator && utm);
    const ConstGeometryPtr lonLat = point(2, 60, wgs84);
    // (3 50) in web mercator: x = a lon, y = a ln tan(pi/4 + lat/2).
    const double a = 6378137.0;
    const ConstGeometryPtr web = point(a * 3 * toRad, a * std::log(std::tan(M_PI / 4 + 50 * toRad / 2)), mercator);
    const ConstGeometryPtr inUtm = square(500000, 5500000, 501000, 5501000, utm);
    double expected = 0;
    GeographicLib::Geodesic::WGS84().Inverse(60, 2, 50, 3, expected);
    EXPECT_NEAR(smallestDistance(lonLat, web, "m"), expected, 1e-3);
    EXPECT_NEAR(smallestDistance(web, lonLat, "m"), expected, 1e-3);
    for (const auto& [g1, g2] : {std::pair{lonLat, web}, std::pair{web, inUtm}, std::pair{lonLat, inUtm}}) {
        EXPECT_EQ(smallestDistance(g1, g2, "m"), smallestDistance(g2, g1, "m"));
        EXPECT_EQ(centroidDistance(g1, g2, "m"), centroidDistance(g2, g1, "m"));
        EXPECT_EQ(sphericalMinDistance(g1, g2, "m"), sphericalMinDistance(g2, g1, "m"));
    }
    // In the plane, two maps meet in one of them whatever the order, and a
    // map and the earth in the map.
    EXPECT_EQ(cartesianMinDistance(web, inUtm, "m"), cartesianMinDistance(inUtm, web, "m"));
    EXPECT_EQ(cartesianMinDistance(web, lonLat, "m"), cartesianMinDistance(lonLat, web, "m"));
    EXPECT_GT(cartesianMinDistance(lonLat, web, "m"), 1e6);
}
