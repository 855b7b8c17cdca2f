#include "platform/core/Core.h"

#include "platform/core/Extensions.h"
#include "platform/core/Logging.h"
#include "platform/core/PluginManager.h"
#include "platform/core/Settings.h"

#include <QPointer>
#include <atomic>
#include <map>
#include <string>

namespace tessera {

namespace {
// The application core of Core::instance().
std::atomic<Core*> applicationCore{nullptr};

bool hasClass(const QMetaObject* metaObject, const QString& className)
{
    for (const QMetaObject* m = metaObject; m; m = m->superClass()) {
        if (QLatin1String(m->className()) == className)
            return true;
    }
    return false;
}
} // namespace

struct Core::Private {
    mutable QReadWriteLock lock;
    QVector<QPointer<QObject>> services;
    std::map<std::string, std::shared_ptr<void>> objects;
    plugin::ExtensionManager extensions;
    Settings settings;
};

Core::Core(QObject* parent)
    : QObject(parent)
    , d(std::make_unique<Private>())
{
    Core* expected = nullptr;
    applicationCore.compare_exchange_strong(expected, this);
}

Core::~Core()
{
    // While the core is whole: plug-ins may still look services up.
    d->extensions.plugins().unload(this);
    Core* expected = this;
    applicationCore.compare_exchange_strong(expected, nullptr);
}

Core* Core::instance()
{
    return applicationCore.load();
}

void Core::registerService(QObject* service)
{
    if (!service)
        return;
    {
        QWriteLocker locker(&d->lock);
        for (const auto& known : d->services) {
            if (known == service)
                return;
        }
        d->services.append(QPointer<QObject>(service));
    }
    qCDebug(logging::core()) << "service registered:" << service->metaObject()->className();
    emit serviceRegistered(service);
}

QObject* Core::findService(const QMetaObject* metaObject, const QString& className) const
{
    const QString name = className.isEmpty() && metaObject ? QString::fromLatin1(metaObject->className()) : className;
    QReadLocker locker(&d->lock);
    for (const auto& service : d->services) {
        if (service && hasClass(service->metaObject(), name))
            return service.data();
    }
    return nullptr;
}

void Core::registerTyped(const char* typeName, std::shared_ptr<void> object)
{
    QWriteLocker locker(&d->lock);
    d->objects[typeName] = std::move(object);
}

std::shared_ptr<void> Core::findTyped(const char* typeName) const
{
    QReadLocker locker(&d->lock);
    auto it = d->objects.find(typeName);
    return it == d->objects.end() ? nullptr : it->second;
}

plugin::ExtensionManager* Core::extensionManager() const
{
    return &d->extensions;
}

Settings& Core::settings() const
{
    return d->settings;
}

} // namespace tessera
