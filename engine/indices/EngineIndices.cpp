#include "engine/indices/EngineIndices.h"

#include "engine/indices/EngineIndicesSetup.h"

namespace tessera::engine {

EngineIndices::Supports::~Supports() = default;
EngineIndices::InserterInterface::~InserterInterface() = default;

EngineIndices::EngineIndices(EngineCache& cache)
    : cache(cache)
{
}

EngineIndices::EngineIndices(const EngineIndicesSetup&, EngineCache& cache)
    : cache(cache)
{
}

EngineIndices::~EngineIndices() = default;

bool EngineIndices::createStorage(const dp::TableSchema& schema)
{
    dropStorage();
    try {
        createStorageImpl(schema);
    } catch (...) {
        // A half-built storage is worse than none.
        dropStorage();
    }
    return isCorrect();
}

std::unique_ptr<EngineIndices::Supports> EngineIndices::supports() const
{
    return std::make_unique<Supports>();
}

int EngineIndices::findIndex(const std::vector<Column>& columns, Conformance* conformance) const
{
    if (!isCorrect())
        return -1;
    if (conformance)
        return findIndexImpl(columns, *conformance);
    Conformance local;
    return findIndexImpl(columns, local);
}

int EngineIndices::addIndex(const std::vector<Column>& columns)
{
    if (!isCorrect())
        return -1;
    return addIndexImpl(columns);
}

} // namespace tessera::engine
