#pragma once
// The per-engine store of what SQL functions and virtual tables must not
// rebuild for every row: decoded geometries (17 shards keyed by blob bytes),
// coordinate systems by EPSG code and by serialised bytes, the (bounded) numbering
// of feature identifiers, compiled regular expressions, style caches and the
// registered resemblance extensions. Every SQL callback of the engine gets it
// as its user data.

#include "engine/EngineExport.h"
#include "engine/FeatureIdNumbering.h"
#include "engine/geometry/EngineGeometry.h"
#include "engine/geometry/EngineGeometryMap.h"
#include "platform/dp/FeatureId.h"
#include "platform/geometry/ResemblanceExtension.h"
#include "platform/utils/RegularExpressionCache.h"

#include <QByteArray>
#include <QReadWriteLock>
#include <QRegularExpression>
#include <QString>
#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <vector>

namespace tessera::cs { class CoordSystem; }

namespace tessera::engine {

// Per-table style data kept by the plug-ins that draw tables.
class TESSERA_ENGINE_EXPORT EngineStyleCache {
public:
    virtual ~EngineStyleCache();
    virtual void clear() = 0;
    virtual bool contains(const QString& key) const = 0;
    virtual QByteArray style(const QString& key) const = 0;
    virtual void setStyle(const QString& key, const QByteArray& style) = 0;
};

// How SpatiaLite blobs (blobs that are not TesGeo) are cached.
enum GaiaCache : std::int32_t {
    GaiaCacheNever = 0,     // decode every time; save() stores nothing
    GaiaCacheAlways = 1,    // always keep decoded geometries
    GaiaCacheOnRequest = 2, // keep them when geometryInfo is asked to
};

// Bounds of the engine cache. A store that is full is emptied before its
// next insertion: no bookkeeping on the look-up path, and what is in use comes
// back at its next read. Settings keys in engine/EngineCacheSettings.h.
struct TESSERA_ENGINE_EXPORT EngineCacheLimits {
    std::size_t geometries = 65536;                // decoded geometries, over all shards
    std::size_t geometryBytes = std::size_t(256) << 20;   // their blob bytes, over all shards
    std::size_t coordSystems = 4096;               // coordinate systems by stored bytes
    std::size_t featureIds = std::size_t(1) << 21; // numbered feature ids (FeatureIdNumbering)
};
// Compiled regular expressions: 1024, least recently used first out (regexCache).
// Coordinate systems by EPSG code: one per code in use, bounded by the codes PROJ knows.

class TESSERA_ENGINE_EXPORT EngineCache {
public:
    static constexpr int shardCount = 17;

    EngineCache();
    virtual ~EngineCache();
    EngineCache(const EngineCache&) = delete;
    EngineCache& operator=(const EngineCache&) = delete;

    // The coordinate system of a table, found through the table management
    // registered for it (exact name first, then ignoring case). Empty if none.
    virtual std::shared_ptr<cs::CoordSystem> tableCoordSystem(const QString& table) const = 0;

    // Geometries.
    void save(const void* data, unsigned size, const std::shared_ptr<const geometry::Geometry>& g);
    EngineGeometry geometryInfo(const void* data, unsigned size, bool useCache);
    EngineGeometry geometryInfo(const QByteArray& blob, bool useCache);
    void clear();
    void setUseGaiaCache(GaiaCache mode) { gaiaCache = mode; }
    GaiaCache useGaiaCache() const { return gaiaCache; }

    // Bounds of the stores above and below; applies at once (a store over its
    // new bound is emptied).
    void setLimits(const EngineCacheLimits& limits);
    EngineCacheLimits limits() const;

    // Coordinate systems.
    std::shared_ptr<cs::CoordSystem> get(int epsg);
    std::shared_ptr<cs::CoordSystem> get(const QByteArray& serialised);
    // Codes of 0 and below are not kept: SRID 0 stands for no coordinate system.
    void save(int epsg, const std::shared_ptr<cs::CoordSystem>& coordSystem);
    void save(const QByteArray& serialised, const std::shared_ptr<cs::CoordSystem>& coordSystem);

    // Feature identifiers <-> row ids 0, 1, 2, ... (see FeatureIdNumbering:
    // ids unused for long are forgotten, and intToId then answers invalid).
    std::int64_t assignIdToInt(const dp::FeatureId& id);
    std::int64_t idToInt(const dp::FeatureId& id, std::int64_t defaultValue);
    dp::FeatureId intToId(std::int64_t n);
    std::int64_t idLimit();
    // Moves when ids are forgotten: row ids kept since may name nothing.
    std::uint64_t idEpoch() const { return featureIds.epoch(); }
    std::size_t idCount() const { return featureIds.size(); }

    QRegularExpression regularExpression(const QString& pattern, QRegularExpression::PatternOptions options);

    std::shared_ptr<EngineStyleCache> styleCache(const QString& table) const;
    void setStyleCache(const QString& table, std::shared_ptr<EngineStyleCache> cache);

    void addResemblanceExtension(geometry::ResemblanceExtension* extension);
    std::shared_ptr<const geometry::Geometry> tryResemblance(const std::shared_ptr<const geometry::Geometry>& g);
    std::shared_ptr<const geometry::Geometry> resemblance(const std::shared_ptr<const geometry::Geometry>& g);

private:
    std::shared_ptr<const geometry::Geometry> decodeSpatiaLite(const void* data, unsigned size);
    // Under the blob lock (write).
    std::shared_ptr<cs::CoordSystem> storeByBlob(const QByteArray& serialised, std::shared_ptr<cs::CoordSystem> coordSystem);

    std::array<EngineGeometryMap, shardCount> shards;
    std::map<int, std::shared_ptr<cs::CoordSystem>> coordSysById;
    std::map<QByteArray, std::shared_ptr<cs::CoordSystem>> coordSysByBlob;
    FeatureIdNumbering featureIds{EngineCacheLimits().featureIds};
    // Extensions may be registered while queries ask them (plug-ins load late).
    std::vector<geometry::ResemblanceExtension*> resemblanceExtensions;
    geometry::ResemblanceExtension::Setup resemblanceSetup{0.0};
    mutable QReadWriteLock extensionLock;
    QReadWriteLock epsgLock;
    mutable QReadWriteLock blobLock;
    GaiaCache gaiaCache = GaiaCacheOnRequest;
    std::map<QString, std::shared_ptr<EngineStyleCache>> styleCaches;
    EngineCacheLimits cacheLimits;
    utils::RegularExpressionCache regexCache{1024};
};

} // namespace tessera::engine
