#pragma once
// SQL callbacks for spatial predicates, derived geometries, coordinate
// systems and conversions between the TesGeo blob, the SpatiaLite blob and
// MIF text. Registered with the EngineCache as user data.
//
// Like the measures they live in tessera::engine::sqlfn, so that the SQL
// function sqlfn::toTesGeo does not overload the conversion
// engine::toTesGeo of GeometryConversions.h (an overloaded name cannot be put
// into a registration table without a cast).

#include "engine/EngineExport.h"

#include <sqlite3.h>

namespace tessera::engine::sqlfn {

// Two geometries: integer 1/0, NULL for a missing or unreadable geometry.
// When only one of them has a coordinate system, both are taken to lie in it.
TESSERA_ENGINE_EXPORT void intersects(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void containsEntirely(sqlite3_context* ctx, int argc, sqlite3_value** argv);   // g1 holds all of g2
TESSERA_ENGINE_EXPORT void entirelyWithin(sqlite3_context* ctx, int argc, sqlite3_value** argv);     // g2 holds all of g1
TESSERA_ENGINE_EXPORT void containsCentroid(sqlite3_context* ctx, int argc, sqlite3_value** argv);   // g1 holds g2's centroid
TESSERA_ENGINE_EXPORT void centroidWithin(sqlite3_context* ctx, int argc, sqlite3_value** argv);     // g2 holds g1's centroid

// Two geometries: the TesGeo line between their closest points.
TESSERA_ENGINE_EXPORT void nearestPoints(sqlite3_context* ctx, int argc, sqlite3_value** argv);

// One geometry: a point on it (not the arithmetic centroid), as a SpatiaLite
// blob.
TESSERA_ENGINE_EXPORT void centroid(sqlite3_context* ctx, int argc, sqlite3_value** argv);
// One geometry: its valid form, as TesGeo.
TESSERA_ENGINE_EXPORT void makeGeoValid(sqlite3_context* ctx, int argc, sqlite3_value** argv);
// One geometry: the simpler look-alike of the cache's resemblance extensions.
TESSERA_ENGINE_EXPORT void resemblance(sqlite3_context* ctx, int argc, sqlite3_value** argv);

// A geometry or a table name: the tagged string of its coordinate system.
TESSERA_ENGINE_EXPORT void retrieveCS(sqlite3_context* ctx, int argc, sqlite3_value** argv);
// A table name: the tagged string of the table's coordinate system.
TESSERA_ENGINE_EXPORT void retrieveTableCS(sqlite3_context* ctx, int argc, sqlite3_value** argv);

// (geometry [, coordinate system]): TesGeo, labelled with the coordinate
// system when that is valid. An invalid coordinate-system text is ignored.
TESSERA_ENGINE_EXPORT void toTesGeo(sqlite3_context* ctx, int argc, sqlite3_value** argv);
// (geometry): SpatiaLite blob whose SRID is the coordinate system's EPSG code.
TESSERA_ENGINE_EXPORT void fromTesGeo(sqlite3_context* ctx, int argc, sqlite3_value** argv);

// (geometry, target [, default]): the geometry transformed into the target
// coordinate system; `default` is assumed for geometries without one. A
// geometry still without coordinate system is only labelled with the target.
TESSERA_ENGINE_EXPORT void transformToTesGeo(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void transformToSLGeo(sqlite3_context* ctx, int argc, sqlite3_value** argv);

// (MIF geometry text [, coordinate system]): TesGeo of the geometry read by
// the host's MifService; NULL when no such service is registered.
TESSERA_ENGINE_EXPORT void fromMifGeo(sqlite3_context* ctx, int argc, sqlite3_value** argv);

} // namespace tessera::engine::sqlfn
