#include "platform/geometry/Geometry.h"

#include "platform/geometry/Bounds.h"

namespace tessera::geometry {

QRectF LineString::boundingRect() const
{
    Bounds b;
    b.add(pts);
    return b.rect();
}

void LineString::transformPoints(const std::function<QPointF(const QPointF&)>& f)
{
    mapPoints(pts, f);
}

} // namespace tessera::geometry
