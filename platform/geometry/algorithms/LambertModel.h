#pragma once
// Lambert's formula for long lines: a great-circle distance on the sphere of
// reduced latitudes corrected for the flattening (about 10 m over thousands
// of kilometres). Distances only.

#include "platform/geometry/algorithms/AlgorithmsExport.h"
#include "platform/geometry/algorithms/EarthModel.h"

namespace tessera::geometry {

class TESSERA_GEOMETRY_ALGORITHMS_EXPORT LambertModel final : public EarthModel {
public:
    explicit LambertModel(const Ellipsoid& e) : e(e) {}
    double distance(const QPointF& p1, const QPointF& p2) const override;
    double ringArea(const Ring& ring) const override;
private:
    Ellipsoid e;
};

} // namespace tessera::geometry
