#pragma once
// Earth models read a geometry without coordinate system as longitude and
// latitude on WGS84 (MeasureFrame.h): right for most such data, wrong for
// projected coordinates whose source does not say so. A host that wants to
// tell its user asks afterwards whether it happened.

#include "platform/geometry/algorithms/AlgorithmsExport.h"

namespace tessera::geometry {

// Marks that an earth model measured a geometry without coordinate system.
// Cheap enough for every measure: one relaxed load once it is marked.
TESSERA_GEOMETRY_ALGORITHMS_EXPORT void noteEarthMeasureWithoutCoordSystem();
// Whether that happened since the last call; clears the mark.
TESSERA_GEOMETRY_ALGORITHMS_EXPORT bool takeEarthMeasureWithoutCoordSystem();

} // namespace tessera::geometry
