#pragma once
// The SQL harness with SpatiaLite and every geometry SQL function registered
// under its dialect name, with a test engine cache (its table coordinate
// systems set by the test) as user data. Geometries are written in SQL with
// SpatiaLite's GeomFromText and read back with AsText.

#include "tests/support/EngineTestCache.h"
#include "tests/support/SqlHarness.h"

#include "engine/geometry/GeometryConversions.h"
#include "modules/functions/GeometryFunctionTable.h"

#include <spatialite.h>
#include <string>

namespace tessera::test {

// An SQL blob literal of the TesGeo form of g (geometries that SQL cannot
// write, such as empty ones and collections inside collections).
inline std::string tesGeoLiteral(const std::shared_ptr<const geometry::Geometry>& g)
{
    return "X'" + engine::toTesGeo(g, nullptr).toHex().toStdString() + "'";
}

class SqlGeometryHarness : public SqlHarness {
public:
    SqlGeometryHarness()
    {
        spatialite = spatialite_alloc_connection();
        spatialite_init_ex(handle(), spatialite, 0);
        for (const auto& entry : modules::geometryFunctions()) {
            EXPECT_EQ(sqlite3_create_function_v2(handle(), entry.name, entry.arity, entry.flags, &cache, entry.call,
                                                 nullptr, nullptr, nullptr),
                      SQLITE_OK)
                << entry.name;
        }
    }
    ~SqlGeometryHarness()
    {
        close(); // SpatiaLite's data outlives the connection that uses it
        spatialite_cleanup_ex(spatialite);
    }

    TestCache& engineCache() { return cache; }

private:
    void* spatialite = nullptr;
    TestCache cache;
};

} // namespace tessera::test
