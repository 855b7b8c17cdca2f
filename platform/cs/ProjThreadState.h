#pragma once
// PROJ contexts and objects are not thread-safe. Every thread gets its own
// PJ_CONTEXT and builds its own PJ objects from a coordinate system's
// definition text the first time it needs them; they are cached per thread.
// Internal to the coordinate-system library and the geometry transformations.

#include "platform/cs/CsExport.h"

#include <QString>
#include <proj.h>

#include <memory>

namespace tessera::cs {

class CoordSystem;

// A PJ object together with the context it was made in; the context lives
// as long as any object made in it, even past its thread's end.
class TESSERA_CS_EXPORT ProjObject {
public:
    ProjObject(std::shared_ptr<PJ_CONTEXT> context, PJ* pj) : ctx(std::move(context)), p(pj) {}
    ~ProjObject() { if (p) proj_destroy(p); }
    ProjObject(const ProjObject&) = delete;
    ProjObject& operator=(const ProjObject&) = delete;
    PJ* get() const { return p; }
    PJ_CONTEXT* context() const { return ctx.get(); }
private:
    std::shared_ptr<PJ_CONTEXT> ctx;
    PJ* p;
};
using ProjObjectPtr = std::shared_ptr<const ProjObject>;

class TESSERA_CS_EXPORT ProjThreadState {
public:
    // The calling thread's context.
    static PJ_CONTEXT* context();
    // Takes ownership of pj, made in the calling thread's context.
    static ProjObjectPtr adopt(PJ* pj);
    // The calling thread's PJ for the coordinate system (made on first use).
    // Throws std::runtime_error when PROJ no longer accepts the definition.
    static ProjObjectPtr crs(const CoordSystem& coordSystem);
    // The calling thread's operation from source to target, normalised so that
    // x is longitude or easting. Throws std::runtime_error when PROJ has none.
    static ProjObjectPtr transformation(const CoordSystem& source, const CoordSystem& target);
    // The text of the calling thread's last PROJ error.
    static QString lastError();
};

} // namespace tessera::cs
