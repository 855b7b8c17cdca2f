#include "SeriesTable.h"

#include <sqlite3.h>
#include <cstdlib>
#include <new>

namespace series {
namespace {

struct Table {
    sqlite3_vtab base{};
    sqlite3_int64 count = 10;
};

struct Cursor {
    sqlite3_vtab_cursor base{};
    sqlite3_int64 value = 1;
};

int connect(sqlite3* db, void*, int argc, const char* const* argv, sqlite3_vtab** table, char** error)
{
    sqlite3_int64 count = 10;
    if (argc > 3) {
        count = std::strtoll(argv[3], nullptr, 10);
        if (count < 0 || count > 1000000) {
            *error = sqlite3_mprintf("series: the count must lie between 0 and 1000000");
            return SQLITE_ERROR;
        }
    }
    const int rc = sqlite3_declare_vtab(db, "Create Table x(n Integer)");
    if (rc != SQLITE_OK)
        return rc;
    auto* t = new (std::nothrow) Table;
    if (!t)
        return SQLITE_NOMEM;
    t->count = count;
    *table = &t->base;
    return SQLITE_OK;
}

int disconnect(sqlite3_vtab* table)
{
    delete reinterpret_cast<Table*>(table);
    return SQLITE_OK;
}

int bestIndex(sqlite3_vtab* table, sqlite3_index_info* info)
{
    info->estimatedRows = reinterpret_cast<Table*>(table)->count;
    info->estimatedCost = double(info->estimatedRows);
    return SQLITE_OK;
}

int open(sqlite3_vtab*, sqlite3_vtab_cursor** cursor)
{
    auto* c = new (std::nothrow) Cursor;
    if (!c)
        return SQLITE_NOMEM;
    *cursor = &c->base;
    return SQLITE_OK;
}

int close(sqlite3_vtab_cursor* cursor)
{
    delete reinterpret_cast<Cursor*>(cursor);
    return SQLITE_OK;
}

int filter(sqlite3_vtab_cursor* cursor, int, const char*, int, sqlite3_value**)
{
    reinterpret_cast<Cursor*>(cursor)->value = 1;
    return SQLITE_OK;
}

int next(sqlite3_vtab_cursor* cursor)
{
    ++reinterpret_cast<Cursor*>(cursor)->value;
    return SQLITE_OK;
}

int eof(sqlite3_vtab_cursor* cursor)
{
    const auto* c = reinterpret_cast<Cursor*>(cursor);
    return c->value > reinterpret_cast<Table*>(cursor->pVtab)->count;
}

int column(sqlite3_vtab_cursor* cursor, sqlite3_context* context, int)
{
    sqlite3_result_int64(context, reinterpret_cast<Cursor*>(cursor)->value);
    return SQLITE_OK;
}

int rowid(sqlite3_vtab_cursor* cursor, sqlite3_int64* id)
{
    *id = reinterpret_cast<Cursor*>(cursor)->value;
    return SQLITE_OK;
}

sqlite3_module makeModule()
{
    sqlite3_module m{};
    m.xCreate = connect; // the same as xConnect: also usable by name
    m.xConnect = connect;
    m.xBestIndex = bestIndex;
    m.xDisconnect = disconnect;
    m.xDestroy = disconnect;
    m.xOpen = open;
    m.xClose = close;
    m.xFilter = filter;
    m.xNext = next;
    m.xEof = eof;
    m.xColumn = column;
    m.xRowid = rowid;
    return m;
}

const sqlite3_module seriesModule = makeModule();

} // namespace

int registerSeriesModule(sqlite3* db)
{
    return sqlite3_create_module(db, "series", &seriesModule, nullptr);
}

} // namespace series
