#pragma once
// Coordinate arrays and rectangles in geometry archives:
//   points: quint32 n, then n pairs of doubles x, y
//   rect:   doubles x, y, width, height
//   rings:  quint32 n, then n points
// (doubles as in serialization/StreamIo.h). Reads check counts against the
// bytes left and throw serialization::Error.

#include "platform/geometry/GeometryExport.h"

#include <QDataStream>
#include <QPointF>
#include <QRectF>
#include <QVector>

namespace tessera::geometry {

TESSERA_GEOMETRY_EXPORT void writePoints(QDataStream& stream, const QVector<QPointF>& points);
TESSERA_GEOMETRY_EXPORT QVector<QPointF> readPoints(QDataStream& stream);
TESSERA_GEOMETRY_EXPORT void writeRect(QDataStream& stream, const QRectF& rect);
TESSERA_GEOMETRY_EXPORT QRectF readRect(QDataStream& stream);
TESSERA_GEOMETRY_EXPORT void writeRings(QDataStream& stream, const QVector<QVector<QPointF>>& rings);
TESSERA_GEOMETRY_EXPORT QVector<QVector<QPointF>> readRings(QDataStream& stream);

// Every geometry class is at version 0; later versions cannot be read.
TESSERA_GEOMETRY_EXPORT void checkVersion(const char* className, quint32 version);

} // namespace tessera::geometry
