#pragma once
// Vincenty's inverse formula on an ellipsoid: iterative, accurate to about
// half a millimetre, and unable to converge for nearly antipodal points, in
// which case distance() throws std::runtime_error. Distances only.

#include "platform/geometry/algorithms/AlgorithmsExport.h"
#include "platform/geometry/algorithms/EarthModel.h"

namespace tessera::geometry {

class TESSERA_GEOMETRY_ALGORITHMS_EXPORT VincentyModel final : public EarthModel {
public:
    static constexpr int maxIterations = 200;
    static constexpr double tolerance = 1e-12;   // on the longitude difference, radians

    explicit VincentyModel(const Ellipsoid& e) : e(e) {}
    double distance(const QPointF& p1, const QPointF& p2) const override;
    double ringArea(const Ring& ring) const override;
private:
    Ellipsoid e;
};

} // namespace tessera::geometry
