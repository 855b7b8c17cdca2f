#include "platform/geometry/Geometry.h"

#include "platform/geometry/Bounds.h"
#include "platform/geometry/GeometryStream.h"

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

void LineString::saveBody(serialization::TrackingOutputArchive& archive) const
{
    writePoints(archive.stream(), pts);
}

std::shared_ptr<LineString> LineString::load(serialization::TrackingInputArchive& archive, quint32 version)
{
    checkVersion("LineString", version);
    return std::make_shared<LineString>(readPoints(archive.stream()));
}

} // namespace tessera::geometry
