#include "platform/geometry/Geometry.h"

#include "platform/geometry/GeometryStream.h"
#include "platform/serialization/StreamIo.h"

namespace tessera::geometry {

QRectF Point::boundingRect() const
{
    return empty ? QRectF() : QRectF(pos, QSizeF(0.0, 0.0));
}

void Point::saveBody(serialization::TrackingOutputArchive& archive) const
{
    QDataStream& s = archive.stream();
    s << quint8(empty ? 1 : 0);
    if (!empty) {
        const double xy[2] = {pos.x(), pos.y()};
        serialization::writeDoubles(s, xy, 2);
    }
}

std::shared_ptr<Point> Point::load(serialization::TrackingInputArchive& archive, quint32 version)
{
    checkVersion("Point", version);
    QDataStream& s = archive.stream();
    quint8 isEmpty = 0;
    s >> isEmpty;
    serialization::checkStream(s);
    if (isEmpty == 1)
        return std::make_shared<Point>();
    if (isEmpty != 0)
        throw serialization::Error("Archive holds a point with a bad empty flag");
    double xy[2];
    serialization::readDoubles(s, xy, 2);
    return std::make_shared<Point>(QPointF(xy[0], xy[1]));
}

} // namespace tessera::geometry
