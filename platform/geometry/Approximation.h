#pragma once
// Sampling of ellipses for the linear forms of arcs and shapes.

#include "platform/geometry/GeometryExport.h"

#include <QPointF>
#include <QSizeF>
#include <QVector>

namespace tessera::geometry {

// Segments per full turn so that no chord strays more than one pixel
// (the smaller side of `pixel`) from an ellipse whose larger radius is
// `radius`. An invalid or empty pixel size gives the default of 64.
TESSERA_GEOMETRY_EXPORT int segmentsPerTurn(const QSizeF& pixel, double radius);

// The parametric angle (radians) of the point of the ellipse with radii
// rx, ry that lies in the direction `degrees` from its centre.
TESSERA_GEOMETRY_EXPORT double parametricAngle(double degrees, double rx, double ry);

// Appends the points of the ellipse (centre c, radii rx, ry) from parametric
// angle t0 over `sweep` radians in `segments` equal steps, both ends included.
TESSERA_GEOMETRY_EXPORT void appendEllipsePoints(QVector<QPointF>& out, const QPointF& c, double rx, double ry, double t0, double sweep,
                         int segments);

} // namespace tessera::geometry
