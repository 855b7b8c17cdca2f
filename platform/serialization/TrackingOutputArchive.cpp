#include "platform/serialization/Archive.h"

namespace tessera::serialization {

TrackingOutputArchive::TrackingOutputArchive(OutputArchive& archive) : a(archive) {}

TrackingOutputArchive::~TrackingOutputArchive() = default;

void TrackingOutputArchive::saveSerializable(const Serializable& object)
{
    QDataStream& s = a.stream();
    const auto [it, isNew] = seen.emplace(&object, quint32(seen.size()));
    if (!isNew) {
        s << QString() << it->second;
        return;
    }
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
