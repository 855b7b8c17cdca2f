#pragma once
// The settings that bound the engine cache: read when the engine starts
// (Engine::load); a host that changes them later applies them with
// engine->cache()->setLimits(engine::cacheLimits(core->settings())).

#include "engine/EngineCache.h"
#include "platform/core/Settings.h"

#include <algorithm>
#include <cstddef>

namespace tessera::settings {
inline const SettingKey<int> cacheGeometries{"EngineCache/Geometries", 65536};
inline const SettingKey<int> cacheGeometryMegabytes{"EngineCache/GeometryMegabytes", 256};
inline const SettingKey<int> cacheCoordSystems{"EngineCache/CoordSystems", 4096};
inline const SettingKey<int> cacheFeatureIds{"EngineCache/FeatureIds", 1 << 21};
} // namespace tessera::settings

namespace tessera::engine {

// Negative values count as 0 (keep nothing).
inline EngineCacheLimits cacheLimits(const Settings& settings)
{
    auto count = [&](const SettingKey<int>& key) { return static_cast<std::size_t>(std::max(0, settings.get(key))); };
    EngineCacheLimits limits;
    limits.geometries = count(settings::cacheGeometries);
    limits.geometryBytes = count(settings::cacheGeometryMegabytes) << 20;
    limits.coordSystems = count(settings::cacheCoordSystems);
    limits.featureIds = count(settings::cacheFeatureIds);
    return limits;
}

} // namespace tessera::engine
