// The five ways of measuring, each against values that do not come from the
// code under test: closed-form results and published geodesic examples.

#include "platform/geometry/Algorithms.h"
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

double dms(double d, double m, double s) { return d + m / 60.0 + s / 3600.0; }

// Sides of a spherical triangle (central angles) from its corners.
double centralAngle(QPointF p, QPointF q)
{
    const double x1 = std::cos(p.y() * toRad) * std::cos(p.x() * toRad);
    const double y1 = std::cos(p.y() * toRad) * std::sin(p.x() * toRad);
    const double z1 = std::sin(p.y() * toRad);
    const double x2 = std::cos(q.y() * toRad) * std::cos(q.x() * toRad);
    const double y2 = std::cos(q.y() * toRad) * std::sin(q.x() * toRad);
    const double z2 = std::sin(q.y() * toRad);
    const double cross = std::sqrt(std::pow(y1 * z2 - z1 * y2, 2) + std::pow(z1 * x2 - x1 * z2, 2)
                                   + std::pow(x1 * y2 - y1 * x2, 2));
    return std::atan2(cross, x1 * x2 + y1 * y2 + z1 * z2);
}

// L'Huilier's theorem: the spherical excess of a triangle from its sides.
double lhuilierExcess(QPointF a, QPointF b, QPointF c)
{
    const double x = centralAngle(b, c), y = centralAngle(a, c), z = centralAngle(a, b);
    const double s = (x + y + z) / 2;
    return 4.0 * std::atan(std::sqrt(std::tan(s / 2) * std::tan((s - x) / 2) * std::tan((s - y) / 2)
                                     * std::tan((s - z) / 2)));
}

// Surface of an ellipsoid of revolution (oblate), closed form.
double ellipsoidSurface(const Ellipsoid& e)
{
    const double ecc = std::sqrt(e.f * (2 - e.f));
    return 2 * M_PI * e.a * e.a * (1 + (1 - ecc * ecc) / ecc * std::atanh(ecc));
}

const QPointF jfk(-73.8, 40.6);
const QPointF lhr(-0.5, 51.6);
const QPointF flindersPeak(dms(144, 25, 29.52440), -dms(37, 57, 3.72030));
const QPointF buninyong(dms(143, 55, 35.38390), -dms(37, 39, 10.15610));

} // namespace

TEST(EarthModels, CartesianScalesLengthsAndAreasByTheUnit)
{
    const CartesianModel feet(0.3048);
    EXPECT_NEAR(feet.distance({0, 0}, {3, 4}), 5 * 0.3048, 1e-12);
    // Clockwise and counter-clockwise rings alike; far from the origin too.
    const Ring ccw{{1e6, 1e6}, {1e6 + 10, 1e6}, {1e6 + 10, 1e6 + 20}, {1e6, 1e6 + 20}, {1e6, 1e6}};
    const Ring cw(ccw.rbegin(), ccw.rend());
    EXPECT_NEAR(feet.ringArea(ccw), 200 * 0.3048 * 0.3048, 1e-9);
    EXPECT_NEAR(feet.ringArea(cw), 200 * 0.3048 * 0.3048, 1e-9);
    EXPECT_EQ(CartesianModel().ringArea(Ring{{0, 0}, {1, 1}}), 0.0);
}

TEST(EarthModels, SphereAgainstClosedForms)
{
    const SphericalModel sphere(sphereRadius);
    // One degree of a great circle, and a quarter meridian.
    EXPECT_NEAR(sphere.distance({0, 0}, {1, 0}), sphereRadius * toRad, 1e-6);
    EXPECT_NEAR(sphere.distance({10, 0}, {10, 90}), sphereRadius * M_PI / 2, 1e-6);
    EXPECT_NEAR(sphere.distance({179.5, 0}, {-179.5, 0}), sphereRadius * toRad, 1e-6);

    // The octant bounded by the equator and two meridians 90 degrees apart is
    // an eighth of the sphere, in either orientation.
    const double octant = 4 * M_PI * sphereRadius * sphereRadius / 8;
    EXPECT_NEAR(sphere.ringArea({{0, 0}, {90, 0}, {0, 90}, {0, 0}}) / octant, 1.0, 1e-12);
    EXPECT_NEAR(sphere.ringArea({{0, 0}, {0, 90}, {90, 0}, {0, 0}}) / octant, 1.0, 1e-12);

    // A one-degree square with great-circle edges: the excess of its two
    // triangles by L'Huilier's theorem.
    const QPointF a(0, 0), b(1, 0), c(1, 1), d(0, 1);
    const double expected = (lhuilierExcess(a, b, c) + lhuilierExcess(a, c, d)) * sphereRadius * sphereRadius;
    const double area = sphere.ringArea({a, b, c, d, a});
    EXPECT_NEAR(area / expected, 1.0, 1e-9);
    // ...which is close to the latitude band formula R^2 dlon (sin phi2 - sin phi1).
    EXPECT_NEAR(area / (sphereRadius * sphereRadius * toRad * std::sin(toRad)), 1.0, 1e-4);

    // The same square far north and across the antimeridian.
    const Ring north{{179.5, 60}, {-179.5, 60}, {-179.5, 61}, {179.5, 61}, {179.5, 60}};
    const double band = sphereRadius * sphereRadius * toRad * (std::sin(61 * toRad) - std::sin(60 * toRad));
    EXPECT_NEAR(sphere.ringArea(north) / band, 1.0, 1e-3);
}

// A ring enclosing a pole encloses the smaller side, in either orientation,
// as on the ellipsoid. Reference: GeographicLib's PolygonArea on a sphere of
// the same radius (flattening 0), and the cap 2 pi R^2 (1 - sin phi) that a
// dense ring approaches.
TEST(EarthModels, SphereRingsAroundThePoles)
{
    const SphericalModel sphere(sphereRadius);
    const GeographicLib::Geodesic onSphere(sphereRadius, 0.0);
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
        double expected;   // square metres; 0: the PolygonArea reference
    } cases[] = {
        {"four corners at 80N, eastward", parallel(80, 4, true), 2485429.7e6},
        {"four corners at 80N, westward", parallel(80, 4, false), 2485429.7e6},
        {"four corners at 80S", parallel(-80, 4, true), 2485429.7e6},
        {"seven corners at 45N", parallel(45, 7, false), 0},
        {"square off the pole, clockwise", {{10, 10}, {10, 20}, {20, 20}, {20, 10}, {10, 10}}, 0},
        {"dense ring at 80N, the cap",
         parallel(80, 36000, true),
         2 * M_PI * sphereRadius * sphereRadius * (1 - std::sin(80 * toRad))},
    };
    for (const auto& c : cases) {
        const double expected = c.expected > 0 ? c.expected : reference(c.ring);
        EXPECT_NEAR(sphere.ringArea(c.ring) / expected, 1.0, c.expected > 0 ? 1e-6 : 1e-9) << c.name;
        EXPECT_NEAR(sphere.ringArea(c.ring) / reference(c.ring), 1.0, 1e-9) << c.name;
    }
}

TEST(EarthModels, EllipsoidAgainstPublishedGeodesics)
{
    const EllipsoidalModel wgs84(Ellipsoid::wgs84());
    // GeographicLib's documented JFK to LHR example.
    EXPECT_NEAR(wgs84.distance(jfk, lhr), 5551759.400, 1e-3);
    // Vincenty's Flinders Peak to Buninyong line (GRS80, whose flattening
    // differs from WGS84's far below a millimetre on 55 km).
    EXPECT_NEAR(wgs84.distance(flindersPeak, buninyong), 54972.271, 1e-3);

    // Equator and meridians are geodesics: the octant is an eighth of the
    // closed-form surface of the ellipsoid, in either orientation.
    const double octant = ellipsoidSurface(Ellipsoid::wgs84()) / 8;
    EXPECT_NEAR(octant * 8, 510065621724088.5, 1e3);   // the published WGS84 surface
    EXPECT_NEAR(wgs84.ringArea({{0, 0}, {90, 0}, {0, 90}, {0, 0}}) / octant, 1.0, 1e-12);
    EXPECT_NEAR(wgs84.ringArea({{0, 0}, {0, 90}, {90, 0}, {0, 0}}) / octant, 1.0, 1e-12);
    EXPECT_EQ(wgs84.ringArea({{0, 0}, {1, 1}, {0, 0}}), 0.0);
}

TEST(EarthModels, LambertIsWithinMetresOfTheGeodesic)
{
    const LambertModel lambert(Ellipsoid::wgs84());
    EXPECT_NEAR(lambert.distance(jfk, lhr), 5551759.400, 15.0);
    EXPECT_NEAR(lambert.distance(flindersPeak, buninyong), 54972.271, 1.0);
    EXPECT_EQ(lambert.distance(jfk, jfk), 0.0);
    EXPECT_THROW(lambert.ringArea({{0, 0}, {1, 0}, {1, 1}, {0, 0}}), std::logic_error);
}

TEST(EarthModels, VincentyMatchesPublishedValuesAndFailsNearAntipodes)
{
    const VincentyModel vincenty(Ellipsoid::wgs84());
    EXPECT_NEAR(vincenty.distance(flindersPeak, buninyong), 54972.271, 1e-3);
    EXPECT_NEAR(vincenty.distance(jfk, lhr), 5551759.400, 1e-3);
    // Along the equator, where the azimuth term vanishes.
    EXPECT_NEAR(vincenty.distance({0, 0}, {1, 0}), 6378137.0 * toRad, 1e-6);
    EXPECT_EQ(vincenty.distance(lhr, lhr), 0.0);

    // The iteration does not converge for antipodal and nearly antipodal points.
    EXPECT_THROW(vincenty.distance({0, 0}, {180, 0}), std::runtime_error);
    EXPECT_THROW(vincenty.distance({0, 0}, {179.7, 0.5}), std::runtime_error);
    // The geodesic model has no such limit.
    EXPECT_NEAR(EllipsoidalModel(Ellipsoid::wgs84()).distance({0, 0}, {180, 0}), 20003931.4586, 1e-3);
}
