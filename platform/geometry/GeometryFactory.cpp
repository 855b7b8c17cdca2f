#include "platform/geometry/GeometryFactory.h"

#include "platform/geometry/WkbReader.h"
#include "platform/geometry/WkbWriter.h"

namespace tessera::geometry {

QByteArray GeometryFactory::toWkb(const ConstGeometryPtr& geometry, QSysInfo::Endian byteOrder)
{
    if (!geometry)
        return QByteArray();
    WkbWriter writer(byteOrder);
    writer.write(*geometry);
    return writer.result();
}

GeometryPtr GeometryFactory::fromWkb(const QByteArray& wkb, CoordSystemPtr coordSystem)
{
    return fromWkb(wkb.constData(), wkb.size(), std::move(coordSystem));
}

GeometryPtr GeometryFactory::fromWkb(const void* data, int size, CoordSystemPtr coordSystem)
{
    if (!data || size <= 0)
        throw WkbError("Invalid WKB: no data");
    GeometryPtr g = WkbReader(static_cast<const unsigned char*>(data), std::size_t(size)).readAll();
    g->setCoordSystem(std::move(coordSystem));
    return g;
}

} // namespace tessera::geometry
