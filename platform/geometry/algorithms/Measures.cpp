// Lengths, perimeters, areas and distances in the five models of
// Algorithms.h, on the frames of MeasureFrame and the models of EarthModel.

#include "platform/geometry/Algorithms.h"

#include "platform/cs/CoordSystem.h"
#include "platform/geometry/algorithms/CartesianModel.h"
#include "platform/geometry/algorithms/CoordSystemAlignment.h"
#include "platform/geometry/algorithms/EllipsoidalModel.h"
#include "platform/geometry/algorithms/GeometryParts.h"
#include "platform/geometry/algorithms/GeosAdapter.h"
#include "platform/geometry/algorithms/LambertModel.h"
#include "platform/geometry/algorithms/MeasureFrame.h"
#include "platform/geometry/algorithms/SphericalModel.h"
#include "platform/geometry/algorithms/Units.h"
#include "platform/geometry/algorithms/VincentyModel.h"

#include <algorithm>
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

QPointF geosCentroid(const GeosAdapter& geos, const ConstGeometryPtr& linear)
{
    const GeosGeometry g = geos.toGeos(linear);
    const GeosGeometry c = geos.own(GEOSGetCentroid_r(geos.handle(), g.get()));
    double x = 0.0, y = 0.0;
    if (GEOSisEmpty_r(geos.handle(), c.get()) == 1 || !GEOSGeomGetX_r(geos.handle(), c.get(), &x)
        || !GEOSGeomGetY_r(geos.handle(), c.get(), &y))
        throw std::runtime_error("An empty geometry has no centroid");
    return {x, y};
}

double minDistanceInMetres(CalcMode mode, const ConstGeometryPtr& a, const ConstGeometryPtr& b)
{
    const auto [ga, gb] = alignCoordSystems(a, b);
    mode = resolve(mode, ga);
    const MeasureFrame fa = frameFor(mode, ga);
    const MeasureFrame fb = frameFor(mode, gb);
    const GeosAdapter geos;
    const GeosGeometry ea = geos.toGeos(fa.geometry);
    const GeosGeometry eb = geos.toGeos(fb.geometry);
    if (GEOSisEmpty_r(geos.handle(), ea.get()) == 1 || GEOSisEmpty_r(geos.handle(), eb.get()) == 1)
        throw std::runtime_error("No distance to an empty geometry");
    if (mode == CalcMode::Cartesian) {
        double d = 0.0;
        if (!GEOSDistance_r(geos.handle(), ea.get(), eb.get(), &d))
            throw std::runtime_error("GEOS distance failed: " + geos.lastError());
        return d * fa.unitInMetres;
    }
    // On the earth: the closest points are found in degrees and the model
    // measures between them. Near the poles or for very large shapes the
    // closest pair in degrees may differ slightly from the geodesic one.
    std::unique_ptr<GEOSCoordSequence, std::function<void(GEOSCoordSequence*)>> seq(
        GEOSNearestPoints_r(geos.handle(), ea.get(), eb.get()),
        [h = geos.handle()](GEOSCoordSequence* s) { if (s) GEOSCoordSeq_destroy_r(h, s); });
    if (!seq)
        throw std::runtime_error("GEOS nearest points failed: " + geos.lastError());
    double x1 = 0, y1 = 0, x2 = 0, y2 = 0;
    GEOSCoordSeq_getXY_r(geos.handle(), seq.get(), 0, &x1, &y1);
    GEOSCoordSeq_getXY_r(geos.handle(), seq.get(), 1, &x2, &y2);
    return modelFor(mode, fa)->distance({x1, y1}, {x2, y2});
}

double centroidDistanceInMetres(CalcMode mode, const ConstGeometryPtr& a, const ConstGeometryPtr& b)
{
    const auto [ga, gb] = alignCoordSystems(a, b);
    mode = resolve(mode, ga);
    const MeasureFrame fa = frameFor(mode, ga);
    const MeasureFrame fb = frameFor(mode, gb);
    const GeosAdapter geos;
    return modelFor(mode, fa)->distance(geosCentroid(geos, fa.geometry), geosCentroid(geos, fb.geometry));
}

} // namespace

// Generic measures --------------------------------------------------------

double area(const ConstGeometryPtr& g, const QString& unit, core::CalcMode mode)
{
    const double factor = units::areaFactor(unit);
    requireGeometry(g);
    return areaInMetres(resolve(mode, g), g) / factor;
}

double length(const ConstGeometryPtr& g, const QString& unit, core::CalcMode mode)
{
    const double factor = units::lengthFactor(unit);
    requireGeometry(g);
    return lengthInMetres(resolve(mode, g), g) / factor;
}

double perimeter(const ConstGeometryPtr& g, const QString& unit, core::CalcMode mode)
{
    const double factor = units::lengthFactor(unit);
    requireGeometry(g);
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
