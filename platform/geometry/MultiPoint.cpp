#include "platform/geometry/Geometry.h"

#include "platform/geometry/Bounds.h"
#include "platform/geometry/GeometryStream.h"

namespace tessera::geometry {

QRectF MultiPoint::boundingRect() const
{
    Bounds b;
    b.add(pts);
    return b.rect();
}

void MultiPoint::transformPoints(const std::function<QPointF(const QPointF&)>& f)
{
    mapPoints(pts, f);
}

void MultiPoint::saveBody(serialization::TrackingOutputArchive& archive) const
{
    writePoints(archive.stream(), pts);
}

std::shared_ptr<MultiPoint> MultiPoint::load(serialization::TrackingInputArchive& archive, quint32 version)
{
    checkVersion("MultiPoint", version);
    return std::make_shared<MultiPoint>(readPoints(archive.stream()));
}

} // namespace tessera::geometry
