#include "engine/geometry/GeometryConversions.h"

#include "engine/EngineCache.h"
#include "engine/geometry/EngineGeometry.h"
#include "engine/geometry/GaiaDecoding.h"
#include "platform/cs/CoordSystem.h"
#include "platform/geometry/Geometry.h"
#include "platform/geometry/GeometryFactory.h"

#include <QString>
#include <cstdlib>
#include <vector>
#include <exception>

namespace tessera::engine {

namespace {

EngineCache* cacheOf(sqlite3_context* ctx)
{
    return ctx ? static_cast<EngineCache*>(sqlite3_user_data(ctx)) : nullptr;
}

// Appends the simple parts (points, lines, polygons) of g, curves as their
// default approximation, empty parts left out.
void appendSimpleParts(const geometry::Geometry& g, std::vector<std::shared_ptr<geometry::Geometry>>& out)
{
    using namespace geometry;
    if (g.isEmpty())
        return;
    switch (g.type()) {
    case GeometryType::Point:
    case GeometryType::LineString:
    case GeometryType::Polygon:
        out.push_back(g.clone());
        return;
    case GeometryType::MultiPoint:
        for (const QPointF& p : static_cast<const MultiPoint&>(g).points())
            out.push_back(std::make_shared<Point>(p));
        return;
    case GeometryType::MultiLineString:
        for (const QVector<QPointF>& line : static_cast<const MultiLineString&>(g).lines())
            out.push_back(std::make_shared<LineString>(line));
        return;
    case GeometryType::MultiPolygon:
        for (const QVector<Ring>& rings : static_cast<const MultiPolygon&>(g).polygons())
            out.push_back(std::make_shared<Polygon>(rings));
        return;
    case GeometryType::Collection:
        for (const auto& member : static_cast<const GeometryCollection&>(g).members()) {
            if (member)
                appendSimpleParts(*member, out);
        }
        return;
    default:
        appendSimpleParts(*linearized(std::shared_ptr<const Geometry>(g.clone())), out);
        return;
    }
}

// What SpatiaLite can hold of g, or null. SpatiaLite has no curves (they
// travel as their default approximation), no empty geometries (an empty
// point would become POINT(nan nan)) and reads no collection inside a
// collection (it would keep the first point only): a collection is written
// flat, as the simple parts it is made of.
std::shared_ptr<const geometry::Geometry> spatialiteForm(const std::shared_ptr<const geometry::Geometry>& g)
{
    if (!g || g->isEmpty())
        return nullptr;
    if (g->type() != geometry::GeometryType::Collection)
        return geometry::linearized(g);
    std::vector<std::shared_ptr<geometry::Geometry>> parts;
    appendSimpleParts(*g, parts);
    if (parts.empty())
        return nullptr;
    return std::make_shared<geometry::GeometryCollection>(std::move(parts));
}

void resultBlob(sqlite3_context* ctx, const QByteArray& blob)
{
    if (blob.isEmpty())
        sqlite3_result_null(ctx);
    else
        sqlite3_result_blob(ctx, blob.constData(), blob.size(), SQLITE_TRANSIENT);
}

} // namespace

std::shared_ptr<const geometry::Geometry> toGeometry(sqlite3_context* ctx, sqlite3_value* value, bool useCache)
{
    EngineCache* cache = cacheOf(ctx);
    if (!cache || !value)
        return nullptr;
    const void* data = sqlite3_value_blob(value);
    const int size = sqlite3_value_bytes(value);
    if (!data || size <= 0)
        return nullptr;
    try {
        return cache->geometryInfo(data, static_cast<unsigned>(size), useCache).geometry();
    } catch (const std::exception&) {
        return nullptr;
    }
}

QByteArray toTesGeo(const std::shared_ptr<const geometry::Geometry>& geometry, EngineCache* cache)
{
    if (!geometry)
        return QByteArray();
    try {
        return EngineGeometry(geometry).serialize([cache](const std::shared_ptr<cs::CoordSystem>& coordSystem, const QByteArray& bytes) {
            if (cache)
                cache->save(bytes, coordSystem);
        });
    } catch (const std::exception&) {
        return QByteArray();
    }
}

void toTesGeo(const std::shared_ptr<const geometry::Geometry>& geometry, sqlite3_context* ctx, EngineCache* cache, bool save)
{
    if (!geometry) {
        sqlite3_result_null(ctx);
        return;
    }
    const QByteArray blob = toTesGeo(geometry, cache);
    resultBlob(ctx, blob);
    // The next function that gets these bytes finds the object without decoding.
    if (!blob.isEmpty() && cache && save)
        cache->save(blob.constData(), static_cast<unsigned>(blob.size()), geometry);
}

std::shared_ptr<cs::CoordSystem> toCS(sqlite3_value* value)
{
    const void* text = value ? sqlite3_value_text16(value) : nullptr;
    if (!text)
        return nullptr;
    try {
        return cs::CoordSysFactory::defaultCoordSysFactory()->createFromTaggedString(
            QString::fromUtf16(static_cast<const char16_t*>(text)));
    } catch (const std::exception&) {
        return nullptr;
    }
}

QByteArray toGaia(const std::shared_ptr<const geometry::Geometry>& geometry, EngineCache* cache)
{
    try {
        const std::shared_ptr<const geometry::Geometry> simple = spatialiteForm(geometry);
        if (!simple)
            return QByteArray();
        const QByteArray wkb = geometry::GeometryFactory::toWkb(simple, QSysInfo::LittleEndian);
        if (wkb.isEmpty())
            return QByteArray();
        std::unique_ptr<gaiaGeomColl, GaiaDeleter> collection(
            gaiaFromWkb(reinterpret_cast<const unsigned char*>(wkb.constData()), static_cast<unsigned>(wkb.size())));
        if (!collection)
            return QByteArray();

        const std::shared_ptr<cs::CoordSystem> coordSystem = geometry ? geometry->coordSystem() : nullptr;
        const int epsg = coordSystem ? coordSystem->epsg() : 0;
        collection->Srid = epsg;
        // Only a real code maps back to this object: SRID 0 stands for "none".
        if (cache && coordSystem && epsg != 0)
            cache->save(epsg, coordSystem);

        unsigned char* blob = nullptr;
        int size = 0;
        gaiaToSpatiaLiteBlobWkb(collection.get(), &blob, &size);
        collection.reset();
        if (!blob)
            return QByteArray();
        QByteArray result(reinterpret_cast<const char*>(blob), size);
        std::free(blob);
        return result;
    } catch (const std::exception&) {
        return QByteArray();
    }
}

void toGaia(const std::shared_ptr<const geometry::Geometry>& geometry, sqlite3_context* ctx, EngineCache* cache)
{
    const QByteArray blob = toGaia(geometry, cache);
    resultBlob(ctx, blob);
    if (!blob.isEmpty() && cache)
        cache->save(blob.constData(), static_cast<unsigned>(blob.size()), geometry);
}

void invalidCoordSystemError(sqlite3_context* ctx, const char* what)
{
    const QByteArray text = QStringLiteral("Invalid coordinate system: %1").arg(QString::fromUtf8(what ? what : "")).toUtf8();
    sqlite3_result_error(ctx, text.constData(), -1);
}

} // namespace tessera::engine
