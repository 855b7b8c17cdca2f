#pragma once
// Puts two geometries into one coordinate system before they are compared.

#include "platform/geometry/algorithms/AlgorithmsExport.h"
#include "platform/geometry/Geometry.h"

#include <utility>

namespace tessera::geometry {

// a unchanged and b in a's coordinate system: transformed when both have
// different systems, labelled (a copy with the system set and fitted) when
// only one of them has one. Throws std::invalid_argument for a missing
// geometry and std::runtime_error when the transformation fails.
TESSERA_GEOMETRY_ALGORITHMS_EXPORT std::pair<ConstGeometryPtr, ConstGeometryPtr> alignCoordSystems(const ConstGeometryPtr& a, const ConstGeometryPtr& b);

} // namespace tessera::geometry
