#pragma once
// A way of turning coordinates into lengths and areas: the plane (projected
// coordinates) or a model of the earth (longitude/latitude in degrees, x being
// the longitude). Lengths are in metres, areas in square metres.

#include "platform/geometry/algorithms/AlgorithmsExport.h"
#include "platform/geometry/Geometry.h"

namespace tessera::geometry {

struct TESSERA_GEOMETRY_ALGORITHMS_EXPORT Ellipsoid {
    double a = 6378137.0;               // semi-major axis, metres
    double f = 1.0 / 298.257223563;     // flattening (0 for a sphere)
    static Ellipsoid wgs84() { return {}; }
};

class TESSERA_GEOMETRY_ALGORITHMS_EXPORT EarthModel {
public:
    virtual ~EarthModel() = default;
    virtual double distance(const QPointF& p1, const QPointF& p2) const = 0;
    // Area enclosed by one ring, always positive. Models that only know
    // distances throw std::logic_error.
    virtual double ringArea(const Ring& ring) const = 0;

    double pathLength(const QVector<QPointF>& points) const;
};

} // namespace tessera::geometry
