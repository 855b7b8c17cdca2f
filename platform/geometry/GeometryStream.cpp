#include "platform/geometry/GeometryStream.h"

#include "platform/serialization/Archive.h"
#include "platform/serialization/StreamIo.h"

#include <algorithm>
#include <limits>
#include <string>

namespace tessera::geometry {

using namespace serialization;

static_assert(sizeof(QPointF) == 2 * sizeof(double), "QPointF must be two doubles");

void writePoints(QDataStream& stream, const QVector<QPointF>& points)
{
    stream << quint32(points.size());
    writeDoubles(stream, reinterpret_cast<const double*>(points.constData()), std::size_t(points.size()) * 2);
}

QVector<QPointF> readPoints(QDataStream& stream)
{
    const quint32 count = readCount(stream, 2 * sizeof(double));
    if (count > quint32(std::numeric_limits<int>::max() / int(sizeof(QPointF))))
        throw Error("Archive coordinate array is too large");
    QVector<QPointF> points;
    if (bytesLeft(stream) >= 0) {
        // The count was checked against the bytes left: read it in one go.
        points.resize(int(count));
        readDoubles(stream, reinterpret_cast<double*>(points.data()), std::size_t(count) * 2);
        return points;
    }
    // A sequential device cannot vouch for the count: grow as data arrives.
    constexpr int chunk = 65536;
    for (int done = 0; done < int(count);) {
        const int n = std::min(chunk, int(count) - done);
        points.resize(done + n);
        readDoubles(stream, reinterpret_cast<double*>(points.data() + done), std::size_t(n) * 2);
        done += n;
    }
    return points;
}

void writeRect(QDataStream& stream, const QRectF& rect)
{
    const double values[4] = {rect.x(), rect.y(), rect.width(), rect.height()};
    writeDoubles(stream, values, 4);
}

QRectF readRect(QDataStream& stream)
{
    double values[4];
    readDoubles(stream, values, 4);
    return QRectF(values[0], values[1], values[2], values[3]);
}

void writeRings(QDataStream& stream, const QVector<QVector<QPointF>>& rings)
{
    stream << quint32(rings.size());
    for (const auto& ring : rings)
        writePoints(stream, ring);
}

QVector<QVector<QPointF>> readRings(QDataStream& stream)
{
    // Every ring takes at least its 4-byte count.
    const quint32 count = readCount(stream, sizeof(quint32));
    QVector<QVector<QPointF>> rings;
    rings.reserve(int(std::min<quint32>(count, 1u << 16)));
    for (quint32 i = 0; i < count; ++i)
        rings.append(readPoints(stream));
    return rings;
}

void checkVersion(const char* className, quint32 version)
{
    if (version != 0)
        throw Error(std::string("Archive holds ") + className + " version " + std::to_string(version)
                    + ", only version 0 can be read");
}

} // namespace tessera::geometry
