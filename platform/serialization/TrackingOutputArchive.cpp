#include "platform/serialization/Archive.h"

namespace tessera::serialization {

TrackingOutputArchive::TrackingOutputArchive(OutputArchive& archive) : a(archive) {}

TrackingOutputArchive::~TrackingOutputArchive() = default;

void TrackingOutputArchive::saveSerializable(const Serializable& object)
{
    const auto [it, isNew] = seen.emplace(&object, written);
    if (!isNew) {
        a.stream() << QString() << it->second;
        return;
    }
    write(object);
}

void TrackingOutputArchive::saveUnsharedSerializable(const Serializable& object)
{
    write(object);
}

void TrackingOutputArchive::write(const Serializable& object)
{
    QDataStream& s = a.stream();
    // The reader numbers every object it reads in full, in this order.
    ++written;
    if (depth >= TrackingInputArchive::maxDepth)
        throw Error("Objects nest too deeply to be archived");
    const QString tag = object.className();
    if (tag.isEmpty())
        throw Error("An object without class name cannot be archived");
    s << tag << object.classVersion();
    ++depth;
    try {
        object.save(*this);
    } catch (...) {
        --depth;
        throw;
    }
    --depth;
}

} // namespace tessera::serialization
