// Any bytes as a geometry value: TesGeo, SpatiaLite blob, WKB or FGF, read
// through the engine cache (with and without keeping the result) and through
// the SQL functions that decode their arguments.

#include "engine/EngineCache.h"
#include "fuzz/FuzzEngine.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    auto& fuzz = tessera::fuzz::FuzzEngine::instance();
    tessera::engine::EngineCache* cache = fuzz.engine().cache();
    cache->setUseGaiaCache(tessera::engine::GaiaCacheOnRequest);
    cache->geometryInfo(data, static_cast<unsigned>(size), false);
    cache->geometryInfo(data, static_cast<unsigned>(size), true);
    fuzz.runBlob("Select objectlen(?1, 'm'), objectarea(?1, 'sq m'), centroidx(?1), centroid(?1), resemblance(?1), "
                 "geometryintersects(?1, ?1), totesgeo(?1), fromtesgeo(?1), AsText(fromtesgeo(?1))",
                 data, size);
    cache->clear();
    return 0;
}
