// Spatial predicates and constructions of Algorithms.h on GEOS.

#include "platform/geometry/Algorithms.h"

#include "platform/cs/CoordSystem.h"
#include "platform/geometry/algorithms/CoordSystemAlignment.h"
#include "platform/geometry/algorithms/GeosAdapter.h"

#include <QLoggingCategory>
#include <algorithm>
#include <cmath>
#include <stdexcept>

Q_LOGGING_CATEGORY(lcPredicates, "tessera.geometry.predicates")

namespace tessera::geometry {

namespace {

using PreparedTest = char (*)(GEOSContextHandle_t, const GEOSPreparedGeometry*, const GEOSGeometry*);
using PlainTest = char (*)(GEOSContextHandle_t, const GEOSGeometry*, const GEOSGeometry*);

// a against b, with a's GEOS form remembered (a is the side a join repeats).
// Empty operands relate to nothing; GEOS compares envelopes first by itself.
bool relate(const ConstGeometryPtr& a, const ConstGeometryPtr& b, PreparedTest prepared, PlainTest plain)
{
    const auto [ga, gb] = alignCoordSystems(a, b);
    if (ga->isEmpty() || gb->isEmpty())
        return false;
    const GeosAdapter geos;
    const GeosGeometry eb = geos.toGeos(gb);
    const auto ea = geos.remember(ga);
    return geos.check(ea.prepared ? prepared(geos.handle(), ea.prepared, eb.get())
                                  : plain(geos.handle(), ea.geometry, eb.get()));
}

} // namespace

bool Intersects(const ConstGeometryPtr& a, const ConstGeometryPtr& b)
{
    const auto [ga, gb] = alignCoordSystems(a, b);
    if (ga->isEmpty() || gb->isEmpty())
        return false;
    // Symmetric: whichever side a join repeats can be the prepared one.
    const GeosAdapter geos;
    const auto ea = geos.remember(ga);
    const auto eb = geos.remember(gb);
    if (ea.prepared)
        return geos.check(GEOSPreparedIntersects_r(geos.handle(), ea.prepared, eb.geometry));
    if (eb.prepared)
        return geos.check(GEOSPreparedIntersects_r(geos.handle(), eb.prepared, ea.geometry));
    return geos.check(GEOSIntersects_r(geos.handle(), ea.geometry, eb.geometry));
}

bool Contains(const ConstGeometryPtr& a, const ConstGeometryPtr& b)
{
    return relate(a, b, &GEOSPreparedContains_r, &GEOSContains_r);
}

bool ContainsCentroid(const ConstGeometryPtr& a, const ConstGeometryPtr& b)
{
    const auto [ga, gb] = alignCoordSystems(a, b);
    if (ga->isEmpty() || gb->isEmpty())
        return false;
    const GeosAdapter geos;
    const GeosGeometry eb = geos.toGeos(gb);
    const QPointF c = geos.centroid(eb.get());
    const GeosGeometry point = geos.own(GEOSGeom_createPointFromXY_r(geos.handle(), c.x(), c.y()));
    const auto ea = geos.remember(ga);
    // A centroid on a's boundary counts as held.
    return geos.check(ea.prepared ? GEOSPreparedIntersects_r(geos.handle(), ea.prepared, point.get())
                                  : GEOSIntersects_r(geos.handle(), ea.geometry, point.get()));
}

GeometryPtr NearestPoints(const ConstGeometryPtr& a, const ConstGeometryPtr& b)
{
    const auto [ga, gb] = alignCoordSystems(a, b);
    if (ga->isEmpty() || gb->isEmpty())
        return {};
    const GeosAdapter geos;
    const GeosGeometry ea = geos.toGeos(ga);
    const GeosGeometry eb = geos.toGeos(gb);
    const auto [pa, pb] = geos.nearestPoints(ea.get(), eb.get());
    auto line = std::make_shared<LineString>(QVector<QPointF>{pa, pb});
    line->setCoordSystem(ga->coordSystem());
    return line;
}

QPointF centroid(const ConstGeometryPtr& g)
{
    if (!g)
        throw std::invalid_argument("No geometry");
    const GeosAdapter geos;
    const GeosGeometry e = geos.toGeos(g);
    return geos.centroid(e.get());
}

GeometryPtr PointOnSurface(const ConstGeometryPtr& g)
{
    if (!g || g->isEmpty())
        return {};
    const GeosAdapter geos;
    const GeosGeometry e = geos.toGeos(g);
    const GeosGeometry p = geos.own(GEOSPointOnSurface_r(geos.handle(), e.get()));
    if (GEOSisEmpty_r(geos.handle(), p.get()) == 1)
        return {};
    GeometryPtr result = geos.fromGeos(p.get());
    result->setCoordSystem(g->coordSystem());
    return result;
}

GeometryPtr normalizedGeometry(const ConstGeometryPtr& g)
{
    if (!g)
        return {};
    const GeosAdapter geos;
    const GeosGeometry e = geos.toGeos(g);
    // A valid geometry is returned as it is, curves and shapes included.
    if (geos.check(GEOSisValid_r(geos.handle(), e.get())))
        return g->clone();
    const GeosGeometry valid = geos.own(GEOSMakeValid_r(geos.handle(), e.get()));
    qCDebug(lcPredicates) << "made an invalid" << g->className() << "valid";
    GeometryPtr result = geos.fromGeos(valid.get());
    result->setCoordSystem(g->coordSystem());
    return result;
}

// For longitude/latitude: longitudes wrapped into [-180, 180] and latitudes
// clamped into [-90, 90] (in the system's angular unit). Other systems have
// no bounds worth enforcing here, so their geometries stay as they are.
void fitGeometry(Geometry& g)
{
    const CoordSystemPtr& coordSystem = g.coordSystem();
    if (!coordSystem || !coordSystem->isGeographic())
        return;
    const double factor = coordSystem->axisUnitFactor();
    const double halfTurn = factor > 0.0 ? M_PI / factor : 180.0;
    const double quarterTurn = halfTurn / 2.0;
    g.transformPoints([halfTurn, quarterTurn](const QPointF& p) {
        double x = p.x();
        if (x < -halfTurn || x > halfTurn)
            x = std::remainder(x, 2.0 * halfTurn);
        const double y = std::clamp(p.y(), -quarterTurn, quarterTurn);
        return QPointF(x, y);
    });
}

} // namespace tessera::geometry
