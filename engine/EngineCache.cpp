#include "engine/EngineCache.h"

#include "engine/geometry/GaiaDecoding.h"
#include "platform/core/Logging.h"
#include "platform/cs/CoordSystem.h"
#include "platform/cs/CoordSystemArchive.h"
#include "platform/geometry/GeometryFactory.h"
#include "platform/serialization/Archive.h"

#include <QDataStream>
#include <QtEndian>
#include <exception>

namespace tessera::engine {

EngineStyleCache::~EngineStyleCache() = default;

EngineCache::EngineCache()
{
    setLimits(cacheLimits);
}
EngineCache::~EngineCache() = default;

// --- geometries ---------------------------------------------------------------

void EngineCache::save(const void* data, unsigned size, const std::shared_ptr<const geometry::Geometry>& g)
{
    if (gaiaCache == GaiaCacheNever)
        return;
    shards[size % shardCount].set(data, size, g);
}

EngineGeometry EngineCache::geometryInfo(const void* data, unsigned size, bool useCache)
{
    if (!data || size == 0)
        return EngineGeometry();
    const QByteArray bytes = QByteArray::fromRawData(static_cast<const char*>(data), static_cast<int>(size));
    EngineGeometry tesGeo = EngineGeometry::deserialize(bytes, [this](const void* p, int n) {
        return get(QByteArray(static_cast<const char*>(p), n));
    });
    if (tesGeo)
        return tesGeo;

    if (gaiaCache == GaiaCacheNever || (gaiaCache == GaiaCacheOnRequest && !useCache))
        return EngineGeometry(decodeSpatiaLite(data, size));
    return EngineGeometry(shards[size % shardCount].get(data, size, [this](const void* p, unsigned n) {
        return decodeSpatiaLite(p, n);
    }));
}

EngineGeometry EngineCache::geometryInfo(const QByteArray& blob, bool useCache)
{
    return geometryInfo(blob.constData(), static_cast<unsigned>(blob.size()), useCache);
}

namespace {

// Plain WKB of a collection, read by the host: SpatiaLite's WKB reader keeps
// only the first point of a collection that holds another collection.
std::shared_ptr<const geometry::Geometry> plainWkbCollection(const void* data, unsigned size)
{
    const auto* bytes = static_cast<const unsigned char*>(data);
    if (size < 9 || bytes[0] > 1)
        return nullptr;
    const quint32 type = bytes[0] == 1 ? qFromLittleEndian<quint32>(bytes + 1) : qFromBigEndian<quint32>(bytes + 1);
    if (type % 1000 != 7)
        return nullptr;
    try {
        return geometry::GeometryFactory::fromWkb(data, static_cast<int>(size));
    } catch (const std::exception&) {
        return nullptr;
    }
}

} // namespace

std::shared_ptr<const geometry::Geometry> EngineCache::decodeSpatiaLite(const void* data, unsigned size)
{
    if (auto collection = plainWkbCollection(data, size))
        return collection;
    try {
        std::unique_ptr<gaiaGeomColl, GaiaDeleter> collection(toGaia(static_cast<const unsigned char*>(data), static_cast<int>(size)));
        if (!collection)
            return nullptr;
        unsigned char* wkb = nullptr;
        int wkbSize = 0;
        gaiaToWkb(collection.get(), &wkb, &wkbSize);
        const int srid = collection->Srid;
        collection.reset();
        if (!wkb)
            return nullptr;
        const QByteArray wkbBytes(reinterpret_cast<const char*>(wkb), wkbSize);
        free(wkb);
        // SRID 0 resolves to (and caches) an empty coordinate system.
        return geometry::GeometryFactory::fromWkb(wkbBytes, get(srid));
    } catch (const std::exception& e) {
        qCDebug(logging::cache()) << "SpatiaLite blob not decoded:" << e.what();
        return nullptr;
    }
}

void EngineCache::clear()
{
    for (auto& shard : shards)
        shard.clearMap();
    QWriteLocker locker(&blobLock);
    coordSysByBlob.clear();
}

void EngineCache::setLimits(const EngineCacheLimits& limits)
{
    const std::size_t perShard = (limits.geometries + shardCount - 1) / shardCount;
    const std::size_t bytesPerShard = (limits.geometryBytes + shardCount - 1) / shardCount;
    for (auto& shard : shards)
        shard.setLimits(perShard, bytesPerShard);
    featureIds.setLimit(limits.featureIds);
    QWriteLocker locker(&blobLock);
    cacheLimits = limits;
    if (coordSysByBlob.size() > limits.coordSystems)
        coordSysByBlob.clear();
}

EngineCacheLimits EngineCache::limits() const
{
    QReadLocker locker(&blobLock);
    return cacheLimits;
}

// --- coordinate systems ---------------------------------------------------------

std::shared_ptr<cs::CoordSystem> EngineCache::get(int epsg)
{
    {
        QReadLocker locker(&epsgLock);
        if (auto it = coordSysById.find(epsg); it != coordSysById.end())
            return it->second;
    }
    std::shared_ptr<cs::CoordSystem> made = cs::CoordSysFactory::defaultCoordSysFactory()->createFromEpsg(epsg);
    QWriteLocker locker(&epsgLock);
    return coordSysById.emplace(epsg, std::move(made)).first->second;
}

std::shared_ptr<cs::CoordSystem> EngineCache::get(const QByteArray& serialised)
{
    {
        QReadLocker locker(&blobLock);
        if (auto it = coordSysByBlob.find(serialised); it != coordSysByBlob.end())
            return it->second;
    }
    // Bytes that cannot be a coordinate system (a SpatiaLite blob read as
    // TesGeo blocks meets many) are answered without an entry in the map.
    if (!serialization::mayHoldCoordSystem(serialised.constData(), serialised.size()))
        return nullptr;
    std::shared_ptr<cs::CoordSystem> made;
    try {
        QDataStream stream(serialised);
        serialization::BinaryInputArchive archive(stream);
        const quint32 version = archive.loadVersion();
        serialization::load(archive, made, version);
    } catch (const std::exception& e) {
        qCDebug(logging::cache()) << "coordinate system not read:" << e.what();
    }
    // Failures are not kept: any byte string could be asked for, and only
    // real coordinate systems are worth the memory.
    if (!made)
        return nullptr;
    QWriteLocker locker(&blobLock);
    return storeByBlob(serialised, std::move(made));
}

std::shared_ptr<cs::CoordSystem> EngineCache::storeByBlob(const QByteArray& serialised, std::shared_ptr<cs::CoordSystem> coordSystem)
{
    if (auto it = coordSysByBlob.find(serialised); it != coordSysByBlob.end())
        return it->second;
    // Full: start over rather than grow (the blocks of the geometries in use
    // come back at their next read).
    if (coordSysByBlob.size() >= cacheLimits.coordSystems)
        coordSysByBlob.clear();
    if (cacheLimits.coordSystems == 0)
        return coordSystem;
    return coordSysByBlob.emplace(serialised, std::move(coordSystem)).first->second;
}

void EngineCache::save(int epsg, const std::shared_ptr<cs::CoordSystem>& coordSystem)
{
    // SRID 0 (and below) means "no coordinate system": a system without an
    // EPSG code must not become the system of every SRID-0 blob.
    if (epsg <= 0)
        return;
    QWriteLocker locker(&epsgLock);
    coordSysById[epsg] = coordSystem;
}

void EngineCache::save(const QByteArray& serialised, const std::shared_ptr<cs::CoordSystem>& coordSystem)
{
    if (!coordSystem)
        return;
    QWriteLocker locker(&blobLock);
    coordSysByBlob.erase(serialised);
    storeByBlob(serialised, coordSystem);
}

// --- feature identifiers -----------------------------------------------------------

std::int64_t EngineCache::assignIdToInt(const dp::FeatureId& id)
{
    return featureIds.assign(id);
}

std::int64_t EngineCache::idToInt(const dp::FeatureId& id, std::int64_t defaultValue)
{
    return featureIds.number(id, defaultValue);
}

dp::FeatureId EngineCache::intToId(std::int64_t n)
{
    return featureIds.id(n);
}

std::int64_t EngineCache::idLimit()
{
    return featureIds.next();
}

// --- the rest -------------------------------------------------------------------------

QRegularExpression EngineCache::regularExpression(const QString& pattern, QRegularExpression::PatternOptions options)
{
    return regexCache.retrieve(pattern, options);
}

std::shared_ptr<EngineStyleCache> EngineCache::styleCache(const QString& table) const
{
    auto it = styleCaches.find(table);
    return it == styleCaches.end() ? nullptr : it->second;
}

void EngineCache::setStyleCache(const QString& table, std::shared_ptr<EngineStyleCache> cache)
{
    if (cache)
        styleCaches[table] = std::move(cache);
    else
        styleCaches.erase(table);
}

void EngineCache::addResemblanceExtension(geometry::ResemblanceExtension* extension)
{
    if (!extension)
        return;
    QWriteLocker locker(&extensionLock);
    extension->setup(resemblanceSetup);
    resemblanceExtensions.push_back(extension);
}

std::shared_ptr<const geometry::Geometry> EngineCache::tryResemblance(const std::shared_ptr<const geometry::Geometry>& g)
{
    QReadLocker locker(&extensionLock);
    for (auto* extension : resemblanceExtensions) {
        if (!extension)
            continue;
        if (auto answer = extension->resemblance(g, resemblanceSetup))
            return answer;
    }
    return nullptr;
}

std::shared_ptr<const geometry::Geometry> EngineCache::resemblance(const std::shared_ptr<const geometry::Geometry>& g)
{
    if (auto answer = tryResemblance(g))
        return answer;
    if (!g)
        return nullptr;
    return std::shared_ptr<const geometry::Geometry>(g->resemblance());
}

} // namespace tessera::engine
