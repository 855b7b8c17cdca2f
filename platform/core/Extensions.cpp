#include "platform/core/Extensions.h"

#include "platform/core/PluginManager.h"

#include <QMutex>

namespace tessera::plugin {

struct ExtensionManager::Private {
    mutable QMutex mutex;
    std::vector<Extension*> extensions;
    std::vector<std::unique_ptr<ExtensionConsumer>> consumers;
    mutable PluginManager plugins;
};

ExtensionManager::ExtensionManager()
    : d(std::make_unique<Private>())
{
}

ExtensionManager::~ExtensionManager() = default;

void ExtensionManager::registerExtension(Extension* extension)
{
    if (!extension)
        return;
    std::vector<ExtensionConsumer*> consumers;
    {
        QMutexLocker locker(&d->mutex);
        d->extensions.push_back(extension);
        for (const auto& consumer : d->consumers)
            consumers.push_back(consumer.get());
    }
    // Outside the lock: a consumer may register extensions of its own.
    for (auto* consumer : consumers)
        consumer->consume(extension);
}

void ExtensionManager::registerExtensionConsumer(ExtensionConsumer* consumer)
{
    if (!consumer)
        return;
    std::vector<Extension*> known;
    {
        QMutexLocker locker(&d->mutex);
        d->consumers.emplace_back(consumer);
        known = d->extensions;
    }
    for (auto* extension : known)
        consumer->consume(extension);
}

PluginManager& ExtensionManager::plugins() const
{
    return d->plugins;
}

std::vector<Extension*> ExtensionManager::extensions() const
{
    QMutexLocker locker(&d->mutex);
    return d->extensions;
}

} // namespace tessera::plugin
