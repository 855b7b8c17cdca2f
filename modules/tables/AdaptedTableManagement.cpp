#include "modules/tables/AdaptedTableManagement.h"

#include "engine/Engine.h"
#include "engine/indices/EngineIndices.h"
#include "modules/tables/AdaptedTable.h"
#include "platform/dp/Table.h"

namespace tessera::modules {

AdaptedTableManagement::AdaptedTableManagement(QString name, std::shared_ptr<AdaptedTable> adapted, Engine* engine)
    : name(std::move(name)), adaptedTable(std::move(adapted)), engine(engine)
{
    if (const auto table = adaptedTable->table())
        changed = QObject::connect(table.get(), &dp::Table::featuresChanged, [this] { dropIndexStorage(); });
}

AdaptedTableManagement::~AdaptedTableManagement()
{
    QObject::disconnect(changed);
}

bool AdaptedTableManagement::detach()
{
    adaptedTable->detach();
    return true;
}

void AdaptedTableManagement::reset()
{
    adaptedTable->reset();
    dropIndexStorage();
}

void AdaptedTableManagement::dropIndexStorage() const
{
    if (engine::EngineIndices* store = engine ? engine->findIndices(name) : nullptr)
        store->dropStorage();
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
