#include "platform/core/DependencyManager.h"

#include "platform/core/Core.h"

namespace tessera::di {

namespace {
bool namesCore(const QMetaObject* metaObject, const QString& className)
{
    const QString coreName = QString::fromLatin1(Core::staticMetaObject.className());
    return className == coreName || (className.isEmpty() && metaObject == &Core::staticMetaObject);
}
} // namespace

DependencyManager::DependencyManager(Core* core)
{
    setCore(core);
}

DependencyManager::~DependencyManager()
{
    QObject::disconnect(registration);
}

void DependencyManager::setCore(Core* core)
{
    explicitCore = core;
    follow(this->core());
}

Core* DependencyManager::core() const
{
    return explicitCore ? explicitCore.data() : Core::instance();
}

void DependencyManager::follow(Core* core)
{
    QObject::disconnect(registration);
    registration = {};
    if (core)
        registration = QObject::connect(core, &Core::serviceRegistered, [this](QObject*) { resolve(); });
}

void DependencyManager::addDependency(const QMetaObject* metaObject, const QString& className, Callback onResolved)
{
    dependencies.push_back(Dependency{metaObject, className, std::move(onResolved)});
    // The Core may have appeared since construction (Core::instance()).
    if (!registration)
        follow(core());
    resolve();
}

QObject* DependencyManager::getService(const QMetaObject* metaObject, const QString& className) const
{
    Core* c = core();
    if (!c)
        return nullptr;
    if (namesCore(metaObject, className))
        return c;
    return c->findService(metaObject, className);
}

bool DependencyManager::resolve()
{
    bool all = true;
    // By index: a callback may declare further dependencies.
    for (std::size_t i = 0; i < dependencies.size(); ++i) {
        if (dependencies[i].resolved)
            continue;
        QObject* service = getService(dependencies[i].metaObject, dependencies[i].className);
        if (!service) {
            all = false;
            continue;
        }
        dependencies[i].resolved = true;
        Callback callback = dependencies[i].onResolved;
        if (callback)
            callback(service);
    }
    return all;
}

QStringList DependencyManager::missing() const
{
    QStringList result;
    for (const auto& dependency : dependencies) {
        if (!getService(dependency.metaObject, dependency.className))
            result << dependency.className;
    }
    return result;
}

HasDependencies::~HasDependencies() = default;

} // namespace tessera::di
