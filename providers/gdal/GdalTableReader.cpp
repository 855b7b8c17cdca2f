#include "providers/gdal/GdalTableReader.h"

#include "platform/dp/MemoryTable.h"
#include "providers/gdal/GdalTable.h"

#include <QVector>

namespace tessera::providers {

std::shared_ptr<dp::MemoryTable> GdalTableReader::read(const QString& path, const QString& tableName, const QString& layerName)
{
    GdalTable::Options options;
    options.layer = layerName;
    options.name = tableName;
    options.readOnly = true;
    const auto source = GdalTable::open(path, options);
    auto table = std::make_shared<dp::MemoryTable>(source->name(), source->schema());
    table->setTableSourceDescription(source->tableSourceDescription());
    QVector<dp::Feature> features;
    auto cursor = source->features();
    while (auto f = cursor->next())
        features << *f;
    table->appendFeatures(features);
    return table;
}

} // namespace tessera::providers
