#pragma once
// A blob-keyed map of decoded geometries with its own read-write lock. Keys
// order by length first, then bytes, so most comparisons stop at the length.
// Decoding happens outside the lock; the first geometry inserted for a key
// wins and is what every racing caller receives.

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

    struct KeyLess {
        using is_transparent = void;
        bool operator()(const QByteArray& a, const QByteArray& b) const;
    };

private:
    std::map<QByteArray, GeometryPtr, KeyLess> map;
    mutable QReadWriteLock lock;
};

} // namespace tessera::engine
