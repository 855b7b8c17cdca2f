#pragma once
// The engine's handle on one virtual table of the table adapter: detaching
// lets the host table go, resetting drops the adapter's cached blobs and
// bounds (and the table's attribute indices, once the engine keeps them).

#include "engine/TableManagement.h"

#include <memory>

namespace tessera::modules {

class AdaptedTable;

class AdaptedTableManagement final : public engine::TableManagement {
public:
    AdaptedTableManagement(QString name, std::shared_ptr<AdaptedTable> adapted);

    bool detach() override;
    QString tableName() const override { return name; }
    void reset() override;
    std::shared_ptr<cs::CoordSystem> coordSystem() const override;
    std::shared_ptr<dp::Table> table() const override;

    const std::shared_ptr<AdaptedTable>& adapted() const { return adaptedTable; }

private:
    QString name;
    std::shared_ptr<AdaptedTable> adaptedTable;
};

} // namespace tessera::modules
