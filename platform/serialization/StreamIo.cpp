#include "platform/serialization/StreamIo.h"

#include "platform/serialization/Archive.h"

#include <QIODevice>
#include <QtEndian>
#include <algorithm>
#include <cstring>
#include <limits>
#include <string>

namespace tessera::serialization {

namespace {

bool needsSwap(const QDataStream& stream)
{
    const auto host = QSysInfo::ByteOrder == QSysInfo::LittleEndian ? QDataStream::LittleEndian : QDataStream::BigEndian;
    return stream.byteOrder() != host;
}

void swapDoubles(double* values, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i) {
        quint64 bits;
        std::memcpy(&bits, values + i, sizeof bits);
        bits = qbswap(bits);
        std::memcpy(values + i, &bits, sizeof bits);
    }
}

} // namespace

qint64 bytesLeft(QDataStream& stream)
{
    QIODevice* device = stream.device();
    if (!device || device->isSequential())
        return -1;
    return device->bytesAvailable();
}

quint32 readCount(QDataStream& stream, qint64 minItemBytes)
{
    quint32 count = 0;
    stream >> count;
    checkStream(stream);
    const qint64 left = bytesLeft(stream);
    if (left >= 0 && minItemBytes > 0 && qint64(count) > left / minItemBytes)
        throw Error("Archive count " + std::to_string(count) + " exceeds the data left");
    return count;
}

void writeDoubles(QDataStream& stream, const double* values, std::size_t count)
{
    static_assert(sizeof(double) == 8, "IEEE 754 doubles expected");
    if (!needsSwap(stream)) {
        stream.writeRawData(reinterpret_cast<const char*>(values), int(count * sizeof(double)));
        return;
    }
    // Swap through a small buffer so that large arrays need no copy of their size.
    double buffer[256];
    while (count > 0) {
        const std::size_t n = std::min<std::size_t>(count, 256);
        std::memcpy(buffer, values, n * sizeof(double));
        swapDoubles(buffer, n);
        stream.writeRawData(reinterpret_cast<const char*>(buffer), int(n * sizeof(double)));
        values += n;
        count -= n;
    }
}

void readDoubles(QDataStream& stream, double* values, std::size_t count)
{
    if (count == 0)
        return;
    if (count > std::size_t(std::numeric_limits<int>::max()) / sizeof(double))
        throw Error("Archive coordinate array is too large");
    const qint64 bytes = qint64(count) * qint64(sizeof(double));
    if (stream.readRawData(reinterpret_cast<char*>(values), int(bytes)) != bytes) {
        stream.setStatus(QDataStream::ReadPastEnd);
        throw Error("Archive data ends inside a coordinate array");
    }
    if (needsSwap(stream))
        swapDoubles(values, count);
}

QString readString(QDataStream& stream)
{
    quint32 bytes = 0;
    stream >> bytes;
    checkStream(stream);
    if (bytes == 0xFFFFFFFFu)
        return QString();
    if (bytes % 2 != 0)
        throw Error("Archive string has an odd byte length");
    const qint64 left = bytesLeft(stream);
    if (left >= 0 && qint64(bytes) > left)
        throw Error("Archive string length exceeds the data left");
    QString result(int(bytes / 2), Qt::Uninitialized);
    if (bytes > 0 && stream.readRawData(reinterpret_cast<char*>(result.data()), int(bytes)) != int(bytes)) {
        stream.setStatus(QDataStream::ReadPastEnd);
        throw Error("Archive data ends inside a string");
    }
    // QDataStream writes strings as big-endian UTF-16 unless told otherwise.
    const bool dataBigEndian = stream.byteOrder() == QDataStream::BigEndian;
    const bool hostBigEndian = QSysInfo::ByteOrder == QSysInfo::BigEndian;
    if (dataBigEndian != hostBigEndian) {
        ushort* units = reinterpret_cast<ushort*>(result.data());
        for (int i = 0; i < result.size(); ++i)
            units[i] = qbswap(units[i]);
    }
    return result;
}

} // namespace tessera::serialization
