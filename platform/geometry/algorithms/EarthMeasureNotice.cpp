#include "platform/geometry/algorithms/EarthMeasureNotice.h"

#include <atomic>

namespace tessera::geometry {

namespace {

// Process-wide like the measures themselves; read and cleared by the host.
std::atomic<bool> measuredWithoutCoordSystem{false};

} // namespace

void noteEarthMeasureWithoutCoordSystem()
{
    // A store only when it changes: threads measuring many rows share the
    // flag's cache line read-only.
    if (!measuredWithoutCoordSystem.load(std::memory_order_relaxed))
        measuredWithoutCoordSystem.store(true, std::memory_order_relaxed);
}

bool takeEarthMeasureWithoutCoordSystem()
{
    return measuredWithoutCoordSystem.exchange(false, std::memory_order_relaxed);
}

} // namespace tessera::geometry
