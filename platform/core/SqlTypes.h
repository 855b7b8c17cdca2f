#pragma once
// SQL column types for Qt meta-type ids: the names under which attribute
// types are declared in SQLite tables.

#include "platform/core/CoreExport.h"

#include <QString>

namespace tessera {

// The SQLite declared type for a meta-type id. The names are chosen for the
// column affinity SQLite derives from them: "Integer" (integer affinity) for
// the integer types, "Real" for floating types, "Text" for strings,
// "Blob" (no affinity) for byte arrays, geometries and types without a
// better name, "Boolean", "Decimal", "Date", "Time" and "DateTime" (numeric
// affinity, which keeps the engine's date texts as they are).
TESSERA_CORE_EXPORT QString sqlName(int metaTypeId);

// True for the integer meta-types (signed and unsigned char, short, int,
// long and long long); false for bool, floating types and everything else.
TESSERA_CORE_EXPORT bool isPlainInt(int metaTypeId);

} // namespace tessera
