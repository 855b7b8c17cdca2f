#include "platform/geometry/algorithms/SphericalModel.h"

#include <algorithm>
#include <cmath>

namespace tessera::geometry {

namespace {
constexpr double pi = M_PI;
constexpr double toRad = pi / 180.0;
}

double SphericalModel::distance(const QPointF& p1, const QPointF& p2) const
{
    const double phi1 = p1.y() * toRad;
    const double phi2 = p2.y() * toRad;
    const double dphi = phi2 - phi1;
    const double dlambda = (p2.x() - p1.x()) * toRad;
    const double h = std::sin(dphi / 2) * std::sin(dphi / 2)
        + std::cos(phi1) * std::cos(phi2) * std::sin(dlambda / 2) * std::sin(dlambda / 2);
    return 2.0 * radius * std::asin(std::sqrt(std::clamp(h, 0.0, 1.0)));
}

double SphericalModel::ringArea(const Ring& ring) const
{
    if (ring.size() < 3)
        return 0.0;
    // Each great-circle edge and the equator bound a region whose excess E is
    // tan(E/2) = tan(dl/2) (t1 + t2) / (1 + t1 t2), t = tan(phi/2); the signed
    // sum over a closed ring is the area on its right, less a hemisphere for
    // every turn the ring makes around the pole.
    double excess = 0.0;
    double turn = 0.0;
    const int n = ring.size();
    for (int i = 0; i < n; ++i) {
        const QPointF& a = ring[i];
        const QPointF& b = ring[(i + 1) % n];
        const double dl = std::remainder((b.x() - a.x()) * toRad, 2 * pi);
        const double t1 = std::tan(a.y() * toRad / 2);
        const double t2 = std::tan(b.y() * toRad / 2);
        excess += 2.0 * std::atan2(std::tan(dl / 2) * (t1 + t2), 1.0 + t1 * t2);
        turn += dl;
    }
    // The area on the left, then the smaller of the two sides, as the
    // ellipsoidal model reads a ring (either orientation counts).
    const double left = 2 * pi * std::round(turn / (2 * pi)) - excess;
    return std::abs(std::remainder(left, 4 * pi)) * radius * radius;
}

} // namespace tessera::geometry
