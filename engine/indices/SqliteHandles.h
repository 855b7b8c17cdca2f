#pragma once
// Owning handles of a SQLite connection and a prepared statement.

#include <memory>
#include <sqlite3.h>

namespace tessera::engine {

struct SqliteConnectionCloser {
    void operator()(sqlite3* db) const { sqlite3_close_v2(db); }
};
struct SqliteStatementFinalizer {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};

using SqliteConnection = std::unique_ptr<sqlite3, SqliteConnectionCloser>;
using SqliteStatement = std::unique_ptr<sqlite3_stmt, SqliteStatementFinalizer>;

// Resets a statement (and clears its bindings) when the scope ends, so that a
// cached statement never stays open.
class SqliteStatementReset {
public:
    explicit SqliteStatementReset(sqlite3_stmt* statement) : statement(statement) {}
    ~SqliteStatementReset()
    {
        sqlite3_reset(statement);
        sqlite3_clear_bindings(statement);
    }
    SqliteStatementReset(const SqliteStatementReset&) = delete;
    SqliteStatementReset& operator=(const SqliteStatementReset&) = delete;

private:
    sqlite3_stmt* statement;
};

} // namespace tessera::engine
