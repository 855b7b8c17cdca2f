#pragma once
// Dependency injection: an object declares the services it needs by meta-object
// and class name; the manager finds them in the Core's registry, calls the
// declared callbacks once the services exist (now or when they are registered
// later), and hands them out on request.

#include "platform/core/CoreExport.h"

#include <QMetaObject>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <functional>
#include <vector>

namespace tessera {
class Core;
}

namespace tessera::di {

class TESSERA_CORE_EXPORT DependencyManager {
public:
    using Callback = std::function<void(QObject*)>;

    // Without a Core, Core::instance() is asked at each look-up.
    explicit DependencyManager(Core* core = nullptr);
    ~DependencyManager();
    DependencyManager(const DependencyManager&) = delete;
    DependencyManager& operator=(const DependencyManager&) = delete;

    void setCore(Core* core);
    Core* core() const;

    // Declares a dependency. The class name "tessera::Core" names the Core
    // itself. `onResolved` runs once, as soon as the service is available.
    void addDependency(const QMetaObject* metaObject, const QString& className, Callback onResolved = {});
    template <class T>
    void addDependency(Callback onResolved = {}) {
        addDependency(&T::staticMetaObject, QString::fromLatin1(T::staticMetaObject.className()), std::move(onResolved));
    }

    // The service, or null when it is not registered (yet).
    QObject* getService(const QMetaObject* metaObject, const QString& className) const;
    template <class T>
    T* getService() const {
        return qobject_cast<T*>(getService(&T::staticMetaObject, QString::fromLatin1(T::staticMetaObject.className())));
    }

    // Runs the callbacks of dependencies that have become available; returns
    // whether every declared dependency is available.
    bool resolve();
    // Class names of the declared dependencies not available now.
    QStringList missing() const;

private:
    struct Dependency {
        const QMetaObject* metaObject;
        QString className;
        Callback onResolved;
        bool resolved = false;
    };
    void follow(Core* core);

    QPointer<Core> explicitCore;
    std::vector<Dependency> dependencies;
    QMetaObject::Connection registration;
};

// Base of objects that declare dependencies.
class TESSERA_CORE_EXPORT HasDependencies {
public:
    virtual ~HasDependencies();
    DependencyManager& dependencyManager() { return manager; }
    const DependencyManager& dependencyManager() const { return manager; }

protected:
    explicit HasDependencies(Core* core = nullptr) : manager(core) {}

private:
    DependencyManager manager;
};

} // namespace tessera::di
