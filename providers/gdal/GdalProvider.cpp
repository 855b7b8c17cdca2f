#include "providers/gdal/GdalProvider.h"

#include "providers/gdal/GdalTable.h"

namespace tessera::providers {

QString GdalProvider::scheme() const
{
    return QStringLiteral("ogr");
}

std::shared_ptr<dp::Table> GdalProvider::openTable(const QString& source, const OpenOptions& options) const
{
    return GdalTable::open(source, options);
}

} // namespace tessera::providers
