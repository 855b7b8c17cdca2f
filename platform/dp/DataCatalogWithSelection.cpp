#include "platform/dp/DataCatalogWithSelection.h"

#include "platform/dp/Table.h"

namespace tessera::dp {

DataCatalogWithSelection::DataCatalogWithSelection(QObject* parent) : DataCatalog(parent)
{
    connect(this, &DataCatalog::dataObjectRemoved, this, [this](const DataObjectPtr& object) {
        if (current.table() && current.table().get() == object.get())
            setSelection(Selection());
    });
}

DataCatalogWithSelection::~DataCatalogWithSelection() = default;

QString DataCatalogWithSelection::selectionTableName()
{
    return QStringLiteral("Selection");
}

void DataCatalogWithSelection::setSelection(Selection selection)
{
    current = std::move(selection);
    emit selectionChanged();
}

} // namespace tessera::dp
