#include "platform/serialization/Archive.h"

#include "platform/serialization/StreamIo.h"

namespace tessera::serialization {

namespace {
class DepthGuard {
public:
    explicit DepthGuard(int& depth) : d(depth) { ++d; }
    ~DepthGuard() { --d; }
    DepthGuard(const DepthGuard&) = delete;
    DepthGuard& operator=(const DepthGuard&) = delete;
private:
    int& d;
};
} // namespace

TrackingInputArchive::TrackingInputArchive(InputArchive& archive) : a(archive) {}

TrackingInputArchive::~TrackingInputArchive() = default;

std::shared_ptr<Serializable> TrackingInputArchive::loadSerializable()
{
    return load(true);
}

std::shared_ptr<Serializable> TrackingInputArchive::loadUnsharedSerializable()
{
    return load(false);
}

std::shared_ptr<Serializable> TrackingInputArchive::load(bool allowReference)
{
    QDataStream& s = a.stream();
    const QString tag = readString(s);
    if (tag.isNull()) {
        if (!allowReference)
            throw Error("Archive refers back to an object that cannot be shared");
        quint32 index = 0;
        s >> index;
        checkStream(s);
        // A slot that is still empty belongs to an object being read: a cycle.
        if (index >= seen.size() || !seen[index])
            throw Error("Archive refers to an object that was not read before");
        return seen[index];
    }
    if (tag.isEmpty())
        throw Error("Archive holds an object without class name");
    quint32 version = 0;
    s >> version;
    checkStream(s);
    if (depth >= maxDepth)
        throw Error("Archive objects nest too deeply");
    const SerializableRegistry::Loader* loader = SerializableRegistry::instance().find(tag);
    if (!loader)
        throw Error("Archive holds an unknown class: " + tag.toStdString());

    const std::size_t slot = seen.size();
    seen.emplace_back();
    std::shared_ptr<Serializable> object;
    {
        DepthGuard guard(depth);
        object = (*loader)(*this, version);
    }
    if (!object)
        throw Error("Archive object of class " + tag.toStdString() + " could not be read");
    seen[slot] = object;
    return object;
}

} // namespace tessera::serialization
