#pragma once
// SQLite column definitions for the attributes of a table schema. The first
// geometry attribute and the first style (rendition) attribute of every table
// get fixed hidden names, which the translator uses for the dialect's object
// and style columns; further ones keep their own names.

#include "engine/EngineExport.h"

#include <QSharedDataPointer>
#include <QString>

namespace tessera::dp { class AttributeDefinition; }

namespace tessera::engine {

class EngineCache;

// Column names of the first geometry and the first style attribute: the
// 32 lower-case hexadecimal digits of {cd750f8a-9a2b-4fac-9b9b-05eb53795d97}
// and {d39f65c3-1997-4aa1-98a8-99a89b1240c7}.
inline constexpr char geometryColumnName[] = "cd750f8a9a2b4fac9b9b05eb53795d97";
inline constexpr char styleColumnName[] = "d39f65c319974aa198a899a89b1240c7";

// What one table's column definitions have given out so far. Use a fresh
// state for every table.
class TESSERA_ENGINE_EXPORT SchemaState {
public:
    enum Bit : unsigned {
        GeometryColumnNamed = 1,   // the geometry column name is taken
        StyleColumnNamed = 2,      // the style column name is taken
    };

    bool test(Bit bit) const { return (state & bit) != 0; }
    void set(Bit bit) { state |= bit; }
    unsigned bits() const { return state; }

private:
    unsigned state = 0;
};

// The column definition of one attribute, for example (quote ')
//   "cd750f8a9a2b4fac9b9b05eb53795d97 Blob Null "   first geometry attribute
//   "'name' Text(50) Collate Locale"                 text of length 50
//   "'price' Decimal(10, 2) "                        decimal 10.2
//   "'code' Integer Unique "                         unique integer
// The blanks around the keywords are part of the texts that other code and
// stored schemas already compare against; keep them as they are.
// Names other than the fixed ones are quoted with `quote`. A geometry
// attribute's coordinate system is saved in `cache` (when given) under its
// EPSG code. Throws std::invalid_argument for a null attribute.
TESSERA_ENGINE_EXPORT QString toString(const QSharedDataPointer<dp::AttributeDefinition>& attribute, SchemaState& state,
                 EngineCache* cache, char quote);

} // namespace tessera::engine
