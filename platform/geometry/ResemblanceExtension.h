#pragma once
// An extension that offers a simpler look-alike of a geometry (for drawing
// and comparing at small scales).

#include "platform/geometry/GeometryExport.h"
#include "platform/core/Extensions.h"
#include "platform/geometry/Geometry.h"

namespace tessera::geometry {

class TESSERA_GEOMETRY_EXPORT ResemblanceExtension : public plugin::Extension {
public:
    struct Setup {
        explicit Setup(double tolerance) : tolerance(tolerance) {}
        double tolerance;   // largest allowed deviation, in the geometry's units
    };
    // Called once when the extension is registered with a cache: read or
    // adjust the shared set-up.
    virtual void setup(Setup& setup) = 0;
    // The look-alike, or an empty pointer when this extension has none.
    virtual ConstGeometryPtr resemblance(const ConstGeometryPtr& geometry, const Setup& setup) const = 0;
};

} // namespace tessera::geometry
