#include "platform/geometry/Simplification.h"

#include <cmath>
#include <utility>
#include <vector>

namespace tessera::geometry {

namespace {

double squaredDistanceToSegment(const QPointF& p, const QPointF& a, const QPointF& b)
{
    const double dx = b.x() - a.x();
    const double dy = b.y() - a.y();
    const double len2 = dx * dx + dy * dy;
    double t = 0.0;
    if (len2 > 0.0)
        t = std::clamp(((p.x() - a.x()) * dx + (p.y() - a.y()) * dy) / len2, 0.0, 1.0);
    const double ex = a.x() + t * dx - p.x();
    const double ey = a.y() + t * dy - p.y();
    return ex * ex + ey * ey;
}

} // namespace

QVector<QPointF> simplifyDouglasPeucker(const QVector<QPointF>& points, double tolerance)
{
    const int n = points.size();
    if (n <= 2 || !(tolerance > 0.0))
        return points;
    const double tol2 = tolerance * tolerance;
    std::vector<bool> keep(std::size_t(n), false);
    keep.front() = keep.back() = true;
    // An explicit stack: long lines must not exhaust the call stack.
    std::vector<std::pair<int, int>> ranges{{0, n - 1}};
    while (!ranges.empty()) {
        const auto [first, last] = ranges.back();
        ranges.pop_back();
        double worst = -1.0;
        int index = -1;
        for (int i = first + 1; i < last; ++i) {
            const double d = squaredDistanceToSegment(points[i], points[first], points[last]);
            if (d > worst) {
                worst = d;
                index = i;
            }
        }
        if (index >= 0 && worst > tol2) {
            keep[std::size_t(index)] = true;
            ranges.emplace_back(first, index);
            ranges.emplace_back(index, last);
        }
    }
    QVector<QPointF> result;
    for (int i = 0; i < n; ++i)
        if (keep[std::size_t(i)])
            result.append(points[i]);
    return result;
}

} // namespace tessera::geometry
