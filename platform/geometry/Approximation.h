#pragma once
// Sampling of ellipses for the linear forms of arcs and shapes.

#include "platform/geometry/GeometryExport.h"

#include <QPointF>
#include <QSizeF>
#include <QVector>

namespace tessera::geometry {

// Relative accuracy of the default approximation, in area and in length.
constexpr double defaultRelativeError = 1e-6;

// Segments per full turn that keep the area and the length of an ellipse's
// polygon within defaultRelativeError of the curve's. Sampled at equal steps
// of the parametric angle h, the polygon's area is sin(h)/h of the ellipse's
// (whatever the ratio of the radii) and its length short by about h^2/24.
TESSERA_GEOMETRY_EXPORT int accurateSegmentsPerTurn();

// Segments per full turn so that no chord strays more than one pixel
// (the smaller side of `pixel`) from an ellipse whose larger radius is
// `radius`. An invalid or empty pixel size gives accurateSegmentsPerTurn().
TESSERA_GEOMETRY_EXPORT int segmentsPerTurn(const QSizeF& pixel, double radius);

// The parametric angle (radians) of the point of the ellipse with radii
// rx, ry that lies in the direction `degrees` from its centre.
TESSERA_GEOMETRY_EXPORT double parametricAngle(double degrees, double rx, double ry);

// Appends the points of the ellipse (centre c, radii rx, ry) from parametric
// angle t0 over `sweep` radians in `segments` equal steps, both ends included.
TESSERA_GEOMETRY_EXPORT void appendEllipsePoints(QVector<QPointF>& out, const QPointF& c, double rx, double ry, double t0, double sweep,
                         int segments);

} // namespace tessera::geometry
