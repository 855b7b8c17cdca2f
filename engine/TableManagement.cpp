#include "engine/TableManagement.h"

#include <utility>

namespace tessera::engine {

TableManagement::~TableManagement() = default;

QString TableManagement::tableName() const
{
    return QString();
}

QString TableManagement::newName() const
{
    return pendingName;
}

void TableManagement::setNewName(QString name)
{
    std::swap(pendingName, name);
}

} // namespace tessera::engine
