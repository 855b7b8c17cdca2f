#pragma once
// Geometry algorithms of the host: measures in five earth models, spatial
// predicates and constructions (GEOS), and the helpers the SQL layer needs.
//
// Units are names: distance "m", "km", "cm", "mm", "mi", "nmi", "ft",
// "survey ft", "yd", "in", "ch", "li", "rd"; area "sq m", "sq km", "sq cm",
// "sq mm", "sq mi", "sq ft", "sq survey ft", "sq yd", "sq in", "sq ch",
// "sq li", "sq rd", "acre", "hectare", "perch", "rood". An unknown unit
// throws std::invalid_argument with the text "Unknown unit: <name>".
//
// Models. Cartesian: planar coordinates, each unit of a projected system
// worth its axisUnitFactor() in metres, a geometry without a system in
// metres; longitude/latitude cannot be measured in the plane. Spherical:
// great circles on a sphere of sphereRadius, areas from the spherical excess.
// Ellipsoidal: geodesics (GeographicLib) on the system's ellipsoid. Lambert
// and Vincenty: their distance formulas on that ellipsoid; their areas are the
// ellipsoidal ones. The earth models transform projected geometries to the
// geographic system of their datum first and read geometries without a
// system as degrees on WGS84. Curves are measured on their linear form.
//
// Smallest distances: GEOS in the plane; on the earth the closest pair of
// points on the geodesic edges (algorithms/GeodesicNearest.h), measured by
// the model. Two geometries in different coordinate systems meet in one
// chosen whatever their order (the geographic one, else the first by tagged
// string), so that a distance does not depend on the order of its arguments.
//
// An empty geometry has area, length and perimeter 0.
//
// Failures: std::invalid_argument for a missing geometry, an empty one in a
// distance, an unknown
// unit or mode, latitudes beyond the poles, longitude/latitude in the
// cartesian model; std::runtime_error when a transformation fails or
// Vincenty's iteration does not converge (nearly antipodal points).

#include "platform/geometry/algorithms/AlgorithmsExport.h"
#include "platform/geometry/Geometry.h"

#include <QString>
#include <utility>

namespace tessera::core {
// How measures are computed. 255: cartesian for a projected coordinate system
// or none, ellipsoidal for a geographic one.
enum class CalcMode : int { Cartesian = 0, Spherical = 1, Ellipsoidal = 2, Lambert = 3, Vincenty = 4, Auto = 255 };
}

namespace tessera::geometry {

// Radius of the sphere of the spherical model (the mean earth radius, IUGG).
constexpr double sphereRadius = 6371008.8;

TESSERA_GEOMETRY_ALGORITHMS_EXPORT double area(const ConstGeometryPtr& g, const QString& unit, core::CalcMode mode);
TESSERA_GEOMETRY_ALGORITHMS_EXPORT double length(const ConstGeometryPtr& g, const QString& unit, core::CalcMode mode);
TESSERA_GEOMETRY_ALGORITHMS_EXPORT double perimeter(const ConstGeometryPtr& g, const QString& unit, core::CalcMode mode);

TESSERA_GEOMETRY_ALGORITHMS_EXPORT double cartesianArea(const ConstGeometryPtr& g, const QString& unit);
TESSERA_GEOMETRY_ALGORITHMS_EXPORT double sphericalArea(const ConstGeometryPtr& g, const QString& unit);
TESSERA_GEOMETRY_ALGORITHMS_EXPORT double ellipsoidArea(const ConstGeometryPtr& g, const QString& unit);

TESSERA_GEOMETRY_ALGORITHMS_EXPORT double cartesianLength(const ConstGeometryPtr& g, const QString& unit);
TESSERA_GEOMETRY_ALGORITHMS_EXPORT double sphericalLength(const ConstGeometryPtr& g, const QString& unit);
TESSERA_GEOMETRY_ALGORITHMS_EXPORT double ellipsoidLength(const ConstGeometryPtr& g, const QString& unit);
TESSERA_GEOMETRY_ALGORITHMS_EXPORT double lambertLength(const ConstGeometryPtr& g, const QString& unit);
TESSERA_GEOMETRY_ALGORITHMS_EXPORT double vincentyLength(const ConstGeometryPtr& g, const QString& unit);

TESSERA_GEOMETRY_ALGORITHMS_EXPORT double cartesianPerimeter(const ConstGeometryPtr& g, const QString& unit);
TESSERA_GEOMETRY_ALGORITHMS_EXPORT double sphericalPerimeter(const ConstGeometryPtr& g, const QString& unit);
TESSERA_GEOMETRY_ALGORITHMS_EXPORT double ellipsoidPerimeter(const ConstGeometryPtr& g, const QString& unit);
TESSERA_GEOMETRY_ALGORITHMS_EXPORT double lambertPerimeter(const ConstGeometryPtr& g, const QString& unit);
TESSERA_GEOMETRY_ALGORITHMS_EXPORT double vincentyPerimeter(const ConstGeometryPtr& g, const QString& unit);

// Smallest distance between the two shapes (0 when they touch).
TESSERA_GEOMETRY_ALGORITHMS_EXPORT double smallestDistance(const ConstGeometryPtr& a, const ConstGeometryPtr& b, const QString& unit);
TESSERA_GEOMETRY_ALGORITHMS_EXPORT double cartesianMinDistance(const ConstGeometryPtr& a, const ConstGeometryPtr& b, const QString& unit);
TESSERA_GEOMETRY_ALGORITHMS_EXPORT double sphericalMinDistance(const ConstGeometryPtr& a, const ConstGeometryPtr& b, const QString& unit);
TESSERA_GEOMETRY_ALGORITHMS_EXPORT double ellipsoidalMinDistance(const ConstGeometryPtr& a, const ConstGeometryPtr& b, const QString& unit);
TESSERA_GEOMETRY_ALGORITHMS_EXPORT double lambertMinDistance(const ConstGeometryPtr& a, const ConstGeometryPtr& b, const QString& unit);
TESSERA_GEOMETRY_ALGORITHMS_EXPORT double vincentyMinDistance(const ConstGeometryPtr& a, const ConstGeometryPtr& b, const QString& unit);

// Distance between the two centroids.
TESSERA_GEOMETRY_ALGORITHMS_EXPORT double centroidDistance(const ConstGeometryPtr& a, const ConstGeometryPtr& b, const QString& unit);
TESSERA_GEOMETRY_ALGORITHMS_EXPORT double cartesianObjectDistance(const ConstGeometryPtr& a, const ConstGeometryPtr& b, const QString& unit);
TESSERA_GEOMETRY_ALGORITHMS_EXPORT double sphericalObjectDistance(const ConstGeometryPtr& a, const ConstGeometryPtr& b, const QString& unit);
TESSERA_GEOMETRY_ALGORITHMS_EXPORT double ellipsoidalObjectDistance(const ConstGeometryPtr& a, const ConstGeometryPtr& b, const QString& unit);
TESSERA_GEOMETRY_ALGORITHMS_EXPORT double lambertObjectDistance(const ConstGeometryPtr& a, const ConstGeometryPtr& b, const QString& unit);
TESSERA_GEOMETRY_ALGORITHMS_EXPORT double vincentyObjectDistance(const ConstGeometryPtr& a, const ConstGeometryPtr& b, const QString& unit);

// Predicates (GEOS). Geometries in different coordinate systems are compared
// after transforming b into a's system; when only one of them has a system,
// the other is taken to lie in it (labelled and fitted, not transformed).
// An empty operand makes every predicate false. In longitude and latitude an
// edge takes the shorter way round, across +-180 when that is shorter (as the
// measures read it): a box from 170 to 190 degrees is 20 degrees wide.
TESSERA_GEOMETRY_ALGORITHMS_EXPORT bool Intersects(const ConstGeometryPtr& a, const ConstGeometryPtr& b);
TESSERA_GEOMETRY_ALGORITHMS_EXPORT bool Contains(const ConstGeometryPtr& a, const ConstGeometryPtr& b);        // a holds all of b
TESSERA_GEOMETRY_ALGORITHMS_EXPORT bool ContainsCentroid(const ConstGeometryPtr& a, const ConstGeometryPtr& b); // a holds b's centroid

// The two closest points, as a two-point line string (a first, b second).
TESSERA_GEOMETRY_ALGORITHMS_EXPORT GeometryPtr NearestPoints(const ConstGeometryPtr& a, const ConstGeometryPtr& b);
TESSERA_GEOMETRY_ALGORITHMS_EXPORT QPointF centroid(const ConstGeometryPtr& g);           // the arithmetic centroid
TESSERA_GEOMETRY_ALGORITHMS_EXPORT GeometryPtr PointOnSurface(const ConstGeometryPtr& g); // a point on the geometry; empty pointer if none
// A valid form of g in the same coordinate system: a copy when g is valid
// (curves kept), else GEOS's repair of its linear form.
TESSERA_GEOMETRY_ALGORITHMS_EXPORT GeometryPtr normalizedGeometry(const ConstGeometryPtr& g);
// Makes a geometry consistent with the coordinate system that was just set on
// it: in a geographic system longitudes are wrapped into [-180, 180] and
// latitudes clamped into [-90, 90] (in the system's angular unit); in other
// systems, or without one, nothing changes.
TESSERA_GEOMETRY_ALGORITHMS_EXPORT void fitGeometry(Geometry& g);

} // namespace tessera::geometry
