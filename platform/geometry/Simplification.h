#pragma once
// Douglas-Peucker simplification of coordinate sequences.

#include "platform/geometry/GeometryExport.h"

#include <QPointF>
#include <QVector>

namespace tessera::geometry {

// The points of `points` that Douglas-Peucker keeps with the given tolerance:
// always the first and the last, then every point that lies farther than
// `tolerance` from the simplified line.
TESSERA_GEOMETRY_EXPORT QVector<QPointF> simplifyDouglasPeucker(const QVector<QPointF>& points, double tolerance);

} // namespace tessera::geometry
