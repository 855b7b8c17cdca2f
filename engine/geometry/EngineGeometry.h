#pragma once
// The TesGeo blob: the value of every geometry column in the engine database.
// A blob is a sequence of blocks: header byte (bits 0-1: length-field bytes
// minus one, bits 2-7: block type), a little-endian length of 1 to 4 bytes,
// then the payload. Type 0 holds the geometry written through a tracking
// archive (without its coordinate system); type 1, present only when the
// geometry has a coordinate system, holds a version and the coordinate system.

#include "engine/EngineExport.h"

#include <QByteArray>
#include <functional>
#include <memory>

namespace tessera::cs { class CoordSystem; }
namespace tessera::geometry { class Geometry; }

namespace tessera::engine {

class TESSERA_ENGINE_EXPORT EngineGeometry {
public:
    using CoordSystemSink = std::function<void(const std::shared_ptr<cs::CoordSystem>&, const QByteArray&)>;
    using CoordSystemResolver = std::function<std::shared_ptr<cs::CoordSystem>(const void* data, int size)>;

    EngineGeometry() = default;
    explicit EngineGeometry(std::shared_ptr<const geometry::Geometry> geometry);

    std::shared_ptr<const geometry::Geometry> geometry() const { return g; }
    explicit operator bool() const { return static_cast<bool>(g); }

    QByteArray serialize(const CoordSystemSink& onCoordSystem) const;
    // The geometry is not modified; `onCoordSystem` is called (and must be
    // callable) when it has a coordinate system.
    static QByteArray serialize(const std::shared_ptr<geometry::Geometry>& geometry, const CoordSystemSink& onCoordSystem);
    // Never throws for bad bytes: the result is empty when no geometry could be read.
    static EngineGeometry deserialize(const QByteArray& blob, const CoordSystemResolver& resolveCoordSystem);

    // Number of length bytes used for a payload of `length` bytes (1..4).
    static int lengthBytes(quint32 length);

private:
    std::shared_ptr<const geometry::Geometry> g;
};

} // namespace tessera::engine
