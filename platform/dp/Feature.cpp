#include "platform/dp/Feature.h"

#include "platform/dp/GeometryAttributeDefinition.h"

namespace tessera::dp {

Feature::Feature(TableSchema schema, FeatureId id)
    : featureId(std::move(id)), featureSchema(std::move(schema)), values(featureSchema.count())
{
}

QVariant Feature::getAttribute(int i) const
{
    return i >= 0 && i < values.size() ? values.at(i) : QVariant();
}

QVariant Feature::getAttribute(const QString& name) const
{
    return getAttribute(featureSchema.indexOf(name));
}

bool Feature::setAttribute(int i, QVariant value)
{
    if (i < 0 || i >= values.size())
        return false;
    values[i] = std::move(value);
    return true;
}

bool Feature::setAttribute(const QString& name, QVariant value)
{
    return setAttribute(featureSchema.indexOf(name), std::move(value));
}

ConstGeometryPtr Feature::geometry() const
{
    for (int i = 0; i < featureSchema.count(); ++i) {
        if (dynamic_cast<const GeometryAttributeDefinition*>(featureSchema.attribute(i).constData()))
            return geometry(i);
    }
    return {};
}

} // namespace tessera::dp
