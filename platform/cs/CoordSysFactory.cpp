#include "platform/cs/CoordSystem.h"

#include "platform/cs/CoordSystemPrivate.h"
#include "platform/cs/Logging.h"
#include "platform/cs/ProjThreadState.h"

#include <QHash>
#include <QRegularExpression>
#include <cstring>
#include <mutex>

namespace tessera::cs {

namespace {

// SQL functions ask for the same few systems row after row, and making one
// means database look-ups in PROJ: results (failures included) are kept.
class FactoryCache {
public:
    bool find(const QString& key, std::shared_ptr<CoordSystem>& result) const
    {
        std::lock_guard lock(mutex);
        const auto it = entries.constFind(key);
        if (it == entries.constEnd())
            return false;
        result = it.value();
        return true;
    }
    std::shared_ptr<CoordSystem> insert(const QString& key, std::shared_ptr<CoordSystem> value)
    {
        std::lock_guard lock(mutex);
        if (const auto it = entries.constFind(key); it != entries.constEnd())
            return it.value();   // another thread made it first: share that one
        if (entries.size() >= maxEntries)
            entries.clear();
        entries.insert(key, value);
        return value;
    }
private:
    static constexpr int maxEntries = 256;
    mutable std::mutex mutex;
    QHash<QString, std::shared_ptr<CoordSystem>> entries;
};

FactoryCache& cache()
{
    static FactoryCache c;
    return c;
}

// The horizontal part: the source of a bound system, the first part of a
// compound one. Returns pj itself or a new object held by `holder`.
PJ* horizontalCrs(PJ_CONTEXT* ctx, PJ* pj, ProjObjectPtr& holder)
{
    for (int i = 0; i < 3; ++i) {
        const PJ_TYPE type = proj_get_type(pj);
        PJ* next = nullptr;
        if (type == PJ_TYPE_BOUND_CRS)
            next = proj_get_source_crs(ctx, pj);
        else if (type == PJ_TYPE_COMPOUND_CRS)
            next = proj_crs_get_sub_crs(ctx, pj, 0);
        if (!next)
            break;
        holder = ProjThreadState::adopt(next);
        pj = next;
    }
    return pj;
}

std::unique_ptr<CoordSystem::Private> describe(PJ* pj, const QString& definition)
{
    PJ_CONTEXT* ctx = ProjThreadState::context();
    auto p = std::make_unique<CoordSystem::Private>();
    p->serial = CoordSystem::Private::nextSerial();
    p->definition = definition;
    if (const char* name = proj_get_name(pj))
        p->name = QString::fromUtf8(name);

    const char* wkt = proj_as_wkt(ctx, pj, PJ_WKT2_2019, nullptr);
    if (!wkt)
        wkt = proj_as_wkt(ctx, pj, PJ_WKT1_GDAL, nullptr);
    p->wkt = wkt ? QString::fromUtf8(wkt) : definition;

    const char* auth = proj_get_id_auth_name(pj, 0);
    const char* code = proj_get_id_code(pj, 0);
    if (auth && code && std::strcmp(auth, "EPSG") == 0) {
        p->epsgCode = std::atoi(code);
        p->epsgKnown = true;
    }

    ProjObjectPtr holder;
    PJ* horizontal = horizontalCrs(ctx, pj, holder);
    const PJ_TYPE type = proj_get_type(horizontal);
    p->geographic = type == PJ_TYPE_GEOGRAPHIC_2D_CRS || type == PJ_TYPE_GEOGRAPHIC_3D_CRS;
    p->projected = type == PJ_TYPE_PROJECTED_CRS;

    if (const ProjObjectPtr ellipsoid = ProjThreadState::adopt(proj_get_ellipsoid(ctx, horizontal))) {
        int computed = 0;
        proj_ellipsoid_get_parameters(ctx, ellipsoid->get(), &p->semiMajor, &p->semiMinor, &computed,
                                      &p->inverseFlattening);
    }
    if (const ProjObjectPtr axes = ProjThreadState::adopt(proj_crs_get_coordinate_system(ctx, horizontal))) {
        double factor = 0.0;
        if (proj_cs_get_axis_info(ctx, axes->get(), 0, nullptr, nullptr, nullptr, &factor, nullptr, nullptr,
                                  nullptr) && factor > 0.0)
            p->unitFactor = factor;
    }
    return p;
}

// "EPSG:4326", "urn:...", PROJ strings, WKT and PROJJSON; anything else is
// taken as the name of a system.
bool isStructured(const QString& text)
{
    static const QRegularExpression structured(QStringLiteral("^[A-Za-z][A-Za-z0-9_.-]*:|^\\+|proj=|[\\[{(]"));
    return structured.match(text).hasMatch();
}

// A system by its exact name (case aside). proj_create() would also match
// names loosely ("foo" finds "Amersfoort") and search far longer for
// texts that name nothing. Returns the definition to make it from, or an
// empty string.
QString definitionByName(PJ_CONTEXT* ctx, const QString& name)
{
    static const PJ_TYPE crsTypes[] = {PJ_TYPE_GEOGRAPHIC_2D_CRS, PJ_TYPE_GEOGRAPHIC_3D_CRS, PJ_TYPE_GEOCENTRIC_CRS,
                                       PJ_TYPE_PROJECTED_CRS,     PJ_TYPE_COMPOUND_CRS,      PJ_TYPE_VERTICAL_CRS,
                                       PJ_TYPE_ENGINEERING_CRS,   PJ_TYPE_BOUND_CRS,         PJ_TYPE_OTHER_CRS};
    PJ_OBJ_LIST* found = proj_create_from_name(ctx, nullptr, name.toUtf8().constData(), crsTypes,
                                               sizeof crsTypes / sizeof crsTypes[0], 0, 1, nullptr);
    if (!found)
        return QString();
    QString definition;
    if (proj_list_get_count(found) > 0) {
        if (const ProjObjectPtr pj = ProjThreadState::adopt(proj_list_get(ctx, found, 0))) {
            const char* auth = proj_get_id_auth_name(pj->get(), 0);
            const char* code = proj_get_id_code(pj->get(), 0);
            if (auth && code)
                definition = QStringLiteral("%1:%2").arg(QString::fromUtf8(auth), QString::fromUtf8(code));
        }
    }
    proj_list_destroy(found);
    return definition;
}

} // namespace

CoordSysFactory* CoordSysFactory::defaultCoordSysFactory()
{
    static CoordSysFactory factory;
    return &factory;
}

std::shared_ptr<CoordSystem> CoordSysFactory::createFromEpsg(int code) const
{
    if (code <= 0)
        return {};
    const QString key = QStringLiteral("EPSG:%1").arg(code);
    std::shared_ptr<CoordSystem> result;
    if (cache().find(key, result))
        return result;

    PJ_CONTEXT* ctx = ProjThreadState::context();
    const QByteArray codeText = QByteArray::number(code);
    if (const ProjObjectPtr pj = ProjThreadState::adopt(
            proj_create_from_database(ctx, "EPSG", codeText.constData(), PJ_CATEGORY_CRS, 0, nullptr))) {
        auto p = describe(pj->get(), key);
        p->epsgCode = code;
        p->epsgKnown = true;
        result.reset(new CoordSystem(std::move(p)));
    } else {
        qCDebug(lcCs) << "Unknown EPSG code" << code;
    }
    return cache().insert(key, std::move(result));
}

std::shared_ptr<CoordSystem> CoordSysFactory::createFromTaggedString(const QString& text) const
{
    const QString definition = text.trimmed();
    if (definition.isEmpty())
        return {};
    std::shared_ptr<CoordSystem> result;
    if (cache().find(definition, result))
        return result;

    PJ_CONTEXT* ctx = ProjThreadState::context();
    QString used = isStructured(definition) ? definition : definitionByName(ctx, definition);
    ProjObjectPtr pj;
    if (!used.isEmpty())
        pj = ProjThreadState::adopt(proj_create(ctx, used.toUtf8().constData()));
    // A PROJ string without "+type=crs" describes an operation, not a system.
    if ((!pj || !proj_is_crs(pj->get())) && used.contains(QLatin1String("proj="))
        && !used.contains(QLatin1String("type=crs"))) {
        used += QLatin1String(" +type=crs");
        pj = ProjThreadState::adopt(proj_create(ctx, used.toUtf8().constData()));
    }
    if (pj && proj_is_crs(pj->get()))
        result.reset(new CoordSystem(describe(pj->get(), used)));
    else
        qCDebug(lcCs) << "Not a coordinate system:" << definition.left(200);
    return cache().insert(definition, std::move(result));
}

} // namespace tessera::cs
