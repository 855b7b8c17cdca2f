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
    auto it = map.find(key);
    if (it == map.end())
        it = map.emplace(QByteArray(static_cast<const char*>(data), static_cast<int>(size)), std::move(made)).first;
    return it->second;
}

void EngineGeometryMap::set(const void* data, unsigned size, const GeometryPtr& geometry)
{
    const QByteArray key = probe(data, size);
    QWriteLocker locker(&lock);
    if (map.find(key) == map.end())
        map.emplace(QByteArray(static_cast<const char*>(data), static_cast<int>(size)), geometry);
}

void EngineGeometryMap::clearMap()
{
    QWriteLocker locker(&lock);
    map.clear();
}

std::size_t EngineGeometryMap::size() const
{
    QReadLocker locker(&lock);
    return map.size();
}

} // namespace tessera::engine
