#include "engine/geometry/GaiaDecoding.h"

namespace tessera::engine {

gaiaGeomCollPtr toGaia(const unsigned char* blob, int size)
{
    if (!blob || size <= 0)
        return nullptr;
    const auto n = static_cast<unsigned int>(size);
    if (gaiaGeomCollPtr g = gaiaFromSpatiaLiteBlobWkb(blob, n))
        return g;
    if (gaiaGeomCollPtr g = gaiaFromSpatiaLiteBlobWkbEx(blob, n, 0, 0))
        return g;
    if (gaiaGeomCollPtr g = gaiaFromWkb(blob, n))
        return g;
    return gaiaFromFgf(blob, n);
}

} // namespace tessera::engine
