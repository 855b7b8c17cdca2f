#include "platform/dp/GeometryAttributeDefinition.h"

#include "platform/dp/GeometryValue.h"

namespace tessera::dp {

GeometryAttributeDefinition::GeometryAttributeDefinition(QString name, std::shared_ptr<cs::CoordSystem> coordSystem)
    : AttributeDefinition(std::move(name), geometryMetaTypeId()), cs(std::move(coordSystem))
{
}

GeometryAttributeDefinition* GeometryAttributeDefinition::clone() const
{
    return new GeometryAttributeDefinition(*this);
}

} // namespace tessera::dp
