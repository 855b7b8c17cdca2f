#pragma once
// A sphere: great-circle distances (haversine) and areas from the spherical
// excess of each edge's trapezoid down to the equator.

#include "platform/geometry/algorithms/AlgorithmsExport.h"
#include "platform/geometry/algorithms/EarthModel.h"

namespace tessera::geometry {

class TESSERA_GEOMETRY_ALGORITHMS_EXPORT SphericalModel final : public EarthModel {
public:
    explicit SphericalModel(double radius) : radius(radius) {}
    double distance(const QPointF& p1, const QPointF& p2) const override;
    double ringArea(const Ring& ring) const override;
private:
    double radius;
};

} // namespace tessera::geometry
