#include "platform/geometry/Geometry.h"

#include "platform/geometry/Bounds.h"

namespace tessera::geometry {

// Holes lie inside the exterior, but a malformed polygon may not keep to
// that: every ring counts.
QRectF Polygon::boundingRect() const
{
    Bounds b;
    for (const Ring& ring : rs)
        b.add(ring);
    return b.rect();
}

void Polygon::transformPoints(const std::function<QPointF(const QPointF&)>& f)
{
    for (Ring& ring : rs)
        mapPoints(ring, f);
}

} // namespace tessera::geometry
