#include "platform/geometry/Geometry.h"

#include "platform/geometry/Bounds.h"

namespace tessera::geometry {

QRectF MultiLineString::boundingRect() const
{
    Bounds b;
    for (const auto& line : ls)
        b.add(line);
    return b.rect();
}

void MultiLineString::transformPoints(const std::function<QPointF(const QPointF&)>& f)
{
    for (auto& line : ls)
        mapPoints(line, f);
}

} // namespace tessera::geometry
