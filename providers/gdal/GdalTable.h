#pragma once
// A live table over one layer of a GDAL vector source: a file (GeoPackage,
// Shapefile, GeoJSON, MIF/TAB, CSV, ...) or a database connection string
// (for example "PG:dbname=gis host=/tmp"). Features are read on demand, by
// cursor or by feature id (the OGR FID); attribute conditions and bounds are
// handed to OGR as attribute and spatial filters, so a database server runs
// them. Sources whose driver can write (GeoPackage, Shapefile, SQLite,
// PostgreSQL, MapInfo) are opened for update when the file is writable and
// are then editable.
//
// Every reader gets its own dataset handle from a pool (an OGR layer keeps
// one reading position and is not thread-safe), so cursors of one table may
// be nested and used from several threads.

#include "platform/dp/DataProvider.h"
#include "platform/dp/Table.h"
#include "providers/gdal/GdalError.h"

#include <memory>

namespace tessera::providers {

class GdalTable final : public dp::Table {
    Q_OBJECT
public:
    // GDAL open options; the layer's name, made valid, when no name is given.
    using Options = dp::DataProvider::OpenOptions;
    // Throws GdalError when the source or the layer cannot be opened.
    static std::shared_ptr<GdalTable> open(const QString& source, const Options& options);
    ~GdalTable() override;

    dp::TableSchema schema() const override;
    qint64 featureCount() const override;
    std::shared_ptr<dp::Feature> feature(const dp::FeatureId& id) const override;
    std::unique_ptr<dp::FeatureCursor> features() const override;
    bool canFilter() const override { return true; }
    std::unique_ptr<dp::FeatureCursor> filteredFeatures(const dp::FeatureFilter& filter) const override;

    bool isEditable() const override;
    dp::FeatureId insertFeature(const dp::Feature& feature) override;
    bool updateFeature(const dp::Feature& feature) override;
    bool removeFeature(const dp::FeatureId& id) override;

    // GDAL's short name of the driver, e.g. "GPKG".
    QString driverName() const;
    // The OGR attribute filter that `filter` becomes (empty: none).
    QString attributeFilter(const dp::FeatureFilter& filter) const;

    struct Private;

private:
    GdalTable(const QString& name, std::shared_ptr<Private> d);
    std::shared_ptr<Private> d;
};

} // namespace tessera::providers
