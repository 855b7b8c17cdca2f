#include "platform/geometry/Geometry.h"

#include "platform/geometry/Approximation.h"
#include "platform/geometry/Bounds.h"
#include "platform/geometry/GeometryStream.h"
#include "platform/serialization/StreamIo.h"

#include <cmath>

namespace tessera::geometry {

void Ellipse::transformPoints(const std::function<QPointF(const QPointF&)>& f)
{
    if (!r.isNull())
        r = mapRect(r, f);
}

std::unique_ptr<Geometry> Ellipse::approximateGeometry(const QSizeF& size) const
{
    std::unique_ptr<Geometry> result;
    if (r.isNull()) {
        result = std::make_unique<Polygon>();
    } else {
        const QRectF n = r.normalized();
        const double rx = n.width() / 2.0;
        const double ry = n.height() / 2.0;
        Ring ring;
        appendEllipsePoints(ring, n.center(), rx, ry, 0.0, 2.0 * M_PI, segmentsPerTurn(size, std::max(rx, ry)));
        ring.last() = ring.first();   // exactly closed, whatever the rounding
        result = std::make_unique<Polygon>(QVector<Ring>{std::move(ring)});
    }
    result->setCoordSystem(coordSystem());
    return result;
}

void Ellipse::saveBody(serialization::TrackingOutputArchive& archive) const
{
    writeRect(archive.stream(), r);
}

std::shared_ptr<Ellipse> Ellipse::load(serialization::TrackingInputArchive& archive, quint32 version)
{
    checkVersion("Ellipse", version);
    QDataStream& s = archive.stream();
    return std::make_shared<Ellipse>(readRect(s));
}

} // namespace tessera::geometry
