#include "platform/geometry/algorithms/GeodesicNearest.h"

#include <GeographicLib/GeodesicLine.hpp>
#include <GeographicLib/Gnomonic.hpp>
#include <algorithm>
#include <cmath>
#include <limits>
#include <tuple>
#include <vector>

namespace tessera::geometry {

namespace {

constexpr double toRad = M_PI / 180.0;
constexpr double toDeg = 180.0 / M_PI;
constexpr double infinity = std::numeric_limits<double>::infinity();
// Consecutive edges share one bound for the first round of pruning: at
// least this many, and no more than maxChunks chunks per shape, so that the
// pairs of chunks stay few (a million at most).
constexpr int chunkSize = 16;
constexpr int maxChunks = 1000;

struct Vec3 {
    double x, y, z;
};
Vec3 operator+(const Vec3& a, const Vec3& b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
Vec3 operator-(const Vec3& a, const Vec3& b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
Vec3 operator*(const Vec3& a, double k) { return {a.x * k, a.y * k, a.z * k}; }
double dot(const Vec3& a, const Vec3& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
Vec3 cross(const Vec3& a, const Vec3& b) { return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x}; }
double norm(const Vec3& a) { return std::sqrt(dot(a, a)); }
double angle(const Vec3& a, const Vec3& b) { return std::atan2(norm(cross(a, b)), dot(a, b)); }
Vec3 unit(const Vec3& a)
{
    const double n = norm(a);
    return n > 0.0 ? a * (1.0 / n) : a;
}

// The sphere of reduced latitudes: an ellipsoid's geodesics are great circles
// on it, up to a shift of longitude of the order of the flattening.
Vec3 onProxy(const QPointF& p, double f)
{
    const double lat = p.y() * toRad, lon = p.x() * toRad;
    const double beta = std::atan2((1.0 - f) * std::sin(lat), std::cos(lat));
    return {std::cos(beta) * std::cos(lon), std::cos(beta) * std::sin(lon), std::sin(beta)};
}

QPointF fromProxy(const Vec3& v, double f)
{
    const double beta = std::atan2(v.z, std::hypot(v.x, v.y));
    const double lat = std::atan2(std::sin(beta), (1.0 - f) * std::cos(beta));
    return QPointF(std::atan2(v.y, v.x) * toDeg, lat * toDeg);
}

// Whether the proxy arcs a1-a2 and b1-b2 (each shorter than half a turn) cross.
bool arcsCross(const Vec3& a1, const Vec3& a2, const Vec3& b1, const Vec3& b2)
{
    const Vec3 na = cross(a1, a2), nb = cross(b1, b2);
    if (dot(nb, a1) * dot(nb, a2) > 0.0 || dot(na, b1) * dot(na, b2) > 0.0)
        return false;
    // Each arc meets the other's circle once, at x or -x: the same point?
    Vec3 x = cross(na, nb);
    if (dot(x, a1 + a2) < 0.0)
        x = x * -1.0;
    return dot(x, b1 + b2) > 0.0;
}

struct Edge {
    QPointF from, to;
    Vec3 u, v;        // the ends on the proxy sphere
    Vec3 mid;         // every point of the edge lies within `radius` of it
    double radius;
    bool isPoint() const { return from == to; }
};

struct Chunk {
    Vec3 centre;
    double radius;
    int first, last;   // edges [first, last)
};

struct RingInfo {
    int first, last;   // edges [first, last)
    bool insideIsLeft;
    Vec3 reference;    // a point on the inner side of the first edge
    Vec3 centre;       // the ring lies within `radius` of it
    double radius;
};

struct Shape {
    std::vector<Edge> edges;
    std::vector<Chunk> chunks;
    std::vector<QPointF> anchors;                 // a point of every part
    std::vector<std::vector<RingInfo>> polygons;  // exterior first
};

// Area on the left of a ring on the unit sphere, in [0, 4 pi): the signed
// excess of its edges down to the equator, with a hemisphere for every turn
// around the pole.
double leftArea(const Ring& ring)
{
    double excess = 0.0, turn = 0.0;
    const int n = ring.size();
    for (int i = 0; i < n; ++i) {
        const QPointF& a = ring[i];
        const QPointF& b = ring[(i + 1) % n];
        const double dl = std::remainder((b.x() - a.x()) * toRad, 2 * M_PI);
        const double t1 = std::tan(a.y() * toRad / 2), t2 = std::tan(b.y() * toRad / 2);
        excess += 2.0 * std::atan2(std::tan(dl / 2) * (t1 + t2), 1.0 + t1 * t2);
        turn += dl;
    }
    const double left = std::fmod(2 * M_PI * std::round(turn / (2 * M_PI)) - excess, 4 * M_PI);
    return left < 0.0 ? left + 4 * M_PI : left;
}

class ShapeBuilder {
public:
    explicit ShapeBuilder(double f) : f(f) {}

    Shape build(const Geometry& g)
    {
        add(g);
        const int n = int(shape.edges.size());
        const int size = std::max(chunkSize, (n + maxChunks - 1) / maxChunks);
        for (int first = 0; first < n; first += size)
            shape.chunks.push_back(chunk(first, std::min(first + size, n)));
        return std::move(shape);
    }

private:
    void edge(const QPointF& from, const QPointF& to)
    {
        Edge e{from, to, onProxy(from, f), onProxy(to, f), {}, 0.0};
        const Vec3 sum = e.u + e.v;
        if (norm(sum) < 1e-12) {   // antipodal ends: no useful bound
            e.mid = e.u;
            e.radius = M_PI;
        } else {
            // Half the arc, and room for the geodesic's departure from it.
            e.mid = unit(sum);
            e.radius = angle(e.u, e.v) * (0.5 + 2.0 * f) + 1e-12;
        }
        shape.edges.push_back(e);
    }

    void path(const QVector<QPointF>& pts)
    {
        if (pts.isEmpty())
            return;
        shape.anchors.push_back(pts.front());
        if (pts.size() == 1)
            edge(pts.front(), pts.front());
        for (int i = 1; i < pts.size(); ++i)
            edge(pts[i - 1], pts[i]);
    }

    void polygon(const QVector<Ring>& rings)
    {
        std::vector<RingInfo> infos;
        for (int r = 0; r < rings.size(); ++r) {
            Ring ring = rings[r];
            if (ring.size() > 1 && ring.front() == ring.back())
                ring.removeLast();
            if (ring.isEmpty())
                continue;
            if (r == 0)
                shape.anchors.push_back(ring.front());
            const int first = int(shape.edges.size());
            if (ring.size() == 1)
                edge(ring.front(), ring.front());
            for (int i = 0; i < ring.size() && ring.size() > 1; ++i)
                edge(ring[i], ring[(i + 1) % ring.size()]);
            const int last = int(shape.edges.size());
            // A ring encloses nothing without three corners.
            auto firstSide = std::find_if(shape.edges.begin() + first, shape.edges.end(),
                                          [](const Edge& e) { return !e.isPoint(); });
            if (ring.size() < 3 || firstSide == shape.edges.end()) {
                if (r == 0)
                    return;
                continue;
            }
            const Vec3 left = unit(cross(firstSide->u, firstSide->v));
            const Vec3 mid = unit(firstSide->u + firstSide->v);
            const bool insideIsLeft = leftArea(ring) <= 2 * M_PI;
            // Just off the first edge, on the side the ring encloses.
            const Vec3 reference = unit(mid + left * (insideIsLeft ? 1e-9 : -1e-9));
            const Chunk around = chunk(first, last);
            infos.push_back({first, last, insideIsLeft, reference, around.centre, around.radius});
        }
        if (!infos.empty())
            shape.polygons.push_back(std::move(infos));
    }

    void add(const Geometry& g)
    {
        switch (g.type()) {
        case GeometryType::Point:
            if (!g.isEmpty())
                path({static_cast<const Point&>(g).point()});
            break;
        case GeometryType::MultiPoint:
            for (const QPointF& p : static_cast<const MultiPoint&>(g).points())
                path({p});
            break;
        case GeometryType::LineString:
            path(static_cast<const LineString&>(g).points());
            break;
        case GeometryType::MultiLineString:
            for (const QVector<QPointF>& line : static_cast<const MultiLineString&>(g).lines())
                path(line);
            break;
        case GeometryType::Polygon:
            polygon(static_cast<const Polygon&>(g).rings());
            break;
        case GeometryType::MultiPolygon:
            for (const QVector<Ring>& rings : static_cast<const MultiPolygon&>(g).polygons())
                polygon(rings);
            break;
        case GeometryType::Collection:
            for (const std::shared_ptr<Geometry>& member : static_cast<const GeometryCollection&>(g).members()) {
                if (member)
                    add(*linearized(member));
            }
            break;
        default:
            add(*linearized(std::shared_ptr<const Geometry>(g.clone())));
            break;
        }
    }

    Chunk chunk(int first, int last) const
    {
        Vec3 sum{0, 0, 0};
        for (int i = first; i < last; ++i)
            sum = sum + shape.edges[i].mid;
        Chunk c{unit(sum), 0.0, first, last};
        if (norm(sum) < 1e-12) {
            c.radius = M_PI;
            return c;
        }
        for (int i = first; i < last; ++i)
            c.radius = std::max(c.radius, angle(c.centre, shape.edges[i].mid) + shape.edges[i].radius);
        return c;
    }

    double f;
    Shape shape;
};

} // namespace

struct GeodesicNearest::Impl {
    const GeodesicNearest& self;
    double f;
    double metresPerRadian;   // a lower bound of the surface distance per proxy angle

    // The point of edge e closest to p.
    struct Near {
        double distance;
        QPointF at;
        bool inside;     // strictly between the ends
        double side;     // sin of the turn from the edge to p: < 0 on the left
    };

    Near nearestOn(const Edge& e, const QPointF& p) const
    {
        const GeographicLib::Geodesic& g = self.geodesic;
        double d = 0.0, azi1 = 0.0, azi2 = 0.0;
        if (e.isPoint()) {
            g.Inverse(e.from.y(), e.from.x(), p.y(), p.x(), d);
            return {d, e.from, false, 0.0};
        }
        const GeographicLib::GeodesicLine line = g.InverseLine(e.from.y(), e.from.x(), e.to.y(), e.to.x());
        const double length = line.Distance();
        // Start at the foot of the perpendicular on the proxy sphere.
        const Vec3 n = unit(cross(e.u, e.v));
        const Vec3 q = onProxy(p, f);
        const Vec3 foot = unit(q - n * dot(q, n));
        const double along = std::atan2(dot(cross(e.u, foot), n), dot(e.u, foot));
        const double arc = angle(e.u, e.v);
        double s = arc > 0.0 ? std::clamp(along / arc, 0.0, 1.0) * length : 0.0;
        const double radius = self.surface.a;
        double lat = 0.0, lon = 0.0, azi = 0.0;
        for (int i = 0; i < 50; ++i) {
            line.Position(s, lat, lon, azi);
            g.Inverse(lat, lon, p.y(), p.x(), d, azi1, azi2);
            if (d == 0.0)
                break;
            // On a sphere the foot lies atan(tan(d) cos(turn)) ahead.
            const double turn = (azi1 - azi) * toRad;
            const double step = radius * std::atan2(std::cos(turn) * std::sin(d / radius), std::cos(d / radius));
            const double next = std::clamp(s + step, 0.0, length);
            const bool done = std::abs(next - s) < 1e-7;
            s = next;
            if (done)
                break;
        }
        line.Position(s, lat, lon, azi);
        g.Inverse(lat, lon, p.y(), p.x(), d, azi1, azi2);
        Near best{d, QPointF(lon, lat), s > 0.0 && s < length, std::sin((azi1 - azi) * toRad)};
        // The ends, should the search have stopped short of one.
        for (const QPointF& end : {e.from, e.to}) {
            double de = 0.0;
            g.Inverse(end.y(), end.x(), p.y(), p.x(), de);
            if (de < best.distance)
                best = {de, end, false, 0.0};
        }
        return best;
    }

    // Where two geodesic edges cross, if they do: the crossing of the proxy
    // circles refined in gnomonic projections centred on it, where both
    // geodesics are straight once the centre lies on both.
    bool crossing(const Edge& a, const Edge& b, QPointF& at) const
    {
        const Vec3 na = cross(a.u, a.v), nb = cross(b.u, b.v);
        Vec3 x = cross(na, nb);
        if (norm(x) < 1e-15 * norm(na) * norm(nb))
            return false;   // one circle: no single crossing
        if (dot(x, a.u + a.v) < 0.0)
            x = x * -1.0;
        const bool proxy = arcsCross(a.u, a.v, b.u, b.v);
        if (f == 0.0) {   // the proxy is the sphere itself
            at = fromProxy(x, f);
            return proxy;
        }
        const GeographicLib::Gnomonic gnomonic(self.geodesic);
        QPointF centre = fromProxy(x, f);
        double t = 0.0, s = 0.0;
        for (int i = 0; i < 20; ++i) {
            QPointF pts[4];
            const QPointF* ends[4] = {&a.from, &a.to, &b.from, &b.to};
            for (int k = 0; k < 4; ++k) {
                double px = 0.0, py = 0.0;
                gnomonic.Forward(centre.y(), centre.x(), ends[k]->y(), ends[k]->x(), px, py);
                if (!std::isfinite(px) || !std::isfinite(py)) {   // beyond a quarter turn
                    at = fromProxy(x, f);
                    return proxy;
                }
                pts[k] = QPointF(px, py);
            }
            const QPointF da = pts[1] - pts[0], db = pts[3] - pts[2], w = pts[2] - pts[0];
            const double det = da.x() * db.y() - da.y() * db.x();
            if (det == 0.0)
                return false;
            t = (w.x() * db.y() - w.y() * db.x()) / det;
            s = (w.x() * da.y() - w.y() * da.x()) / det;
            const QPointF hit = pts[0] + t * da;
            double lat = 0.0, lon = 0.0;
            gnomonic.Reverse(centre.y(), centre.x(), hit.x(), hit.y(), lat, lon);
            const bool done = std::hypot(hit.x(), hit.y()) < 1e-9;
            centre = QPointF(lon, lat);
            if (done)
                break;
        }
        at = centre;
        constexpr double slack = 1e-12;
        return t >= -slack && t <= 1.0 + slack && s >= -slack && s <= 1.0 + slack;
    }

    // The closest pair of two edges, when closer than `bound`.
    Closest edgePair(const Edge& a, const Edge& b, double bound) const
    {
        QPointF at;
        // Edges whose balls are apart cannot cross.
        if (!a.isPoint() && !b.isPoint() && lowerBound(a.mid, a.radius, b.mid, b.radius) == 0.0 && crossing(a, b, at))
            return {0.0, at, at};
        Closest best{bound, {}, {}};
        auto consider = [&](const QPointF& p, const Edge& e, bool pOnA) {
            if (lowerBound(onProxy(p, f), 0.0, e.mid, e.radius) >= best.distance)
                return;
            const Near n = nearestOn(e, p);
            if (n.distance < best.distance)
                best = pOnA ? Closest{n.distance, p, n.at} : Closest{n.distance, n.at, p};
        };
        consider(a.from, b, true);
        if (!a.isPoint())
            consider(a.to, b, true);
        consider(b.from, a, false);
        if (!b.isPoint())
            consider(b.to, a, false);
        return best;
    }

    double lowerBound(const Vec3& c1, double r1, const Vec3& c2, double r2) const
    {
        return std::max(0.0, angle(c1, c2) - r1 - r2) * metresPerRadian;
    }

    // Inside a ring by the proxy: the arc from the ring's reference point
    // crosses its edges an even number of times.
    bool insideRing(const Shape& shape, const RingInfo& ring, const Vec3& p) const
    {
        int crossings = 0;
        for (int i = ring.first; i < ring.last; ++i) {
            const Edge& e = shape.edges[i];
            if (!e.isPoint() && arcsCross(ring.reference, p, e.u, e.v))
                ++crossings;
        }
        return crossings % 2 == 0;
    }

    // The exact side of p for the ring edge nearest to it when p is so close
    // to the ring that the proxy could be wrong; the proxy otherwise.
    bool insideRingExactly(const Shape& shape, const RingInfo& ring, const QPointF& p) const
    {
        const Vec3 q = onProxy(p, f);
        const bool byProxy = insideRing(shape, ring, q);
        if (f == 0.0)
            return byProxy;
        double longest = 0.0;
        for (int i = ring.first; i < ring.last; ++i)
            longest = std::max(longest, angle(shape.edges[i].u, shape.edges[i].v));
        // The proxy arcs stray from the geodesics by less than f times their length.
        double limit = 4.0 * f * longest * self.surface.a;
        Near nearest{infinity, {}, false, 0.0};
        for (int i = ring.first; i < ring.last; ++i) {
            const Edge& e = shape.edges[i];
            if (lowerBound(e.mid, e.radius, q, 0.0) >= std::min(limit, nearest.distance))
                continue;
            const Near n = nearestOn(e, p);
            if (n.distance < nearest.distance)
                nearest = n;
        }
        if (nearest.distance >= limit || !nearest.inside)
            return byProxy;
        return (nearest.side < 0.0) == ring.insideIsLeft;
    }

    bool insidePolygon(const Shape& shape, const std::vector<RingInfo>& rings, const QPointF& p) const
    {
        // A ring within less than a hemisphere encloses no point beyond it
        // (the smaller side is the one within), up to the geodesics' departure.
        const RingInfo& outer = rings.front();
        if (outer.radius < M_PI / 2 && angle(outer.centre, onProxy(p, f)) > outer.radius * (1.0 + 4.0 * f) + 1e-9)
            return false;
        if (!insideRingExactly(shape, rings.front(), p))
            return false;
        for (std::size_t i = 1; i < rings.size(); ++i) {
            if (insideRingExactly(shape, rings[i], p))
                return false;
        }
        return true;
    }

    // A part of `inner` inside a polygon of `outer`.
    bool holds(const Shape& outer, const Shape& inner, QPointF& at) const
    {
        for (const std::vector<RingInfo>& polygon : outer.polygons) {
            for (const QPointF& p : inner.anchors) {
                if (insidePolygon(outer, polygon, p)) {
                    at = p;
                    return true;
                }
            }
        }
        return false;
    }

    Closest closest(const Shape& a, const Shape& b) const
    {
        QPointF at;
        if (holds(a, b, at) || holds(b, a, at))
            return {0.0, at, at};
        // Pairs of chunks nearest first; edges within them while they can
        // still beat the best pair.
        std::vector<std::tuple<double, int, int>> order;
        order.reserve(a.chunks.size() * b.chunks.size());
        for (int i = 0; i < int(a.chunks.size()); ++i) {
            for (int j = 0; j < int(b.chunks.size()); ++j) {
                const Chunk& ca = a.chunks[i];
                const Chunk& cb = b.chunks[j];
                order.emplace_back(lowerBound(ca.centre, ca.radius, cb.centre, cb.radius), i, j);
            }
        }
        std::sort(order.begin(), order.end());
        // A first bound from two real points: the nearest ends of the
        // nearest chunks.
        Closest best{infinity, {}, {}};
        if (!order.empty()) {
            const Chunk& ca = a.chunks[std::get<1>(order.front())];
            const Chunk& cb = b.chunks[std::get<2>(order.front())];
            double nearest = infinity;
            for (int ea = ca.first; ea < ca.last; ++ea) {
                for (int eb = cb.first; eb < cb.last; ++eb) {
                    const double d = angle(a.edges[ea].u, b.edges[eb].u);
                    if (d < nearest) {
                        nearest = d;
                        best.a = a.edges[ea].from;
                        best.b = b.edges[eb].from;
                    }
                }
            }
            self.geodesic.Inverse(best.a.y(), best.a.x(), best.b.y(), best.b.x(), best.distance);
        }
        for (const auto& [bound, i, j] : order) {
            if (bound >= best.distance)
                break;
            const Chunk& ca = a.chunks[i];
            const Chunk& cb = b.chunks[j];
            for (int ea = ca.first; ea < ca.last; ++ea) {
                const Edge& e1 = a.edges[ea];
                if (lowerBound(e1.mid, e1.radius, cb.centre, cb.radius) >= best.distance)
                    continue;
                for (int eb = cb.first; eb < cb.last; ++eb) {
                    const Edge& e2 = b.edges[eb];
                    if (lowerBound(e1.mid, e1.radius, e2.mid, e2.radius) >= best.distance)
                        continue;
                    const Closest c = edgePair(e1, e2, best.distance);
                    if (c.distance < best.distance) {
                        best = c;
                        if (best.distance == 0.0)
                            return best;
                    }
                }
            }
        }
        return best;
    }
};

GeodesicNearest::GeodesicNearest(const Ellipsoid& surface) : surface(surface), geodesic(surface.a, surface.f) {}

GeodesicNearest::Closest GeodesicNearest::closest(const Geometry& a, const Geometry& b) const
{
    // A geodesic is at least b * sigma long, sigma its arc on the sphere of
    // reduced latitudes; the proxy's longitudes shorten that arc by less
    // than 2 f of it.
    const double f = surface.f;
    const Impl impl{*this, f, surface.a * (1.0 - f) * (1.0 - 2.0 * f)};
    const Shape sa = ShapeBuilder(f).build(a);
    const Shape sb = ShapeBuilder(f).build(b);
    return impl.closest(sa, sb);
}

} // namespace tessera::geometry
