// Lengths, perimeters, areas and distances in the five models of
// Algorithms.h, on the frames of MeasureFrame and the models of EarthModel.

#include "platform/geometry/Algorithms.h"

#include "platform/cs/CoordSystem.h"
#include "platform/geometry/algorithms/CartesianModel.h"
#include "platform/geometry/algorithms/CoordSystemAlignment.h"
#include "platform/geometry/algorithms/EllipsoidalModel.h"
#include "platform/geometry/algorithms/GeodesicNearest.h"
#include "platform/geometry/algorithms/GeometryParts.h"
#include "platform/geometry/algorithms/GeosAdapter.h"
#include "platform/geometry/algorithms/LambertModel.h"
#include "platform/geometry/algorithms/MeasureFrame.h"
#include "platform/geometry/algorithms/SphericalModel.h"
#include "platform/geometry/algorithms/Units.h"
#include "platform/geometry/algorithms/VincentyModel.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <stdexcept>

namespace tessera::geometry {

namespace {

using core::CalcMode;

bool isGeographic(const ConstGeometryPtr& g)
{
    return g->coordSystem() && g->coordSystem()->isGeographic();
}

void requireGeometry(const ConstGeometryPtr& g)
{
    if (!g)
        throw std::invalid_argument("No geometry");
    if (g->isEmpty())
        throw std::invalid_argument("The geometry is empty");
}

// An empty geometry has no extent: its area, length and perimeter are 0.
bool isNothing(const ConstGeometryPtr& g)
{
    if (!g)
        throw std::invalid_argument("No geometry");
    return g->isEmpty();
}

// 255 picks by the coordinate system; any other value names its model.
CalcMode resolve(CalcMode mode, const ConstGeometryPtr& g)
{
    switch (mode) {
    case CalcMode::Cartesian:
    case CalcMode::Spherical:
    case CalcMode::Ellipsoidal:
    case CalcMode::Lambert:
    case CalcMode::Vincenty:
        return mode;
    case CalcMode::Auto:
        return isGeographic(g) ? CalcMode::Ellipsoidal : CalcMode::Cartesian;
    }
    throw std::invalid_argument("Unknown calculation mode " + std::to_string(static_cast<int>(mode)));
}

MeasureFrame frameFor(CalcMode mode, const ConstGeometryPtr& g)
{
    return mode == CalcMode::Cartesian ? MeasureFrame::planar(g) : MeasureFrame::geographic(g);
}

std::unique_ptr<EarthModel> modelFor(CalcMode mode, const MeasureFrame& frame)
{
    switch (mode) {
    case CalcMode::Cartesian: return std::make_unique<CartesianModel>(frame.unitInMetres);
    case CalcMode::Spherical: return std::make_unique<SphericalModel>(sphereRadius);
    case CalcMode::Ellipsoidal: return std::make_unique<EllipsoidalModel>(frame.ellipsoid);
    case CalcMode::Lambert: return std::make_unique<LambertModel>(frame.ellipsoid);
    case CalcMode::Vincenty: return std::make_unique<VincentyModel>(frame.ellipsoid);
    case CalcMode::Auto: break;
    }
    throw std::logic_error("Calculation mode not resolved");
}

double lengthInMetres(CalcMode mode, const ConstGeometryPtr& g)
{
    requireGeometry(g);
    const MeasureFrame frame = frameFor(mode, g);
    const auto model = modelFor(mode, frame);
    double sum = 0.0;
    GeometryParts parts;
    parts.onLine = [&](const QVector<QPointF>& line) { sum += model->pathLength(line); };
    parts.walk(frame.geometry);
    return sum;
}

double perimeterInMetres(CalcMode mode, const ConstGeometryPtr& g)
{
    requireGeometry(g);
    const MeasureFrame frame = frameFor(mode, g);
    const auto model = modelFor(mode, frame);
    double sum = 0.0;
    GeometryParts parts;
    parts.onPolygon = [&](const QVector<Ring>& rings) {
        for (const Ring& ring : rings) {
            sum += model->pathLength(ring);
            if (ring.size() > 1 && ring.front() != ring.back())   // unclosed ring
                sum += model->distance(ring.back(), ring.front());
        }
    };
    parts.walk(frame.geometry);
    return sum;
}

double areaInMetres(CalcMode mode, const ConstGeometryPtr& g)
{
    requireGeometry(g);
    // Lambert's and Vincenty's formulas are distance formulas: areas on the
    // same ellipsoid come from the geodesic model.
    if (mode == CalcMode::Lambert || mode == CalcMode::Vincenty)
        mode = CalcMode::Ellipsoidal;
    const MeasureFrame frame = frameFor(mode, g);
    const auto model = modelFor(mode, frame);
    double sum = 0.0;
    GeometryParts parts;
    parts.onPolygon = [&](const QVector<Ring>& rings) {
        if (rings.isEmpty())
            return;
        double area = model->ringArea(rings.front());
        for (int i = 1; i < rings.size(); ++i)
            area -= model->ringArea(rings[i]);
        sum += std::max(0.0, area);
    };
    parts.walk(frame.geometry);
    return sum;
}

// Two geometries in one coordinate system and one model, in GEOS as well.
struct FramedPair {
    CalcMode mode;
    MeasureFrame fa, fb;
    GeosAdapter geos;
    GeosGeometry ea, eb;

    FramedPair(CalcMode requested, const ConstGeometryPtr& a, const ConstGeometryPtr& b)
    {
        requireGeometry(a);
        requireGeometry(b);
        const auto [ga, gb] = alignCoordSystemsSymmetrically(a, b, requested == CalcMode::Cartesian);
        mode = resolve(requested, ga);
        fa = frameFor(mode, ga);
        fb = frameFor(mode, gb);
        ea = geos.toGeos(fa.geometry);
        eb = geos.toGeos(fb.geometry);
    }
};

// Two points (the distances between places): one distance in the model,
// the answer of the general way below without its GEOS forms and its search
// of the nearest edges. Null when a or b is not a point.
std::optional<double> pointDistanceInMetres(CalcMode requested, const ConstGeometryPtr& a, const ConstGeometryPtr& b)
{
    requireGeometry(a);
    requireGeometry(b);
    if (a->type() != GeometryType::Point || b->type() != GeometryType::Point)
        return std::nullopt;
    const auto [ga, gb] = alignCoordSystemsSymmetrically(a, b, requested == CalcMode::Cartesian);
    const CalcMode mode = resolve(requested, ga);
    const MeasureFrame fa = frameFor(mode, ga);
    const MeasureFrame fb = frameFor(mode, gb);
    if (fa.geometry->type() != GeometryType::Point || fb.geometry->type() != GeometryType::Point)
        return std::nullopt;
    const QPointF pa = static_cast<const Point&>(*fa.geometry).point();
    const QPointF pb = static_cast<const Point&>(*fb.geometry).point();
    if (mode == CalcMode::Cartesian) {
        const double dx = pb.x() - pa.x();
        const double dy = pb.y() - pa.y();
        return std::sqrt(dx * dx + dy * dy) * fa.unitInMetres;   // as GEOS measures it
    }
    if (pa == pb)
        return 0.0;
    return modelFor(mode, fa)->distance(pa, pb);
}

double minDistanceInMetres(CalcMode requested, const ConstGeometryPtr& a, const ConstGeometryPtr& b)
{
    if (const std::optional<double> d = pointDistanceInMetres(requested, a, b))
        return *d;
    const FramedPair p(requested, a, b);
    const GEOSContextHandle_t handle = p.geos.handle();
    if (p.mode == CalcMode::Cartesian) {
        if (GEOSisEmpty_r(handle, p.ea.get()) == 1 || GEOSisEmpty_r(handle, p.eb.get()) == 1)
            throw std::invalid_argument("No distance to an empty geometry");
        double d = 0.0;
        if (!GEOSDistance_r(handle, p.ea.get(), p.eb.get(), &d))
            throw std::runtime_error("GEOS distance failed: " + p.geos.lastError());
        return d * p.fa.unitInMetres;
    }
    // On the earth: the closest pair on the geodesic edges, measured by the
    // model (Lambert's and Vincenty's formulas on the ellipsoid's pair).
    const Ellipsoid surface = p.mode == CalcMode::Spherical ? Ellipsoid{sphereRadius, 0.0} : p.fa.ellipsoid;
    const GeodesicNearest::Closest c = GeodesicNearest(surface).closest(*p.fa.geometry, *p.fb.geometry);
    if (c.distance == 0.0)
        return 0.0;
    return modelFor(p.mode, p.fa)->distance(c.a, c.b);
}

double centroidDistanceInMetres(CalcMode requested, const ConstGeometryPtr& a, const ConstGeometryPtr& b)
{
    const FramedPair p(requested, a, b);
    return modelFor(p.mode, p.fa)->distance(p.geos.centroid(p.ea.get()), p.geos.centroid(p.eb.get()));
}

} // namespace

// Generic measures --------------------------------------------------------

double area(const ConstGeometryPtr& g, const QString& unit, core::CalcMode mode)
{
    const double factor = units::areaFactor(unit);
    if (isNothing(g))
        return 0.0;
    return areaInMetres(resolve(mode, g), g) / factor;
}

double length(const ConstGeometryPtr& g, const QString& unit, core::CalcMode mode)
{
    const double factor = units::lengthFactor(unit);
    if (isNothing(g))
        return 0.0;
    return lengthInMetres(resolve(mode, g), g) / factor;
}

double perimeter(const ConstGeometryPtr& g, const QString& unit, core::CalcMode mode)
{
    const double factor = units::lengthFactor(unit);
    if (isNothing(g))
        return 0.0;
    return perimeterInMetres(resolve(mode, g), g) / factor;
}

double smallestDistance(const ConstGeometryPtr& a, const ConstGeometryPtr& b, const QString& unit)
{
    const double factor = units::lengthFactor(unit);
    return minDistanceInMetres(CalcMode::Auto, a, b) / factor;
}

double centroidDistance(const ConstGeometryPtr& a, const ConstGeometryPtr& b, const QString& unit)
{
    const double factor = units::lengthFactor(unit);
    return centroidDistanceInMetres(CalcMode::Auto, a, b) / factor;
}

// Model variants ------------------------------------------------------------

double cartesianArea(const ConstGeometryPtr& g, const QString& unit) { return area(g, unit, CalcMode::Cartesian); }
double sphericalArea(const ConstGeometryPtr& g, const QString& unit) { return area(g, unit, CalcMode::Spherical); }
double ellipsoidArea(const ConstGeometryPtr& g, const QString& unit) { return area(g, unit, CalcMode::Ellipsoidal); }

double cartesianLength(const ConstGeometryPtr& g, const QString& unit) { return length(g, unit, CalcMode::Cartesian); }
double sphericalLength(const ConstGeometryPtr& g, const QString& unit) { return length(g, unit, CalcMode::Spherical); }
double ellipsoidLength(const ConstGeometryPtr& g, const QString& unit) { return length(g, unit, CalcMode::Ellipsoidal); }
double lambertLength(const ConstGeometryPtr& g, const QString& unit) { return length(g, unit, CalcMode::Lambert); }
double vincentyLength(const ConstGeometryPtr& g, const QString& unit) { return length(g, unit, CalcMode::Vincenty); }

double cartesianPerimeter(const ConstGeometryPtr& g, const QString& unit) { return perimeter(g, unit, CalcMode::Cartesian); }
double sphericalPerimeter(const ConstGeometryPtr& g, const QString& unit) { return perimeter(g, unit, CalcMode::Spherical); }
double ellipsoidPerimeter(const ConstGeometryPtr& g, const QString& unit) { return perimeter(g, unit, CalcMode::Ellipsoidal); }
double lambertPerimeter(const ConstGeometryPtr& g, const QString& unit) { return perimeter(g, unit, CalcMode::Lambert); }
double vincentyPerimeter(const ConstGeometryPtr& g, const QString& unit) { return perimeter(g, unit, CalcMode::Vincenty); }

#define TESSERA_DISTANCE(name, inMetres, mode)                                                  \
    double name(const ConstGeometryPtr& a, const ConstGeometryPtr& b, const QString& unit)      \
    {                                                                                           \
        const double factor = units::lengthFactor(unit);                                        \
        return inMetres(mode, a, b) / factor;                                                   \
    }

TESSERA_DISTANCE(cartesianMinDistance, minDistanceInMetres, CalcMode::Cartesian)
TESSERA_DISTANCE(sphericalMinDistance, minDistanceInMetres, CalcMode::Spherical)
TESSERA_DISTANCE(ellipsoidalMinDistance, minDistanceInMetres, CalcMode::Ellipsoidal)
TESSERA_DISTANCE(lambertMinDistance, minDistanceInMetres, CalcMode::Lambert)
TESSERA_DISTANCE(vincentyMinDistance, minDistanceInMetres, CalcMode::Vincenty)
TESSERA_DISTANCE(cartesianObjectDistance, centroidDistanceInMetres, CalcMode::Cartesian)
TESSERA_DISTANCE(sphericalObjectDistance, centroidDistanceInMetres, CalcMode::Spherical)
TESSERA_DISTANCE(ellipsoidalObjectDistance, centroidDistanceInMetres, CalcMode::Ellipsoidal)
TESSERA_DISTANCE(lambertObjectDistance, centroidDistanceInMetres, CalcMode::Lambert)
TESSERA_DISTANCE(vincentyObjectDistance, centroidDistanceInMetres, CalcMode::Vincenty)

#undef TESSERA_DISTANCE

} // namespace tessera::geometry
