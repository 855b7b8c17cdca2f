#include "tools/tessera-sql/HostServices.h"

#include "platform/core/Core.h"
#include "platform/core/Extensions.h"
#include "platform/dp/DataCatalogWithSelection.h"
#include "platform/geometry/MifService.h"
#include "tools/tessera-sql/ShellResemblance.h"

#include <memory>

namespace tessera::shell {

void registerHostServices(Core& core)
{
    // Qt children of the core: registered services live as long as it does.
    core.registerService(new geometry::MifService(&core));
    core.registerService(new dp::DataCatalogWithSelection(&core));

    // The extension manager does not own extensions: the core keeps it.
    auto resemblance = std::make_shared<ShellResemblance>();
    core.registerObject<ShellResemblance>(resemblance);
    core.extensionManager()->registerExtension(resemblance.get());
}

dp::DataCatalogWithSelection* hostCatalog(const Core& core)
{
    return core.findService<dp::DataCatalogWithSelection>();
}

} // namespace tessera::shell
