#pragma once
// A table whose features live in memory, in insertion order. Tests and data
// providers fill it; it is editable. Reads take a shared lock and cursors
// work on a snapshot, so SQL statements may read it from any thread.

#include "platform/dp/DpExport.h"
#include "platform/dp/Table.h"

#include <QVector>
#include <memory>

namespace tessera::dp {

class TESSERA_DP_EXPORT MemoryTable final : public Table {
    Q_OBJECT
public:
    MemoryTable(const QString& name, TableSchema schema, QUuid id = QUuid::createUuid());
    ~MemoryTable() override;

    TableSchema schema() const override;
    qint64 featureCount() const override;
    std::shared_ptr<Feature> feature(const FeatureId& id) const override;
    std::unique_ptr<FeatureCursor> features() const override;

    bool isEditable() const override { return true; }
    // Features without an id get the integers 1, 2, 3, ... (skipping ids in
    // use). A feature must have one value per attribute of the table.
    FeatureId insertFeature(const Feature& feature) override;
    bool updateFeature(const Feature& feature) override;
    bool removeFeature(const FeatureId& id) override;

    // Inserts many features with one change notification; returns how many
    // were taken.
    int appendFeatures(const QVector<Feature>& features);

    // An empty feature of this table's schema, without an id.
    Feature newFeature() const;

private:
    FeatureId insertLocked(const Feature& feature);

    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace tessera::dp
