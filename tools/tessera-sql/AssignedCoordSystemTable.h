#pragma once
// A table whose geometries get a coordinate system that their source does not
// name (--srs): a CSV with WKT, a GeoJSON file without "crs" that is not in
// longitude and latitude, ... Reads and changes go to the source table; the
// features read have the coordinate system set on every geometry that has
// none, and the schema's geometry attributes carry it.

#include "platform/dp/Table.h"

#include <memory>

namespace tessera::cs { class CoordSystem; }

namespace tessera::shell {

class AssignedCoordSystemTable final : public dp::Table {
    Q_OBJECT
public:
    // Takes the source's name and source description.
    AssignedCoordSystemTable(std::shared_ptr<dp::Table> source, std::shared_ptr<cs::CoordSystem> coordSystem);
    ~AssignedCoordSystemTable() override;

    dp::TableSchema schema() const override;
    qint64 featureCount() const override;
    std::shared_ptr<dp::Feature> feature(const dp::FeatureId& id) const override;
    std::unique_ptr<dp::FeatureCursor> features() const override;
    bool canFilter() const override;
    std::unique_ptr<dp::FeatureCursor> filteredFeatures(const dp::FeatureFilter& filter) const override;

    bool isEditable() const override;
    dp::FeatureId insertFeature(const dp::Feature& feature) override;
    bool updateFeature(const dp::Feature& feature) override;
    bool removeFeature(const dp::FeatureId& id) override;

    struct Private;

private:
    std::shared_ptr<Private> d;
};

} // namespace tessera::shell
