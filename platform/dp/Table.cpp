#include "platform/dp/Table.h"

#include "platform/dp/GeometryAttributeDefinition.h"

namespace tessera::dp {

Table::~Table() = default;

std::unique_ptr<FeatureCursor> Table::filteredFeatures(const FeatureFilter&) const
{
    return features();
}

FeatureId Table::insertFeature(const Feature&)
{
    return {};
}

bool Table::updateFeature(const Feature&)
{
    return false;
}

bool Table::removeFeature(const FeatureId&)
{
    return false;
}

std::shared_ptr<cs::CoordSystem> Table::coordSystem() const
{
    const auto geometries = schema().attributePlan<GeometryAttributeDefinition>();
    if (geometries->isEmpty())
        return {};
    return static_cast<const GeometryAttributeDefinition*>(geometries->first().constData())->coordSystem();
}

} // namespace tessera::dp
