#pragma once
// A data object made of features that follow one schema. Reading is
// thread-safe in every implementation (SQL statements read tables from the
// threads that run them); changes come from one thread at a time.

#include "platform/dp/DpExport.h"
#include "platform/dp/DataObject.h"
#include "platform/dp/Feature.h"
#include "platform/dp/FeatureCursor.h"
#include "platform/dp/FeatureFilter.h"
#include "platform/dp/TableSchema.h"

#include <memory>

namespace tessera::cs { class CoordSystem; }

namespace tessera::dp {

class TESSERA_DP_EXPORT Table : public DataObject {
    Q_OBJECT
public:
    using DataObject::DataObject;
    ~Table() override;

    virtual TableSchema schema() const = 0;
    virtual qint64 featureCount() const = 0;
    // A copy of the feature with this id, or an empty pointer.
    virtual std::shared_ptr<Feature> feature(const FeatureId& id) const = 0;
    // Every feature, in the table's own order.
    virtual std::unique_ptr<FeatureCursor> features() const = 0;
    // Features that may meet `filter`, for tables whose source can filter
    // (canFilter()); others return every feature.
    virtual bool canFilter() const { return false; }
    virtual std::unique_ptr<FeatureCursor> filteredFeatures(const FeatureFilter& filter) const;

    // Tables are read-only unless an implementation says otherwise; the
    // changing operations then fail.
    virtual bool isEditable() const { return false; }
    // Adds a feature with the table's schema. A feature without an id gets a
    // new one. Returns the feature's id, or an invalid id when it was refused
    // (read-only table, id already present, values that do not fit the schema).
    virtual FeatureId insertFeature(const Feature& feature);
    // Replaces the feature with the same id; false when there is none.
    virtual bool updateFeature(const Feature& feature);
    virtual bool removeFeature(const FeatureId& id);

    // The coordinate system of the first geometry attribute; empty if none.
    std::shared_ptr<cs::CoordSystem> coordSystem() const;

signals:
    void schemaChanged();
    void featuresChanged();
};

using TablePtr = std::shared_ptr<Table>;

} // namespace tessera::dp
