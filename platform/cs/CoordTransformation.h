#pragma once
// A coordinate operation between two coordinate systems, with x as longitude
// or easting on both sides whatever the systems' axis order. Both systems
// must outlive the object. One thread at a time may use it; a thread that
// takes it over uses a PROJ operation of its own.

#include "platform/cs/CsExport.h"
#include "platform/cs/CoordSystem.h"

#include <QPointF>
#include <memory>

namespace tessera::cs {

class TESSERA_CS_EXPORT CoordTransformation {
public:
    // Throws std::runtime_error when PROJ has no operation between the two.
    CoordTransformation(const CoordSystem& source, const CoordSystem& target);
    ~CoordTransformation();
    CoordTransformation(const CoordTransformation&) = delete;
    CoordTransformation& operator=(const CoordTransformation&) = delete;

    // Throws std::runtime_error for coordinates that cannot be transformed.
    QPointF transform(const QPointF& point) const;

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace tessera::cs
