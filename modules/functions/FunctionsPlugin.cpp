// The function module as a plug-in: registers every SQL function of the
// engine on the engine's connection once the engine is loaded.

#include "engine/Engine.h"
#include "modules/functions/FunctionModule.h"
#include "platform/core/Core.h"
#include "platform/core/Plugin.h"

#include <QObject>

namespace tessera::modules {

class FunctionsPlugin : public QObject, public plugin::Plugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID TESSERA_PLUGIN_IID FILE "FunctionsPlugin.json")
    Q_INTERFACES(tessera::plugin::Plugin)
public:
    void load(Core* core) override
    {
        core->requireService<Engine>().loadTableAdapterModule(core, &initFunctionModule);
    }
    // The functions go with the engine's connection.
    void unload(Core*) override {}
};

} // namespace tessera::modules

#include "FunctionsPlugin.moc"
