#include "platform/geometry/algorithms/GeodesicNearest.h"

#include <GeographicLib/GeodesicLine.hpp>
#include <algorithm>
#include <cmath>
#include <functional>
#include <stdexcept>

namespace tessera::geometry {

namespace {

using Segment = GeodesicNearest::Segment;

// Every segment of a linear geometry; points are segments of no length.
void forEachSegment(const Geometry& g, const std::function<void(const Segment&)>& f)
{
    auto path = [&f](const QVector<QPointF>& pts) {
        if (pts.size() == 1)
            f({pts.front(), pts.front()});
        for (int i = 1; i < pts.size(); ++i)
            f({pts[i - 1], pts[i]});
    };
    auto ring = [&path, &f](const Ring& r) {
        path(r);
        if (r.size() > 2 && r.front() != r.back())
            f({r.back(), r.front()});
    };
    switch (g.type()) {
    case GeometryType::Point:
        if (!g.isEmpty())
            f({static_cast<const Point&>(g).point(), static_cast<const Point&>(g).point()});
        break;
    case GeometryType::MultiPoint:
        for (const QPointF& p : static_cast<const MultiPoint&>(g).points())
            f({p, p});
        break;
    case GeometryType::LineString:
        path(static_cast<const LineString&>(g).points());
        break;
    case GeometryType::MultiLineString:
        for (const QVector<QPointF>& line : static_cast<const MultiLineString&>(g).lines())
            path(line);
        break;
    case GeometryType::Polygon:
        for (const Ring& r : static_cast<const Polygon&>(g).rings())
            ring(r);
        break;
    case GeometryType::MultiPolygon:
        for (const QVector<Ring>& rings : static_cast<const MultiPolygon&>(g).polygons()) {
            for (const Ring& r : rings)
                ring(r);
        }
        break;
    case GeometryType::Collection:
        for (const std::shared_ptr<Geometry>& member : static_cast<const GeometryCollection&>(g).members()) {
            if (member)
                forEachSegment(*linearized(member), f);
        }
        break;
    default:
        forEachSegment(*linearized(std::shared_ptr<const Geometry>(g.clone())), f);
        break;
    }
}

double planarDistance(const Segment& s, const QPointF& p)
{
    const QPointF d = s.to - s.from;
    const double length2 = QPointF::dotProduct(d, d);
    const double t = length2 > 0.0 ? std::clamp(QPointF::dotProduct(p - s.from, d) / length2, 0.0, 1.0) : 0.0;
    const QPointF q = s.from + t * d;
    return std::hypot(p.x() - q.x(), p.y() - q.y());
}

// The segments the seed point lies on (a vertex lies on two); a few at most.
std::vector<Segment> segmentsAt(const Geometry& g, const QPointF& seed)
{
    constexpr std::size_t most = 4;
    const double tolerance = 1e-9 * std::max({1.0, std::abs(seed.x()), std::abs(seed.y())});
    std::vector<Segment> found;
    forEachSegment(g, [&](const Segment& s) {
        if (found.size() < most && planarDistance(s, seed) <= tolerance)
            found.push_back(s);
    });
    return found;
}

} // namespace

GeodesicNearest::GeodesicNearest(const EarthModel& model, const Ellipsoid& surface)
    : model(model), geodesic(surface.a, surface.f)
{
}

QPointF GeodesicNearest::closestOn(const Segment& s, const QPointF& p) const
{
    if (s.from == s.to)
        return s.from;
    const GeographicLib::GeodesicLine line = geodesic.InverseLine(s.from.y(), s.from.x(), s.to.y(), s.to.x());
    const double total = line.Distance();
    auto at = [&line](double distance) {
        double lat = 0.0, lon = 0.0;
        line.Position(distance, lat, lon);
        return QPointF(lon, lat);
    };
    auto cost = [&](double distance) { return model.distance(p, at(distance)); };
    // Golden-section search: the distance from a point to the points of a
    // geodesic shorter than half the earth has a single minimum.
    constexpr double ratio = 0.6180339887498949;
    double lo = 0.0, hi = total;
    double x1 = hi - ratio * (hi - lo), x2 = lo + ratio * (hi - lo);
    double f1 = cost(x1), f2 = cost(x2);
    for (int i = 0; i < 48 && hi - lo > 1e-4; ++i) {
        if (f1 < f2) {
            hi = x2;
            x2 = x1;
            f2 = f1;
            x1 = hi - ratio * (hi - lo);
            f1 = cost(x1);
        } else {
            lo = x1;
            x1 = x2;
            f1 = f2;
            x2 = lo + ratio * (hi - lo);
            f2 = cost(x2);
        }
    }
    // The ends are candidates too: the minimum may sit on one of them.
    const double middle = (lo + hi) / 2;
    double best = middle;
    double bestCost = cost(middle);
    for (const double end : {0.0, total}) {
        const double c = cost(end);
        if (c < bestCost) {
            best = end;
            bestCost = c;
        }
    }
    return best == 0.0 ? s.from : best == total ? s.to : at(best);
}

double GeodesicNearest::distance(const Geometry& a, const Geometry& b, const QPointF& seedA, const QPointF& seedB) const
{
    if (seedA == seedB)
        return 0.0;
    double best = model.distance(seedA, seedB);
    for (const Segment& sa : segmentsAt(a, seedA)) {
        for (const Segment& sb : segmentsAt(b, seedB)) {
            try {
                QPointF pa = seedA, pb = seedB;
                for (int round = 0; round < 3; ++round) {
                    pb = closestOn(sb, pa);
                    pa = closestOn(sa, pb);
                }
                best = std::min(best, model.distance(pa, pb));
            } catch (const std::runtime_error&) {
                // A model that cannot measure some pair on the way (Vincenty
                // near antipodes) keeps the distance it could measure.
            }
        }
    }
    return best;
}

} // namespace tessera::geometry
