#pragma once
// Reads WKB: ISO and extended (EWKB) type codes, both byte orders. Z and M
// ordinates are read and dropped; an EWKB SRID is skipped. Every count is
// checked against the bytes left before anything is allocated, and
// collections nest at most maxDepth levels, as deep as geometry archives
// allow. A point with NaN coordinates is an empty point; inside a multipoint
// it adds nothing. Throws WkbError.

#include "platform/geometry/GeometryExport.h"
#include "platform/geometry/Geometry.h"

namespace tessera::geometry {

class TESSERA_GEOMETRY_EXPORT WkbReader {
public:
    static constexpr int maxDepth = serialization::TrackingInputArchive::maxDepth;

    WkbReader(const unsigned char* data, std::size_t size);
    // Reads one geometry that must take all the bytes.
    GeometryPtr readAll();

private:
    struct Header {
        quint32 type;       // 1..7
        int dimensions;     // 2, 3 or 4 ordinates per point
        bool swap;
    };

    GeometryPtr read(int depth);
    Header header();
    quint32 readUInt32(bool swap);
    // A count of items that take at least minItemBytes each.
    quint32 readCount(bool swap, std::size_t minItemBytes);
    QPointF readPoint(const Header& h);
    QVector<QPointF> readPoints(const Header& h);
    QVector<QVector<QPointF>> readRings(const Header& h);
    void need(std::size_t bytes) const;
    [[noreturn]] void fail(const std::string& what) const;

    const unsigned char* begin;
    const unsigned char* pos;
    const unsigned char* end;
};

} // namespace tessera::geometry
