#pragma once
// A blob-keyed map of decoded geometries with its own read-write lock. Keys
// order by length first, then bytes, so most comparisons stop at the length.
// Decoding happens outside the lock; the first geometry inserted for a key
// wins and is what every racing caller receives. The map is bounded by a
// number of entries and by the bytes of their keys (the blob size tracks the
// size of the decoded geometry): an insertion that would pass either bound
// empties the map first.

#include "engine/EngineExport.h"

#include <QByteArray>
#include <QReadWriteLock>
#include <functional>
#include <map>
#include <memory>

namespace tessera::geometry { class Geometry; }

namespace tessera::engine {

class TESSERA_ENGINE_EXPORT EngineGeometryMap {
public:
    using GeometryPtr = std::shared_ptr<const geometry::Geometry>;
    using Maker = std::function<GeometryPtr(const void*, unsigned)>;

    GeometryPtr get(const void* data, unsigned size, Maker make);
    void set(const void* data, unsigned size, const GeometryPtr& geometry);
    void clearMap();
    std::size_t size() const;
    // 0 entries: nothing is kept.
    void setLimits(std::size_t entries, std::size_t bytes);

    struct KeyLess {
        using is_transparent = void;
        bool operator()(const QByteArray& a, const QByteArray& b) const;
    };

private:
    // Under the write lock.
    const GeometryPtr& insert(const QByteArray& key, const GeometryPtr& geometry);

    std::map<QByteArray, GeometryPtr, KeyLess> map;
    std::size_t keyBytes = 0;
    std::size_t entryLimit = 4096;
    std::size_t byteLimit = std::size_t(16) << 20;
    mutable QReadWriteLock lock;
};

} // namespace tessera::engine
