#pragma once
// The plane: coordinates are lengths of `unitInMetres` metres each.

#include "platform/geometry/algorithms/AlgorithmsExport.h"
#include "platform/geometry/algorithms/EarthModel.h"

namespace tessera::geometry {

class TESSERA_GEOMETRY_ALGORITHMS_EXPORT CartesianModel final : public EarthModel {
public:
    explicit CartesianModel(double unitInMetres = 1.0) : unit(unitInMetres) {}
    double distance(const QPointF& p1, const QPointF& p2) const override;
    double ringArea(const Ring& ring) const override;
private:
    double unit;
};

} // namespace tessera::geometry
