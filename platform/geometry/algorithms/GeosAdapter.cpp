#include "platform/geometry/algorithms/GeosAdapter.h"

#include <QLoggingCategory>
#include <algorithm>
#include <cmath>
#include <deque>
#include <stdexcept>
#include <string>

Q_LOGGING_CATEGORY(lcGeos, "tessera.geometry.geos")

namespace tessera::geometry {

namespace {

static_assert(sizeof(QPointF) == 2 * sizeof(double), "QPointF is two doubles");

// GEOS (3.11) dereferences null in several algorithms when a coordinate is
// NaN (an interior point of NaN points, say): such input never reaches it.
void requireFinite(const QPointF& p)
{
    if (!std::isfinite(p.x()) || !std::isfinite(p.y()))
        throw std::runtime_error("A coordinate is not a finite number");
}

// One GEOS context per thread; its message handler keeps the last error so
// that exceptions can carry GEOS's own explanation.
class ThreadContext {
public:
    ThreadContext() : handle(GEOS_init_r())
    {
        GEOSContext_setErrorMessageHandler_r(handle, &ThreadContext::onMessage, &lastError);
        GEOSContext_setNoticeMessageHandler_r(handle, &ThreadContext::onNotice, nullptr);
    }
    ~ThreadContext()
    {
        recent.clear();   // GEOS objects go before their context
        GEOS_finish_r(handle);
    }
    ThreadContext(const ThreadContext&) = delete;
    ThreadContext& operator=(const ThreadContext&) = delete;

    // A geometry converted lately, kept while its source lives.
    struct Recent {
        std::weak_ptr<const Geometry> source;
        const Geometry* key = nullptr;
        GeosGeometry geometry;
        GEOSPreparedGeometry* prepared = nullptr;
        GEOSContextHandle_t context = nullptr;

        Recent() = default;
        Recent(Recent&& other) noexcept { *this = std::move(other); }
        Recent& operator=(Recent&& other) noexcept
        {
            std::swap(source, other.source);
            std::swap(key, other.key);
            std::swap(geometry, other.geometry);
            std::swap(prepared, other.prepared);
            std::swap(context, other.context);
            return *this;
        }
        ~Recent()
        {
            if (prepared)
                GEOSPreparedGeom_destroy_r(context, prepared);
        }
    };
    // A join's inner side cycles through the candidates of each outer row:
    // enough entries that the shapes with large boxes, met by most rows, stay.
    static constexpr std::size_t recentLimit = 16;

    GEOSContextHandle_t handle;
    std::string lastError;
    std::deque<Recent> recent;   // most recently used first

private:
    static void onMessage(const char* message, void* userdata)
    {
        *static_cast<std::string*>(userdata) = message ? message : "";
    }
    static void onNotice(const char* message, void*)
    {
        qCDebug(lcGeos) << "GEOS:" << message;
    }
};

ThreadContext& threadContext()
{
    thread_local ThreadContext context;
    return context;
}

} // namespace

GeosAdapter::GeosAdapter() : ctx(threadContext().handle) {}

GeosAdapter::Remembered GeosAdapter::remember(const ConstGeometryPtr& g, bool prepareAtOnce) const
{
    ThreadContext& context = threadContext();
    auto& recent = context.recent;
    for (auto it = recent.begin(); it != recent.end(); ++it) {
        if (it->key != g.get() || it->source.expired())
            continue;
        if (it != recent.begin()) {
            ThreadContext::Recent hit = std::move(*it);
            recent.erase(it);
            recent.push_front(std::move(hit));
        }
        ThreadContext::Recent& entry = recent.front();
        // Seen before: worth the index of a prepared geometry.
        if (!entry.prepared) {
            entry.prepared = const_cast<GEOSPreparedGeometry*>(GEOSPrepare_r(ctx, entry.geometry.get()));
            if (!entry.prepared)
                throw std::runtime_error("GEOS operation failed: " + lastError());
        }
        return {entry.geometry.get(), entry.prepared};
    }

    // First sight: convert, remember, and let the caller use the plain form.
    // Entries whose source is gone are of no further use.
    recent.erase(std::remove_if(recent.begin(), recent.end(), [](const ThreadContext::Recent& r) { return r.source.expired(); }),
                 recent.end());
    ThreadContext::Recent entry;
    entry.source = g;
    entry.key = g.get();
    entry.geometry = toGeos(g);
    entry.context = ctx;
    recent.push_front(std::move(entry));
    if (recent.size() > ThreadContext::recentLimit)
        recent.pop_back();
    ThreadContext::Recent& added = recent.front();
    if (prepareAtOnce) {
        added.prepared = const_cast<GEOSPreparedGeometry*>(GEOSPrepare_r(ctx, added.geometry.get()));
        if (!added.prepared)
            throw std::runtime_error("GEOS operation failed: " + lastError());
    }
    return {added.geometry.get(), added.prepared};
}

std::string GeosAdapter::lastError() const
{
    return threadContext().lastError;
}

GeosGeometry GeosAdapter::own(GEOSGeometry* g) const
{
    if (!g)
        throw std::runtime_error("GEOS operation failed: " + lastError());
    return GeosGeometry(g, GeosGeometryDeleter{ctx});
}

bool GeosAdapter::check(char predicateResult) const
{
    if (predicateResult == 2)
        throw std::runtime_error("GEOS predicate failed: " + lastError());
    return predicateResult == 1;
}

std::pair<QPointF, QPointF> GeosAdapter::nearestPoints(const GEOSGeometry* a, const GEOSGeometry* b) const
{
    if (GEOSisEmpty_r(ctx, a) == 1 || GEOSisEmpty_r(ctx, b) == 1)
        throw std::runtime_error("An empty geometry has no nearest points");
    const GeosCoordSequence seq(GEOSNearestPoints_r(ctx, a, b), GeosCoordSequenceDeleter{ctx});
    double x1 = 0, y1 = 0, x2 = 0, y2 = 0;
    if (!seq || !GEOSCoordSeq_getXY_r(ctx, seq.get(), 0, &x1, &y1) || !GEOSCoordSeq_getXY_r(ctx, seq.get(), 1, &x2, &y2))
        throw std::runtime_error("GEOS found no nearest points: " + lastError());
    return {QPointF(x1, y1), QPointF(x2, y2)};
}

QPointF GeosAdapter::centroid(const GEOSGeometry* g) const
{
    const GeosGeometry c = own(GEOSGetCentroid_r(ctx, g));
    double x = 0.0, y = 0.0;
    if (GEOSisEmpty_r(ctx, c.get()) == 1 || !GEOSGeomGetX_r(ctx, c.get(), &x) || !GEOSGeomGetY_r(ctx, c.get(), &y))
        throw std::runtime_error("An empty geometry has no centroid");
    return {x, y};
}

GeosGeometry GeosAdapter::toGeos(const ConstGeometryPtr& g) const
{
    if (!g)
        throw std::invalid_argument("No geometry");
    const ConstGeometryPtr linear = linearized(g);
    return own(build(*linear));
}

GEOSCoordSequence* GeosAdapter::sequence(const QVector<QPointF>& pts) const
{
    for (const QPointF& p : pts)
        requireFinite(p);
    GEOSCoordSequence* seq = GEOSCoordSeq_copyFromBuffer_r(
        ctx, reinterpret_cast<const double*>(pts.constData()), static_cast<unsigned>(pts.size()), 0, 0);
    if (!seq)
        throw std::runtime_error("GEOS cannot take the coordinates: " + lastError());
    return seq;
}

QVector<QPointF> GeosAdapter::points(const GEOSCoordSequence* seq) const
{
    unsigned size = 0;
    if (!seq || !GEOSCoordSeq_getSize_r(ctx, seq, &size))
        throw std::runtime_error("GEOS returned no coordinates: " + lastError());
    QVector<QPointF> pts(static_cast<int>(size));
    if (size && !GEOSCoordSeq_copyToBuffer_r(ctx, seq, reinterpret_cast<double*>(pts.data()), 0, 0))
        throw std::runtime_error("GEOS returned no coordinates: " + lastError());
    return pts;
}

GEOSGeometry* GeosAdapter::lineString(const QVector<QPointF>& pts) const
{
    if (pts.isEmpty())
        return GEOSGeom_createEmptyLineString_r(ctx);
    if (pts.size() == 1)   // a one-point line is a zero-length line to GEOS
        return GEOSGeom_createLineString_r(ctx, sequence({pts.front(), pts.front()}));
    return GEOSGeom_createLineString_r(ctx, sequence(pts));
}

GEOSGeometry* GeosAdapter::linearRing(const QVector<QPointF>& pts) const
{
    QVector<QPointF> ring = pts;
    if (ring.front() != ring.back())
        ring.append(ring.front());
    while (ring.size() < 4)   // degenerate rings stay degenerate but readable
        ring.append(ring.front());
    return GEOSGeom_createLinearRing_r(ctx, sequence(ring));
}

GEOSGeometry* GeosAdapter::polygon(const QVector<Ring>& rings) const
{
    if (rings.isEmpty() || rings.front().isEmpty())
        return GEOSGeom_createEmptyPolygon_r(ctx);
    GeosGeometry shell = own(linearRing(rings.front()));
    std::vector<GeosGeometry> holes;
    for (int i = 1; i < rings.size(); ++i) {
        if (!rings[i].isEmpty())
            holes.push_back(own(linearRing(rings[i])));
    }
    std::vector<GEOSGeometry*> raw;
    for (GeosGeometry& h : holes)
        raw.push_back(h.get());
    GEOSGeometry* result = GEOSGeom_createPolygon_r(ctx, shell.get(), raw.data(), static_cast<unsigned>(raw.size()));
    if (result) {   // the polygon owns its rings now
        shell.release();
        for (GeosGeometry& h : holes)
            h.release();
    }
    return result;
}

GEOSGeometry* GeosAdapter::collection(int type, std::vector<GEOSGeometry*>& parts) const
{
    GEOSGeometry* result = GEOSGeom_createCollection_r(ctx, type, parts.data(), static_cast<unsigned>(parts.size()));
    if (!result) {
        for (GEOSGeometry* p : parts)
            GEOSGeom_destroy_r(ctx, p);
    }
    parts.clear();
    return result;
}

GEOSGeometry* GeosAdapter::build(const Geometry& g) const
{
    std::vector<GEOSGeometry*> parts;
    // Parts not yet handed to a collection go when a later part throws.
    struct PartsGuard {
        GEOSContextHandle_t context;
        std::vector<GEOSGeometry*>& parts;
        ~PartsGuard()
        {
            for (GEOSGeometry* p : parts)
                GEOSGeom_destroy_r(context, p);
        }
    } guard{ctx, parts};
    auto add = [&](GEOSGeometry* part) {
        if (!part)
            throw std::runtime_error("GEOS cannot build the geometry: " + lastError());
        parts.push_back(part);
    };
    switch (g.type()) {
    case GeometryType::Point: {
        const auto& p = static_cast<const Point&>(g);
        if (!p.isEmpty())
            requireFinite(p.point());
        return p.isEmpty() ? GEOSGeom_createEmptyPoint_r(ctx)
                           : GEOSGeom_createPointFromXY_r(ctx, p.point().x(), p.point().y());
    }
    case GeometryType::LineString:
        return lineString(static_cast<const LineString&>(g).points());
    case GeometryType::Polygon:
        return polygon(static_cast<const Polygon&>(g).rings());
    case GeometryType::MultiPoint:
        for (const QPointF& p : static_cast<const MultiPoint&>(g).points()) {
            requireFinite(p);
            add(GEOSGeom_createPointFromXY_r(ctx, p.x(), p.y()));
        }
        return collection(GEOS_MULTIPOINT, parts);
    // Empty parts are left out of multi-geometries and collections: GEOS
    // (3.11) underflows on a line of no points inside a collection, and an
    // empty part adds nothing to any measure or predicate.
    case GeometryType::MultiLineString:
        for (const QVector<QPointF>& line : static_cast<const MultiLineString&>(g).lines()) {
            if (!line.isEmpty())
                add(lineString(line));
        }
        return collection(GEOS_MULTILINESTRING, parts);
    case GeometryType::MultiPolygon:
        for (const QVector<Ring>& rings : static_cast<const MultiPolygon&>(g).polygons()) {
            if (!rings.isEmpty() && !rings.front().isEmpty())
                add(polygon(rings));
        }
        return collection(GEOS_MULTIPOLYGON, parts);
    case GeometryType::Collection:
        for (const std::shared_ptr<Geometry>& member : static_cast<const GeometryCollection&>(g).members()) {
            if (!member || member->isEmpty())
                continue;
            add(build(*linearized(member)));
        }
        return collection(GEOS_GEOMETRYCOLLECTION, parts);
    default:
        break;
    }
    throw std::runtime_error("Geometry kind not supported by GEOS: " + g.className().toStdString());
}

GeometryPtr GeosAdapter::fromGeos(const GEOSGeometry* g) const
{
    if (!g)
        return {};
    const int type = GEOSGeomTypeId_r(ctx, g);
    auto ringsOf = [this](const GEOSGeometry* poly) {
        QVector<Ring> rings;
        if (GEOSisEmpty_r(ctx, poly) == 1)
            return rings;
        rings.append(points(GEOSGeom_getCoordSeq_r(ctx, GEOSGetExteriorRing_r(ctx, poly))));
        const int holes = GEOSGetNumInteriorRings_r(ctx, poly);
        for (int i = 0; i < holes; ++i)
            rings.append(points(GEOSGeom_getCoordSeq_r(ctx, GEOSGetInteriorRingN_r(ctx, poly, i))));
        return rings;
    };
    const int count = GEOSGetNumGeometries_r(ctx, g);
    switch (type) {
    case GEOS_POINT: {
        if (GEOSisEmpty_r(ctx, g) == 1)
            return std::make_shared<Point>();
        double x = 0, y = 0;
        GEOSGeomGetX_r(ctx, g, &x);
        GEOSGeomGetY_r(ctx, g, &y);
        return std::make_shared<Point>(QPointF(x, y));
    }
    case GEOS_LINESTRING:
    case GEOS_LINEARRING:
        return std::make_shared<LineString>(points(GEOSGeom_getCoordSeq_r(ctx, g)));
    case GEOS_POLYGON:
        return std::make_shared<Polygon>(ringsOf(g));
    case GEOS_MULTIPOINT: {
        QVector<QPointF> pts;
        for (int i = 0; i < count; ++i) {
            const GEOSGeometry* p = GEOSGetGeometryN_r(ctx, g, i);
            double x = 0, y = 0;
            if (GEOSisEmpty_r(ctx, p) != 1 && GEOSGeomGetX_r(ctx, p, &x) && GEOSGeomGetY_r(ctx, p, &y))
                pts.append(QPointF(x, y));
        }
        return std::make_shared<MultiPoint>(pts);
    }
    case GEOS_MULTILINESTRING: {
        QVector<QVector<QPointF>> lines;
        for (int i = 0; i < count; ++i)
            lines.append(points(GEOSGeom_getCoordSeq_r(ctx, GEOSGetGeometryN_r(ctx, g, i))));
        return std::make_shared<MultiLineString>(lines);
    }
    case GEOS_MULTIPOLYGON: {
        QVector<QVector<Ring>> polygons;
        for (int i = 0; i < count; ++i)
            polygons.append(ringsOf(GEOSGetGeometryN_r(ctx, g, i)));
        return std::make_shared<MultiPolygon>(polygons);
    }
    case GEOS_GEOMETRYCOLLECTION: {
        std::vector<std::shared_ptr<Geometry>> members;
        for (int i = 0; i < count; ++i) {
            if (GeometryPtr member = fromGeos(GEOSGetGeometryN_r(ctx, g, i)))
                members.push_back(std::move(member));
        }
        return std::make_shared<GeometryCollection>(std::move(members));
    }
    default:
        break;
    }
    throw std::runtime_error("GEOS geometry kind not supported: " + std::to_string(type));
}

} // namespace tessera::geometry
