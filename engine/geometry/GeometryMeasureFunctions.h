#pragma once
// SQL callbacks that measure geometries: perimeter, length, area, distances
// and centroid coordinates, each on one host algorithm of Algorithms.h.
// Registered with the EngineCache as user data.
//
// The geometry SQL callbacks live in tessera::engine::sqlfn: their names
// (toTesGeo, centroid, area, ...) would otherwise overload the geometry
// conversions of GeometryConversions.h, and taking the address of an
// overloaded name for a registration table is ambiguous.

#include <memory>
#include <sqlite3.h>
#include <utility>

namespace tessera::geometry { class Geometry; }

namespace tessera::engine::sqlfn {

// One geometry and a unit name: the number, or an SQL error with the host's
// exception text; NULL for a missing or unreadable geometry.
void perimeter(sqlite3_context* ctx, int argc, sqlite3_value** argv);
void objectLen(sqlite3_context* ctx, int argc, sqlite3_value** argv);
void area(sqlite3_context* ctx, int argc, sqlite3_value** argv);
void cartesianPerimeter(sqlite3_context* ctx, int argc, sqlite3_value** argv);
void sphericalPerimeter(sqlite3_context* ctx, int argc, sqlite3_value** argv);
void ellipsoidalPerimeter(sqlite3_context* ctx, int argc, sqlite3_value** argv);
void lambertPerimeter(sqlite3_context* ctx, int argc, sqlite3_value** argv);
void vincentyPerimeter(sqlite3_context* ctx, int argc, sqlite3_value** argv);
void cartesianObjectLen(sqlite3_context* ctx, int argc, sqlite3_value** argv);
void sphericalObjectLen(sqlite3_context* ctx, int argc, sqlite3_value** argv);
void ellipsoidalObjectLen(sqlite3_context* ctx, int argc, sqlite3_value** argv);
void lambertObjectLen(sqlite3_context* ctx, int argc, sqlite3_value** argv);
void vincentyObjectLen(sqlite3_context* ctx, int argc, sqlite3_value** argv);
void cartesianArea(sqlite3_context* ctx, int argc, sqlite3_value** argv);
void sphericalArea(sqlite3_context* ctx, int argc, sqlite3_value** argv);
void ellipsoidalArea(sqlite3_context* ctx, int argc, sqlite3_value** argv);

// Two geometries and a unit name: the number, -1.0 when the host fails; NULL
// for a missing or unreadable geometry. `distance` is the smallest distance,
// `objectDistance` the distance between the centroids.
void distance(sqlite3_context* ctx, int argc, sqlite3_value** argv);
void objectDistance(sqlite3_context* ctx, int argc, sqlite3_value** argv);
void cartesianDistance(sqlite3_context* ctx, int argc, sqlite3_value** argv);
void sphericalDistance(sqlite3_context* ctx, int argc, sqlite3_value** argv);
void ellipsoidalDistance(sqlite3_context* ctx, int argc, sqlite3_value** argv);
void lambertDistance(sqlite3_context* ctx, int argc, sqlite3_value** argv);
void vincentyDistance(sqlite3_context* ctx, int argc, sqlite3_value** argv);
void cartesianObjectDistance(sqlite3_context* ctx, int argc, sqlite3_value** argv);
void sphericalObjectDistance(sqlite3_context* ctx, int argc, sqlite3_value** argv);
void ellipsoidalObjectDistance(sqlite3_context* ctx, int argc, sqlite3_value** argv);
void lambertObjectDistance(sqlite3_context* ctx, int argc, sqlite3_value** argv);
void vincentyObjectDistance(sqlite3_context* ctx, int argc, sqlite3_value** argv);

// One geometry: X or Y of its centroid.
void centroidX(sqlite3_context* ctx, int argc, sqlite3_value** argv);
void centroidY(sqlite3_context* ctx, int argc, sqlite3_value** argv);

// When exactly one of the two has a coordinate system, the other is replaced
// by a copy labelled with it (and fitted to it); otherwise both stay as they
// are. Shared by the two-geometry callbacks.
void shareCoordSystem(std::shared_ptr<const geometry::Geometry>& g1, std::shared_ptr<const geometry::Geometry>& g2);

} // namespace tessera::engine::sqlfn
