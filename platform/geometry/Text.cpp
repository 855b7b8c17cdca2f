#include "platform/geometry/Geometry.h"

#include "platform/geometry/Bounds.h"
#include "platform/geometry/GeometryStream.h"
#include "platform/serialization/StreamIo.h"

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

void Text::saveBody(serialization::TrackingOutputArchive& archive) const
{
    QDataStream& s = archive.stream();
    s << t;
    writeRect(s, r);
    serialization::writeDouble(s, ang);
}

std::shared_ptr<Text> Text::load(serialization::TrackingInputArchive& archive, quint32 version)
{
    checkVersion("Text", version);
    QDataStream& s = archive.stream();
    QString text = serialization::readString(s);
    const QRectF box = readRect(s);
    const double angle = serialization::readDouble(s);
    return std::make_shared<Text>(std::move(text), box, angle);
}

} // namespace tessera::geometry
