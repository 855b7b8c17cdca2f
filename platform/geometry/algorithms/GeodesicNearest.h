#pragma once
// The smallest distance between two shapes on the earth. GEOS finds the
// closest pair of points in degrees; on the earth the edges are geodesics, so
// that pair is refined on the edges it lies on: the point on one edge closest
// to the other edge's point is searched for along the geodesic, alternately on
// both edges, and the model measures the final pair. The result is never
// larger than the distance of the pair found in degrees. Only the edges at
// that pair are searched: when another edge is closer on the earth than in
// degrees (very long edges, high latitudes), the result may still be a little
// too large.

#include "platform/geometry/algorithms/AlgorithmsExport.h"
#include "platform/geometry/algorithms/EarthModel.h"

#include <GeographicLib/Geodesic.hpp>

namespace tessera::geometry {

class TESSERA_GEOMETRY_ALGORITHMS_EXPORT GeodesicNearest {
public:
    // `model` measures; `surface` traces the edges (the sphere of a spherical
    // model, else the ellipsoid of the coordinates).
    GeodesicNearest(const EarthModel& model, const Ellipsoid& surface);

    // a and b: linear geometries in degrees (x the longitude); seedA and
    // seedB: their closest points in degrees.
    double distance(const Geometry& a, const Geometry& b, const QPointF& seedA, const QPointF& seedB) const;

    struct Segment {
        QPointF from, to;
    };

private:
    QPointF closestOn(const Segment& s, const QPointF& p) const;

    const EarthModel& model;
    GeographicLib::Geodesic geodesic;
};

} // namespace tessera::geometry
