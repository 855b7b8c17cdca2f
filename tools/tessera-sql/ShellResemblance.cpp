#include "tools/tessera-sql/ShellResemblance.h"

#include "platform/geometry/algorithms/GeosAdapter.h"

#include <algorithm>
#include <exception>

namespace tessera::shell {

void ShellResemblance::setup(Setup&)
{
    // A tolerance of 0 (the engine's default) means: relative to each
    // geometry's size, as the geometry model's own look-alike does.
}

geometry::ConstGeometryPtr ShellResemblance::resemblance(const geometry::ConstGeometryPtr& g, const Setup& setup) const
{
    if (!g || g->isEmpty() || g->type() == geometry::GeometryType::Point || g->type() == geometry::GeometryType::MultiPoint)
        return {};
    const QRectF box = g->boundingRect();
    const double tolerance = setup.tolerance > 0
        ? setup.tolerance
        : geometry::Geometry::resemblanceFraction * std::max(box.width(), box.height());
    try {
        const geometry::GeosAdapter geos;
        const geometry::GeosGeometry source = geos.toGeos(g);
        const geometry::GeosGeometry simple = geos.own(GEOSTopologyPreserveSimplify_r(geos.handle(), source.get(), tolerance));
        geometry::GeometryPtr result = geos.fromGeos(simple.get());
        if (!result)
            return {};
        result->setCoordSystem(g->coordSystem());
        return result;
    } catch (const std::exception&) {
        return {};
    }
}

} // namespace tessera::shell
