#include "engine/geometry/EngineGeometry.h"

#include "platform/cs/CoordSystem.h"
#include "platform/cs/CoordSystemArchive.h"
#include "platform/geometry/Geometry.h"
#include "platform/serialization/Archive.h"

#include <QDataStream>
#include <QIODevice>
#include <exception>

namespace tessera::engine {

namespace {

enum BlockType : quint8 { GeometryBlock = 0, CoordSystemBlock = 1 };
constexpr quint8 maxHeader = 7;

void appendBlockHeader(QByteArray& out, BlockType type, quint32 length)
{
    const int n = EngineGeometry::lengthBytes(length);
    out.append(static_cast<char>((n - 1) | (type << 2)));
    for (int i = 0; i < n; ++i)
        out.append(static_cast<char>((length >> (8 * i)) & 0xFF));
}

QByteArray geometryPayload(const geometry::Geometry& g)
{
    QByteArray payload;
    QDataStream stream(&payload, QIODevice::ReadWrite);
    serialization::BinaryOutputArchive archive(stream);
    serialization::TrackingOutputArchive tracking(archive);
    tracking.saveSerializable(g);
    return payload;
}

QByteArray coordSystemPayload(const std::shared_ptr<cs::CoordSystem>& coordSystem)
{
    QByteArray payload;
    QDataStream stream(&payload, QIODevice::ReadWrite);
    serialization::BinaryOutputArchive archive(stream);
    archive.saveVersion(0);
    serialization::save(archive, coordSystem, 0);
    return payload;
}

// Whether the payload can start a geometry archive: a non-empty class tag
// (quint32 byte length, even, within the payload, ASCII) and a version. Other bytes
// (a SpatiaLite blob read as blocks, say) would only make the archive throw,
// and exceptions are far too slow for the per-row path.
bool mayHoldGeometry(const QByteArray& payload)
{
    if (payload.size() < 10)
        return false;
    const auto* p = reinterpret_cast<const unsigned char*>(payload.constData());
    const quint32 tagBytes = (quint32(p[0]) << 24) | (quint32(p[1]) << 16) | (quint32(p[2]) << 8) | p[3];
    if (tagBytes == 0 || tagBytes % 2 != 0 || tagBytes > quint32(payload.size() - 8))
        return false;
    // Class names are printable ASCII (big-endian UTF-16 units).
    for (quint32 k = 0; k < tagBytes; k += 2) {
        if (p[4 + k] != 0 || p[5 + k] <= 0x20 || p[5 + k] >= 0x7F)
            return false;
    }
    return true;
}

std::shared_ptr<geometry::Geometry> readGeometry(const QByteArray& payload)
{
    if (!mayHoldGeometry(payload))
        return nullptr;
    try {
        QDataStream stream(payload);
        serialization::BinaryInputArchive archive(stream);
        serialization::TrackingInputArchive tracking(archive);
        return std::dynamic_pointer_cast<geometry::Geometry>(tracking.loadSerializable());
    } catch (...) {
        // Bad bytes are no geometry.
        return nullptr;
    }
}

std::shared_ptr<cs::CoordSystem> readCoordSystem(const QByteArray& payload)
{
    if (!serialization::mayHoldCoordSystem(payload.constData(), payload.size()))
        return nullptr;
    try {
        QDataStream stream(payload);
        serialization::BinaryInputArchive archive(stream);
        const quint32 version = archive.loadVersion();
        std::shared_ptr<cs::CoordSystem> coordSystem;
        serialization::load(archive, coordSystem, version);
        return coordSystem;
    } catch (...) {
        return nullptr;
    }
}

} // namespace

EngineGeometry::EngineGeometry(std::shared_ptr<const geometry::Geometry> geometry)
    : g(std::move(geometry))
{
}

int EngineGeometry::lengthBytes(quint32 length)
{
    if (length < 0x100)
        return 1;
    if (length < 0x10000)
        return 2;
    if (length < 0x1000000)
        return 3;
    return 4;
}

QByteArray EngineGeometry::serialize(const CoordSystemSink& onCoordSystem) const
{
    return serialize(std::const_pointer_cast<geometry::Geometry>(g), onCoordSystem);
}

QByteArray EngineGeometry::serialize(const std::shared_ptr<geometry::Geometry>& geometry, const CoordSystemSink& onCoordSystem)
{
    QByteArray result;
    if (!geometry)
        return result;

    // The coordinate system goes into a block of its own, shared through the
    // cache. The geometry archive never writes a coordinate system, so the
    // geometry is left untouched: detaching its coordinate system for the
    // time of writing would race with other threads reading the same
    // (cached, shared) geometry, and the bytes are the same either way.
    const std::shared_ptr<cs::CoordSystem> coordSystem = geometry->coordSystem();
    const QByteArray payload = geometryPayload(*geometry);
    appendBlockHeader(result, GeometryBlock, static_cast<quint32>(payload.size()));
    result.append(payload);

    if (coordSystem) {
        const QByteArray csPayload = coordSystemPayload(coordSystem);
        appendBlockHeader(result, CoordSystemBlock, static_cast<quint32>(csPayload.size()));
        onCoordSystem(coordSystem, csPayload);
        result.append(csPayload);
    }
    return result;
}

EngineGeometry EngineGeometry::deserialize(const QByteArray& blob, const CoordSystemResolver& resolveCoordSystem)
{
    // Read straight from the bytes: every value that is not a TesGeo blob
    // (SpatiaLite blobs above all) is walked through here byte by byte, so
    // a stream device per byte would dominate the cost of every function.
    const auto* bytes = reinterpret_cast<const unsigned char*>(blob.constData());
    const qint64 size = blob.size();
    qint64 pos = 0;
    std::shared_ptr<geometry::Geometry> geo;
    std::shared_ptr<cs::CoordSystem> crs;

    while (pos < size) {
        const quint8 header = bytes[pos++];
        if (header <= maxHeader) {
            const int n = (header & 3) + 1;
            if (size - pos < n)
                break;   // cut inside the length: nothing more to read
            quint32 length = 0;
            for (int i = n - 1; i >= 0; --i)
                length = (length << 8) | bytes[pos + i];
            pos += n;
            // A length beyond the remaining bytes is a short read.
            if (static_cast<qint64>(length) > size - pos)
                break;
            const char* payloadData = blob.constData() + pos;
            pos += length;

            if ((header >> 2) == CoordSystemBlock) {
                if (!crs) {
                    crs = resolveCoordSystem(payloadData, static_cast<int>(length));
                    if (!crs)
                        crs = readCoordSystem(QByteArray::fromRawData(payloadData, static_cast<int>(length)));
                    if (crs && geo)
                        geo->setCoordSystem(crs);
                }
            } else if (!geo) {
                geo = readGeometry(QByteArray::fromRawData(payloadData, static_cast<int>(length)));
                if (geo && !geo->coordSystem())
                    geo->setCoordSystem(crs);
            }
        }
        // A geometry with its coordinate system is complete; trailing bytes are not examined.
        if (geo && geo->coordSystem())
            break;
    }
    return EngineGeometry(std::move(geo));
}

} // namespace tessera::engine
