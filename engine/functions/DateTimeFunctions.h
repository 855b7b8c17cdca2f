#pragma once
// Date and time SQL functions. Dates and times travel as the engine's
// canonical texts ("yyyy-MM-dd", "hh:mm:ss.zzz" and the two joined by a
// blank); these functions produce such texts and take them apart.

#include "engine/EngineExport.h"

#include <sqlite3.h>

namespace tessera::engine {

TESSERA_ENGINE_EXPORT void curDate(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void curTime(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void curDateTime(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void stringToDate(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void numberToDate(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void day(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void month(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void year(sqlite3_context* ctx, int argc, sqlite3_value** argv);
// Monday 1 to Saturday 6, Sunday 0.
TESSERA_ENGINE_EXPORT void weekday(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void hour(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void minute(sqlite3_context* ctx, int argc, sqlite3_value** argv);
// Seconds with their milliseconds as a real.
TESSERA_ENGINE_EXPORT void second(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void getDate(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void getTime(sqlite3_context* ctx, int argc, sqlite3_value** argv);

} // namespace tessera::engine
