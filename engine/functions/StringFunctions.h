#pragma once
// The dialect's text functions. Characters are UTF-16 code units and
// positions are 1-based; callbacks ending in UTF16 read and return UTF-16
// text, those ending in UTF8 work on the UTF-8 bytes.

#include <memory>
#include <sqlite3.h>

class QString;
namespace tessera::geometry { class Geometry; }

namespace tessera::engine {

void charUTF16(sqlite3_context* ctx, int argc, sqlite3_value** argv);
void ascUTF16(sqlite3_context* ctx, int argc, sqlite3_value** argv);
void inStrUTF16(sqlite3_context* ctx, int argc, sqlite3_value** argv);
void loCaseUTF16(sqlite3_context* ctx, int argc, sqlite3_value** argv);
void upCaseUTF16(sqlite3_context* ctx, int argc, sqlite3_value** argv);
void leftTrimUTF8(sqlite3_context* ctx, int argc, sqlite3_value** argv);
void rightTrimUTF8(sqlite3_context* ctx, int argc, sqlite3_value** argv);
void len(sqlite3_context* ctx, int argc, sqlite3_value** argv);
void left_utf16(sqlite3_context* ctx, int argc, sqlite3_value** argv);
void right_utf16(sqlite3_context* ctx, int argc, sqlite3_value** argv);
void midUTF16(sqlite3_context* ctx, int argc, sqlite3_value** argv);
void valUTF8(sqlite3_context* ctx, int argc, sqlite3_value** argv);
void capitalizeUTF16(sqlite3_context* ctx, int argc, sqlite3_value** argv);
// concat(a, b, ...): the dialect's +, adding numbers and joining texts, from
// the left.
void concatUTF16(sqlite3_context* ctx, int argc, sqlite3_value** argv);
void space(sqlite3_context* ctx, int argc, sqlite3_value** argv);
void repeat(sqlite3_context* ctx, int argc, sqlite3_value** argv);
void strUTF16(sqlite3_context* ctx, int argc, sqlite3_value** argv);

// The SQL type name of a geometry ("Point", "LineString", "Polygon",
// "MultiPoint", ..., "GeometryCollection"); empty for a null pointer.
QString geoSqlType(const std::shared_ptr<const geometry::Geometry>& geometry);

} // namespace tessera::engine
