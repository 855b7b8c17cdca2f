#include "platform/cs/ProjThreadState.h"

#include "platform/cs/CoordSystemPrivate.h"
#include "platform/cs/Logging.h"

#include <map>
#include <stdexcept>
#include <unordered_map>
#include <utility>

namespace tessera::cs {

namespace {

// Enough for the systems and operations one thread works with; when exceeded
// the cache starts again (objects in use stay alive through their pointers).
constexpr std::size_t maxCachedObjects = 128;

void logProjMessage(void*, int level, const char* message)
{
    // PROJ reports every rejected text as an error; callers decide what that
    // means, so it only goes to the debug log here.
    if (level <= PJ_LOG_ERROR)
        qCDebug(lcCs) << "PROJ:" << message;
}

struct State {
    std::shared_ptr<PJ_CONTEXT> context;
    // Declared after the context: destroyed first.
    std::unordered_map<quint64, ProjObjectPtr> crs;
    std::map<std::pair<quint64, quint64>, ProjObjectPtr> transformations;

    State()
    {
        PJ_CONTEXT* ctx = proj_context_create();
        if (!ctx)
            throw std::runtime_error("PROJ context could not be created");
        proj_log_func(ctx, nullptr, &logProjMessage);
        context.reset(ctx, [](PJ_CONTEXT* c) { proj_context_destroy(c); });
    }
};

State& state()
{
    thread_local State s;
    return s;
}

} // namespace

PJ_CONTEXT* ProjThreadState::context()
{
    return state().context.get();
}

ProjObjectPtr ProjThreadState::adopt(PJ* pj)
{
    return pj ? std::make_shared<const ProjObject>(state().context, pj) : ProjObjectPtr();
}

QString ProjThreadState::lastError()
{
    PJ_CONTEXT* ctx = context();
    const int code = proj_context_errno(ctx);
    const char* text = code ? proj_context_errno_string(ctx, code) : nullptr;
    return text ? QString::fromUtf8(text) : QStringLiteral("unknown PROJ error");
}

ProjObjectPtr ProjThreadState::crs(const CoordSystem& coordSystem)
{
    State& s = state();
    const CoordSystem::Private& p = coordSystem.priv();
    if (const auto it = s.crs.find(p.serial); it != s.crs.end())
        return it->second;
    ProjObjectPtr object = adopt(proj_create(s.context.get(), p.definition.toUtf8().constData()));
    if (!object)
        throw std::runtime_error("PROJ cannot make the coordinate system " + p.name.toStdString() + ": "
                                 + lastError().toStdString());
    if (s.crs.size() >= maxCachedObjects)
        s.crs.clear();
    s.crs.emplace(p.serial, object);
    return object;
}

ProjObjectPtr ProjThreadState::transformation(const CoordSystem& source, const CoordSystem& target)
{
    State& s = state();
    const auto key = std::make_pair(source.priv().serial, target.priv().serial);
    if (const auto it = s.transformations.find(key); it != s.transformations.end())
        return it->second;

    const ProjObjectPtr from = crs(source);
    const ProjObjectPtr to = crs(target);
    PJ_CONTEXT* ctx = s.context.get();
    proj_errno_reset(from->get());
    const ProjObjectPtr raw = adopt(proj_create_crs_to_crs_from_pj(ctx, from->get(), to->get(), nullptr, nullptr));
    if (!raw)
        throw std::runtime_error("No transformation from " + source.name().toStdString() + " to "
                                 + target.name().toStdString() + ": " + lastError().toStdString());
    const ProjObjectPtr normalized = adopt(proj_normalize_for_visualization(ctx, raw->get()));
    if (!normalized)
        throw std::runtime_error("No transformation from " + source.name().toStdString() + " to "
                                 + target.name().toStdString() + ": " + lastError().toStdString());
    if (s.transformations.size() >= maxCachedObjects)
        s.transformations.clear();
    s.transformations.emplace(key, normalized);
    return normalized;
}

} // namespace tessera::cs
