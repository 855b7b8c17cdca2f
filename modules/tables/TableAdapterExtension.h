#pragma once
// Follows the data catalog with the table adapter: every object with a table
// source gets a "TesseraTable" virtual table, renamed in place when the
// object is renamed.

#include "engine/extension/EngineExtension.h"

namespace tessera::modules {

class TableAdapterExtension final : public EngineExtension {
    Q_OBJECT
public:
    using EngineExtension::EngineExtension;

    QString moduleDescription(const QString& tableSource, QList<QVariant>& args) const override;
    bool renameRealized() const override { return true; }
    // Also follows the catalog's renames.
    void connectCatalog(dp::DataCatalog& catalog) override;
};

} // namespace tessera::modules
