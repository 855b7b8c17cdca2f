#include "platform/cs/CoordTransformation.h"

#include "platform/cs/ProjThreadState.h"

#include <cmath>
#include <stdexcept>
#include <thread>

namespace tessera::cs {

struct CoordTransformation::Private {
    const CoordSystem& source;
    const CoordSystem& target;
    std::thread::id thread;
    ProjObjectPtr operation;

    PJ* operationForThisThread()
    {
        // The PJ belongs to the context of the thread that made it.
        if (std::this_thread::get_id() != thread) {
            operation = ProjThreadState::transformation(source, target);
            thread = std::this_thread::get_id();
        }
        return operation->get();
    }
};

CoordTransformation::CoordTransformation(const CoordSystem& source, const CoordSystem& target)
    : d(new Private{source, target, std::this_thread::get_id(), ProjThreadState::transformation(source, target)})
{
}

CoordTransformation::~CoordTransformation() = default;

QPointF CoordTransformation::transform(const QPointF& point) const
{
    PJ* op = d->operationForThisThread();
    proj_errno_reset(op);
    const PJ_COORD out = proj_trans(op, PJ_FWD, proj_coord(point.x(), point.y(), 0.0, 0.0));
    if (!std::isfinite(out.xy.x) || !std::isfinite(out.xy.y) || out.xy.x == HUGE_VAL) {
        const int code = proj_errno(op);
        const char* reason = code ? proj_context_errno_string(ProjThreadState::context(), code) : nullptr;
        throw std::runtime_error("Coordinates (" + std::to_string(point.x()) + ", " + std::to_string(point.y())
                                 + ") cannot be transformed from " + d->source.name().toStdString() + " to "
                                 + d->target.name().toStdString()
                                 + (reason ? std::string(": ") + reason : std::string()));
    }
    return QPointF(out.xy.x, out.xy.y);
}

} // namespace tessera::cs
