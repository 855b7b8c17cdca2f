#pragma once
// Plug-in extensions: objects that one plug-in offers and others consume.
// A consumer sees every extension registered before and after it.

#include "platform/core/CoreExport.h"

#include <QPointer>
#include <memory>
#include <vector>

namespace tessera::plugin {

class PluginManager;

class TESSERA_CORE_EXPORT Extension {
public:
    virtual ~Extension() = default;
};

class TESSERA_CORE_EXPORT ExtensionConsumer {
public:
    virtual ~ExtensionConsumer() = default;
    virtual void consume(Extension* extension) = 0;
};

// Hands every extension of type Ext to target->registerExtension(Ext*), as
// long as the target lives.
template <class Ext, class Target>
class ExtensionConsumerAdapter final : public ExtensionConsumer {
public:
    explicit ExtensionConsumerAdapter(QPointer<Target> target) : target(std::move(target)) {}
    void consume(Extension* extension) override {
        if (auto* e = dynamic_cast<Ext*>(extension); e && target)
            target->registerExtension(e);
    }
private:
    QPointer<Target> target;
};

class TESSERA_CORE_EXPORT ExtensionManager {
public:
    ExtensionManager();
    ~ExtensionManager();
    // Not owned: the offering plug-in keeps the extension alive.
    void registerExtension(Extension* extension);
    // Owned by the manager.
    void registerExtensionConsumer(ExtensionConsumer* consumer);
    std::vector<Extension*> extensions() const;
    // The plug-ins of the core that owns this manager.
    PluginManager& plugins() const;
private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace tessera::plugin
