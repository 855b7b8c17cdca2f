#pragma once
// An in-memory SQLite connection with SpatiaLite and every geometry SQL
// function registered under its dialect name, with a test EngineCache (its
// table coordinate systems set by the test) as user data. Geometries are
// written in SQL with SpatiaLite's GeomFromText and read back with AsText.

#include "engine/EngineCache.h"
#include "engine/geometry/GeometryConversions.h"
#include "modules/functions/GeometryFunctionTable.h"
#include "platform/cs/CoordSystem.h"

#include <QString>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <spatialite.h>
#include <sqlite3.h>
#include <string>

namespace tessera::engine::test {

class TestCache : public EngineCache {
public:
    std::shared_ptr<cs::CoordSystem> tableCoordSystem(const QString& table) const override
    {
        const auto it = tables.find(table.toLower());
        return it == tables.end() ? nullptr : it->second;
    }
    void setTable(const QString& table, std::shared_ptr<cs::CoordSystem> coordSystem)
    {
        tables[table.toLower()] = std::move(coordSystem);
    }

private:
    std::map<QString, std::shared_ptr<cs::CoordSystem>> tables;
};

// An SQL blob literal of the TesGeo form of g (geometries that SQL cannot
// write, such as empty ones and collections inside collections).
inline std::string tesGeoLiteral(const std::shared_ptr<const geometry::Geometry>& g)
{
    return "X'" + toTesGeo(g, nullptr).toHex().toStdString() + "'";
}

// The first column of the first row, or the statement's error.
struct GeoResult {
    bool ok = false;
    int type = SQLITE_NULL;
    double real = 0.0;
    qint64 integer = 0;
    std::string text;
    std::string error;
};

class GeometrySqlHarness {
public:
    GeometrySqlHarness()
    {
        EXPECT_EQ(sqlite3_open(":memory:", &db), SQLITE_OK);
        spatialite = spatialite_alloc_connection();
        spatialite_init_ex(db, spatialite, 0);
        for (const auto& entry : modules::geometryFunctions()) {
            EXPECT_EQ(sqlite3_create_function_v2(db, entry.name, entry.arity, entry.flags, &cache, entry.call,
                                                 nullptr, nullptr, nullptr),
                      SQLITE_OK)
                << entry.name;
        }
    }
    ~GeometrySqlHarness()
    {
        sqlite3_close(db);
        spatialite_cleanup_ex(spatialite);
    }
    GeometrySqlHarness(const GeometrySqlHarness&) = delete;
    GeometrySqlHarness& operator=(const GeometrySqlHarness&) = delete;

    sqlite3* handle() const { return db; }
    TestCache& engineCache() { return cache; }

    GeoResult query(const std::string& sql) const
    {
        GeoResult r;
        sqlite3_stmt* stmt = nullptr;
        if (sqlite3_prepare_v2(db, sql.c_str(), -1, &stmt, nullptr) != SQLITE_OK) {
            r.error = sqlite3_errmsg(db);
            return r;
        }
        const int rc = sqlite3_step(stmt);
        if (rc == SQLITE_ROW) {
            r.ok = true;
            r.type = sqlite3_column_type(stmt, 0);
            r.real = sqlite3_column_double(stmt, 0);
            r.integer = sqlite3_column_int64(stmt, 0);
            if (r.type == SQLITE_TEXT)
                r.text = reinterpret_cast<const char*>(sqlite3_column_text(stmt, 0));
        } else if (rc == SQLITE_DONE) {
            r.ok = true;
        } else {
            r.error = sqlite3_errmsg(db);
        }
        sqlite3_finalize(stmt);
        return r;
    }

    double real(const std::string& sql) const
    {
        const GeoResult r = query(sql);
        EXPECT_TRUE(r.ok && r.type == SQLITE_FLOAT) << sql << " -> type " << r.type << " " << r.error;
        return r.real;
    }

    qint64 integer(const std::string& sql) const
    {
        const GeoResult r = query(sql);
        EXPECT_TRUE(r.ok && r.type == SQLITE_INTEGER) << sql << " -> type " << r.type << " " << r.error;
        return r.integer;
    }

    std::string text(const std::string& sql) const
    {
        const GeoResult r = query(sql);
        EXPECT_TRUE(r.ok && r.type == SQLITE_TEXT) << sql << " -> type " << r.type << " " << r.error;
        return r.text;
    }

    bool isNull(const std::string& sql) const
    {
        const GeoResult r = query(sql);
        EXPECT_TRUE(r.ok) << sql << ": " << r.error;
        return r.ok && r.type == SQLITE_NULL;
    }

    // The error text of a statement that must fail.
    std::string error(const std::string& sql) const
    {
        const GeoResult r = query(sql);
        EXPECT_FALSE(r.ok) << sql << " did not fail";
        return r.error;
    }

private:
    sqlite3* db = nullptr;
    void* spatialite = nullptr;
    TestCache cache;
};

} // namespace tessera::engine::test
