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
};

} // namespace tessera::providers
