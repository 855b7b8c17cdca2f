#pragma once
// The GDAL provider as the data provider registry sees it: sources of the
// scheme "ogr" (anything GDAL/OGR opens as vector data) become live
// GdalTables.

#include "platform/dp/DataProvider.h"

namespace tessera::providers {

class GdalProvider final : public dp::DataProvider {
public:
    QString scheme() const override;   // "ogr"
    // Throws GdalError with the source's name and GDAL's reason.
    std::shared_ptr<dp::Table> openTable(const QString& source, const OpenOptions& options) const override;
    // Through the GDAL driver named `format` (GPKG, GeoJSON, ...); the first
    // column with geometries becomes the layer's geometry.
    bool writeFile(const QString& path, const QString& format, const QStringList& columns,
                   const QVector<QVector<QVariant>>& rows, QString& error) const override;
    // GDAL's messages, instead of "ERROR 1: ..." on standard error.
    std::unique_ptr<MessageCapture> captureMessages() const override;
};

} // namespace tessera::providers
