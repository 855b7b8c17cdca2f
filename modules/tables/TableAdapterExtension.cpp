#include "modules/tables/TableAdapterExtension.h"

#include "modules/tables/TableAdapterModule.h"
#include "platform/dp/DataCatalog.h"

namespace tessera::modules {

QString TableAdapterExtension::moduleDescription(const QString& tableSource, QList<QVariant>& args) const
{
    if (tableSource.isEmpty())
        return QString();
    args = {tableSource};
    return QString::fromLatin1(tableAdapterModuleName);
}

void TableAdapterExtension::connectCatalog(dp::DataCatalog& catalog)
{
    EngineExtension::connectCatalog(catalog);
    connect(&catalog, &dp::DataCatalog::dataObjectRenamed, this, &EngineExtension::rename, Qt::DirectConnection);
}

} // namespace tessera::modules
