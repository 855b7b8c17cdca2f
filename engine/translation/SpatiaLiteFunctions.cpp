#include "engine/translation/SpatiaLiteFunctions.h"

#include "platform/sql/SqlStrings.h"

#include <QString>
#include <memory>
#include <mutex>
#include <sqlite3.h>
#include <spatialite.h>

namespace tessera::engine {

namespace {

struct ConnectionCloser {
    void operator()(sqlite3* db) const { sqlite3_close(db); }
};
struct StatementFinalizer {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
struct SpatiaLiteCleanup {
    void operator()(void* cache) const { spatialite_cleanup_ex(cache); }
};

// What SpatiaLite adds to a bare connection: the functions SQLite does not
// count among its built-in ones.
std::set<std::wstring> findNames()
{
    std::set<std::wstring> names;
    sqlite3* raw = nullptr;
    const int opened = sqlite3_open(":memory:", &raw);
    const std::unique_ptr<sqlite3, ConnectionCloser> db(raw);
    if (opened != SQLITE_OK)
        return names;
    const std::unique_ptr<void, SpatiaLiteCleanup> cache(spatialite_alloc_connection());
    if (!cache)
        return names;
    initSpatiaLite(db.get(), cache.get());
    sqlite3_stmt* rawStatement = nullptr;
    if (sqlite3_prepare_v2(db.get(), "Select name From pragma_function_list Where builtin = 0", -1, &rawStatement, nullptr) != SQLITE_OK)
        return names;
    const std::unique_ptr<sqlite3_stmt, StatementFinalizer> statement(rawStatement);
    while (sqlite3_step(statement.get()) == SQLITE_ROW) {
        const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement.get(), 0));
        if (text)
            names.insert(sql::toLowercase(QString::fromUtf8(text).toStdWString()));
    }
    return names;
}

} // namespace

void initSpatiaLite(sqlite3* db, void* cache)
{
    static std::mutex settingUp;
    const std::lock_guard<std::mutex> lock(settingUp);
    spatialite_init_ex(db, cache, 0);
}

const std::set<std::wstring>& spatiaLiteFunctionNames()
{
    static const std::set<std::wstring> names = findNames();
    return names;
}

} // namespace tessera::engine
