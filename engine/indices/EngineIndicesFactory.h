#pragma once
// Makes index stores. There is one factory per process; it builds the SQLite
// store from a setup.

#include "engine/EngineExport.h"

#include <memory>

namespace tessera::engine {

class EngineCache;
class EngineIndices;
class EngineIndicesSetup;

class TESSERA_ENGINE_EXPORT EngineIndicesFactory {
public:
    static const EngineIndicesFactory& instance();

    // A new store; throws std::runtime_error or std::invalid_argument when the
    // setup cannot be used (unknown collation, no folder for the file).
    std::unique_ptr<EngineIndices> construct(const EngineIndicesSetup& setup, EngineCache& cache) const;

private:
    EngineIndicesFactory() = default;
};

} // namespace tessera::engine
