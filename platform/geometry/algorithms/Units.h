#pragma once
// Unit names of the measures and their sizes in metres or square metres.

#include "platform/geometry/algorithms/AlgorithmsExport.h"

#include <QString>

namespace tessera::geometry::units {

// Metres per unit of a distance unit ("m", "km", "mi", ...). Names are matched
// without regard to case and surrounding blanks. Throws
// std::invalid_argument("Unknown unit: <name>") for anything else.
TESSERA_GEOMETRY_ALGORITHMS_EXPORT double lengthFactor(const QString& unit);

// Square metres per unit of an area unit ("sq m", "acre", ...); same rules.
TESSERA_GEOMETRY_ALGORITHMS_EXPORT double areaFactor(const QString& unit);

} // namespace tessera::geometry::units
