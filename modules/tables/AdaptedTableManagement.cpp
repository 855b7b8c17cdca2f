#include "modules/tables/AdaptedTableManagement.h"

#include "modules/tables/AdaptedTable.h"
#include "platform/dp/Table.h"

namespace tessera::modules {

AdaptedTableManagement::AdaptedTableManagement(QString name, std::shared_ptr<AdaptedTable> adapted)
    : name(std::move(name)), adaptedTable(std::move(adapted))
{
}

bool AdaptedTableManagement::detach()
{
    adaptedTable->detach();
    return true;
}

void AdaptedTableManagement::reset()
{
    adaptedTable->reset();
}

std::shared_ptr<cs::CoordSystem> AdaptedTableManagement::coordSystem() const
{
    const auto table = adaptedTable->table();
    return table ? table->coordSystem() : nullptr;
}

std::shared_ptr<dp::Table> AdaptedTableManagement::table() const
{
    return adaptedTable->table();
}

} // namespace tessera::modules
