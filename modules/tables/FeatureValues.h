#pragma once
// Feature values and SQLite values, as the table adapter exchanges them:
// geometries as TesGeo blobs, dates and times as the engine's canonical text,
// numbers as numbers.

#include "platform/dp/AttributeDefinition.h"

#include <QVariant>
#include <sqlite3.h>

namespace tessera::engine { class EngineCache; }

namespace tessera::modules {

// Sets the result of `ctx` to `value` (an invalid variant gives NULL).
void resultValue(sqlite3_context* ctx, const QVariant& value, engine::EngineCache* cache);

// The SQL value as a value of the attribute's type in `result`; false when
// it does not fit (text in a number column, a blob that is no geometry).
bool toAttributeValue(sqlite3_value* value, const dp::AttributeDefinitionPtr& attribute, engine::EngineCache* cache,
                      QVariant& result);

} // namespace tessera::modules
