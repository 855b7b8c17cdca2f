#include "engine/geometry/GaiaDecoding.h"

#include "engine/geometry/GaiaBlobLayout.h"

#include <cstddef>

namespace tessera::engine {

namespace {

bool hasContent(gaiaGeomCollPtr g)
{
    return g->FirstPoint || g->FirstLinestring || g->FirstPolygon;
}

} // namespace

gaiaGeomCollPtr toGaia(const unsigned char* blob, int size)
{
    if (!blob || size <= 0)
        return nullptr;
    const auto n = static_cast<unsigned int>(size);
    using Decoder = gaiaGeomCollPtr (*)(const unsigned char*, unsigned int);
    using Layout = bool (*)(const unsigned char*, std::size_t);
    const struct {
        Layout fits;
        Decoder decode;
    } readers[] = {
        {fitsSpatiaLiteBlob, gaiaFromSpatiaLiteBlobWkb},
        {fitsWkb, gaiaFromWkb},
        {fitsFgf, gaiaFromFgf},
    };
    // SpatiaLite's readers trust the counts in the bytes, so each sees only
    // bytes whose layout was walked first. The WKB reader also returns an
    // empty collection rather than null for many byte strings, so a result
    // without any content counts as a failure and the next reader is tried.
    for (const auto& reader : readers) {
        if (!reader.fits(blob, n))
            continue;
        if (gaiaGeomCollPtr g = reader.decode(blob, n)) {
            if (hasContent(g))
                return g;
            gaiaFreeGeomColl(g);
        }
    }
    return nullptr;
}

} // namespace tessera::engine
