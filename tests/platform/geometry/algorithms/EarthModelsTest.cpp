// The five ways of measuring, each against values that do not come from the
// code under test: closed-form results, hand computations with the mean earth
// radius 6371008.8 m and published geodesic examples.

#include "platform/geometry/algorithms/CartesianModel.h"
#include "platform/geometry/algorithms/EllipsoidalModel.h"
#include "platform/geometry/algorithms/LambertModel.h"
#include "platform/geometry/algorithms/SphericalModel.h"
#include "platform/geometry/algorithms/VincentyModel.h"

#include <GeographicLib/PolygonArea.hpp>

#include <gtest/gtest.h>
#include <cmath>
#include <stdexcept>

using namespace tessera::geometry;

namespace {

constexpr double toRad = M_PI / 180.0;
constexpr double meanRadius = 6371008.8;

double dms(double d, double m, double s) { return d + m / 60.0 + s / 3600.0; }

// The central angle between two places, from their unit vectors.
double centralAngle(QPointF p, QPointF q)
{
    const double x1 = std::cos(p.y() * toRad) * std::cos(p.x() * toRad), x2 = std::cos(q.y() * toRad) * std::cos(q.x() * toRad);
    const double y1 = std::cos(p.y() * toRad) * std::sin(p.x() * toRad), y2 = std::cos(q.y() * toRad) * std::sin(q.x() * toRad);
    const double z1 = std::sin(p.y() * toRad), z2 = std::sin(q.y() * toRad);
    const double cross = std::hypot(y1 * z2 - z1 * y2, z1 * x2 - x1 * z2, x1 * y2 - y1 * x2);
    return std::atan2(cross, x1 * x2 + y1 * y2 + z1 * z2);
}

// L'Huilier's theorem: the spherical excess of a triangle from its sides.
double lhuilierExcess(QPointF a, QPointF b, QPointF c)
{
    const double x = centralAngle(b, c), y = centralAngle(a, c), z = centralAngle(a, b);
    const double s = (x + y + z) / 2;
    return 4.0 * std::atan(std::sqrt(std::tan(s / 2) * std::tan((s - x) / 2) * std::tan((s - y) / 2) * std::tan((s - z) / 2)));
}

const QPointF jfk(-73.8, 40.6), lhr(-0.5, 51.6);
// Vincenty's Flinders Peak to Buninyong line (GRS80, whose flattening differs
// from WGS84's far below a millimetre on 55 km): 54972.271 m.
const QPointF flindersPeak(dms(144, 25, 29.52440), -dms(37, 57, 3.72030));
const QPointF buninyong(dms(143, 55, 35.38390), -dms(37, 39, 10.15610));

} // namespace

TEST(EarthModels, CartesianScalesLengthsAndAreasByTheUnit)
{
    const CartesianModel feet(0.3048);
    EXPECT_NEAR(feet.distance({0, 0}, {3, 4}), 1.524, 1e-12);
    // Clockwise and counter-clockwise rings alike; far from the origin too.
    const Ring ccw{{1e6, 1e6}, {1e6 + 10, 1e6}, {1e6 + 10, 1e6 + 20}, {1e6, 1e6 + 20}, {1e6, 1e6}};
    EXPECT_NEAR(feet.ringArea(ccw), 18.580608, 1e-9);
    EXPECT_NEAR(feet.ringArea(Ring(ccw.rbegin(), ccw.rend())), 18.580608, 1e-9);
    EXPECT_EQ(CartesianModel().ringArea(Ring{{0, 0}, {1, 1}}), 0.0);
}

TEST(EarthModels, SphereAgainstHandComputations)
{
    const SphericalModel sphere(meanRadius);
    // R pi / 180 and R pi / 2.
    EXPECT_NEAR(sphere.distance({0, 0}, {1, 0}), 111195.080234, 1e-6);
    EXPECT_NEAR(sphere.distance({179.5, 0}, {-179.5, 0}), 111195.080234, 1e-6);
    EXPECT_NEAR(sphere.distance({10, 0}, {10, 90}), 10007557.221018, 1e-6);

    // The octant is an eighth of the sphere, 4 pi R^2 / 8, in either orientation.
    EXPECT_NEAR(sphere.ringArea({{0, 0}, {90, 0}, {0, 90}, {0, 0}}), 63758235121608.98, 100.0);
    EXPECT_NEAR(sphere.ringArea({{0, 0}, {0, 90}, {90, 0}, {0, 0}}), 63758235121608.98, 100.0);

    // A one-degree square with great-circle edges: the excess of its two
    // triangles by L'Huilier's theorem.
    const QPointF a(0, 0), b(1, 0), c(1, 1), d(0, 1);
    const double expected = (lhuilierExcess(a, b, c) + lhuilierExcess(a, c, d)) * meanRadius * meanRadius;
    EXPECT_NEAR(sphere.ringArea({a, b, c, d, a}) / expected, 1.0, 1e-9);
    // Near the band formula R^2 dlon (sin phi2 - sin phi1), far north and
    // across the antimeridian.
    const Ring north{{179.5, 60}, {-179.5, 60}, {-179.5, 61}, {179.5, 61}, {179.5, 60}};
    const double band = meanRadius * meanRadius * toRad * (std::sin(61 * toRad) - std::sin(60 * toRad));
    EXPECT_NEAR(sphere.ringArea(north) / band, 1.0, 1e-3);
}

// A ring enclosing a pole encloses the smaller side, in either orientation,
// as on the ellipsoid. Reference: GeographicLib's PolygonArea on a sphere of
// the same radius (flattening 0), and the cap 2 pi R^2 (1 - sin phi) that a
// dense ring approaches.
TEST(EarthModels, SphereRingsAroundThePoles)
{
    const SphericalModel sphere(meanRadius);
    const GeographicLib::Geodesic onSphere(meanRadius, 0.0);
    auto parallel = [](double lat, int n, bool eastward) {
        Ring ring;
        for (int i = 0; i <= n; ++i)
            ring.append(QPointF(-180.0 + (eastward ? 1 : -1) * 360.0 * (i % n) / n, lat));
        return ring;
    };
    auto reference = [&](const Ring& ring) {
        GeographicLib::PolygonArea polygon(onSphere, false);
        for (int i = 0; i + 1 < ring.size(); ++i)
            polygon.AddPoint(ring[i].y(), ring[i].x());
        double perimeter = 0, area = 0;
        polygon.Compute(false, true, perimeter, area);
        return std::abs(area);
    };
    const struct {
        const char* name;
        Ring ring;
        double expected; // square metres; 0: the PolygonArea reference
    } cases[] = {
        {"four corners at 80N, eastward", parallel(80, 4, true), 2485429.7e6},
        {"four corners at 80N, westward", parallel(80, 4, false), 2485429.7e6},
        {"four corners at 80S", parallel(-80, 4, true), 2485429.7e6},
        {"seven corners at 45N", parallel(45, 7, false), 0},
        {"square off the pole, clockwise", {{10, 10}, {10, 20}, {20, 20}, {20, 10}, {10, 10}}, 0},
        {"dense ring at 80N, the cap", parallel(80, 36000, true), 3874523421892.79},
    };
    for (const auto& c : cases) {
        const double expected = c.expected > 0 ? c.expected : reference(c.ring);
        EXPECT_NEAR(sphere.ringArea(c.ring) / expected, 1.0, c.expected > 0 ? 1e-6 : 1e-9) << c.name;
        EXPECT_NEAR(sphere.ringArea(c.ring) / reference(c.ring), 1.0, 1e-9) << c.name;
    }
}

TEST(EarthModels, EllipsoidLambertAndVincentyAgainstPublishedGeodesics)
{
    const EllipsoidalModel geodesic(Ellipsoid::wgs84());
    const LambertModel lambert(Ellipsoid::wgs84());
    const VincentyModel vincenty(Ellipsoid::wgs84());
    const struct {
        const char* name;
        const EarthModel& model;
        QPointF from, to;
        double expected, tolerance;
    } rows[] = {
        {"geodesic JFK to LHR", geodesic, jfk, lhr, 5551759.400, 1e-3},
        {"geodesic Flinders Peak to Buninyong", geodesic, flindersPeak, buninyong, 54972.271, 1e-3},
        {"geodesic antipodes", geodesic, {0, 0}, {180, 0}, 20003931.4586, 1e-3},
        {"Lambert JFK to LHR", lambert, jfk, lhr, 5551759.400, 15.0},
        {"Lambert Flinders Peak to Buninyong", lambert, flindersPeak, buninyong, 54972.271, 1.0},
        {"Lambert to the same place", lambert, jfk, jfk, 0.0, 0.0},
        {"Vincenty JFK to LHR", vincenty, jfk, lhr, 5551759.400, 1e-3},
        {"Vincenty Flinders Peak to Buninyong", vincenty, flindersPeak, buninyong, 54972.271, 1e-3},
        // Along the equator, where the azimuth term vanishes: a pi / 180.
        {"Vincenty equator degree", vincenty, {0, 0}, {1, 0}, 111319.490793, 1e-6},
        {"Vincenty to the same place", vincenty, lhr, lhr, 0.0, 0.0},
    };
    for (const auto& row : rows)
        EXPECT_NEAR(row.model.distance(row.from, row.to), row.expected, row.tolerance) << row.name;

    // The octant is an eighth of the published WGS84 surface 510065621724088.5 sq m.
    EXPECT_NEAR(geodesic.ringArea({{0, 0}, {90, 0}, {0, 90}, {0, 0}}), 63758202715511.06, 200.0);
    EXPECT_NEAR(geodesic.ringArea({{0, 0}, {0, 90}, {90, 0}, {0, 0}}), 63758202715511.06, 200.0);
    EXPECT_EQ(geodesic.ringArea({{0, 0}, {1, 1}, {0, 0}}), 0.0);
    EXPECT_THROW(lambert.ringArea({{0, 0}, {1, 0}, {1, 1}, {0, 0}}), std::logic_error);
    // Vincenty's iteration does not converge for antipodal and nearly antipodal points.
    EXPECT_THROW(vincenty.distance({0, 0}, {180, 0}), std::runtime_error);
    EXPECT_THROW(vincenty.distance({0, 0}, {179.7, 0.5}), std::runtime_error);
}
