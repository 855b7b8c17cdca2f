#include "platform/geometry/algorithms/CoordSystemAlignment.h"

#include "platform/cs/CoordSystem.h"
#include "platform/geometry/Algorithms.h"

#include <stdexcept>

namespace tessera::geometry {

namespace {

ConstGeometryPtr labelled(const ConstGeometryPtr& g, const CoordSystemPtr& coordSystem)
{
    std::shared_ptr<Geometry> copy = g->clone();
    copy->setCoordSystem(coordSystem);
    fitGeometry(*copy);
    return copy;
}

} // namespace

std::pair<ConstGeometryPtr, ConstGeometryPtr> alignCoordSystems(const ConstGeometryPtr& a, const ConstGeometryPtr& b)
{
    if (!a || !b)
        throw std::invalid_argument("No geometry");
    const CoordSystemPtr& csA = a->coordSystem();
    const CoordSystemPtr& csB = b->coordSystem();
    if (csA && csB) {
        if (csA == csB || csA->isEquivalentTo(*csB))
            return {a, b};
        return {a, b->transformed(csA)};
    }
    if (csA)
        return {a, labelled(b, csA)};
    if (csB)
        return {labelled(a, csB), b};
    return {a, b};
}

std::pair<ConstGeometryPtr, ConstGeometryPtr> alignCoordSystemsSymmetrically(const ConstGeometryPtr& a,
                                                                             const ConstGeometryPtr& b, bool inPlane)
{
    if (!a || !b)
        throw std::invalid_argument("No geometry");
    const CoordSystemPtr& csA = a->coordSystem();
    const CoordSystemPtr& csB = b->coordSystem();
    if (!csA || !csB || csA == csB || csA->isEquivalentTo(*csB))
        return alignCoordSystems(a, b);
    const bool bFirst = csA->isGeographic() != csB->isGeographic()
        ? csB->isGeographic() != inPlane
        : csB->taggedString() < csA->taggedString();
    if (!bFirst)
        return {a, b->transformed(csA)};
    return {a->transformed(csB), b};
}

} // namespace tessera::geometry
