#include "engine/geometry/GeometryConversions.h"

#include "engine/EngineCache.h"
#include "engine/geometry/EngineGeometry.h"
#include "engine/geometry/GaiaDecoding.h"
#include "platform/cs/CoordSystem.h"
#include "platform/geometry/Geometry.h"
#include "platform/geometry/GeometryFactory.h"

#include <QSizeF>
#include <QString>
#include <cstdlib>
#include <exception>

namespace tessera::engine {

namespace {

EngineCache* cacheOf(sqlite3_context* ctx)
{
    return ctx ? static_cast<EngineCache*>(sqlite3_user_data(ctx)) : nullptr;
}

// SpatiaLite has no curves: they travel as their default approximation.
QByteArray linearWkb(const std::shared_ptr<const geometry::Geometry>& g)
{
    if (auto* curve = dynamic_cast<const geometry::ApproximableCurve*>(g.get()))
        return geometry::GeometryFactory::toWkb(std::shared_ptr<const geometry::Geometry>(curve->approximateGeometry(QSizeF())), QSysInfo::LittleEndian);
    if (auto* surface = dynamic_cast<const geometry::ApproximableSurface*>(g.get()))
        return geometry::GeometryFactory::toWkb(std::shared_ptr<const geometry::Geometry>(surface->approximateGeometry(QSizeF())), QSysInfo::LittleEndian);
    return geometry::GeometryFactory::toWkb(g, QSysInfo::LittleEndian);
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
        const QByteArray wkb = linearWkb(geometry);
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
