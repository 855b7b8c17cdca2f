#pragma once
// Checked raw reads and writes on a QDataStream, for archive code that must
// not trust lengths found in the bytes.
//
// Doubles are always written as 8-byte IEEE 754 values in the stream's byte
// order, independent of QDataStream::floatingPointPrecision(), so that the
// layout does not change with stream settings.

#include "platform/serialization/SerializationExport.h"

#include <QDataStream>
#include <QString>
#include <cstddef>

namespace tessera::serialization {

// Bytes that can still be read, or -1 when the device cannot tell (sequential
// devices report only what is buffered).
TESSERA_SERIALIZATION_EXPORT qint64 bytesLeft(QDataStream& stream);

// Reads a quint32 count of items that take at least minItemBytes each and
// throws Error when the bytes left cannot hold that many items.
TESSERA_SERIALIZATION_EXPORT quint32 readCount(QDataStream& stream, qint64 minItemBytes);

TESSERA_SERIALIZATION_EXPORT void writeDoubles(QDataStream& stream, const double* values, std::size_t count);
// Throws Error on a short read.
TESSERA_SERIALIZATION_EXPORT void readDoubles(QDataStream& stream, double* values, std::size_t count);

inline void writeDouble(QDataStream& stream, double value) { writeDoubles(stream, &value, 1); }
inline double readDouble(QDataStream& stream) { double v; readDoubles(stream, &v, 1); return v; }

// A QString whose stated length is checked against the bytes left before
// anything is allocated. Throws Error on malformed or short data.
TESSERA_SERIALIZATION_EXPORT QString readString(QDataStream& stream);

} // namespace tessera::serialization
