#include "engine/geometry/GaiaBlobLayout.h"

#include <cstdint>

namespace tessera::engine {

namespace {

constexpr int maxWkbDepth = 2;   // a collection of simple geometries

enum Base : std::uint32_t { PointBase = 1, LineBase = 2, PolygonBase = 3, CollectionFirst = 4, CollectionLast = 7 };

// A cursor that never reads outside [0, size): every read reports failure
// instead, and counts are accepted only when that many items of at least
// `itemBytes` each still fit.
class Cursor {
public:
    Cursor(const unsigned char* data, std::size_t size, std::size_t pos = 0) : d(data), n(size), p(pos) {}

    std::size_t pos() const { return p; }
    std::size_t left() const { return p <= n ? n - p : 0; }
    void setLittleEndian(bool little) { le = little; }

    bool byte(unsigned char& out)
    {
        if (left() < 1)
            return false;
        out = d[p++];
        return true;
    }
    bool u32(std::uint32_t& out)
    {
        if (left() < 4)
            return false;
        const unsigned char* b = d + p;
        out = le ? (std::uint32_t(b[0]) | std::uint32_t(b[1]) << 8 | std::uint32_t(b[2]) << 16 | std::uint32_t(b[3]) << 24)
                 : (std::uint32_t(b[3]) | std::uint32_t(b[2]) << 8 | std::uint32_t(b[1]) << 16 | std::uint32_t(b[0]) << 24);
        p += 4;
        return true;
    }
    bool count(std::uint32_t& out, std::uint64_t itemBytes)
    {
        return u32(out) && std::uint64_t(out) * itemBytes <= left();
    }
    bool skip(std::uint64_t bytes)
    {
        if (bytes > left())
            return false;
        p += static_cast<std::size_t>(bytes);
        return true;
    }

private:
    const unsigned char* d;
    std::size_t n;
    std::size_t p;
    bool le = true;
};

// Coordinates per vertex for a dimension code 0 (XY), 1 (Z), 2 (M), 3 (ZM).
std::uint64_t coordinates(std::uint32_t dimensionCode)
{
    return dimensionCode == 0 ? 2 : dimensionCode == 3 ? 4 : 3;
}

bool points(Cursor& c, std::uint64_t vertexBytes)
{
    std::uint32_t n = 0;
    return c.count(n, vertexBytes) && c.skip(n * vertexBytes);
}

bool rings(Cursor& c, std::uint64_t vertexBytes)
{
    std::uint32_t n = 0;
    if (!c.count(n, 4))
        return false;
    for (std::uint32_t i = 0; i < n; ++i) {
        if (!points(c, vertexBytes))
            return false;
    }
    return true;
}

bool simple(std::uint32_t base)
{
    return base >= PointBase && base <= PolygonBase;
}

// The body of a point, line or polygon (the same in every format but for the
// vertex size, which the caller reads from its header).
bool simpleBody(Cursor& c, std::uint32_t base, std::uint64_t vertexBytes)
{
    switch (base) {
    case PointBase:
        return c.skip(vertexBytes);
    case LineBase:
        return points(c, vertexBytes);
    case PolygonBase:
        return rings(c, vertexBytes);
    default:
        return false;
    }
}

// --- SpatiaLite blob ---------------------------------------------------------

// Compressed lines keep their first and last vertex whole and store the
// others as float offsets (the M value stays a double).
bool compressedPoints(Cursor& c, std::uint32_t dimensionCode)
{
    const std::uint64_t whole = 8 * coordinates(dimensionCode);
    const std::uint64_t offset = dimensionCode == 0 ? 8 : dimensionCode == 1 ? 12 : dimensionCode == 2 ? 16 : 20;
    std::uint32_t n = 0;
    if (!c.count(n, offset))
        return false;
    const std::uint64_t bytes = n == 0 ? 0 : n == 1 ? whole : 2 * whole + (std::uint64_t(n) - 2) * offset;
    return c.skip(bytes);
}

bool spatiaLiteBody(Cursor& c, std::uint32_t type, bool member)
{
    if (type >= 1000000) {   // compressed lines and polygons
        const std::uint32_t rest = type - 1000000;
        const std::uint32_t dims = rest / 1000;
        const std::uint32_t base = rest % 1000;
        if (dims > 3)
            return false;
        if (base == LineBase)
            return compressedPoints(c, dims);
        if (base != PolygonBase)
            return false;
        std::uint32_t n = 0;
        if (!c.count(n, 4))
            return false;
        for (std::uint32_t i = 0; i < n; ++i) {
            if (!compressedPoints(c, dims))
                return false;
        }
        return true;
    }
    const std::uint32_t dims = type / 1000;
    const std::uint32_t base = type % 1000;
    if (dims > 3)
        return false;
    if (simple(base))
        return simpleBody(c, base, 8 * coordinates(dims));
    if (member || base < CollectionFirst || base > CollectionLast)
        return false;
    // Members: an entity mark, a type and a body, at least 9 bytes each.
    std::uint32_t n = 0;
    if (!c.count(n, 9))
        return false;
    for (std::uint32_t i = 0; i < n; ++i) {
        unsigned char mark = 0;
        std::uint32_t memberType = 0;
        if (!c.byte(mark) || mark != 0x69 || !c.u32(memberType) || !spatiaLiteBody(c, memberType, true))
            return false;
    }
    return true;
}

// --- WKB ----------------------------------------------------------------------

bool wkbGeometry(Cursor& c, int depth)
{
    unsigned char order = 0;
    std::uint32_t type = 0;
    if (!c.byte(order) || order > 1)
        return false;
    c.setLittleEndian(order == 1);
    if (!c.u32(type))
        return false;
    // The Z and M flags of extended WKB; an embedded SRID is not read by SpatiaLite.
    std::uint32_t dims = 0;
    if (type & 0x80000000u)
        dims |= 1;
    if (type & 0x40000000u)
        dims |= 2;
    if (type & 0x20000000u)
        return false;
    type &= 0x0FFFFFFFu;
    if (type >= 1000) {
        if (dims != 0 || type / 1000 > 3)
            return false;
        dims = type / 1000;
        type %= 1000;
    }
    if (simple(type))
        return simpleBody(c, type, 8 * coordinates(dims));
    if (depth + 1 >= maxWkbDepth || type < CollectionFirst || type > CollectionLast)
        return false;
    std::uint32_t n = 0;
    if (!c.count(n, 5))   // byte order and type
        return false;
    for (std::uint32_t i = 0; i < n; ++i) {
        if (!wkbGeometry(c, depth + 1))
            return false;
    }
    return true;
}

// --- FGF -----------------------------------------------------------------------

bool fgfGeometry(Cursor& c, bool member)
{
    std::uint32_t type = 0;
    if (!c.u32(type))
        return false;
    if (simple(type)) {
        std::uint32_t dims = 0;
        return c.u32(dims) && dims <= 3 && simpleBody(c, type, 8 * coordinates(dims));
    }
    if (member || type < CollectionFirst || type > CollectionLast)
        return false;
    // A multi-geometry holds members of its own simple kind, a collection (7)
    // members of any simple kind.
    std::uint32_t n = 0;
    if (!c.count(n, 12))   // type, dimensionality and at least one count or value
        return false;
    for (std::uint32_t i = 0; i < n; ++i) {
        std::uint32_t t = 0;
        Cursor peek = c;
        if (!peek.u32(t) || (type != CollectionLast && t != type - 3) || !fgfGeometry(c, true))
            return false;
    }
    return true;
}

} // namespace

bool fitsSpatiaLiteBlob(const unsigned char* data, std::size_t size)
{
    if (!data || size < 24 || data[0] != 0x00 || data[size - 1] != 0xFE)
        return false;
    if (data[1] == 0x80 || data[1] == 0x81) {   // tiny point: mark, order, SRID, class byte, coordinates, end
        const unsigned char kind = data[6];
        if (kind < 1 || kind > 4)
            return false;
        return size == 8 + 8 * coordinates(kind - 1u);
    }
    // Start, byte order, SRID, rectangle, MBR mark, class type, ..., end mark.
    if (data[1] > 1 || size < 44 || data[38] != 0x7C)
        return false;
    Cursor c(data, size - 1, 39);
    c.setLittleEndian(data[1] == 1);
    std::uint32_t type = 0;
    return c.u32(type) && spatiaLiteBody(c, type, false) && c.left() == 0;
}

bool fitsWkb(const unsigned char* data, std::size_t size)
{
    if (!data || size < 9)
        return false;
    Cursor c(data, size);
    return wkbGeometry(c, 0);
}

bool fitsFgf(const unsigned char* data, std::size_t size)
{
    if (!data || size < 8)
        return false;
    Cursor c(data, size);
    return fgfGeometry(c, false);
}

} // namespace tessera::engine
