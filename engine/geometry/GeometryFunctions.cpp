#include "engine/geometry/GeometryFunctions.h"

#include "engine/EngineCache.h"
#include "engine/functions/ValueConversions.h"
#include "engine/geometry/GeometryConversions.h"
#include "engine/geometry/GeometryMeasureFunctions.h"
#include "platform/core/Core.h"
#include "platform/cs/CoordSystem.h"
#include "platform/geometry/Algorithms.h"
#include "platform/geometry/MifService.h"
#include "platform/sql/FunctionCatalogue.h"

#include <QByteArray>
#include <QLoggingCategory>
#include <QRectF>
#include <cmath>
#include <exception>
#include <string>

Q_LOGGING_CATEGORY(lcGeometryFunctions, "tessera.engine.geometry")

namespace tessera::engine::sqlfn {

namespace {

using GeometryPtr = std::shared_ptr<const geometry::Geometry>;
using Predicate = bool (*)(const GeometryPtr&, const GeometryPtr&);

// The dialect's name of a function code, straight from the function catalogue
// so that usage texts follow renames there.
constexpr const char* dialectName(int code)
{
#define TESSERA_NAME_OF(value, id, name, mask) \
    if (code == (value))                       \
        return name;
    TESSERA_SQL_FUNCTION_CATALOGUE(TESSERA_NAME_OF)
#undef TESSERA_NAME_OF
    return "";
}

constexpr int transformToTesGeoCode = 68;
constexpr int transformToSLGeoCode = 700;
static_assert(dialectName(transformToTesGeoCode)[0] != '\0', "TransformToTesGeo is in the catalogue");
static_assert(dialectName(transformToSLGeoCode)[0] != '\0', "TransformToSLGeo is in the catalogue");

EngineCache* cacheOf(sqlite3_context* ctx)
{
    return static_cast<EngineCache*>(sqlite3_user_data(ctx));
}

// Host failures become the SQL error text; nothing may unwind through SQLite.
template <class F>
bool guarded(sqlite3_context* ctx, F&& f)
{
    try {
        f();
        return true;
    } catch (const std::exception& e) {
        qCDebug(lcGeometryFunctions) << "geometry function failed:" << e.what();
        sqlite3_result_error(ctx, e.what(), -1);
    } catch (...) {
        sqlite3_result_error(ctx, "Unexpected error", -1);
    }
    return false;
}

// Decodes the two geometries (in the given order, which is the host's operand
// order) and aligns their coordinate systems. False when either is no
// geometry (the result is then NULL) or the alignment fails (an SQL error).
bool twoGeometries(sqlite3_context* ctx, sqlite3_value* first, sqlite3_value* second, GeometryPtr& g1, GeometryPtr& g2)
{
    g1 = toGeometry(ctx, first, true);
    if (!g1) {
        sqlite3_result_null(ctx);
        return false;
    }
    g2 = toGeometry(ctx, second, true);
    if (!g2) {
        sqlite3_result_null(ctx);
        return false;
    }
    return guarded(ctx, [&] { shareCoordSystem(g1, g2); });
}

// What the envelopes alone must allow for the predicate to hold.
enum class Envelopes { Overlap, Hold };

// True when the bounding boxes settle the predicate as false without GEOS:
// in one coordinate system (the host would transform otherwise), boxes that
// do not meet rule out every predicate here (a centroid lies in its
// geometry's box), and containment needs the first box to hold the second.
bool ruledOut(const GeometryPtr& a, const GeometryPtr& b, Envelopes need)
{
    const std::shared_ptr<cs::CoordSystem>& csA = a->coordSystem();
    const std::shared_ptr<cs::CoordSystem>& csB = b->coordSystem();
    if (csA != csB && !(csA && csB && csA->isEquivalentTo(*csB)))
        return false;
    if (a->isEmpty() || b->isEmpty())
        return false;   // the host's answer
    QRectF ra = a->boundingRect().normalized();
    QRectF rb = b->boundingRect().normalized();
    // In longitude and latitude an edge may take the short way across +-180,
    // outside its box: then the boxes tell nothing about longitudes.
    if (csA && csA->isGeographic()) {
        const double half = csA->axisUnitFactor() > 0.0 ? M_PI / csA->axisUnitFactor() : 180.0;
        auto reaches = [half](const QRectF& r) { return r.width() >= half || r.left() <= -half || r.right() >= half; };
        if (reaches(ra) || reaches(rb)) {
            ra.setLeft(-1e300);
            ra.setRight(1e300);
            rb.setLeft(-1e300);
            rb.setRight(1e300);
        }
    }
    // Compared by hand: QRectF treats the zero-size box of a point as null.
    if (ra.right() < rb.left() || rb.right() < ra.left() || ra.bottom() < rb.top() || rb.bottom() < ra.top())
        return true;
    return need == Envelopes::Hold
        && (rb.left() < ra.left() || rb.right() > ra.right() || rb.top() < ra.top() || rb.bottom() > ra.bottom());
}

void predicate(sqlite3_context* ctx, sqlite3_value* first, sqlite3_value* second, Predicate test, Envelopes need)
{
    GeometryPtr g1, g2;
    if (!twoGeometries(ctx, first, second, g1, g2))
        return;
    bool answer = false;
    if (guarded(ctx, [&] { answer = !ruledOut(g1, g2, need) && test(g1, g2); }))
        sqlite3_result_int(ctx, answer ? 1 : 0);
}

// Puts `coordSystem` on a copy of `g` without moving its coordinates. The
// copy is fitted to the system; an empty system leaves `g` as it is.
GeometryPtr labelled(const GeometryPtr& g, const std::shared_ptr<cs::CoordSystem>& coordSystem)
{
    if (!coordSystem)
        return g;
    std::shared_ptr<geometry::Geometry> copy = g->clone();
    copy->setCoordSystem(coordSystem);
    geometry::fitGeometry(*copy);
    return copy;
}

// The tail shared by toTesGeo and fromMifGeo: the optional coordinate system
// in argv[1] (invalid texts are ignored on purpose), then the TesGeo result.
void writeLabelled(sqlite3_context* ctx, int argc, sqlite3_value** argv, GeometryPtr g)
{
    if (!g) {
        sqlite3_result_null(ctx);
        return;
    }
    if (argc > 1) {
        try {
            g = labelled(g, toCS(argv[1]));
        } catch (const std::exception& e) {
            invalidCoordSystemError(ctx, e.what());
            return;
        }
    }
    engine::toTesGeo(g, ctx, cacheOf(ctx), true);
}

enum class Writer { TesGeo, SpatiaLite };

void transform(sqlite3_context* ctx, int argc, sqlite3_value** argv, int nameCode, Writer writer)
{
    if (argc < 2) {
        const std::string usage = std::string("Invalid argument count. Usage: ") + dialectName(nameCode)
            + " (geometry[,target coordinate system string[,default coordinate system string]]).";
        sqlite3_result_error(ctx, usage.c_str(), -1);
        return;
    }
    const GeometryPtr g = toGeometry(ctx, argv[0], true);
    if (!g) {
        sqlite3_result_null(ctx);
        return;
    }
    std::shared_ptr<geometry::Geometry> copy = g->clone();
    try {
        if (argc == 3 && !copy->coordSystem()) {
            copy->setCoordSystem(toCS(argv[2]));
            geometry::fitGeometry(*copy);
        }
        const std::shared_ptr<cs::CoordSystem> target = toCS(argv[1]);
        if (!copy->coordSystem())
            copy->setCoordSystem(target);
        else
            copy = copy->transformed(target);
    } catch (const std::exception& e) {
        invalidCoordSystemError(ctx, e.what());
        return;
    }
    if (writer == Writer::TesGeo)
        engine::toTesGeo(copy, ctx, cacheOf(ctx), true);
    else
        engine::toGaia(copy, ctx, cacheOf(ctx));
}

void resultCoordSystem(sqlite3_context* ctx, const std::shared_ptr<cs::CoordSystem>& coordSystem)
{
    if (!coordSystem) {
        sqlite3_result_null(ctx);
        return;
    }
    const QString text = coordSystem->taggedString();
    sqlite3_result_text16(ctx, text.utf16(), text.size() * int(sizeof(QChar)), SQLITE_TRANSIENT);
}

std::shared_ptr<cs::CoordSystem> tableCoordSystem(sqlite3_context* ctx, sqlite3_value* name)
{
    const EngineCache* cache = cacheOf(ctx);
    if (!cache)
        return nullptr;
    return cache->tableCoordSystem(toQString(name));
}

// The registry's MIF reader: a registered QObject service, or a typed object.
// The registry owns both; the first is not ours to delete.
std::shared_ptr<const geometry::MifService> mifService()
{
    const Core* core = Core::instance();
    if (!core)
        return nullptr;
    if (const auto* service = core->findService<geometry::MifService>())
        return std::shared_ptr<const geometry::MifService>(service, [](const geometry::MifService*) {});
    return core->findObject<geometry::MifService>();
}

} // namespace

void intersects(sqlite3_context* ctx, int, sqlite3_value** argv)
{
    predicate(ctx, argv[0], argv[1], &geometry::Intersects, Envelopes::Overlap);
}

void containsEntirely(sqlite3_context* ctx, int, sqlite3_value** argv)
{
    predicate(ctx, argv[0], argv[1], &geometry::Contains, Envelopes::Hold);
}

void entirelyWithin(sqlite3_context* ctx, int, sqlite3_value** argv)
{
    predicate(ctx, argv[1], argv[0], &geometry::Contains, Envelopes::Hold);
}

void containsCentroid(sqlite3_context* ctx, int, sqlite3_value** argv)
{
    predicate(ctx, argv[0], argv[1], &geometry::ContainsCentroid, Envelopes::Overlap);
}

void centroidWithin(sqlite3_context* ctx, int, sqlite3_value** argv)
{
    predicate(ctx, argv[1], argv[0], &geometry::ContainsCentroid, Envelopes::Overlap);
}

void nearestPoints(sqlite3_context* ctx, int, sqlite3_value** argv)
{
    GeometryPtr g1, g2;
    if (!twoGeometries(ctx, argv[0], argv[1], g1, g2))
        return;
    GeometryPtr line;
    if (guarded(ctx, [&] { line = geometry::NearestPoints(g1, g2); }))
        engine::toTesGeo(line, ctx, cacheOf(ctx), true);
}

void centroid(sqlite3_context* ctx, int, sqlite3_value** argv)
{
    const GeometryPtr g = toGeometry(ctx, argv[0], true);
    if (!g) {
        sqlite3_result_null(ctx);
        return;
    }
    GeometryPtr point;
    if (!guarded(ctx, [&] { point = geometry::PointOnSurface(g); }))
        return;
    if (!point || point->isEmpty()) {
        sqlite3_result_null(ctx);
        return;
    }
    engine::toGaia(point, ctx, cacheOf(ctx));
}

void makeGeoValid(sqlite3_context* ctx, int, sqlite3_value** argv)
{
    const GeometryPtr g = toGeometry(ctx, argv[0], true);
    if (!g) {
        sqlite3_result_null(ctx);
        return;
    }
    GeometryPtr valid;
    if (guarded(ctx, [&] { valid = geometry::normalizedGeometry(g); }))
        engine::toTesGeo(valid, ctx, cacheOf(ctx), true);
}

void resemblance(sqlite3_context* ctx, int, sqlite3_value** argv)
{
    EngineCache* cache = cacheOf(ctx);
    const GeometryPtr g = cache ? toGeometry(ctx, argv[0], true) : nullptr;
    if (!g) {
        sqlite3_result_null(ctx);
        return;
    }
    GeometryPtr simpler;
    if (guarded(ctx, [&] { simpler = cache->resemblance(g); }))
        engine::toTesGeo(simpler, ctx, cache, true);
}

void retrieveCS(sqlite3_context* ctx, int, sqlite3_value** argv)
{
    if (const GeometryPtr g = toGeometry(ctx, argv[0], true)) {
        resultCoordSystem(ctx, g->coordSystem());
        return;
    }
    std::shared_ptr<cs::CoordSystem> coordSystem;
    if (guarded(ctx, [&] { coordSystem = tableCoordSystem(ctx, argv[0]); }))
        resultCoordSystem(ctx, coordSystem);
}

void retrieveTableCS(sqlite3_context* ctx, int, sqlite3_value** argv)
{
    std::shared_ptr<cs::CoordSystem> coordSystem;
    if (guarded(ctx, [&] { coordSystem = tableCoordSystem(ctx, argv[0]); }))
        resultCoordSystem(ctx, coordSystem);
}

void toTesGeo(sqlite3_context* ctx, int argc, sqlite3_value** argv)
{
    if (argc < 1) {
        sqlite3_result_error(ctx, "Invalid argument count. Usage: ToTesGeo (geometry[,coordinate system string]).", -1);
        return;
    }
    writeLabelled(ctx, argc, argv, toGeometry(ctx, argv[0], true));
}

void fromTesGeo(sqlite3_context* ctx, int, sqlite3_value** argv)
{
    const GeometryPtr g = toGeometry(ctx, argv[0], true);
    if (!g) {
        sqlite3_result_null(ctx);
        return;
    }
    engine::toGaia(g, ctx, cacheOf(ctx));
}

void transformToTesGeo(sqlite3_context* ctx, int argc, sqlite3_value** argv)
{
    transform(ctx, argc, argv, transformToTesGeoCode, Writer::TesGeo);
}

void transformToSLGeo(sqlite3_context* ctx, int argc, sqlite3_value** argv)
{
    transform(ctx, argc, argv, transformToSLGeoCode, Writer::SpatiaLite);
}

void fromMifGeo(sqlite3_context* ctx, int argc, sqlite3_value** argv)
{
    if (argc < 1) {
        sqlite3_result_error(ctx, "Invalid argument count. Usage: FromMif (geometry string[,coordinate system string]).", -1);
        return;
    }
    const std::shared_ptr<const geometry::MifService> service = mifService();
    if (!service || sqlite3_value_type(argv[0]) == SQLITE_NULL) {
        sqlite3_result_null(ctx);
        return;
    }
    // ',' as delimiter and as decimal separator, 976 segments per full turn.
    geometry::MifSetup setup;
    setup.delimiter = QChar(',');
    setup.decimalSeparator = QChar(',');
    setup.resolution = 976;
    GeometryPtr g;
    if (guarded(ctx, [&] { g = service->load(toQString(argv[0]), setup); }))
        writeLabelled(ctx, argc, argv, g);
}

} // namespace tessera::engine::sqlfn
