#include "modules/tables/TableAdapterExtension.h"

#include "modules/tables/TableAdapterModule.h"

namespace tessera::modules {

QString TableAdapterExtension::moduleDescription(const QString& tableSource, QList<QVariant>& args) const
{
    if (tableSource.isEmpty())
        return QString();
    args = {tableSource};
    return QString::fromLatin1(tableAdapterModuleName);
}

} // namespace tessera::modules
