// The engine as the host loads it: a plug-in whose set-up is Engine::load and
// whose shut-down is Engine::unload. Other plug-ins that depend on "engine"
// find the service in the core and link the engine library for its interface.

#include "engine/Engine.h"
#include "platform/core/Plugin.h"

#include <QObject>

namespace tessera {

class EnginePlugin : public QObject, public plugin::Plugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID TESSERA_PLUGIN_IID FILE "EnginePlugin.json")
    Q_INTERFACES(tessera::plugin::Plugin)
public:
    void load(Core* core) override { Engine::load(core); }
    void unload(Core* core) override { Engine::unload(core); }
};

} // namespace tessera

#include "EnginePlugin.moc"
