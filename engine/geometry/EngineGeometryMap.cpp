#include "engine/geometry/EngineGeometryMap.h"

#include <cstring>

namespace tessera::engine {

namespace {
// A key over the caller's bytes, for look-ups only (no copy).
QByteArray probe(const void* data, unsigned size)
{
    return QByteArray::fromRawData(static_cast<const char*>(data), static_cast<int>(size));
}
} // namespace

bool EngineGeometryMap::KeyLess::operator()(const QByteArray& a, const QByteArray& b) const
{
    if (a.size() != b.size())
        return a.size() < b.size();
    return a.size() > 0 && std::memcmp(a.constData(), b.constData(), static_cast<std::size_t>(a.size())) < 0;
}

EngineGeometryMap::GeometryPtr EngineGeometryMap::get(const void* data, unsigned size, Maker make)
{
    const QByteArray key = probe(data, size);
    {
        QReadLocker locker(&lock);
        if (auto it = map.find(key); it != map.end())
            return it->second;
    }
    // Decoding is slow: no lock, even if another thread decodes the same bytes.
    GeometryPtr made = make(data, size);
    QWriteLocker locker(&lock);
    if (auto it = map.find(key); it != map.end())
        return it->second;
    return insert(key, made);
}

void EngineGeometryMap::set(const void* data, unsigned size, const GeometryPtr& geometry)
{
    const QByteArray key = probe(data, size);
    QWriteLocker locker(&lock);
    if (map.find(key) == map.end())
        insert(key, geometry);
}

const EngineGeometryMap::GeometryPtr& EngineGeometryMap::insert(const QByteArray& key, const GeometryPtr& geometry)
{
    const auto bytes = static_cast<std::size_t>(key.size());
    if (entryLimit == 0 || bytes > byteLimit)
        return geometry;   // never kept, and no reason to drop the others
    if (map.size() >= entryLimit || keyBytes + bytes > byteLimit) {
        map.clear();
        keyBytes = 0;
    }
    keyBytes += bytes;
    // The probe only borrows the caller's bytes: the map keeps a copy.
    return map.emplace(QByteArray(key.constData(), key.size()), geometry).first->second;
}

void EngineGeometryMap::clearMap()
{
    QWriteLocker locker(&lock);
    map.clear();
    keyBytes = 0;
}

void EngineGeometryMap::setLimits(std::size_t entries, std::size_t bytes)
{
    QWriteLocker locker(&lock);
    entryLimit = entries;
    byteLimit = bytes;
    if (map.size() > entryLimit || keyBytes > byteLimit) {
        map.clear();
        keyBytes = 0;
    }
}

std::size_t EngineGeometryMap::size() const
{
    QReadLocker locker(&lock);
    return map.size();
}

} // namespace tessera::engine
