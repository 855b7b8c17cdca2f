#include "platform/geometry/algorithms/EarthModel.h"

namespace tessera::geometry {

double EarthModel::pathLength(const QVector<QPointF>& points) const
{
    double sum = 0.0;
    for (int i = 1; i < points.size(); ++i)
        sum += distance(points[i - 1], points[i]);
    return sum;
}

} // namespace tessera::geometry
