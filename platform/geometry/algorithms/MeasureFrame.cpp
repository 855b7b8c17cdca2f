#include "platform/geometry/algorithms/MeasureFrame.h"

#include "platform/cs/CoordSystem.h"
#include "platform/geometry/algorithms/EarthMeasureNotice.h"

#include <proj.h>
#include <algorithm>
#include <cmath>
#include <memory>
#include <stdexcept>
#include <vector>

namespace tessera::geometry {

namespace {

struct ProjContextDeleter {
    void operator()(PJ_CONTEXT* c) const { proj_context_destroy(c); }
};
struct ProjDeleter {
    void operator()(PJ* p) const { proj_destroy(p); }
};

} // namespace

CoordSystemPtr geographicBase(const cs::CoordSystem& projected)
{
    std::unique_ptr<PJ_CONTEXT, ProjContextDeleter> ctx(proj_context_create());
    const QByteArray wkt = projected.wkt().toUtf8();
    std::unique_ptr<PJ, ProjDeleter> crs(proj_create(ctx.get(), wkt.constData()));
    std::unique_ptr<PJ, ProjDeleter> base(crs ? proj_crs_get_geodetic_crs(ctx.get(), crs.get()) : nullptr);
    const char* baseWkt = base ? proj_as_wkt(ctx.get(), base.get(), PJ_WKT2_2019, nullptr) : nullptr;
    CoordSystemPtr result;
    if (baseWkt)
        result = cs::CoordSysFactory::defaultCoordSysFactory()->createFromTaggedString(QString::fromUtf8(baseWkt));
    if (!result) {
        // Same ellipsoid, no datum shift: what a projection's inverse needs.
        const QString proj = QStringLiteral("+proj=longlat +a=%1 +rf=%2 +no_defs +type=crs")
                                 .arg(projected.semiMajorAxis(), 0, 'g', 17)
                                 .arg(projected.inverseFlattening(), 0, 'g', 17);
        const QString sphere = QStringLiteral("+proj=longlat +R=%1 +no_defs +type=crs")
                                   .arg(projected.semiMajorAxis(), 0, 'g', 17);
        result = cs::CoordSysFactory::defaultCoordSysFactory()->createFromTaggedString(
            projected.inverseFlattening() > 0 ? proj : sphere);
    }
    if (!result || !result->isGeographic())
        throw std::runtime_error("No geographic coordinate system for " + projected.name().toStdString());
    return result;
}

namespace {

// Finding the base of a projection and a new transformation to it costs
// milliseconds, far more than measuring; a query measures many geometries of
// the same system. So each thread remembers the last few bases, keyed by the
// projected system itself (weakly: a system that goes away drops out).
CoordSystemPtr cachedGeographicBase(const CoordSystemPtr& projected)
{
    struct Entry {
        std::weak_ptr<cs::CoordSystem> projected;
        CoordSystemPtr base;
    };
    constexpr std::size_t capacity = 8;
    thread_local std::vector<Entry> entries;
    for (const Entry& e : entries) {
        if (!e.projected.owner_before(projected) && !projected.owner_before(e.projected) && !e.projected.expired())
            return e.base;
    }
    CoordSystemPtr base = geographicBase(*projected);
    entries.erase(std::remove_if(entries.begin(), entries.end(), [](const Entry& e) { return e.projected.expired(); }),
                  entries.end());
    if (entries.size() >= capacity)
        entries.erase(entries.begin());
    entries.push_back({projected, base});
    return base;
}

} // namespace

Ellipsoid ellipsoidOf(const CoordSystemPtr& coordSystem)
{
    if (!coordSystem)
        return Ellipsoid::wgs84();
    const double rf = coordSystem->inverseFlattening();
    return {coordSystem->semiMajorAxis(), rf > 0.0 ? 1.0 / rf : 0.0};
}

MeasureFrame MeasureFrame::planar(const ConstGeometryPtr& g)
{
    MeasureFrame frame;
    frame.geometry = linearized(g);
    const CoordSystemPtr& cs = g->coordSystem();
    if (cs && cs->isGeographic())
        throw std::invalid_argument("Cartesian measures need projected coordinates, not longitude and latitude");
    if (cs && cs->isProjected() && cs->axisUnitFactor() > 0.0)
        frame.unitInMetres = cs->axisUnitFactor();
    frame.ellipsoid = ellipsoidOf(cs);
    return frame;
}

namespace {

// Geodesic formulas give NaN beyond the poles: say so instead.
void requireLatitudes(const MeasureFrame& frame)
{
    const QRectF box = frame.geometry->boundingRect().normalized();
    if (box.top() < -90.0 || box.bottom() > 90.0)
        throw std::invalid_argument("Latitudes must lie between -90 and 90 degrees");
}

} // namespace

MeasureFrame MeasureFrame::geographic(const ConstGeometryPtr& g)
{
    MeasureFrame frame = inDegrees(g);
    requireLatitudes(frame);
    return frame;
}

MeasureFrame MeasureFrame::inDegrees(const ConstGeometryPtr& g)
{
    MeasureFrame frame;
    const CoordSystemPtr& cs = g->coordSystem();
    frame.ellipsoid = ellipsoidOf(cs);
    if (!cs) {
        noteEarthMeasureWithoutCoordSystem();
        frame.geometry = linearized(g);
        return frame;
    }
    if (cs->isProjected()) {
        frame.geometry = linearized(g->transformed(cachedGeographicBase(cs)));
        return frame;
    }
    if (!cs->isGeographic())
        throw std::invalid_argument("The coordinate system is neither geographic nor projected: "
                                    + cs->name().toStdString());
    frame.geometry = linearized(g);
    const double toDegrees = cs->axisUnitFactor() * 180.0 / M_PI;
    if (toDegrees > 0.0 && std::abs(toDegrees - 1.0) > 1e-12) {   // grads, radians, ...
        std::unique_ptr<Geometry> copy = frame.geometry->clone();
        copy->transformPoints([toDegrees](const QPointF& p) { return p * toDegrees; });
        frame.geometry = std::move(copy);
    }
    return frame;
}

} // namespace tessera::geometry
