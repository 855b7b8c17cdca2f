#pragma once
// Walks the linear parts of a geometry: open lines and polygons (as their
// rings), through multi-geometries and collections. Curves and shapes are
// visited as their linear approximation.

#include "platform/geometry/algorithms/AlgorithmsExport.h"
#include "platform/geometry/Geometry.h"

#include <functional>

namespace tessera::geometry {

struct TESSERA_GEOMETRY_ALGORITHMS_EXPORT GeometryParts {
    std::function<void(const QVector<QPointF>&)> onLine;
    std::function<void(const QVector<Ring>&)> onPolygon;

    void walk(const ConstGeometryPtr& g) const;
};

} // namespace tessera::geometry
