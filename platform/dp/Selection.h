#pragma once
// The user's current feature selection: features of one table, by id. An
// empty selection has no table or no ids.

#include "platform/dp/DpExport.h"
#include "platform/dp/FeatureId.h"

#include <QVector>
#include <memory>

namespace tessera::dp {

class Table;

class TESSERA_DP_EXPORT Selection {
public:
    Selection() = default;
    Selection(std::shared_ptr<Table> table, QVector<FeatureId> ids)
        : selectedTable(std::move(table)), ids(std::move(ids)) {}

    const std::shared_ptr<Table>& table() const { return selectedTable; }
    const QVector<FeatureId>& featureIds() const { return ids; }
    bool isEmpty() const { return !selectedTable || ids.isEmpty(); }

private:
    std::shared_ptr<Table> selectedTable;
    QVector<FeatureId> ids;
};

} // namespace tessera::dp
