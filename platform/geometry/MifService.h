#pragma once
// Reads the geometry part of MapInfo Interchange Format text: Point, Line,
// Pline (with Multiple sections), Region (polygons), MultiPoint, Collection,
// Arc, Ellipse, Rect, RoundRect and Text. Keywords are case-insensitive;
// style clauses (Pen, Brush, Symbol, Smooth, Font, ...) after a geometry are
// accepted and ignored.

#include "platform/geometry/algorithms/AlgorithmsExport.h"
#include "platform/geometry/Geometry.h"

#include <QChar>
#include <QObject>
#include <stdexcept>

namespace tessera::geometry {

class TESSERA_GEOMETRY_ALGORITHMS_EXPORT MifError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Reading options: the delimiter of the data part, the decimal separator of
// numbers, and the number of segments used for a full circle where a curve
// must be cut into lines (at least the default approximation of curves, see
// Approximation.h). 8 bytes: two UTF-16 characters and a 32-bit number.
struct TESSERA_GEOMETRY_ALGORITHMS_EXPORT MifSetup {
    QChar delimiter{','};
    QChar decimalSeparator{','};
    quint32 resolution = 976;
};
static_assert(sizeof(MifSetup) == 8, "MifSetup is 8 bytes");

class TESSERA_GEOMETRY_ALGORITHMS_EXPORT MifService : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;
    // Throws MifError with the line and what was expected for malformed text.
    GeometryPtr load(const QString& text, const MifSetup& setup) const;
};

} // namespace tessera::geometry
