#pragma once
// SQLite values <-> host geometries, in the engine's TesGeo blob and in
// SpatiaLite's blob (plain WKB and FGF accepted on input). Failures give
// empty results, never exceptions; result blobs are registered in the cache.

#include "engine/EngineExport.h"

#include <QByteArray>
#include <memory>
#include <sqlite3.h>

namespace tessera::cs { class CoordSystem; }
namespace tessera::geometry { class Geometry; }

namespace tessera::engine {

class EngineCache;

TESSERA_ENGINE_EXPORT std::shared_ptr<const geometry::Geometry> toGeometry(sqlite3_context* ctx, sqlite3_value* value, bool useCache);

TESSERA_ENGINE_EXPORT QByteArray toTesGeo(const std::shared_ptr<const geometry::Geometry>& geometry, EngineCache* cache);
TESSERA_ENGINE_EXPORT void toTesGeo(const std::shared_ptr<const geometry::Geometry>& geometry, sqlite3_context* ctx, EngineCache* cache, bool save);

TESSERA_ENGINE_EXPORT std::shared_ptr<cs::CoordSystem> toCS(sqlite3_value* value);

// The SpatiaLite blob: curves approximated, collections flat (SpatiaLite
// reads none inside another), empty when the geometry has no non-empty part.
TESSERA_ENGINE_EXPORT QByteArray toGaia(const std::shared_ptr<const geometry::Geometry>& geometry, EngineCache* cache);
TESSERA_ENGINE_EXPORT void toGaia(const std::shared_ptr<const geometry::Geometry>& geometry, sqlite3_context* ctx, EngineCache* cache);

// Sets the SQL error "Invalid coordinate system: <what>".
TESSERA_ENGINE_EXPORT void invalidCoordSystemError(sqlite3_context* ctx, const char* what);

} // namespace tessera::engine
