#include "platform/geometry/algorithms/GeometryParts.h"

namespace tessera::geometry {

void GeometryParts::walk(const ConstGeometryPtr& g) const
{
    if (!g)
        return;
    const ConstGeometryPtr linear = linearized(g);
    switch (linear->type()) {
    case GeometryType::LineString:
        if (onLine)
            onLine(static_cast<const LineString&>(*linear).points());
        break;
    case GeometryType::MultiLineString:
        if (onLine) {
            for (const QVector<QPointF>& line : static_cast<const MultiLineString&>(*linear).lines())
                onLine(line);
        }
        break;
    case GeometryType::Polygon:
        if (onPolygon)
            onPolygon(static_cast<const Polygon&>(*linear).rings());
        break;
    case GeometryType::MultiPolygon:
        if (onPolygon) {
            for (const QVector<Ring>& rings : static_cast<const MultiPolygon&>(*linear).polygons())
                onPolygon(rings);
        }
        break;
    case GeometryType::Collection:
        for (const std::shared_ptr<Geometry>& member : static_cast<const GeometryCollection&>(*linear).members())
            walk(member);
        break;
    default:   // points have neither length nor area
        break;
    }
}

} // namespace tessera::geometry
