#pragma once
// ISO WKB for the linear geometry kinds (2D; Z and M coordinates are read and
// dropped). Curves and shapes are written as their approximation.

#include "platform/geometry/GeometryExport.h"
#include "platform/geometry/Geometry.h"

#include <QByteArray>
#include <QSysInfo>
#include <stdexcept>

namespace tessera::geometry {

class TESSERA_GEOMETRY_EXPORT WkbError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

class TESSERA_GEOMETRY_EXPORT GeometryFactory {
public:
    // Empty array for an empty pointer.
    static QByteArray toWkb(const ConstGeometryPtr& geometry, QSysInfo::Endian byteOrder = QSysInfo::LittleEndian);
    // Throws WkbError for malformed or truncated bytes. The result carries
    // `coordSystem`.
    static GeometryPtr fromWkb(const QByteArray& wkb, CoordSystemPtr coordSystem = {});
    static GeometryPtr fromWkb(const void* data, int size, CoordSystemPtr coordSystem = {});
};

} // namespace tessera::geometry
