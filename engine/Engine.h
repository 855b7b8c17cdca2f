#pragma once
// The SQL engine service: one per host Core. Owns the in-memory SQLite
// database (SpatiaLite, the "Locale" collation), loads extension and
// table-adapter modules into it, translates the dialect, and hands out the
// engine cache.
//
// Threads:
// - load, unload, loadDatabaseModule, loadTableAdapterModule, registerExtension
//   and the management calls run on the host thread that loads plug-ins and
//   owns the catalog. The management map and the extension list are locked,
//   so SQL callbacks on query threads may read them meanwhile; a management
//   must not be unregistered while statements over its table run.
// - The connection (engineDatabase(), and its sqlite3 handle) is opened by Qt
//   in SQLite's multi-thread mode, without a mutex of its own: one thread at a
//   time prepares, steps and finalises statements on it, and callers that
//   share it across threads serialise that themselves. translate and
//   tryToTranslate use it too and follow the same rule. Other connections
//   with the engine's functions registered (table adapters, threads of the
//   host) may run in parallel: they share only the engine cache, which is
//   locked.
// - cancelQuery and clearCache may be called from any thread at any time,
//   also while unload runs: cancelQuery interrupts the statement running on
//   the connection, or nothing once the connection is closed.

#include "engine/EngineCatalogue.h"
#include "engine/EngineExport.h"

#include <QBitArray>
#include <QObject>
#include <QSqlDatabase>
#include <QString>
#include <QStringList>
#include <memory>
#include <set>
#include <string>

struct sqlite3;

namespace tessera {

class Core;
namespace geometry { class ResemblanceExtension; }
namespace dp { class Table; }
namespace sql { class SqlParser; }

namespace engine {
class EngineCache;
class SqliteStringBuilder;
class TableManagement;
class EngineIndices;
}

class TESSERA_ENGINE_EXPORT Engine : public QObject {
    Q_OBJECT
public:
    enum CheckParseResults { AnyResult = 0, ExpressionOnly = 1 };
    using TableAdapterInit = int (*)(sqlite3*, char**, Core*, engine::EngineCache*);

    static Engine* load(Core* core);
    static void unload(Core* core);

    explicit Engine(QObject* parent);
    ~Engine() override;

    QSqlDatabase engineDatabase() const;
    engine::EngineCache* cache() const;
    void loadDatabaseModule(const char* path);
    void loadTableAdapterModule(Core* core, TableAdapterInit init);
    void clearCache();
    void registerExtension(geometry::ResemblanceExtension* extension);
    void cancelQuery();
    // A parser bound to the engine's SQL runtime.
    sql::SqlParser sqlParser() const;

    bool tryToTranslate(const std::string& text, engine::SqliteStringBuilder& builder, CheckParseResults check) const;
    QString translate(const std::string& text) const;
    QString translate(const QString& text) const;

    // Table managements (one per virtual table, owned by the engine).
    void registerManagement(std::unique_ptr<engine::TableManagement> management);
    engine::TableManagement* findManagement(const QString& name) const;
    void unRegisterManagement(const QString& name);
    bool detachTable(const QString& name);

    // The table's attribute index store, made on first request with the
    // engine's string-comparison settings; the engine keeps it. Null for a
    // null table; throws what the store's construction throws.
    engine::EngineIndices* indices(const std::shared_ptr<dp::Table>& table);
    // Drops the storage of the table's index store (the store stays) and
    // resets the table's management.
    void clearIndices(const std::shared_ptr<dp::Table>& table);
    // The index store of the table named `name` when one was made, else null
    // (never makes one: query planning asks for every table).
    engine::EngineIndices* findIndices(const QString& name) const;
    // Forgets the store of the table named `name`, storage and all: the
    // table has gone, or its name now belongs to another.
    void dropIndices(const QString& name);

    // The dialect functions that can run on the engine connection, of the
    // kinds in `mask` (see EngineCatalogue.h), and the operators offered.
    sql::FunctionSet sqlFunctionSet(QFlags<sql::FunctionInfo::TypeMask> mask);
    engine::FunctionNameSet functionSet(QFlags<sql::FunctionInfo::TypeMask> mask) const;
    QStringList functionList(QFlags<sql::FunctionInfo::TypeMask> mask) const;
    sql::OperatorSet operatorList() const;

    class Internal;

private:
    Internal* d;
    std::shared_ptr<Internal> holder;
};

} // namespace tessera
