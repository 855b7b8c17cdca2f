#pragma once
// SQL callbacks that measure geometries: perimeter, length, area, distances
// and centroid coordinates, each on one host algorithm of Algorithms.h.
// Registered with the EngineCache as user data.
//
// The geometry SQL callbacks live in tessera::engine::sqlfn: their names
// (toTesGeo, centroid, area, ...) would otherwise overload the geometry
// conversions of GeometryConversions.h, and taking the address of an
// overloaded name for a registration table is ambiguous.

#include "engine/EngineExport.h"

#include <memory>
#include <sqlite3.h>
#include <utility>

namespace tessera::geometry { class Geometry; }

namespace tessera::engine::sqlfn {

// One geometry and a unit name: the number, or an SQL error with the host's
// exception text; NULL for a missing or unreadable geometry.
TESSERA_ENGINE_EXPORT void perimeter(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void objectLen(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void area(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void cartesianPerimeter(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void sphericalPerimeter(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void ellipsoidalPerimeter(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void lambertPerimeter(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void vincentyPerimeter(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void cartesianObjectLen(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void sphericalObjectLen(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void ellipsoidalObjectLen(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void lambertObjectLen(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void vincentyObjectLen(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void cartesianArea(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void sphericalArea(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void ellipsoidalArea(sqlite3_context* ctx, int argc, sqlite3_value** argv);

// Two geometries and a unit name: the number, -1.0 when the host fails; NULL
// for a missing or unreadable geometry. `distance` is the smallest distance,
// `objectDistance` the distance between the centroids.
TESSERA_ENGINE_EXPORT void distance(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void objectDistance(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void cartesianDistance(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void sphericalDistance(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void ellipsoidalDistance(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void lambertDistance(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void vincentyDistance(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void cartesianObjectDistance(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void sphericalObjectDistance(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void ellipsoidalObjectDistance(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void lambertObjectDistance(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void vincentyObjectDistance(sqlite3_context* ctx, int argc, sqlite3_value** argv);

// One geometry: X or Y of its centroid.
TESSERA_ENGINE_EXPORT void centroidX(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void centroidY(sqlite3_context* ctx, int argc, sqlite3_value** argv);

// When exactly one of the two has a coordinate system, the other is replaced
// by a copy labelled with it (and fitted to it); otherwise both stay as they
// are. Shared by the two-geometry callbacks.
TESSERA_ENGINE_EXPORT void shareCoordSystem(std::shared_ptr<const geometry::Geometry>& g1, std::shared_ptr<const geometry::Geometry>& g2);

} // namespace tessera::engine::sqlfn
