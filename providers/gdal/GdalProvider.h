#pragma once
// The GDAL provider as the data provider registry sees it: sources of the
// scheme "ogr" (anything GDAL/OGR opens as vector data) become live
// GdalTables.

#include "platform/dp/DataProvider.h"

namespace tessera::providers {

class GdalProvider final : public dp::DataProvider {
public:
    static const char* const schemeName;   // "ogr"

    QString scheme() const override;
    // Throws GdalError with the source's name and GDAL's reason.
    std::shared_ptr<dp::Table> openTable(const QString& source, const OpenOptions& options) const override;
};

} // namespace tessera::providers
