#pragma once
// The argument conversion that lets SpatiaLite's own SQL functions take the
// engine's geometry: the translator wraps each argument of a SpatiaLite
// function call in it (SQL name "TesGeoToSpatiaLite").

#include "engine/EngineExport.h"

#include <sqlite3.h>

namespace tessera::engine::sqlfn {

// A geometry blob that is not a SpatiaLite blob (TesGeo, WKB, FGF) becomes
// the SpatiaLite blob of the same geometry and coordinate system; every
// other value (SpatiaLite blobs, numbers, texts, NULL, other blobs) passes
// unchanged. User data: the engine cache.
TESSERA_ENGINE_EXPORT void tesGeoToSpatiaLite(sqlite3_context* ctx, int argc, sqlite3_value** argv);

} // namespace tessera::engine::sqlfn
