#include "platform/serialization/Archive.h"

#include <QHash>
#include <mutex>
#include <shared_mutex>
#include <unordered_map>

namespace tessera::serialization {

namespace {
struct QStringHash {
    std::size_t operator()(const QString& s) const { return qHash(s); }
};
} // namespace

struct SerializableRegistry::Private {
    mutable std::shared_mutex mutex;
    // Node-based: pointers to loaders stay valid when the map grows.
    std::unordered_map<QString, Loader, QStringHash> loaders;
};

SerializableRegistry& SerializableRegistry::instance()
{
    static SerializableRegistry registry = [] {
        SerializableRegistry r;
        r.d = std::make_shared<Private>();
        return r;
    }();
    return registry;
}

void SerializableRegistry::add(const QString& className, Loader loader)
{
    if (className.isEmpty() || !loader)
        return;
    std::unique_lock lock(d->mutex);
    d->loaders.emplace(className, std::move(loader));
}

const SerializableRegistry::Loader* SerializableRegistry::find(const QString& className) const
{
    std::shared_lock lock(d->mutex);
    const auto it = d->loaders.find(className);
    return it == d->loaders.end() ? nullptr : &it->second;
}

} // namespace tessera::serialization
