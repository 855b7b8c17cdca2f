#pragma once
// Douglas-Peucker simplification of coordinate sequences.

#include <QPointF>
#include <QVector>

namespace tessera::geometry {

// The points of `points` that Douglas-Peucker keeps with the given tolerance:
// always the first and the last, then every point that lies farther than
// `tolerance` from the simplified line.
QVector<QPointF> simplifyDouglasPeucker(const QVector<QPointF>& points, double tolerance);

} // namespace tessera::geometry
