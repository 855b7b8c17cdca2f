#include "platform/geometry/Geometry.h"

#include "platform/geometry/Bounds.h"
#include "platform/geometry/GeometryStream.h"

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

void Polygon::saveBody(serialization::TrackingOutputArchive& archive) const
{
    writeRings(archive.stream(), rs);
}

std::shared_ptr<Polygon> Polygon::load(serialization::TrackingInputArchive& archive, quint32 version)
{
    checkVersion("Polygon", version);
    return std::make_shared<Polygon>(readRings(archive.stream()));
}

} // namespace tessera::geometry
