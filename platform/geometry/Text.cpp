#include "platform/geometry/Geometry.h"

#include "platform/geometry/Bounds.h"

namespace tessera::geometry {

void Text::transformPoints(const std::function<QPointF(const QPointF&)>& f)
{
    if (!r.isNull())
        r = mapRect(r, f);
}

std::unique_ptr<Geometry> Text::approximateGeometry(const QSizeF&) const
{
    std::unique_ptr<Geometry> result;
    if (r.isNull()) {
        result = std::make_unique<Polygon>();
    } else {
        const QRectF n = r.normalized();
        Ring ring{n.topLeft(), n.topRight(), n.bottomRight(), n.bottomLeft(), n.topLeft()};
        result = std::make_unique<Polygon>(QVector<Ring>{std::move(ring)});
    }
    result->setCoordSystem(coordSystem());
    return result;
}

} // namespace tessera::geometry
