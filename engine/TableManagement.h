#pragma once
// The engine side of one virtual table: registered by the plug-in that owns
// the table so that the engine can detach, rename and reset it, and find the
// table's coordinate system for SQL functions.

#include "engine/EngineExport.h"

#include <QString>
#include <memory>

namespace tessera::cs { class CoordSystem; }
namespace tessera::dp { class Table; }

namespace tessera::engine {

class TESSERA_ENGINE_EXPORT TableManagement {
public:
    virtual ~TableManagement();

    // Detaches the table from its data; returns whether it worked.
    virtual bool detach() = 0;
    // The table's name in the engine database (the registration key).
    virtual QString tableName() const;
    // The name a pending rename gives the table.
    virtual QString newName() const;
    virtual void setNewName(QString name);
    // Drops the table's cached state (indices, statistics, ...).
    virtual void reset() = 0;
    // The coordinate system of the table's geometry (looked up through the
    // engine cache by table name).
    virtual std::shared_ptr<cs::CoordSystem> coordSystem() const = 0;
    // The host table behind the virtual table; empty once it has gone.
    virtual std::shared_ptr<dp::Table> table() const = 0;

protected:
    TableManagement() = default;
    TableManagement(const TableManagement&) = default;
    TableManagement& operator=(const TableManagement&) = default;

private:
    QString pendingName;
};

} // namespace tessera::engine
