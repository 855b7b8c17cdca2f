#include "platform/dp/AttributeDefinition.h"

namespace tessera::dp {

AttributeDefinition::AttributeDefinition(QString name, int type)
    : attributeName(std::move(name)), typeId(type)
{
}

AttributeDefinition::~AttributeDefinition() = default;

} // namespace tessera::dp
