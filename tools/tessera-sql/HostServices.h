#pragma once
// The services a GIS host gives the engine besides the engine itself: the MIF
// reader (FromMif), a resemblance extension (the look-alike geometries of
// Resemblance) and the data catalog with the user's selection (the Selection
// table). The shell registers them so that every SQL function works as it
// does inside the GIS.

namespace tessera {
class Core;
namespace dp { class DataCatalogWithSelection; }
}

namespace tessera::shell {

// Registers the services on `core`, which owns them from then on.
void registerHostServices(Core& core);

// The catalog registered by registerHostServices, or null.
dp::DataCatalogWithSelection* hostCatalog(const Core& core);

} // namespace tessera::shell
