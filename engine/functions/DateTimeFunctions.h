#pragma once
// Date and time SQL functions. Dates and times travel as the engine's
// canonical texts ("yyyy-MM-dd", "hh:mm:ss.zzz" and the two joined by a
// blank); these functions produce such texts and take them apart.

#include <sqlite3.h>

namespace tessera::engine {

void curDate(sqlite3_context* ctx, int argc, sqlite3_value** argv);
void curTime(sqlite3_context* ctx, int argc, sqlite3_value** argv);
void curDateTime(sqlite3_context* ctx, int argc, sqlite3_value** argv);
void stringToDate(sqlite3_context* ctx, int argc, sqlite3_value** argv);
void numberToDate(sqlite3_context* ctx, int argc, sqlite3_value** argv);
void day(sqlite3_context* ctx, int argc, sqlite3_value** argv);
void month(sqlite3_context* ctx, int argc, sqlite3_value** argv);
void year(sqlite3_context* ctx, int argc, sqlite3_value** argv);
// Monday 1 to Saturday 6, Sunday 0.
void weekday(sqlite3_context* ctx, int argc, sqlite3_value** argv);
void hour(sqlite3_context* ctx, int argc, sqlite3_value** argv);
void minute(sqlite3_context* ctx, int argc, sqlite3_value** argv);
// Seconds with their milliseconds as a real.
void second(sqlite3_context* ctx, int argc, sqlite3_value** argv);
void getDate(sqlite3_context* ctx, int argc, sqlite3_value** argv);
void getTime(sqlite3_context* ctx, int argc, sqlite3_value** argv);

} // namespace tessera::engine
