#include "platform/geometry/algorithms/EllipsoidalModel.h"

#include <GeographicLib/PolygonArea.hpp>
#include <cmath>

namespace tessera::geometry {

EllipsoidalModel::EllipsoidalModel(const Ellipsoid& e) : geodesic(e.a, e.f) {}

double EllipsoidalModel::distance(const QPointF& p1, const QPointF& p2) const
{
    double s12 = 0.0;
    geodesic.Inverse(p1.y(), p1.x(), p2.y(), p2.x(), s12);
    return s12;
}

double EllipsoidalModel::ringArea(const Ring& ring) const
{
    int n = ring.size();
    if (n > 1 && ring.front() == ring.back())
        --n;
    if (n < 3)
        return 0.0;
    GeographicLib::PolygonArea polygon(geodesic, false);
    for (int i = 0; i < n; ++i)
        polygon.AddPoint(ring[i].y(), ring[i].x());
    double perimeter = 0.0, area = 0.0;
    // Signed, so that a clockwise ring gives its own area (negated) rather
    // than the area of the rest of the earth; either orientation counts.
    polygon.Compute(false, true, perimeter, area);
    return std::abs(area);
}

} // namespace tessera::geometry
