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

// The same, except that two different systems meet in one chosen without
// regard to the order of the arguments, so that a measure of (a, b) equals
// that of (b, a): the geographic one (the earth, not one of its maps) or, for
// a measure in the plane, the projected one; else the one whose tagged string
// sorts first.
std::pair<ConstGeometryPtr, ConstGeometryPtr> alignCoordSystemsSymmetrically(const ConstGeometryPtr& a,
                                                                             const ConstGeometryPtr& b, bool inPlane);

} // namespace tessera::geometry
