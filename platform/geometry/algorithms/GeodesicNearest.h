#pragma once
// The closest pair of points of two shapes on the earth, whose edges are
// geodesics (the shortest way between their ends, across +-180 degrees when
// that is shorter), as the areas read them.
//
// Every pair of edges is measured on the surface: the point of a geodesic
// edge closest to a point is found by Newton-like steps along the edge (the
// spherical foot of the perpendicular, corrected until the step vanishes),
// two edges that cross are 0 apart (the crossing found with the gnomonic
// projection, in which geodesics through its centre are straight), and two
// that do not are as far apart as the nearest of their four ends is from the
// other edge. Pairs that cannot beat the best pair so far are skipped with a
// lower bound from a sphere of reduced latitudes, on which every edge lies
// within a ball around its middle. A part of one shape that lies inside a
// polygon of the other makes the distance 0; a ring encloses the smaller of
// the two sides it divides the earth into, as in the areas.

#include "platform/geometry/algorithms/AlgorithmsExport.h"
#include "platform/geometry/algorithms/EarthModel.h"

#include <GeographicLib/Geodesic.hpp>

namespace tessera::geometry {

class TESSERA_GEOMETRY_ALGORITHMS_EXPORT GeodesicNearest {
public:
    // `surface` is the sphere of a spherical model or the ellipsoid.
    explicit GeodesicNearest(const Ellipsoid& surface);

    struct Closest {
        double distance;   // metres on the surface; 0 when the shapes meet
        QPointF a, b;      // the two points, longitude and latitude
    };

    // a and b: linear geometries in degrees (x the longitude), not empty.
    Closest closest(const Geometry& a, const Geometry& b) const;

private:
    struct Impl;
    Ellipsoid surface;
    GeographicLib::Geodesic geodesic;
};

} // namespace tessera::geometry
