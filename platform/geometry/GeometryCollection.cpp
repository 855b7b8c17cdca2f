#include "platform/geometry/Geometry.h"

#include "platform/geometry/Bounds.h"
#include "platform/geometry/GeometryStream.h"
#include "platform/serialization/StreamIo.h"

#include <algorithm>

namespace tessera::geometry {

// Members are mutable shared objects: a copy owns copies of them.
GeometryCollection::GeometryCollection(const GeometryCollection& other) : Geometry(other)
{
    ms.reserve(other.ms.size());
    for (const auto& member : other.ms)
        ms.push_back(member ? std::shared_ptr<Geometry>(member->clone()) : nullptr);
}

GeometryCollection& GeometryCollection::operator=(const GeometryCollection& other)
{
    if (this != &other) {
        GeometryCollection copy(other);
        Geometry::operator=(copy);
        ms = std::move(copy.ms);
    }
    return *this;
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

void GeometryCollection::saveBody(serialization::TrackingOutputArchive& archive) const
{
    const auto present = std::count_if(ms.begin(), ms.end(), [](const auto& m) { return m != nullptr; });
    archive.stream() << quint32(present);
    for (const auto& member : ms)
        if (member)
            archive.saveUnsharedSerializable(*member);
}

std::shared_ptr<GeometryCollection> GeometryCollection::load(serialization::TrackingInputArchive& archive,
                                                             quint32 version)
{
    checkVersion("GeometryCollection", version);
    // Members are never shared, so each is an object of its own: a class name
    // (at least 6 bytes) and a version. Every vertex then takes its own 16
    // bytes, which bounds the vertices of a geometry by the size of its bytes.
    const quint32 count = serialization::readCount(archive.stream(), 10);
    std::vector<std::shared_ptr<Geometry>> members;
    members.reserve(std::min<quint32>(count, 1u << 16));
    for (quint32 i = 0; i < count; ++i) {
        auto member = std::dynamic_pointer_cast<Geometry>(archive.loadUnsharedSerializable());
        if (!member)
            throw serialization::Error("Archive holds a collection member that is no geometry");
        members.push_back(std::move(member));
    }
    return std::make_shared<GeometryCollection>(std::move(members));
}

} // namespace tessera::geometry
