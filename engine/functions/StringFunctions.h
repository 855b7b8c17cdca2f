#pragma once
// The dialect's text functions. Characters are UTF-16 code units and
// positions are 1-based; callbacks ending in UTF16 read and return UTF-16
// text, those ending in UTF8 work on the UTF-8 bytes.

#include "engine/EngineExport.h"

#include <memory>
#include <sqlite3.h>

class QString;
namespace tessera::geometry { class Geometry; }

namespace tessera::engine {

TESSERA_ENGINE_EXPORT void charUTF16(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void ascUTF16(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void inStrUTF16(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void loCaseUTF16(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void upCaseUTF16(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void leftTrimUTF8(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void rightTrimUTF8(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void len(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void left_utf16(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void right_utf16(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void midUTF16(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void valUTF8(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void capitalizeUTF16(sqlite3_context* ctx, int argc, sqlite3_value** argv);
// concat(a, b, ...): the dialect's +, adding numbers and joining texts, from
// the left.
TESSERA_ENGINE_EXPORT void concatUTF16(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void space(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void repeat(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void strUTF16(sqlite3_context* ctx, int argc, sqlite3_value** argv);

// The SQL type name of a geometry ("Point", "LineString", "Polygon",
// "MultiPoint", ..., "GeometryCollection"); empty for a null pointer.
TESSERA_ENGINE_EXPORT QString geoSqlType(const std::shared_ptr<const geometry::Geometry>& geometry);

} // namespace tessera::engine
