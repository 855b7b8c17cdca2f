#include "platform/geometry/Geometry.h"

#include "platform/geometry/Bounds.h"
#include "platform/geometry/GeometryStream.h"
#include "platform/serialization/StreamIo.h"

#include <algorithm>

namespace tessera::geometry {

QRectF MultiPolygon::boundingRect() const
{
    Bounds b;
    for (const auto& polygon : ps)
        for (const Ring& ring : polygon)
            b.add(ring);
    return b.rect();
}

void MultiPolygon::transformPoints(const std::function<QPointF(const QPointF&)>& f)
{
    for (auto& polygon : ps)
        for (Ring& ring : polygon)
            mapPoints(ring, f);
}

void MultiPolygon::saveBody(serialization::TrackingOutputArchive& archive) const
{
    QDataStream& s = archive.stream();
    s << quint32(ps.size());
    for (const auto& polygon : ps)
        writeRings(s, polygon);
}

std::shared_ptr<MultiPolygon> MultiPolygon::load(serialization::TrackingInputArchive& archive, quint32 version)
{
    checkVersion("MultiPolygon", version);
    QDataStream& s = archive.stream();
    // Every polygon takes at least its 4-byte ring count.
    const quint32 count = serialization::readCount(s, sizeof(quint32));
    QVector<QVector<Ring>> polygons;
    polygons.reserve(int(std::min<quint32>(count, 1u << 16)));
    for (quint32 i = 0; i < count; ++i)
        polygons.append(readRings(s));
    return std::make_shared<MultiPolygon>(std::move(polygons));
}

} // namespace tessera::geometry
