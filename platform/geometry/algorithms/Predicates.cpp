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

// Bounding boxes compared by their coordinates: QRectF::intersects treats
// the zero-width boxes of points and straight lines as empty.
bool boxesMeet(const QRectF& a, const QRectF& b)
{
    return a.left() <= b.right() && b.left() <= a.right() && a.top() <= b.bottom() && b.top() <= a.bottom();
}

bool boxHolds(const QRectF& outer, const QRectF& inner)
{
    return outer.left() <= inner.left() && inner.right() <= outer.right() && outer.top() <= inner.top()
        && inner.bottom() <= outer.bottom();
}

QPointF centroidOf(const GeosAdapter& geos, const GEOSGeometry* g)
{
    const GeosGeometry c = geos.own(GEOSGetCentroid_r(geos.handle(), g));
    double x = 0.0, y = 0.0;
    if (GEOSisEmpty_r(geos.handle(), c.get()) == 1 || !GEOSGeomGetX_r(geos.handle(), c.get(), &x)
        || !GEOSGeomGetY_r(geos.handle(), c.get(), &y))
        throw std::runtime_error("An empty geometry has no centroid");
    return {x, y};
}

} // namespace

bool Intersects(const ConstGeometryPtr& a, const ConstGeometryPtr& b)
{
    const auto [ga, gb] = alignCoordSystems(a, b);
    if (ga->isEmpty() || gb->isEmpty() || !boxesMeet(ga->boundingRect().normalized(), gb->boundingRect().normalized()))
        return false;
    const GeosAdapter geos;
    const GeosGeometry ea = geos.toGeos(ga);
    const GeosGeometry eb = geos.toGeos(gb);
    return geos.check(GEOSIntersects_r(geos.handle(), ea.get(), eb.get()));
}

bool Contains(const ConstGeometryPtr& a, const ConstGeometryPtr& b)
{
    const auto [ga, gb] = alignCoordSystems(a, b);
    if (ga->isEmpty() || gb->isEmpty() || !boxHolds(ga->boundingRect().normalized(), gb->boundingRect().normalized()))
        return false;
    const GeosAdapter geos;
    const GeosGeometry ea = geos.toGeos(ga);
    const GeosGeometry eb = geos.toGeos(gb);
    return geos.check(GEOSContains_r(geos.handle(), ea.get(), eb.get()));
}

bool ContainsCentroid(const ConstGeometryPtr& a, const ConstGeometryPtr& b)
{
    const auto [ga, gb] = alignCoordSystems(a, b);
    if (ga->isEmpty() || gb->isEmpty() || !boxesMeet(ga->boundingRect().normalized(), gb->boundingRect().normalized()))
        return false;
    const GeosAdapter geos;
    const GeosGeometry eb = geos.toGeos(gb);
    const QPointF c = centroidOf(geos, eb.get());
    const GeosGeometry ea = geos.toGeos(ga);
    const GeosGeometry point = geos.own(GEOSGeom_createPointFromXY_r(geos.handle(), c.x(), c.y()));
    // A centroid on a's boundary counts as held.
    return geos.check(GEOSIntersects_r(geos.handle(), ea.get(), point.get()));
}

GeometryPtr NearestPoints(const ConstGeometryPtr& a, const ConstGeometryPtr& b)
{
    const auto [ga, gb] = alignCoordSystems(a, b);
    if (ga->isEmpty() || gb->isEmpty())
        return {};
    const GeosAdapter geos;
    const GeosGeometry ea = geos.toGeos(ga);
    const GeosGeometry eb = geos.toGeos(gb);
    GEOSCoordSequence* seq = GEOSNearestPoints_r(geos.handle(), ea.get(), eb.get());
    if (!seq)
        return {};
    double x1 = 0, y1 = 0, x2 = 0, y2 = 0;
    const bool ok = GEOSCoordSeq_getXY_r(geos.handle(), seq, 0, &x1, &y1)
        && GEOSCoordSeq_getXY_r(geos.handle(), seq, 1, &x2, &y2);
    GEOSCoordSeq_destroy_r(geos.handle(), seq);
    if (!ok)
        throw std::runtime_error("GEOS nearest points failed: " + geos.lastError());
    auto line = std::make_shared<LineString>(QVector<QPointF>{{x1, y1}, {x2, y2}});
    line->setCoordSystem(ga->coordSystem());
    return line;
}

QPointF centroid(const ConstGeometryPtr& g)
{
    if (!g)
        throw std::invalid_argument("No geometry");
    const GeosAdapter geos;
    const GeosGeometry e = geos.toGeos(g);
    return centroidOf(geos, e.get());
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
    GeometryPtr result;
    if (GEOSisValid_r(geos.handle(), e.get()) == 1) {
        result = geos.fromGeos(e.get());
    } else {
        const GeosGeometry valid = geos.own(GEOSMakeValid_r(geos.handle(), e.get()));
        qCDebug(lcPredicates) << "made an invalid" << g->className() << "valid";
        result = geos.fromGeos(valid.get());
    }
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
