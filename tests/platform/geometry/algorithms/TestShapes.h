#pragma once
// Small geometries and coordinate systems shared by the algorithm tests.

#include "platform/cs/CoordSystem.h"
#include "platform/geometry/Geometry.h"

#include <QRectF>
#include <memory>

namespace tessera::geometry::testing {

inline Ring box(double x0, double y0, double x1, double y1)
{
    return {{x0, y0}, {x1, y0}, {x1, y1}, {x0, y1}, {x0, y0}};
}

inline ConstGeometryPtr polygon(QVector<Ring> rings, CoordSystemPtr cs = {})
{
    auto p = std::make_shared<Polygon>(std::move(rings));
    p->setCoordSystem(std::move(cs));
    return p;
}

inline ConstGeometryPtr square(double x0, double y0, double x1, double y1, CoordSystemPtr cs = {})
{
    return polygon({box(x0, y0, x1, y1)}, std::move(cs));
}

inline ConstGeometryPtr point(double x, double y, CoordSystemPtr cs = {})
{
    auto p = std::make_shared<Point>(QPointF(x, y));
    p->setCoordSystem(std::move(cs));
    return p;
}

inline ConstGeometryPtr line(QVector<QPointF> pts, CoordSystemPtr cs = {})
{
    auto l = std::make_shared<LineString>(std::move(pts));
    l->setCoordSystem(std::move(cs));
    return l;
}

inline CoordSystemPtr epsg(int code)
{
    return cs::CoordSysFactory::defaultCoordSysFactory()->createFromEpsg(code);
}

} // namespace tessera::geometry::testing
