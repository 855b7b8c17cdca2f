// Spatial predicates and constructions of Algorithms.h on GEOS.

#include "platform/geometry/Algorithms.h"

#include "platform/cs/CoordSystem.h"
#include "platform/geometry/algorithms/CoordSystemAlignment.h"
#include "platform/geometry/algorithms/GeosAdapter.h"

#include <QLoggingCategory>
#include <algorithm>
#include <cmath>
#include <deque>
#include <stdexcept>

Q_LOGGING_CATEGORY(lcPredicates, "tessera.geometry.predicates")

namespace tessera::geometry {

namespace {

using PreparedTest = char (*)(GEOSContextHandle_t, const GEOSPreparedGeometry*, const GEOSGeometry*);
using PlainTest = char (*)(GEOSContextHandle_t, const GEOSGeometry*, const GEOSGeometry*);

// --- Longitude and latitude across +-180 --------------------------------------
//
// The measures on the earth take every edge the shorter way round, so a box
// from 170 to 190 degrees (stored as 170 and -170) is 20 degrees wide. GEOS
// sees the plane: there, edges of geographic shapes are made continuous in
// longitude, and the other operand is also tried a turn east and west.

// A full turn in the geometry's angular unit; 0 when it is not geographic.
double fullTurn(const ConstGeometryPtr& g)
{
    const CoordSystemPtr& coordSystem = g->coordSystem();
    if (!coordSystem || !coordSystem->isGeographic())
        return 0.0;
    const double factor = coordSystem->axisUnitFactor();
    return factor > 0.0 ? 2.0 * M_PI / factor : 360.0;
}

// Each longitude within half a turn of the one before. A ring that winds
// around a pole cannot close that way and stays as it is.
bool unwrapPath(QVector<QPointF>& pts, double turn, bool ring)
{
    QVector<QPointF> out = pts;
    bool changed = false;
    for (int i = 1; i < out.size(); ++i) {
        const double dx = out[i].x() - out[i - 1].x();
        if (std::abs(dx) > turn / 2) {
            out[i].rx() -= turn * std::round(dx / turn);
            changed = true;
        }
    }
    if (!changed || (ring && out.size() > 1 && pts.front() == pts.back() && out.front() != out.back()))
        return false;
    pts = std::move(out);
    return true;
}

std::shared_ptr<Geometry> unwrapped(const Geometry& g, double turn, bool& changed)
{
    auto paths = [&](QVector<QVector<QPointF>> lines, bool rings) {
        for (QVector<QPointF>& line : lines)
            changed = unwrapPath(line, turn, rings) || changed;
        return lines;
    };
    std::shared_ptr<Geometry> result;
    switch (g.type()) {
    case GeometryType::LineString:
        result = std::make_shared<LineString>(paths({static_cast<const LineString&>(g).points()}, false).front());
        break;
    case GeometryType::MultiLineString:
        result = std::make_shared<MultiLineString>(paths(static_cast<const MultiLineString&>(g).lines(), false));
        break;
    case GeometryType::Polygon:
        result = std::make_shared<Polygon>(paths(static_cast<const Polygon&>(g).rings(), true));
        break;
    case GeometryType::MultiPolygon: {
        QVector<QVector<Ring>> polygons = static_cast<const MultiPolygon&>(g).polygons();
        for (QVector<Ring>& rings : polygons)
            rings = paths(rings, true);
        result = std::make_shared<MultiPolygon>(std::move(polygons));
        break;
    }
    case GeometryType::Collection: {
        std::vector<std::shared_ptr<Geometry>> members;
        for (const std::shared_ptr<Geometry>& member : static_cast<const GeometryCollection&>(g).members()) {
            if (member)
                members.push_back(unwrapped(*member, turn, changed));
        }
        result = std::make_shared<GeometryCollection>(std::move(members));
        break;
    }
    case GeometryType::Point:
    case GeometryType::MultiPoint:
        return g.clone();
    default:
        return unwrapped(*linearized(std::shared_ptr<const Geometry>(g.clone())), turn, changed);
    }
    result->setCoordSystem(g.coordSystem());
    return result;
}

bool isPolygonal(const Geometry& g)
{
    switch (g.type()) {
    case GeometryType::Point:
    case GeometryType::MultiPoint:
    case GeometryType::LineString:
    case GeometryType::MultiLineString:
        return false;
    default:
        return true;
    }
}

// The continuous form of g for GEOS (no coordinate system: only the planar
// tests see it), or g itself when none of its edges crosses +-180, or when a
// shape whose parts were cut there overlaps itself once made continuous: the
// shape as stored is then the reading to test (GEOS's relate refuses such a
// shape, and its prepared tests would count the overlap as a hole).
// Only a shape wider than half a turn can have such an edge; those are kept
// per thread while they live, as a join tests one of them against many.
ConstGeometryPtr unwrapped(const ConstGeometryPtr& g, double turn)
{
    if (g->boundingRect().normalized().width() <= turn / 2)
        return g;
    struct Kept {
        std::weak_ptr<const Geometry> source;
        const Geometry* key;
        double turn;
        ConstGeometryPtr form;   // null: g itself
    };
    thread_local std::deque<Kept> kept;
    for (auto it = kept.begin(); it != kept.end(); ++it) {
        if (it->key == g.get() && it->turn == turn && !it->source.expired())
            return it->form ? it->form : g;
    }
    kept.erase(std::remove_if(kept.begin(), kept.end(), [](const Kept& k) { return k.source.expired(); }), kept.end());

    bool changed = false;
    std::shared_ptr<Geometry> u = unwrapped(*g, turn, changed);
    if (changed) {
        u->setCoordSystem({});
        if (isPolygonal(*u)) {
            const GeosAdapter geos;
            try {
                if (!geos.check(GEOSisValid_r(geos.handle(), geos.toGeos(u).get())))
                    changed = false;
            } catch (const std::runtime_error&) {
                changed = false;
            }
        }
    }
    constexpr std::size_t keptLimit = 8;
    kept.push_front({g, g.get(), turn, changed ? ConstGeometryPtr(std::move(u)) : ConstGeometryPtr()});
    if (kept.size() > keptLimit)
        kept.pop_back();
    return kept.front().form ? kept.front().form : g;
}

bool reachesAntimeridian(const ConstGeometryPtr& g, double turn)
{
    const QRectF box = g->boundingRect().normalized();
    return box.left() <= -turn / 2 || box.right() >= turn / 2;
}

ConstGeometryPtr shifted(const ConstGeometryPtr& g, double dx)
{
    if (dx == 0.0)
        return g;
    std::shared_ptr<Geometry> copy = g->clone();
    copy->transformPoints([dx](const QPointF& p) { return QPointF(p.x() + dx, p.y()); });
    return copy;
}

// test(a, b) on aligned, non-empty operands, for shapes on the earth also
// with their edges the shorter way round and b a turn east and west.
template <class Test>
bool onTheEarth(const ConstGeometryPtr& a, const ConstGeometryPtr& b, Test test)
{
    const double turn = fullTurn(a);
    if (turn == 0.0)
        return test(a, b);
    const ConstGeometryPtr ua = unwrapped(a, turn);
    const ConstGeometryPtr ub = unwrapped(b, turn);
    if (ua == a && ub == b && !reachesAntimeridian(a, turn) && !reachesAntimeridian(b, turn))
        return test(a, b);
    try {
        for (const double dx : {0.0, -turn, turn}) {
            if (test(ua, shifted(ub, dx)))
                return true;
        }
        return false;
    } catch (const std::runtime_error&) {
        // GEOS refused the continuous form (a topology conflict that the
        // validity check let through): the shape as stored is then the
        // reading to test.
        if (ua == a && ub == b)
            throw;
        return test(a, b);
    }
}

// a against b, with a's GEOS form remembered (a is the side a join repeats).
// GEOS compares envelopes first by itself.
bool relate(const ConstGeometryPtr& a, const ConstGeometryPtr& b, PreparedTest prepared, PlainTest plain)
{
    const GeosAdapter geos;
    const GeosGeometry eb = geos.toGeos(b);
    const bool puntal = b->type() == GeometryType::Point || b->type() == GeometryType::MultiPoint;
    const auto ea = geos.remember(a, puntal);
    return geos.check(ea.prepared ? prepared(geos.handle(), ea.prepared, eb.get())
                                  : plain(geos.handle(), ea.geometry, eb.get()));
}

bool intersectsPlane(const ConstGeometryPtr& a, const ConstGeometryPtr& b)
{
    // Symmetric: whichever side a join repeats can be the prepared one.
    const GeosAdapter geos;
    const auto ea = geos.remember(a);
    const auto eb = geos.remember(b);
    if (ea.prepared)
        return geos.check(GEOSPreparedIntersects_r(geos.handle(), ea.prepared, eb.geometry));
    if (eb.prepared)
        return geos.check(GEOSPreparedIntersects_r(geos.handle(), eb.prepared, ea.geometry));
    return geos.check(GEOSIntersects_r(geos.handle(), ea.geometry, eb.geometry));
}

bool containsCentroidPlane(const ConstGeometryPtr& a, const ConstGeometryPtr& b)
{
    const GeosAdapter geos;
    const GeosGeometry eb = geos.toGeos(b);
    const QPointF c = geos.centroid(eb.get());
    const GeosGeometry point = geos.own(GEOSGeom_createPointFromXY_r(geos.handle(), c.x(), c.y()));
    const auto ea = geos.remember(a, true);
    // A centroid on a's boundary counts as held.
    return geos.check(ea.prepared ? GEOSPreparedIntersects_r(geos.handle(), ea.prepared, point.get())
                                  : GEOSIntersects_r(geos.handle(), ea.geometry, point.get()));
}

// Empty operands relate to nothing.
template <class Test>
bool predicate(const ConstGeometryPtr& a, const ConstGeometryPtr& b, Test test)
{
    const auto [ga, gb] = alignCoordSystems(a, b);
    if (ga->isEmpty() || gb->isEmpty())
        return false;
    return onTheEarth(ga, gb, test);
}

} // namespace

bool Intersects(const ConstGeometryPtr& a, const ConstGeometryPtr& b)
{
    return predicate(a, b, &intersectsPlane);
}

bool Contains(const ConstGeometryPtr& a, const ConstGeometryPtr& b)
{
    return predicate(a, b, [](const ConstGeometryPtr& ga, const ConstGeometryPtr& gb) {
        return relate(ga, gb, &GEOSPreparedContains_r, &GEOSContains_r);
    });
}

bool ContainsCentroid(const ConstGeometryPtr& a, const ConstGeometryPtr& b)
{
    return predicate(a, b, &containsCentroidPlane);
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
