#include "engine/SchemaColumns.h"

#include "engine/EngineCache.h"
#include "engine/functions/ValueConversions.h"
#include "platform/core/QDecNumber.h"
#include "platform/core/SqlTypes.h"
#include "platform/cs/CoordSystem.h"
#include "platform/dp/GeometryAttributeDefinition.h"
#include "platform/dp/SimpleAttributeDefinition.h"

#include <stdexcept>

namespace tessera::engine {

namespace {

// The fixed name the first time, the attribute's own name afterwards.
QString hiddenOrOwnName(const QString& name, SchemaState& state, SchemaState::Bit bit, const char* fixedName,
                        char quote)
{
    if (state.test(bit))
        return escapeString(name, quote);
    state.set(bit);
    return QLatin1String(fixedName);
}

} // namespace

QString toString(const QSharedDataPointer<dp::AttributeDefinition>& attribute, SchemaState& state,
                 EngineCache* cache, char quote)
{
    const dp::AttributeDefinition* definition = attribute.constData();
    if (!definition)
        throw std::invalid_argument("Column definition of an empty attribute");
    const QString& name = definition->name();
    const int type = definition->type();

    if (const auto* geometry = dynamic_cast<const dp::GeometryAttributeDefinition*>(definition)) {
        // Decoding blobs by their SRID must find the table's own object.
        if (const auto& cs = geometry->coordSystem(); cs && cache)
            cache->save(cs->epsg(), cs);
        return hiddenOrOwnName(name, state, SchemaState::GeometryColumnNamed, geometryColumnName, quote)
            + QLatin1String(" Blob Null ");
    }
    if (isStyle(attribute))
        return hiddenOrOwnName(name, state, SchemaState::StyleColumnNamed, styleColumnName, quote)
            + QLatin1String(" Text Null ");

    QString text = escapeString(name, quote) + QLatin1Char(' ') + sqlName(type);
    if (const auto* simple = dynamic_cast<const dp::SimpleAttributeDefinition*>(definition)) {
        if (type == QMetaType::QString)
            text += QStringLiteral("(%1) Collate Locale").arg(simple->length());
        else if (type == QDecNumber::metaTypeId())
            text += QStringLiteral("(%1, %2) ").arg(simple->precision()).arg(simple->scale());
        if (simple->isUnique())
            text += QLatin1String(" Unique ");
    }
    return text;
}

} // namespace tessera::engine
