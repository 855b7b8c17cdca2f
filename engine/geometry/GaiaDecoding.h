#pragma once
// Decoding of raw SpatiaLite geometry bytes (SpatiaLite blob, plain WKB, FGF),
// in that order, each only after its layout was checked (GaiaBlobLayout.h).

#include <sqlite3.h>   // gaiageo.h needs the SQLite types declared first
#include <spatialite/gaiageo.h>

namespace tessera::engine {

// Owned by the caller (gaiaFreeGeomColl); null when no decoder finds a
// geometry with at least one point, line or polygon in the bytes.
gaiaGeomCollPtr toGaia(const unsigned char* blob, int size);

// RAII owner of a gaia geometry collection.
struct GaiaDeleter {
    void operator()(gaiaGeomCollPtr p) const { if (p) gaiaFreeGeomColl(p); }
};

} // namespace tessera::engine
