#pragma once
// An ellipsoid of revolution with GeographicLib's geodesics (Karney's
// algorithms, accurate to nanometres) for distances and ring areas.

#include "platform/geometry/algorithms/AlgorithmsExport.h"
#include "platform/geometry/algorithms/EarthModel.h"

#include <GeographicLib/Geodesic.hpp>

namespace tessera::geometry {

class TESSERA_GEOMETRY_ALGORITHMS_EXPORT EllipsoidalModel final : public EarthModel {
public:
    explicit EllipsoidalModel(const Ellipsoid& e);
    double distance(const QPointF& p1, const QPointF& p2) const override;
    double ringArea(const Ring& ring) const override;
private:
    GeographicLib::Geodesic geodesic;
};

} // namespace tessera::geometry
