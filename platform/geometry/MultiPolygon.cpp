#include "platform/geometry/Geometry.h"

#include "platform/geometry/Bounds.h"

namespace tessera::geometry {

QRectF MultiPolygon::boundingRect() const
{
    Bounds b;
    for (const auto& polygon : ps)
        for (const Ring& ring : polygon)
            b.add(ring);
    return b.rect();
}

void MultiPolygon::transformPoints(const std::function<QPointF(const QPointF&)>& f)
{
    for (auto& polygon : ps)
        for (Ring& ring : polygon)
            mapPoints(ring, f);
}

} // namespace tessera::geometry
