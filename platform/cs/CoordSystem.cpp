#include "platform/cs/CoordSystem.h"

#include "platform/cs/CoordSystemPrivate.h"
#include "platform/cs/Logging.h"
#include "platform/cs/ProjThreadState.h"

#include <cstring>
#include <stdexcept>

namespace tessera::cs {

namespace {

// Finds an EPSG system equivalent to pj. Axis order is ignored for
// geographic systems: transformations normalise it anyway, and PROJ strings
// always state longitude first while EPSG puts latitude first.
int identifyEpsg(PJ_CONTEXT* ctx, PJ* pj)
{
    int* confidence = nullptr;
    PJ_OBJ_LIST* candidates = proj_identify(ctx, pj, "EPSG", nullptr, &confidence);
    if (!candidates)
        return 0;
    int code = 0;
    const int count = proj_list_get_count(candidates);
    for (int i = 0; i < count && code == 0; ++i) {
        if (confidence[i] < 70)
            continue;
        PJ* candidate = proj_list_get(ctx, candidates, i);
        if (!candidate)
            continue;
        if (proj_is_equivalent_to_with_ctx(ctx, candidate, pj, PJ_COMP_EQUIVALENT_EXCEPT_AXIS_ORDER_GEOGCRS)) {
            const char* auth = proj_get_id_auth_name(candidate, 0);
            const char* id = proj_get_id_code(candidate, 0);
            if (auth && id && std::strcmp(auth, "EPSG") == 0)
                code = std::atoi(id);
        }
        proj_destroy(candidate);
    }
    proj_int_list_destroy(confidence);
    proj_list_destroy(candidates);
    return code;
}

} // namespace

quint64 CoordSystem::Private::nextSerial()
{
    static std::atomic<quint64> counter{0};
    return ++counter;
}

CoordSystem::CoordSystem(std::unique_ptr<Private> priv) : d(std::move(priv)) {}

CoordSystem::~CoordSystem() = default;

int CoordSystem::epsg() const
{
    if (d->epsgKnown)
        return d->epsgCode;
    std::call_once(d->epsgOnce, [this] {
        try {
            const ProjObjectPtr pj = ProjThreadState::crs(*this);
            d->epsgCode = identifyEpsg(pj->context(), pj->get());
        } catch (const std::exception& e) {
            qCWarning(lcCs) << "Identification of" << d->name << "failed:" << e.what();
        }
    });
    return d->epsgCode;
}

QString CoordSystem::taggedString() const
{
    const int code = epsg();
    return code ? QStringLiteral("EPSG:%1").arg(code) : d->wkt;
}

QString CoordSystem::wkt() const { return d->wkt; }
QString CoordSystem::name() const { return d->name; }
bool CoordSystem::isGeographic() const { return d->geographic; }
bool CoordSystem::isProjected() const { return d->projected; }
double CoordSystem::semiMajorAxis() const { return d->semiMajor; }
double CoordSystem::inverseFlattening() const { return d->inverseFlattening; }
double CoordSystem::semiMinorAxis() const { return d->semiMinor; }
double CoordSystem::axisUnitFactor() const { return d->unitFactor; }

bool CoordSystem::isEquivalentTo(const CoordSystem& other) const
{
    if (this == &other || d->serial == other.d->serial || d->definition == other.d->definition)
        return true;
    const int a = epsg();
    const int b = other.epsg();
    if (a && b)
        return a == b;
    try {
        const ProjObjectPtr pa = ProjThreadState::crs(*this);
        const ProjObjectPtr pb = ProjThreadState::crs(other);
        return proj_is_equivalent_to_with_ctx(ProjThreadState::context(), pa->get(), pb->get(),
                                              PJ_COMP_EQUIVALENT_EXCEPT_AXIS_ORDER_GEOGCRS) != 0;
    } catch (const std::exception& e) {
        qCWarning(lcCs) << "Comparison of coordinate systems failed:" << e.what();
        return false;
    }
}

} // namespace tessera::cs
