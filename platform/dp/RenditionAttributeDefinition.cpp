#include "platform/dp/RenditionAttributeDefinition.h"

#include <QMetaType>

namespace tessera::dp {

RenditionAttributeDefinition::RenditionAttributeDefinition(QString name)
    : AttributeDefinition(std::move(name), QMetaType::QString)
{
}

RenditionAttributeDefinition* RenditionAttributeDefinition::clone() const
{
    return new RenditionAttributeDefinition(*this);
}

} // namespace tessera::dp
