#include "engine/indices/EngineIndicesFactory.h"

#include "engine/indices/EngineIndicesSqlite.h"

namespace tessera::engine {

const EngineIndicesFactory& EngineIndicesFactory::instance()
{
    static const EngineIndicesFactory factory;
    return factory;
}

std::unique_ptr<EngineIndices> EngineIndicesFactory::construct(const EngineIndicesSetup& setup, EngineCache& cache) const
{
    return std::make_unique<EngineIndicesSqlite>(setup, cache);
}

} // namespace tessera::engine
