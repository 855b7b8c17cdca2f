// The table adapter as a plug-in: registers the "TesseraTable" module on the
// engine's connection and follows the core's data catalog (created here when
// the host has none), so that every table added to it becomes a virtual table.

#include "engine/Engine.h"
#include "modules/tables/TableAdapterExtension.h"
#include "modules/tables/TableAdapterModule.h"
#include "platform/core/Core.h"
#include "platform/core/Plugin.h"
#include "platform/dp/DataCatalog.h"

#include <QObject>

namespace tessera::modules {

class TablesPlugin : public QObject, public plugin::Plugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID TESSERA_PLUGIN_IID FILE "TablesPlugin.json")
    Q_INTERFACES(tessera::plugin::Plugin)
public:
    void load(Core* core) override
    {
        core->requireService<Engine>().loadTableAdapterModule(core, &initTableAdapterModule);
        if (!core->findService<dp::DataCatalog>())
            core->registerService(new dp::DataCatalog(core));
        auto* extension = new TableAdapterExtension(core);
        extension->dependencyManager().setCore(core);
        extension->linkDataCatalog();
    }
    // The module goes with the engine's connection; the core owns the
    // catalog and the extension.
    void unload(Core*) override {}
};

} // namespace tessera::modules

#include "TablesPlugin.moc"
