#include "providers/gdal/GdalProvider.h"

#include "providers/gdal/GdalTable.h"

namespace tessera::providers {

const char* const GdalProvider::schemeName = "ogr";

QString GdalProvider::scheme() const
{
    return QString::fromLatin1(schemeName);
}

std::shared_ptr<dp::Table> GdalProvider::openTable(const QString& source, const OpenOptions& options) const
{
    return GdalTable::open(source, options);
}

} // namespace tessera::providers
