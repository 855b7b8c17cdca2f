#include "engine/geometry/GeometryConversions.h"

#include "engine/EngineCache.h"
#include "engine/geometry/EngineGeometry.h"
#include "engine/geometry/GaiaDecoding.h"
#include "platform/cs/CoordSystem.h"
#include "platform/geometry/Geometry.h"

#include "tests/support/EngineTestCache.h"

#include <gtest/gtest.h>
#include <spatialite.h>
#include <sqlite3.h>
#include <stdexcept>
#include <string>

namespace tessera::engine {
namespace {

using test::TestCache;

std::shared_ptr<const geometry::Geometry> fixedPoint()
{
    static const auto point = std::make_shared<const geometry::Point>(QPointF(3, 4));
    return point;
}

// A SpatiaLite connection whose test functions reach the cache as user data,
// the way the engine's geometry functions do.
class Connection {
public:
    explicit Connection(EngineCache* cache) {
        if (sqlite3_open(":memory:", &db) != SQLITE_OK)
            throw std::runtime_error("cannot open an in-memory database");
        spatialite = spatialite_alloc_connection();
        spatialite_init_ex(db, spatialite, 0);
        add("tg_tesgeo", 1, tesGeo, cache);        // any geometry value -> TesGeo (registered in the cache)
        add("tg_fixed_gaia", 0, fixedGaia, cache);  // fixedPoint() -> SpatiaLite blob
        add("tg_gaia", 1, gaia, cache);             // any geometry value -> SpatiaLite blob
        add("tg_epsg", 1, epsg, cache);             // EPSG of the value's coordinate system, -1 without, NULL if no geometry
        add("tg_type", 1, type, cache);             // the host geometry type number
        add("tg_cs", 1, coordSystem, cache);        // EPSG of a coordinate-system text, NULL if invalid
        add("tg_bad_cs", 1, badCoordSystem, cache);
        add("tg_arc", 0, arc, cache);
        add("tg_ellipse", 0, ellipse, cache);
    }
    ~Connection() {
        sqlite3_close(db);
        spatialite_cleanup_ex(spatialite);
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    // The first column of the one row of `sql`.
    QVariant value(const std::string& sql, std::string* error = nullptr) const {
        sqlite3_stmt* stmt = nullptr;
        if (sqlite3_prepare_v2(db, sql.c_str(), -1, &stmt, nullptr) != SQLITE_OK) {
            ADD_FAILURE() << sql << ": " << sqlite3_errmsg(db);
            return {};
        }
        QVariant result;
        const int rc = sqlite3_step(stmt);
        if (rc == SQLITE_ROW) {
            switch (sqlite3_column_type(stmt, 0)) {
            case SQLITE_INTEGER: result = sqlite3_column_int64(stmt, 0); break;
            case SQLITE_FLOAT: result = sqlite3_column_double(stmt, 0); break;
            case SQLITE_TEXT: result = QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(stmt, 0))); break;
            case SQLITE_BLOB:
                result = QByteArray(static_cast<const char*>(sqlite3_column_blob(stmt, 0)), sqlite3_column_bytes(stmt, 0));
                break;
            default: break;
            }
        } else if (error) {
            *error = sqlite3_errmsg(db);
        } else {
            ADD_FAILURE() << sql << ": " << sqlite3_errmsg(db);
        }
        sqlite3_finalize(stmt);
        return result;
    }

private:
    using Function = void (*)(sqlite3_context*, int, sqlite3_value**);
    void add(const char* name, int argc, Function f, EngineCache* cache) {
        if (sqlite3_create_function(db, name, argc, SQLITE_UTF8, cache, f, nullptr, nullptr) != SQLITE_OK)
            throw std::runtime_error(name);
    }
    static EngineCache* cacheOf(sqlite3_context* ctx) { return static_cast<EngineCache*>(sqlite3_user_data(ctx)); }

    static void tesGeo(sqlite3_context* ctx, int, sqlite3_value** argv) {
        toTesGeo(toGeometry(ctx, argv[0], true), ctx, cacheOf(ctx), true);
    }
    static void fixedGaia(sqlite3_context* ctx, int, sqlite3_value**) {
        toGaia(fixedPoint(), ctx, cacheOf(ctx));
    }
    static void gaia(sqlite3_context* ctx, int, sqlite3_value** argv) {
        toGaia(toGeometry(ctx, argv[0], true), ctx, cacheOf(ctx));
    }
    static void epsg(sqlite3_context* ctx, int, sqlite3_value** argv) {
        const auto g = toGeometry(ctx, argv[0], false);
        if (!g)
            sqlite3_result_null(ctx);
        else
            sqlite3_result_int(ctx, g->coordSystem() ? g->coordSystem()->epsg() : -1);
    }
    static void type(sqlite3_context* ctx, int, sqlite3_value** argv) {
        const auto g = toGeometry(ctx, argv[0], false);
        if (!g)
            sqlite3_result_null(ctx);
        else
            sqlite3_result_int(ctx, static_cast<int>(g->type()));
    }
    static void coordSystem(sqlite3_context* ctx, int, sqlite3_value** argv) {
        if (const auto c = toCS(argv[0]))
            sqlite3_result_int(ctx, c->epsg());
        else
            sqlite3_result_null(ctx);
    }
    static void badCoordSystem(sqlite3_context* ctx, int, sqlite3_value** argv) {
        invalidCoordSystemError(ctx, reinterpret_cast<const char*>(sqlite3_value_text(argv[0])));
    }
    static void arc(sqlite3_context* ctx, int, sqlite3_value**) {
        toGaia(std::make_shared<const geometry::Arc>(QRectF(0, 0, 10, 10), 0.0, 90.0), ctx, cacheOf(ctx));
    }
    static void ellipse(sqlite3_context* ctx, int, sqlite3_value**) {
        toGaia(std::make_shared<const geometry::Ellipse>(QRectF(0, 0, 10, 4)), ctx, cacheOf(ctx));
    }

    sqlite3* db = nullptr;
    void* spatialite = nullptr;
};

TEST(GeometryConversions, SpatiaLiteWkbAndFgfValuesDecodeWithTheSridsCoordinateSystem)
{
    TestCache cache;
    Connection sql(&cache);
    const std::string point = "GeomFromText('POINT(1 2)', 4326)";
    EXPECT_EQ(sql.value("Select tg_epsg(" + point + ")").toInt(), 4326);
    EXPECT_EQ(sql.value("Select tg_epsg(AsBinary(" + point + "))").toInt(), -1) << "WKB has no SRID";
    EXPECT_EQ(sql.value("Select tg_type(AsFGF(" + point + ", 0))").toInt(), static_cast<int>(geometry::GeometryType::Point));
    EXPECT_EQ(sql.value("Select tg_type(AsBinary(GeomFromText('MULTIPOLYGON(((0 0,1 0,1 1,0 0)),((5 5,6 5,6 6,5 5)))')))").toInt(),
              static_cast<int>(geometry::GeometryType::MultiPolygon));
    EXPECT_EQ(sql.value("Select tg_type(AsFGF(GeomFromText('LINESTRING(0 0,1 1,2 0)'), 0))").toInt(),
              static_cast<int>(geometry::GeometryType::LineString));

    // Not geometries.
    EXPECT_TRUE(sql.value("Select tg_epsg(NULL)").isNull());
    EXPECT_TRUE(sql.value("Select tg_epsg(X'00010203')").isNull());
    EXPECT_TRUE(sql.value("Select tg_epsg('POINT(1 2)')").isNull());
    EXPECT_TRUE(sql.value("Select tg_epsg(42)").isNull());
    EXPECT_TRUE(sql.value("Select tg_epsg(randomblob(200))").isNull());

    // The coordinate system object is the cache's for that SRID.
    const auto g = cache.geometryInfo(sql.value("Select " + point).toByteArray(), false).geometry();
    ASSERT_TRUE(g);
    EXPECT_EQ(g->coordSystem(), cache.get(4326));
}

TEST(GeometryConversions, RawDecodingAcceptsEveryFormAndSurvivesCuts)
{
    TestCache cache;
    Connection sql(&cache);
    const std::string line = "GeomFromText('LINESTRING(0 0,1 1,2 5)', 4326)";
    for (const std::string& form : {line, "AsBinary(" + line + ")", "AsFGF(" + line + ", 0)"}) {
        SCOPED_TRACE(form);
        const QByteArray bytes = sql.value("Select " + form).toByteArray();
        ASSERT_FALSE(bytes.isEmpty());
        std::unique_ptr<gaiaGeomColl, GaiaDeleter> g(toGaia(reinterpret_cast<const unsigned char*>(bytes.constData()), bytes.size()));
        ASSERT_TRUE(g);
        ASSERT_TRUE(g->FirstLinestring);
        EXPECT_EQ(g->FirstLinestring->Points, 3);
        // Every cut gives an empty or partial result, never a crash.
        for (int cut = 0; cut < bytes.size(); ++cut)
            std::unique_ptr<gaiaGeomColl, GaiaDeleter>(toGaia(reinterpret_cast<const unsigned char*>(bytes.constData()), cut));
    }
    EXPECT_EQ(toGaia(nullptr, 10), nullptr);
    const unsigned char garbage[] = {0x07, 0x07, 0x07, 0x07, 0x07, 0x07, 0x07, 0x07, 0x07};
    EXPECT_EQ(toGaia(garbage, sizeof garbage), nullptr);
}

TEST(GeometryConversions, TesGeoAndSpatiaLiteRoundTrips)
{
    TestCache cache;
    Connection sql(&cache);
    const std::string polygon = "GeomFromText('POLYGON((0 0,10 0,10 10,0 10,0 0),(2 2,4 2,4 4,2 2))', 3857)";

    const QByteArray tesGeo = sql.value("Select tg_tesgeo(" + polygon + ")").toByteArray();
    ASSERT_FALSE(tesGeo.isEmpty());
    EXPECT_LE(static_cast<quint8>(tesGeo[0]), 3) << "a TesGeo geometry block comes first";
    EXPECT_EQ(sql.value("Select tg_epsg(tg_tesgeo(" + polygon + "))").toInt(), 3857);

    // Back to SpatiaLite: the same shape and SRID.
    EXPECT_EQ(sql.value("Select AsText(tg_gaia(tg_tesgeo(" + polygon + ")))").toString(),
              sql.value("Select AsText(" + polygon + ")").toString());
    EXPECT_EQ(sql.value("Select SRID(tg_gaia(tg_tesgeo(" + polygon + ")))").toInt(), 3857);
    EXPECT_EQ(sql.value("Select SRID(tg_gaia(AsBinary(GeomFromText('POINT(1 2)'))))").toInt(), 0);
    EXPECT_EQ(sql.value("Select AsText(tg_gaia(tg_tesgeo(GeomFromText('GEOMETRYCOLLECTION(POINT(1 2),LINESTRING(0 0,1 1))', 4326))))").toString(),
              QStringLiteral("GEOMETRYCOLLECTION(POINT(1 2), LINESTRING(0 0, 1 1))"));

    // A SpatiaLite result is registered under its own bytes: the very object
    // comes back without decoding, when the cache keeps SpatiaLite geometries.
    cache.setUseGaiaCache(GaiaCacheAlways);
    const QByteArray fixed = sql.value("Select tg_fixed_gaia()").toByteArray();
    ASSERT_FALSE(fixed.isEmpty());
    EXPECT_EQ(cache.geometryInfo(fixed, false).geometry(), fixedPoint());
    EXPECT_EQ(sql.value("Select AsText(tg_fixed_gaia())").toString(), QStringLiteral("POINT(3 4)"));

    TestCache never;
    never.setUseGaiaCache(GaiaCacheNever);
    Connection unsaved(&never);
    const QByteArray notSaved = unsaved.value("Select tg_fixed_gaia()").toByteArray();
    EXPECT_EQ(notSaved, fixed);
    const auto decoded = never.geometryInfo(notSaved, true).geometry();
    ASSERT_TRUE(decoded);
    EXPECT_NE(decoded, fixedPoint());
    EXPECT_EQ(static_cast<const geometry::Point&>(*decoded).point(), QPointF(3, 4));
}

TEST(GeometryConversions, DirectConversionsAndEmptyResults)
{
    TestCache cache;
    EXPECT_TRUE(toTesGeo(nullptr, &cache).isEmpty());
    EXPECT_TRUE(toGaia(nullptr, &cache).isEmpty());

    // toTesGeo teaches the cache the coordinate system under its block bytes.
    auto point = std::make_shared<geometry::Point>(QPointF(7, 8));
    const auto mercator = cs::CoordSysFactory::defaultCoordSysFactory()->createFromEpsg(3857);
    point->setCoordSystem(mercator);
    const QByteArray blob = toTesGeo(point, &cache);
    const auto back = cache.geometryInfo(blob, false).geometry();
    ASSERT_TRUE(back);
    EXPECT_EQ(back->coordSystem(), mercator) << "resolved through the cache, not parsed";
    EXPECT_EQ(toTesGeo(point, nullptr), blob);

    // toGaia maps the SRID back to the same object through the cache.
    const QByteArray gaia = toGaia(point, &cache);
    ASSERT_FALSE(gaia.isEmpty());
    EXPECT_EQ(cache.geometryInfo(gaia, false).geometry()->coordSystem(), mercator);
    // A coordinate system without EPSG code does not take over SRID 0.
    auto custom = std::make_shared<geometry::Point>(QPointF(1, 1));
    custom->setCoordSystem(cs::CoordSysFactory::defaultCoordSysFactory()->createFromTaggedString(
        QStringLiteral("+proj=merc +lon_0=10 +ellps=WGS84 +units=m +no_defs +type=crs")));
    ASSERT_TRUE(custom->coordSystem());
    ASSERT_FALSE(toGaia(custom, &cache).isEmpty());
    EXPECT_FALSE(cache.get(0));
}

TEST(GeometryConversions, CurvesAreApproximatedAndErrorsAreReported)
{
    TestCache cache;
    Connection sql(&cache);
    EXPECT_EQ(sql.value("Select GeometryType(tg_arc())").toString(), QStringLiteral("LINESTRING"));
    EXPECT_GT(sql.value("Select NumPoints(tg_arc())").toInt(), 3);
    EXPECT_EQ(sql.value("Select GeometryType(tg_ellipse())").toString(), QStringLiteral("POLYGON"));
    EXPECT_NEAR(sql.value("Select Area(tg_ellipse())").toDouble(), 3.14159265 * 5 * 2, 0.5);
    // Read back, the approximation is a plain line.
    EXPECT_EQ(sql.value("Select tg_type(tg_gaia(tg_arc()))").toInt(), static_cast<int>(geometry::GeometryType::LineString));

    EXPECT_EQ(sql.value("Select tg_cs('EPSG:3857')").toInt(), 3857);
    EXPECT_EQ(sql.value("Select tg_cs('+proj=longlat +datum=WGS84 +no_defs +type=crs') Is Not Null").toInt(), 1);
    EXPECT_TRUE(sql.value("Select tg_cs('no such system')").isNull());
    EXPECT_TRUE(sql.value("Select tg_cs(NULL)").isNull());

    std::string error;
    sql.value("Select tg_bad_cs('unknown datum')", &error);
    EXPECT_EQ(error, "Invalid coordinate system: unknown datum");
    sql.value("Select tg_bad_cs('Система координат')", &error);
    EXPECT_EQ(error, "Invalid coordinate system: Система координат");
}

} // namespace
} // namespace tessera::engine
