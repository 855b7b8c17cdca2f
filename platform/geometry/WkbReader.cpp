#include "platform/geometry/WkbReader.h"

#include "platform/geometry/GeometryFactory.h"

#include <QtEndian>
#include <cmath>
#include <cstring>
#include <string>

namespace tessera::geometry {

namespace {

constexpr quint32 ewkbZ = 0x80000000u;
constexpr quint32 ewkbM = 0x40000000u;
constexpr quint32 ewkbSrid = 0x20000000u;

// The smallest WKB of a geometry: byte order, type and an empty count.
constexpr std::size_t minGeometryBytes = 1 + 4 + 4;

const char* typeName(quint32 type)
{
    switch (type) {
    case 1: return "point";
    case 2: return "line string";
    case 3: return "polygon";
    case 4: return "multipoint";
    case 5: return "multilinestring";
    case 6: return "multipolygon";
    case 7: return "geometry collection";
    default: return "geometry";
    }
}

} // namespace

WkbReader::WkbReader(const unsigned char* data, std::size_t size) : begin(data), pos(data), end(data + size) {}

void WkbReader::fail(const std::string& what) const
{
    throw WkbError("Invalid WKB at byte " + std::to_string(pos - begin) + ": " + what);
}

void WkbReader::need(std::size_t bytes) const
{
    if (std::size_t(end - pos) < bytes)
        fail("the data ends too early");
}

quint32 WkbReader::readUInt32(bool swap)
{
    need(4);
    quint32 value;
    std::memcpy(&value, pos, 4);
    pos += 4;
    return swap ? qbswap(value) : value;
}

quint32 WkbReader::readCount(bool swap, std::size_t minItemBytes)
{
    const unsigned char* at = pos;
    const quint32 count = readUInt32(swap);
    if (std::size_t(count) > std::size_t(end - pos) / minItemBytes) {
        pos = at;   // report the position of the count
        fail("a count of " + std::to_string(count) + " does not fit in the bytes left");
    }
    return count;
}

WkbReader::Header WkbReader::header()
{
    need(1);
    const unsigned char order = *pos;
    if (order > 1)
        fail("unknown byte order " + std::to_string(order));
    ++pos;
    Header h;
    const bool littleData = order == 1;
    h.swap = littleData != (QSysInfo::ByteOrder == QSysInfo::LittleEndian);
    quint32 code = readUInt32(h.swap);
    bool z = code & ewkbZ;
    bool m = code & ewkbM;
    if (code & ewkbSrid)
        readUInt32(h.swap);   // the SRID: the caller supplies the system
    code &= ~(ewkbZ | ewkbM | ewkbSrid);
    switch (code / 1000) {
    case 0: break;
    case 1: z = true; break;
    case 2: m = true; break;
    case 3: z = m = true; break;
    default: fail("unknown geometry type " + std::to_string(code));
    }
    h.type = code % 1000;
    if (h.type < 1 || h.type > 7)
        fail("unsupported geometry type " + std::to_string(code));
    h.dimensions = 2 + (z ? 1 : 0) + (m ? 1 : 0);
    return h;
}

QPointF WkbReader::readPoint(const Header& h)
{
    const std::size_t bytes = std::size_t(h.dimensions) * 8;
    need(bytes);
    quint64 bits[2];
    std::memcpy(bits, pos, 16);
    pos += bytes;
    if (h.swap) {
        bits[0] = qbswap(bits[0]);
        bits[1] = qbswap(bits[1]);
    }
    double xy[2];
    std::memcpy(xy, bits, 16);
    return QPointF(xy[0], xy[1]);
}

QVector<QPointF> WkbReader::readPoints(const Header& h)
{
    const std::size_t pointBytes = std::size_t(h.dimensions) * 8;
    const quint32 count = readCount(h.swap, pointBytes);
    QVector<QPointF> points;
    points.resize(int(count));
    if (h.dimensions == 2 && !h.swap) {
        // The common case: the bytes are the array.
        std::memcpy(points.data(), pos, std::size_t(count) * 16);
        pos += std::size_t(count) * 16;
        return points;
    }
    for (quint32 i = 0; i < count; ++i)
        points[int(i)] = readPoint(h);
    return points;
}

QVector<QVector<QPointF>> WkbReader::readRings(const Header& h)
{
    const quint32 count = readCount(h.swap, 4);
    QVector<QVector<QPointF>> rings;
    rings.reserve(int(count));
    for (quint32 i = 0; i < count; ++i)
        rings.append(readPoints(h));
    return rings;
}

GeometryPtr WkbReader::read(int depth)
{
    if (depth >= maxDepth)
        fail("geometry collections nest too deeply");
    const Header h = header();
    switch (h.type) {
    case 1: {
        const QPointF p = readPoint(h);
        if (std::isnan(p.x()) && std::isnan(p.y()))
            return std::make_shared<Point>();
        return std::make_shared<Point>(p);
    }
    case 2:
        return std::make_shared<LineString>(readPoints(h));
    case 3:
        return std::make_shared<Polygon>(readRings(h));
    default:
        break;
    }

    const quint32 count = readCount(h.swap, minGeometryBytes);
    const quint32 wanted = h.type - 3;   // the member type of a multi geometry
    if (h.type == 7) {
        std::vector<std::shared_ptr<Geometry>> members;
        members.reserve(count);
        for (quint32 i = 0; i < count; ++i)
            members.push_back(read(depth + 1));
        return std::make_shared<GeometryCollection>(std::move(members));
    }

    QVector<QPointF> points;
    QVector<QVector<QPointF>> lines;
    QVector<QVector<Ring>> polygons;
    for (quint32 i = 0; i < count; ++i) {
        const Header member = header();
        if (member.type != wanted)
            fail(std::string("a ") + typeName(h.type) + " holds a " + typeName(member.type));
        switch (member.type) {
        case 1: {
            const QPointF p = readPoint(member);
            if (!std::isnan(p.x()) || !std::isnan(p.y()))   // empty points add nothing
                points.append(p);
            break;
        }
        case 2:
            lines.append(readPoints(member));
            break;
        default:
            polygons.append(readRings(member));
            break;
        }
    }
    if (h.type == 4)
        return std::make_shared<MultiPoint>(std::move(points));
    if (h.type == 5)
        return std::make_shared<MultiLineString>(std::move(lines));
    return std::make_shared<MultiPolygon>(std::move(polygons));
}

GeometryPtr WkbReader::readAll()
{
    if (!begin || pos == end)
        fail("no data");
    GeometryPtr g = read(0);
    if (pos != end)
        fail(std::to_string(end - pos) + " bytes follow the geometry");
    return g;
}

} // namespace tessera::geometry
