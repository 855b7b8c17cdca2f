#include "platform/geometry/Geometry.h"

#include "platform/geometry/Approximation.h"
#include "platform/geometry/Bounds.h"
#include "platform/geometry/GeometryStream.h"
#include "platform/serialization/StreamIo.h"

#include <algorithm>
#include <cmath>

namespace tessera::geometry {

void RoundedRectangle::transformPoints(const std::function<QPointF(const QPointF&)>& f)
{
    if (r.isNull())
        return;
    // Radii follow the scale of the box.
    const QRectF before = r.normalized();
    r = mapRect(r, f);
    if (before.width() > 0.0)
        rx *= r.width() / before.width();
    if (before.height() > 0.0)
        ry *= r.height() / before.height();
}

std::unique_ptr<Geometry> RoundedRectangle::approximateGeometry(const QSizeF& size) const
{
    std::unique_ptr<Geometry> result;
    if (r.isNull()) {
        result = std::make_unique<Polygon>();
        result->setCoordSystem(coordSystem());
        return result;
    }
    const QRectF n = r.normalized();
    const double x0 = n.left(), x1 = n.right(), y0 = n.top(), y1 = n.bottom();
    const double cx = std::min(std::abs(rx), n.width() / 2.0);
    const double cy = std::min(std::abs(ry), n.height() / 2.0);
    Ring ring;
    if (cx > 0.0 && cy > 0.0) {
        const int quarter = std::max(1, segmentsPerTurn(size, std::max(cx, cy)) / 4);
        const double q = M_PI / 2.0;
        // Counter-clockwise from the upper right corner (y grows upwards).
        appendEllipsePoints(ring, QPointF(x1 - cx, y1 - cy), cx, cy, 0.0, q, quarter);
        appendEllipsePoints(ring, QPointF(x0 + cx, y1 - cy), cx, cy, q, q, quarter);
        appendEllipsePoints(ring, QPointF(x0 + cx, y0 + cy), cx, cy, 2 * q, q, quarter);
        appendEllipsePoints(ring, QPointF(x1 - cx, y0 + cy), cx, cy, 3 * q, q, quarter);
        ring.append(ring.first());
    } else {
        ring = {QPointF(x0, y0), QPointF(x1, y0), QPointF(x1, y1), QPointF(x0, y1), QPointF(x0, y0)};
    }
    result = std::make_unique<Polygon>(QVector<Ring>{std::move(ring)});
    result->setCoordSystem(coordSystem());
    return result;
}

void RoundedRectangle::saveBody(serialization::TrackingOutputArchive& archive) const
{
    QDataStream& s = archive.stream();
    writeRect(s, r);
    const double radii[2] = {rx, ry};
    serialization::writeDoubles(s, radii, 2);
}

std::shared_ptr<RoundedRectangle> RoundedRectangle::load(serialization::TrackingInputArchive& archive, quint32 version)
{
    checkVersion("RoundedRectangle", version);
    QDataStream& s = archive.stream();
    const QRectF rect = readRect(s);
    double radii[2];
    serialization::readDoubles(s, radii, 2);
    return std::make_shared<RoundedRectangle>(rect, radii[0], radii[1]);
}

} // namespace tessera::geometry
