#pragma once
// The coordinates a measure works on: the linear form of a geometry either in
// its own plane (with the length of one unit) or in degrees of longitude and
// latitude (with the ellipsoid they refer to).
//
// Earth models take geometries without a coordinate system as longitude and
// latitude in degrees on WGS84; projected geometries are first transformed to
// the geographic system their projection is based on.

#include "platform/geometry/algorithms/AlgorithmsExport.h"
#include "platform/geometry/algorithms/EarthModel.h"

namespace tessera::geometry {

struct TESSERA_GEOMETRY_ALGORITHMS_EXPORT MeasureFrame {
    ConstGeometryPtr geometry;          // linear form
    double unitInMetres = 1.0;          // planar frames
    Ellipsoid ellipsoid;                // geographic frames

    // Throws std::invalid_argument for a geographic coordinate system.
    static MeasureFrame planar(const ConstGeometryPtr& g);
    // Throws std::runtime_error when the transformation fails.
    // Throws std::invalid_argument for latitudes beyond the poles.
    static MeasureFrame geographic(const ConstGeometryPtr& g);

private:
    static MeasureFrame inDegrees(const ConstGeometryPtr& g);
};

// The geographic system a projected one is based on (same datum), from PROJ.
// Throws std::runtime_error when PROJ cannot tell.
TESSERA_GEOMETRY_ALGORITHMS_EXPORT CoordSystemPtr geographicBase(const cs::CoordSystem& projected);

// The ellipsoid of a coordinate system; WGS84 for none.
TESSERA_GEOMETRY_ALGORITHMS_EXPORT Ellipsoid ellipsoidOf(const CoordSystemPtr& coordSystem);

} // namespace tessera::geometry
