#pragma once
// The table adapter: the SQLite virtual-table module "TesseraTable" that
// serves the tables of the host's data catalog. A virtual table is named after
// its catalog object; the argument (the object's table-source description) is
// informative. Rows carry the engine cache's integer ids of the feature ids;
// the first geometry and style attributes are the hidden columns. Rowid
// equality and In, attribute conditions the table's source can filter, and
// the spatial predicates GeometryIntersects, GeometryContains, GeometryWithin,
// ContainsCentroid and CentroidWithin on the geometry column (through an
// R-tree of feature bounds) narrow the rows read. Insert, Update and Delete
// change editable tables.

#include <QString>

struct sqlite3;

namespace tessera {
class Core;
namespace engine { class EngineCache; }

namespace modules {

inline constexpr char tableAdapterModuleName[] = "TesseraTable";

// The table-adapter initialiser (Engine::loadTableAdapterModule). The tables
// are found in the core's dp::DataCatalog service.
int initTableAdapterModule(sqlite3* db, char** errorMessage, Core* core, engine::EngineCache* cache);

} // namespace modules
} // namespace tessera
