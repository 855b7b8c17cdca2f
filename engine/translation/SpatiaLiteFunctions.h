#pragma once
// The names of SpatiaLite's own SQL functions, so that the translator can
// convert the engine's geometry on its way into them; and SpatiaLite's set-up
// of a connection.

#include "engine/EngineExport.h"

#include <set>
#include <sqlite3.h>
#include <string>

namespace tessera::engine {

// Lower-case names of the functions that SpatiaLite defines on a connection
// (found once per process on a connection of its own, without the engine's
// functions). Empty when SpatiaLite cannot be set up there.
const std::set<std::wstring>& spatiaLiteFunctionNames();

// spatialite_init_ex(db, cache, 0), one thread at a time in the process: it
// sets the C locale (setlocale), which is not safe to call from two threads.
TESSERA_ENGINE_EXPORT void initSpatiaLite(sqlite3* db, void* cache);

} // namespace tessera::engine
