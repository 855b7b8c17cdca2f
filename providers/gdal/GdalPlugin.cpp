// The GDAL provider as a plug-in: offers the "ogr" provider through the
// core's data provider registry (registered here when the host has none), so
// that hosts open GIS files and database layers without linking GDAL's
// reader.

#include "platform/core/Core.h"
#include "platform/core/Plugin.h"
#include "platform/dp/DataProviderRegistry.h"
#include "providers/gdal/GdalProvider.h"

#include <QObject>
#include <QPointer>
#include <stdexcept>

namespace tessera::providers {

class GdalPlugin : public QObject, public plugin::Plugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID TESSERA_PLUGIN_IID FILE "GdalPlugin.json")
    Q_INTERFACES(tessera::plugin::Plugin)
public:
    void load(Core* core) override
    {
        auto* registry = core->findService<dp::DataProviderRegistry>();
        if (!registry) {
            registry = new dp::DataProviderRegistry(core);
            core->registerService(registry);
        }
        auto provider = std::make_shared<GdalProvider>();
        if (!registry->addProvider(provider))
            throw std::runtime_error("another plug-in already provides \"ogr\" sources");
        this->registry = registry;
        this->provider = provider;
    }
    // Tables already open stay readable (the library is never unmapped);
    // nothing new is opened through this plug-in.
    void unload(Core*) override
    {
        if (registry && provider && registry->findProvider(provider->scheme()) == provider)
            registry->removeProvider(provider->scheme());
        provider.reset();
    }

private:
    QPointer<dp::DataProviderRegistry> registry;
    std::shared_ptr<const dp::DataProvider> provider;
};

} // namespace tessera::providers

#include "GdalPlugin.moc"
