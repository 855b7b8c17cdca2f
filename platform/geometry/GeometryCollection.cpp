#include "platform/geometry/Geometry.h"

#include "platform/geometry/Bounds.h"

namespace tessera::geometry {

// Members are mutable shared objects: a copy owns copies of them.
GeometryCollection::GeometryCollection(const GeometryCollection& other) : Geometry(other)
{
    ms.reserve(other.ms.size());
    for (const auto& member : other.ms)
        ms.push_back(member ? std::shared_ptr<Geometry>(member->clone()) : nullptr);
}

bool GeometryCollection::isEmpty() const
{
    for (const auto& member : ms)
        if (member && !member->isEmpty())
            return false;
    return true;
}

QRectF GeometryCollection::boundingRect() const
{
    Bounds b;
    for (const auto& member : ms)
        if (member && !member->isEmpty())
            b.add(member->boundingRect());
    return b.rect();
}

void GeometryCollection::transformPoints(const std::function<QPointF(const QPointF&)>& f)
{
    for (const auto& member : ms)
        if (member)
            member->transformPoints(f);
}

} // namespace tessera::geometry
