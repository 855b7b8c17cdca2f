#pragma once
// Structural checks of raw SpatiaLite geometry bytes, made before SpatiaLite's
// own readers see them: those readers trust the counts inside (a count times
// a coordinate size overflows a C int and allocates gigabytes) and some read
// past the end of short blobs. Each check walks the whole layout and accepts
// the bytes only when every count fits in the bytes that are left and the
// layout ends exactly where the bytes end (the SpatiaLite blob) or within them.

#include <cstddef>

namespace tessera::engine {

// SpatiaLite's own blob (with its compressed and tiny-point forms).
bool fitsSpatiaLiteBlob(const unsigned char* data, std::size_t size);
// Well-known binary (2D, ISO Z/M/ZM and the Z flag of extended WKB); the
// members of collections are points, lines or polygons.
bool fitsWkb(const unsigned char* data, std::size_t size);
// FDO's geometry format (little-endian 32-bit integers): type, then for
// points, lines and polygons a dimensionality (0 XY, 1 XYZ, 2 XYM, 3 XYZM)
// and the coordinates, for multi-geometries (4 to 6) and collections (7) a
// count and their members.
bool fitsFgf(const unsigned char* data, std::size_t size);

} // namespace tessera::engine
