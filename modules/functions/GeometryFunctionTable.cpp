#include "modules/functions/GeometryFunctionTable.h"

#include "engine/geometry/GeometryFunctions.h"
#include "engine/geometry/GeometryMeasureFunctions.h"
#include "engine/geometry/SpatiaLiteArgument.h"

namespace tessera::modules {

namespace {

using namespace tessera::engine::sqlfn;

constexpr int Pure = SQLITE_UTF8 | SQLITE_DETERMINISTIC;
// Results that depend on more than the arguments: table metadata, the
// registered resemblance extensions, the registered MIF service.
constexpr int Volatile = SQLITE_UTF8;

} // namespace

std::vector<FunctionEntry> geometryFunctions()
{
    return {
        // Generic measures: the model follows the coordinate system.
        {"objectarea", 2, Pure, area},
        {"objectperimeter", 2, Pure, perimeter},
        {"objectlen", 2, Pure, objectLen},
        {"objectdistance", 3, Pure, distance},
        {"centroiddistance", 3, Pure, objectDistance},

        // Measures in a chosen model of the earth.
        {"cartesianarea", 2, Pure, cartesianArea},
        {"sphericalarea", 2, Pure, sphericalArea},
        {"ellipsoidalarea", 2, Pure, ellipsoidalArea},
        {"cartesianperimeter", 2, Pure, cartesianPerimeter},
        {"sphericalperimeter", 2, Pure, sphericalPerimeter},
        {"ellipsoidalperimeter", 2, Pure, ellipsoidalPerimeter},
        {"lambertperimeter", 2, Pure, lambertPerimeter},
        {"vincentyperimeter", 2, Pure, vincentyPerimeter},
        {"cartesianobjectlen", 2, Pure, cartesianObjectLen},
        {"sphericalobjectlen", 2, Pure, sphericalObjectLen},
        {"ellipsoidalobjectlen", 2, Pure, ellipsoidalObjectLen},
        {"lambertobjectlen", 2, Pure, lambertObjectLen},
        {"vincentyobjectlen", 2, Pure, vincentyObjectLen},
        {"cartesiandistance", 3, Pure, cartesianDistance},
        {"sphericaldistance", 3, Pure, sphericalDistance},
        {"ellipsoidaldistance", 3, Pure, ellipsoidalDistance},
        {"lambertdistance", 3, Pure, lambertDistance},
        {"vincentydistance", 3, Pure, vincentyDistance},
        {"cartesianobjectdistance", 3, Pure, cartesianObjectDistance},
        {"sphericalobjectdistance", 3, Pure, sphericalObjectDistance},
        {"ellipsoidalobjectdistance", 3, Pure, ellipsoidalObjectDistance},
        {"lambertobjectdistance", 3, Pure, lambertObjectDistance},
        {"vincentyobjectdistance", 3, Pure, vincentyObjectDistance},

        {"centroidx", 1, Pure, centroidX},
        {"centroidy", 1, Pure, centroidY},

        // Predicates (the translator's spatial operators) and constructions.
        {"geometryintersects", 2, Pure, intersects},
        {"geometrycontains", 2, Pure, containsEntirely},
        {"geometrywithin", 2, Pure, entirelyWithin},
        {"containscentroid", 2, Pure, containsCentroid},
        {"centroidwithin", 2, Pure, centroidWithin},
        {"nearestpoints", 2, Pure, nearestPoints},
        {"centroid", 1, Pure, centroid},
        {"makevalidgeo", 1, Pure, makeGeoValid},
        {"resemblance", 1, Volatile, resemblance},

        // Coordinate systems and blob conversions. The functions with
        // optional arguments check the count themselves.
        {"retrievecs", 1, Volatile, retrieveCS},
        {"retrievetablecs", 1, Volatile, retrieveTableCS},
        {"totesgeo", -1, Pure, toTesGeo},
        {"fromtesgeo", 1, Pure, fromTesGeo},
        // Emitted by the translator around the arguments of SpatiaLite calls.
        {"tesgeotospatialite", 1, Pure, tesGeoToSpatiaLite},
        {"transformtotesgeo", -1, Pure, transformToTesGeo},
        {"transformtoslgeo", -1, Pure, transformToSLGeo},
        {"frommif", -1, Volatile, fromMifGeo},
    };
}

} // namespace tessera::modules
