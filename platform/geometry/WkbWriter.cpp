#include "platform/geometry/WkbWriter.h"

#include <QtEndian>
#include <cstring>
#include <limits>
#include <stdexcept>

namespace tessera::geometry {

namespace {
enum WkbType : quint32 {
    WkbPoint = 1,
    WkbLineString = 2,
    WkbPolygon = 3,
    WkbMultiPoint = 4,
    WkbMultiLineString = 5,
    WkbMultiPolygon = 6,
    WkbCollection = 7,
};
}

WkbWriter::WkbWriter(QSysInfo::Endian byteOrder) : order(byteOrder), swap(byteOrder != QSysInfo::ByteOrder) {}

void WkbWriter::header(quint32 type)
{
    out.append(char(order == QSysInfo::LittleEndian ? 1 : 0));
    writeUInt32(type);
}

void WkbWriter::writeUInt32(quint32 value)
{
    if (swap)
        value = qbswap(value);
    out.append(reinterpret_cast<const char*>(&value), sizeof value);
}

void WkbWriter::writeDoubles(const double* values, int count)
{
    const int at = out.size();
    out.resize(at + count * 8);
    char* dst = out.data() + at;
    std::memcpy(dst, values, std::size_t(count) * 8);
    if (!swap)
        return;
    for (int i = 0; i < count; ++i) {
        quint64 bits;
        std::memcpy(&bits, dst + i * 8, 8);
        bits = qbswap(bits);
        std::memcpy(dst + i * 8, &bits, 8);
    }
}

void WkbWriter::writePoints(const QVector<QPointF>& points)
{
    static_assert(sizeof(QPointF) == 2 * sizeof(double), "QPointF must be two doubles");
    writeUInt32(quint32(points.size()));
    writeDoubles(reinterpret_cast<const double*>(points.constData()), points.size() * 2);
}

void WkbWriter::writeRings(const QVector<QVector<QPointF>>& rings)
{
    writeUInt32(quint32(rings.size()));
    for (const auto& ring : rings)
        writePoints(ring);
}

void WkbWriter::write(const Geometry& g)
{
    switch (g.type()) {
    case GeometryType::Point: {
        const auto& point = static_cast<const Point&>(g);
        header(WkbPoint);
        const double nan = std::numeric_limits<double>::quiet_NaN();
        const QPointF p = point.isEmpty() ? QPointF(nan, nan) : point.point();
        const double xy[2] = {p.x(), p.y()};
        writeDoubles(xy, 2);
        return;
    }
    case GeometryType::LineString:
        header(WkbLineString);
        writePoints(static_cast<const LineString&>(g).points());
        return;
    case GeometryType::Polygon:
        header(WkbPolygon);
        writeRings(static_cast<const Polygon&>(g).rings());
        return;
    case GeometryType::MultiPoint: {
        const auto& points = static_cast<const MultiPoint&>(g).points();
        header(WkbMultiPoint);
        writeUInt32(quint32(points.size()));
        for (const QPointF& p : points) {
            header(WkbPoint);
            const double xy[2] = {p.x(), p.y()};
            writeDoubles(xy, 2);
        }
        return;
    }
    case GeometryType::MultiLineString: {
        const auto& lines = static_cast<const MultiLineString&>(g).lines();
        header(WkbMultiLineString);
        writeUInt32(quint32(lines.size()));
        for (const auto& line : lines) {
            header(WkbLineString);
            writePoints(line);
        }
        return;
    }
    case GeometryType::MultiPolygon: {
        const auto& polygons = static_cast<const MultiPolygon&>(g).polygons();
        header(WkbMultiPolygon);
        writeUInt32(quint32(polygons.size()));
        for (const auto& polygon : polygons) {
            header(WkbPolygon);
            writeRings(polygon);
        }
        return;
    }
    case GeometryType::Collection: {
        const auto& members = static_cast<const GeometryCollection&>(g).members();
        quint32 present = 0;
        for (const auto& member : members)
            present += member ? 1 : 0;
        header(WkbCollection);
        writeUInt32(present);
        for (const auto& member : members)
            if (member)
                write(*member);
        return;
    }
    case GeometryType::Arc:
    case GeometryType::Ellipse:
    case GeometryType::RoundedRectangle:
    case GeometryType::Text:
        break;
    }
    // Curves and shapes: their linear form.
    std::unique_ptr<Geometry> linear;
    if (const auto* curve = dynamic_cast<const ApproximableCurve*>(&g))
        linear = curve->approximateGeometry(QSizeF());
    else if (const auto* surface = dynamic_cast<const ApproximableSurface*>(&g))
        linear = surface->approximateGeometry(QSizeF());
    if (!linear || dynamic_cast<const ApproximableCurve*>(linear.get())
        || dynamic_cast<const ApproximableSurface*>(linear.get()))
        throw std::logic_error("A geometry has no linear form to write as WKB");
    write(*linear);
}

} // namespace tessera::geometry
