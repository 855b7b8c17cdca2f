#include "engine/geometry/GaiaDecoding.h"

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
    const Decoder decoders[] = {
        gaiaFromSpatiaLiteBlobWkb,
        [](const unsigned char* b, unsigned int s) { return gaiaFromSpatiaLiteBlobWkbEx(b, s, 0, 0); },
        gaiaFromWkb,
        gaiaFromFgf,
    };
    // The WKB reader returns an empty collection rather than null for many
    // byte strings that are no WKB at all (FGF among them), so a result
    // without any content counts as a failure and the next decoder is tried.
    for (const Decoder decode : decoders) {
        if (gaiaGeomCollPtr g = decode(blob, n)) {
            if (hasContent(g))
                return g;
            gaiaFreeGeomColl(g);
        }
    }
    return nullptr;
}

} // namespace tessera::engine
