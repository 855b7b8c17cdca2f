#pragma once
// The shell's resemblance extension: a look-alike that keeps the topology of
// the geometry (GEOS's topology-preserving simplification), so that rings
// neither cross themselves nor swallow their holes, unlike the plain
// Douglas-Peucker fallback of the geometry model.

#include "platform/geometry/ResemblanceExtension.h"

namespace tessera::shell {

class ShellResemblance final : public geometry::ResemblanceExtension {
public:
    void setup(Setup& setup) override;
    // Empty for points and empty geometries (the fallback keeps them as they
    // are) and when GEOS cannot simplify the geometry.
    geometry::ConstGeometryPtr resemblance(const geometry::ConstGeometryPtr& geometry, const Setup& setup) const override;
};

} // namespace tessera::shell
