#pragma once
// The host's service registry. A Core owns the services registered with it
// (as their Qt parent or not, as the caller decides), hands out the extension
// manager through which plug-ins meet their extensions, and carries the typed
// settings of the application.

#include "platform/core/CoreExport.h"

#include <QObject>
#include <QReadWriteLock>
#include <QString>
#include <QVector>
#include <memory>
#include <stdexcept>
#include <string>

namespace tessera {

namespace plugin { class ExtensionManager; }
class Settings;

class TESSERA_CORE_EXPORT Core : public QObject {
    Q_OBJECT
public:
    explicit Core(QObject* parent = nullptr);
    ~Core() override;

    // Registers a service under the class name of its meta-object. A second
    // service of the same class replaces nothing: the first one stays found.
    void registerService(QObject* service);

    // The first registered service whose meta-object (or one of its bases) has
    // the given class name; null if none.
    QObject* findService(const QMetaObject* metaObject, const QString& className) const;

    template <class T>
    T* findService() const {
        return qobject_cast<T*>(findService(&T::staticMetaObject, QString::fromLatin1(T::staticMetaObject.className())));
    }

    // The service a plug-in's set-up cannot do without; throws
    // std::runtime_error naming it when it is not registered, so that the
    // plug-in manager reports the plug-in with that reason.
    template <class T>
    T& requireService() const {
        if (T* service = findService<T>())
            return *service;
        throw std::runtime_error(std::string("the service ") + T::staticMetaObject.className() + " is not registered");
    }

    // Looks a service up by a C++ type that need not be a QObject registered
    // with registerService: services registered with registerObject<T>.
    template <class T>
    void registerObject(std::shared_ptr<T> object) { registerTyped(typeid(T).name(), std::move(object)); }
    template <class T>
    std::shared_ptr<T> findObject() const { return std::static_pointer_cast<T>(findTyped(typeid(T).name())); }

    plugin::ExtensionManager* extensionManager() const;
    Settings& settings() const;

    // The process's application core: the first Core constructed and not yet
    // destroyed. Code that runs without a Core at hand (SQL callbacks that need
    // a host service) finds the registry through it.
    static Core* instance();

signals:
    // Emitted after registerService has added a service.
    void serviceRegistered(QObject* service);

private:
    void registerTyped(const char* typeName, std::shared_ptr<void> object);
    std::shared_ptr<void> findTyped(const char* typeName) const;

    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace tessera
