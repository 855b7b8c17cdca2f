#pragma once
// The engine's private part. It is the engine cache itself, so SQL callbacks
// and table adapters receive it as their EngineCache.

#include "engine/Engine.h"
#include "engine/EngineCache.h"
#include "engine/TableManagement.h"
#include "engine/indices/EngineIndices.h"

#include <QCollator>
#include <QMutex>
#include <QReadWriteLock>
#include <QSqlDatabase>
#include <map>
#include <memory>

struct sqlite3;

namespace tessera::sql { class SqlRuntime; }

namespace tessera {

// Hidden: a nested class would otherwise share the exported Engine's visibility.
class Q_DECL_HIDDEN Engine::Internal final : public engine::EngineCache {
public:
    // Opens and prepares the database; throws on any failure.
    explicit Internal(Engine* owner);
    ~Internal() override;

    std::shared_ptr<cs::CoordSystem> tableCoordSystem(const QString& table) const override;

    // The connection's sqlite3*, or null when it is not open.
    sqlite3* handle() const;
    // Releases SpatiaLite's connection cache (if any) and closes the connection.
    void shutDown();

    QSqlDatabase database;
    QCollator collator;
    void* spatialiteCache = nullptr;
    sql::SqlRuntime* runtime = nullptr;
    std::map<QString, std::unique_ptr<engine::TableManagement>> managementByTable;
    std::map<QString, std::unique_ptr<engine::EngineIndices>> indicesByTable;
    // Guards both maps: registration writes them on the host thread while
    // SQL callbacks and table planning on query threads read them.
    mutable QReadWriteLock managementLock;
    // The open connection for cancelQuery, which may run on any thread: the
    // lock keeps shutDown from closing it while sqlite3_interrupt runs.
    QMutex interruptLock;
    sqlite3* interruptible = nullptr;

private:
    void openDatabase();
    void prepareConnection();
};

} // namespace tessera
