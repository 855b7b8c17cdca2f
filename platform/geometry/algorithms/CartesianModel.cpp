#include "platform/geometry/algorithms/CartesianModel.h"

#include <cmath>

namespace tessera::geometry {

double CartesianModel::distance(const QPointF& p1, const QPointF& p2) const
{
    return std::hypot(p2.x() - p1.x(), p2.y() - p1.y()) * unit;
}

double CartesianModel::ringArea(const Ring& ring) const
{
    if (ring.size() < 3)
        return 0.0;
    // Shoelace formula relative to the first point, which keeps the sums
    // small for coordinates far from the origin.
    const QPointF o = ring.front();
    double twice = 0.0;
    for (int i = 1; i + 1 < ring.size(); ++i) {
        const QPointF a = ring[i] - o;
        const QPointF b = ring[i + 1] - o;
        twice += a.x() * b.y() - b.x() * a.y();
    }
    return std::abs(twice) / 2.0 * unit * unit;
}

} // namespace tessera::geometry
