#pragma once
// One row per registered SQL function, and the registrar that puts a table of
// rows on a connection with the engine cache as user data.

#include <sqlite3.h>

#include <QString>
#include <vector>

namespace tessera::engine { class EngineCache; }

namespace tessera::modules {

using ScalarCallback = void (*)(sqlite3_context*, int, sqlite3_value**);
using FinalCallback = void (*)(sqlite3_context*);

struct FunctionEntry {
    const char* name;
    int arity;        // -1: any count, the function checks it
    int flags;        // text encoding | SQLITE_DETERMINISTIC
    ScalarCallback call;
};

struct AggregateEntry {
    const char* name;
    int arity;
    int flags;
    ScalarCallback step;
    FinalCallback final;
};

class FunctionRegistrar {
public:
    FunctionRegistrar(sqlite3* db, engine::EngineCache* cache) : db(db), cache(cache) {}

    template <std::size_t N>
    void add(const FunctionEntry (&entries)[N]) { for (const auto& e : entries) add(e); }
    template <std::size_t N>
    void add(const AggregateEntry (&entries)[N]) { for (const auto& e : entries) add(e); }
    void add(const std::vector<FunctionEntry>& entries) { for (const auto& e : entries) add(e); }
    void add(const FunctionEntry& entry);
    void add(const AggregateEntry& entry);

    // SQLITE_OK, or the first failure's code with its message in *errorMessage
    // (allocated with sqlite3_malloc).
    int finish(char** errorMessage) const;

private:
    void check(int rc, const char* name);

    sqlite3* db;
    engine::EngineCache* cache;
    int firstError = SQLITE_OK;
    QString firstErrorText;
};

} // namespace tessera::modules
