#include "platform/geometry/Geometry.h"

#include "platform/geometry/Bounds.h"
#include "platform/geometry/GeometryStream.h"

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

void MultiLineString::saveBody(serialization::TrackingOutputArchive& archive) const
{
    writeRings(archive.stream(), ls);
}

std::shared_ptr<MultiLineString> MultiLineString::load(serialization::TrackingInputArchive& archive, quint32 version)
{
    checkVersion("MultiLineString", version);
    return std::make_shared<MultiLineString>(readRings(archive.stream()));
}

} // namespace tessera::geometry
