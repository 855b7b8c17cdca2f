#pragma once
// What every fuzz target shares: one process-wide engine (application object,
// Core, Engine, the function module loaded on its connection, as the shell
// sets it up) and a way to run a statement on it with bound values without
// letting it loop, grow or reach the file system.

#include "engine/Engine.h"
#include "modules/functions/FunctionModule.h"
#include "platform/core/Core.h"

#include <QCoreApplication>
#include <QSqlDatabase>
#include <QSqlDriver>
#include <QVariant>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <sqlite3.h>
#include <string>

namespace tessera::fuzz {

// Statements that touch files or load code are refused: the fuzzer writes
// their names sooner or later.
inline int authorize(void*, int action, const char* a, const char* b, const char*, const char*)
{
    if (action == SQLITE_ATTACH || action == SQLITE_DETACH || action == SQLITE_PRAGMA)
        return SQLITE_DENY;
    if (action == SQLITE_FUNCTION) {
        std::string name = b ? b : (a ? a : "");
        for (char& c : name)
            c = static_cast<char>(c >= 'A' && c <= 'Z' ? c + 32 : c);
        for (const char* word : {"load_extension", "file", "export", "import", "dxf", "shp", "dbf", "xl", "gpkg", "kml", "gml",
                                 "svg", "wfs", "zip", "sql_", "stored", "checkspatial", "vacuum", "drop", "create", "recover",
                                 "register", "disable", "update", "invalidate", "elementary", "topo", "net"}) {
            if (name.find(word) != std::string::npos)
                return SQLITE_DENY;
        }
    }
    return SQLITE_OK;
}

// Stops statements after this many virtual-machine steps (times 1000).
inline int progress(void* counter)
{
    return ++*static_cast<int*>(counter) > 2000;
}

class FuzzEngine {
public:
    static FuzzEngine& instance()
    {
        static FuzzEngine engine;
        return engine;
    }

    sqlite3* db() const { return handle; }
    Core& core() { return *host; }
    Engine& engine() { return *service; }

    // Runs `sql` to the end with the given texts bound as ?1, ?2, ... and
    // returns the first column of the first row as text ("<null>", "<error>"
    // or "<interrupted>" otherwise).
    std::string run(const std::string& sql, std::initializer_list<std::string> texts = {})
    {
        sqlite3_stmt* stmt = nullptr;
        if (sqlite3_prepare_v2(handle, sql.c_str(), static_cast<int>(sql.size()), &stmt, nullptr) != SQLITE_OK || !stmt)
            return "<error>";
        int i = 1;
        for (const std::string& text : texts)
            sqlite3_bind_text(stmt, i++, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
        return finish(stmt);
    }

    // The same with blobs.
    std::string runBlob(const std::string& sql, const uint8_t* data, std::size_t size)
    {
        sqlite3_stmt* stmt = nullptr;
        if (sqlite3_prepare_v2(handle, sql.c_str(), -1, &stmt, nullptr) != SQLITE_OK || !stmt)
            return "<error>";
        for (int i = 1; i <= sqlite3_bind_parameter_count(stmt); ++i)
            sqlite3_bind_blob(stmt, i, data, static_cast<int>(size), SQLITE_TRANSIENT);
        return finish(stmt);
    }

    // Every statement of `sql` in turn, results thrown away.
    void runAll(const std::string& sql)
    {
        const char* tail = sql.c_str();
        const char* end = tail + sql.size();
        while (tail < end && *tail) {
            sqlite3_stmt* stmt = nullptr;
            const char* next = nullptr;
            if (sqlite3_prepare_v2(handle, tail, static_cast<int>(end - tail), &stmt, &next) != SQLITE_OK || !next || next == tail) {
                sqlite3_finalize(stmt);
                return;
            }
            if (stmt)
                finish(stmt);
            tail = next;
        }
    }

private:
    FuzzEngine()
    {
        static int argc = 1;
        static char name[] = "tessera-fuzz";
        static char* argv[] = {name, nullptr};
        app = new QCoreApplication(argc, argv);
        host = new Core();
        service = Engine::load(host);
        service->loadTableAdapterModule(host, modules::initFunctionModule);
        const QVariant v = service->engineDatabase().driver()->handle();
        handle = *static_cast<sqlite3* const*>(v.constData());
        sqlite3_set_authorizer(handle, authorize, nullptr);
        sqlite3_progress_handler(handle, 1000, progress, &steps);
        sqlite3_limit(handle, SQLITE_LIMIT_LENGTH, 1 << 20);
        sqlite3_limit(handle, SQLITE_LIMIT_SQL_LENGTH, 1 << 16);
    }

    std::string finish(sqlite3_stmt* stmt)
    {
        steps = 0;
        std::string first;
        int rc = SQLITE_ROW;
        bool haveFirst = false;
        while ((rc = sqlite3_step(stmt)) == SQLITE_ROW) {
            if (!haveFirst) {
                haveFirst = true;
                const unsigned char* text = sqlite3_column_text(stmt, 0);
                first = text ? std::string(reinterpret_cast<const char*>(text), sqlite3_column_bytes(stmt, 0)) : "<null>";
            }
        }
        sqlite3_finalize(stmt);
        if (rc == SQLITE_INTERRUPT)
            return "<interrupted>";
        if (rc != SQLITE_DONE)
            return "<error>";
        return haveFirst ? first : "<null>";
    }

    // Process-lifetime objects: the fuzzer ends the process without unwinding.
    QCoreApplication* app = nullptr;
    Core* host = nullptr;
    Engine* service = nullptr;
    sqlite3* handle = nullptr;
    int steps = 0;
};

} // namespace tessera::fuzz
