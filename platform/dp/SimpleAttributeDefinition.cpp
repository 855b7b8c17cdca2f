#include "platform/dp/SimpleAttributeDefinition.h"

namespace tessera::dp {

SimpleAttributeDefinition::SimpleAttributeDefinition(QString name, int type, int size, int scale, bool unique)
    : AttributeDefinition(std::move(name), type), size(size), scaleBits(0), uniqueBit(unique)
{
    setScale(scale);
}

SimpleAttributeDefinition* SimpleAttributeDefinition::clone() const
{
    return new SimpleAttributeDefinition(*this);
}

void SimpleAttributeDefinition::setScale(int value)
{
    scaleBits = static_cast<quint16>(qBound(0, value, maxScale));
}

} // namespace tessera::dp
