#pragma once
// Writes geometries as ISO WKB (2D). Curves and shapes are written as their
// default approximation; an empty point as NaN coordinates.

#include "platform/geometry/GeometryExport.h"
#include "platform/geometry/Geometry.h"

#include <QByteArray>
#include <QSysInfo>

namespace tessera::geometry {

class TESSERA_GEOMETRY_EXPORT WkbWriter {
public:
    explicit WkbWriter(QSysInfo::Endian byteOrder);
    // Appends the WKB of g to the result.
    void write(const Geometry& g);
    QByteArray result() const { return out; }

private:
    void header(quint32 type);
    void writeUInt32(quint32 value);
    void writeDoubles(const double* values, int count);
    void writePoints(const QVector<QPointF>& points);
    void writeRings(const QVector<QVector<QPointF>>& rings);

    QSysInfo::Endian order;
    bool swap;
    QByteArray out;
};

} // namespace tessera::geometry
