#include "engine/geometry/GeometryMeasureFunctions.h"

#include "engine/functions/ValueConversions.h"
#include "engine/geometry/GeometryConversions.h"
#include "platform/geometry/Algorithms.h"

#include <QLoggingCategory>
#include <exception>

Q_LOGGING_CATEGORY(lcMeasures, "tessera.engine.measures")

namespace tessera::engine::sqlfn {

namespace {

using GeometryPtr = std::shared_ptr<const geometry::Geometry>;
using Measure = double (*)(const GeometryPtr&, const QString&);
using TwoMeasure = double (*)(const GeometryPtr&, const GeometryPtr&, const QString&);

void measure(sqlite3_context* ctx, sqlite3_value** argv, Measure f)
{
    const GeometryPtr g = toGeometry(ctx, argv[0], true);
    if (!g) {
        sqlite3_result_null(ctx);
        return;
    }
    const QString unit = toQString(argv[1]);
    QByteArray error;
    double value = 0.0;
    try {
        value = f(g, unit);
    } catch (const std::exception& e) {
        error = QByteArray(e.what());
        if (error.isEmpty())
            error = "Unexpected error";
    } catch (...) {
        error = "Unexpected error";
    }
    if (!error.isEmpty())
        sqlite3_result_error(ctx, error.constData(), -1);
    else
        sqlite3_result_double(ctx, value);
}

void measureTwo(sqlite3_context* ctx, sqlite3_value** argv, const QString& unit, TwoMeasure f, double errorValue)
{
    GeometryPtr g1 = toGeometry(ctx, argv[0], true);
    if (!g1) {
        sqlite3_result_null(ctx);
        return;
    }
    GeometryPtr g2 = toGeometry(ctx, argv[1], true);
    if (!g2) {
        sqlite3_result_null(ctx);
        return;
    }
    double value = errorValue;
    try {
        shareCoordSystem(g1, g2);
        value = f(g1, g2, unit);
    } catch (const std::exception& e) {
        qCDebug(lcMeasures) << "distance failed:" << e.what();
        value = errorValue;
    } catch (...) {
        value = errorValue;
    }
    sqlite3_result_double(ctx, value);
}

void twoGeometryMeasure(sqlite3_context* ctx, sqlite3_value** argv, TwoMeasure f)
{
    const QString unit = toQString(argv[2]);
    measureTwo(ctx, argv, unit, f, -1.0);
}

void centroidCoordinate(sqlite3_context* ctx, sqlite3_value** argv, bool wantX)
{
    const GeometryPtr g = toGeometry(ctx, argv[0], true);
    if (!g) {
        sqlite3_result_null(ctx);
        return;
    }
    // An exception must not cross SQLite's C frames: it becomes the error text.
    try {
        const QPointF c = geometry::centroid(g);
        sqlite3_result_double(ctx, wantX ? c.x() : c.y());
    } catch (const std::exception& e) {
        sqlite3_result_error(ctx, e.what(), -1);
    } catch (...) {
        sqlite3_result_error(ctx, "Unexpected error", -1);
    }
}

} // namespace

void shareCoordSystem(GeometryPtr& g1, GeometryPtr& g2)
{
    const bool has1 = static_cast<bool>(g1->coordSystem());
    const bool has2 = static_cast<bool>(g2->coordSystem());
    if (has1 == has2)
        return;
    GeometryPtr& bare = has1 ? g2 : g1;
    const GeometryPtr& labelled = has1 ? g1 : g2;
    std::shared_ptr<geometry::Geometry> copy = bare->clone();
    copy->setCoordSystem(labelled->coordSystem());
    geometry::fitGeometry(*copy);
    bare = std::move(copy);
}

void perimeter(sqlite3_context* ctx, int, sqlite3_value** argv)
{
    measure(ctx, argv, [](const GeometryPtr& g, const QString& unit) {
        return geometry::perimeter(g, unit, core::CalcMode(255));
    });
}

void objectLen(sqlite3_context* ctx, int, sqlite3_value** argv)
{
    measure(ctx, argv, [](const GeometryPtr& g, const QString& unit) {
        return geometry::length(g, unit, core::CalcMode(255));
    });
}

void area(sqlite3_context* ctx, int, sqlite3_value** argv)
{
    measure(ctx, argv, [](const GeometryPtr& g, const QString& unit) {
        return geometry::area(g, unit, core::CalcMode(255));
    });
}

void cartesianPerimeter(sqlite3_context* ctx, int, sqlite3_value** argv) { measure(ctx, argv, &geometry::cartesianPerimeter); }
void sphericalPerimeter(sqlite3_context* ctx, int, sqlite3_value** argv) { measure(ctx, argv, &geometry::sphericalPerimeter); }
void ellipsoidalPerimeter(sqlite3_context* ctx, int, sqlite3_value** argv) { measure(ctx, argv, &geometry::ellipsoidPerimeter); }
void lambertPerimeter(sqlite3_context* ctx, int, sqlite3_value** argv) { measure(ctx, argv, &geometry::lambertPerimeter); }
void vincentyPerimeter(sqlite3_context* ctx, int, sqlite3_value** argv) { measure(ctx, argv, &geometry::vincentyPerimeter); }
void cartesianObjectLen(sqlite3_context* ctx, int, sqlite3_value** argv) { measure(ctx, argv, &geometry::cartesianLength); }
void sphericalObjectLen(sqlite3_context* ctx, int, sqlite3_value** argv) { measure(ctx, argv, &geometry::sphericalLength); }
void ellipsoidalObjectLen(sqlite3_context* ctx, int, sqlite3_value** argv) { measure(ctx, argv, &geometry::ellipsoidLength); }
void lambertObjectLen(sqlite3_context* ctx, int, sqlite3_value** argv) { measure(ctx, argv, &geometry::lambertLength); }
void vincentyObjectLen(sqlite3_context* ctx, int, sqlite3_value** argv) { measure(ctx, argv, &geometry::vincentyLength); }
void cartesianArea(sqlite3_context* ctx, int, sqlite3_value** argv) { measure(ctx, argv, &geometry::cartesianArea); }
void sphericalArea(sqlite3_context* ctx, int, sqlite3_value** argv) { measure(ctx, argv, &geometry::sphericalArea); }
void ellipsoidalArea(sqlite3_context* ctx, int, sqlite3_value** argv) { measure(ctx, argv, &geometry::ellipsoidArea); }

void distance(sqlite3_context* ctx, int, sqlite3_value** argv) { twoGeometryMeasure(ctx, argv, &geometry::smallestDistance); }
void objectDistance(sqlite3_context* ctx, int, sqlite3_value** argv) { twoGeometryMeasure(ctx, argv, &geometry::centroidDistance); }
void cartesianDistance(sqlite3_context* ctx, int, sqlite3_value** argv) { twoGeometryMeasure(ctx, argv, &geometry::cartesianMinDistance); }
void sphericalDistance(sqlite3_context* ctx, int, sqlite3_value** argv) { twoGeometryMeasure(ctx, argv, &geometry::sphericalMinDistance); }
void ellipsoidalDistance(sqlite3_context* ctx, int, sqlite3_value** argv) { twoGeometryMeasure(ctx, argv, &geometry::ellipsoidalMinDistance); }
void lambertDistance(sqlite3_context* ctx, int, sqlite3_value** argv) { twoGeometryMeasure(ctx, argv, &geometry::lambertMinDistance); }
void vincentyDistance(sqlite3_context* ctx, int, sqlite3_value** argv) { twoGeometryMeasure(ctx, argv, &geometry::vincentyMinDistance); }
void cartesianObjectDistance(sqlite3_context* ctx, int, sqlite3_value** argv) { twoGeometryMeasure(ctx, argv, &geometry::cartesianObjectDistance); }
void sphericalObjectDistance(sqlite3_context* ctx, int, sqlite3_value** argv) { twoGeometryMeasure(ctx, argv, &geometry::sphericalObjectDistance); }
void ellipsoidalObjectDistance(sqlite3_context* ctx, int, sqlite3_value** argv) { twoGeometryMeasure(ctx, argv, &geometry::ellipsoidalObjectDistance); }
void lambertObjectDistance(sqlite3_context* ctx, int, sqlite3_value** argv) { twoGeometryMeasure(ctx, argv, &geometry::lambertObjectDistance); }
void vincentyObjectDistance(sqlite3_context* ctx, int, sqlite3_value** argv) { twoGeometryMeasure(ctx, argv, &geometry::vincentyObjectDistance); }

void centroidX(sqlite3_context* ctx, int, sqlite3_value** argv) { centroidCoordinate(ctx, argv, true); }
void centroidY(sqlite3_context* ctx, int, sqlite3_value** argv) { centroidCoordinate(ctx, argv, false); }

} // namespace tessera::engine::sqlfn
