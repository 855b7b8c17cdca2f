#pragma once
// "series": a virtual table of the integers 1..count in its column "n".
// Used by name it counts to 10 (Select n From series); created with an
// argument it counts to that (Create Virtual Table five Using series(5)).

struct sqlite3;

namespace series {

// Registers the module on `db`; returns an SQLite result code.
int registerSeriesModule(sqlite3* db);

} // namespace series
