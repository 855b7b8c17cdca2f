#pragma once
// The engine's handle on one virtual table of the table adapter: detaching
// lets the host table go, resetting drops the adapter's cached blobs and
// bounds and the storage of the table's attribute indices. A change of the
// table's features drops that storage too, so an index never answers row ids
// of data that has changed (build it again with the new data).

#include "engine/TableManagement.h"

#include <QMetaObject>
#include <memory>

namespace tessera {
class Engine;
}

namespace tessera::modules {

class AdaptedTable;

class AdaptedTableManagement final : public engine::TableManagement {
public:
    // `engine` owns the management and outlives it.
    AdaptedTableManagement(QString name, std::shared_ptr<AdaptedTable> adapted, Engine* engine);
    ~AdaptedTableManagement() override;

    bool detach() override;
    QString tableName() const override { return name; }
    void reset() override;
    std::shared_ptr<cs::CoordSystem> coordSystem() const override;
    std::shared_ptr<dp::Table> table() const override;

    const std::shared_ptr<AdaptedTable>& adapted() const { return adaptedTable; }

private:
    void dropIndexStorage() const;

    QString name;
    std::shared_ptr<AdaptedTable> adaptedTable;
    Engine* engine;
    QMetaObject::Connection changed;
};

} // namespace tessera::modules
