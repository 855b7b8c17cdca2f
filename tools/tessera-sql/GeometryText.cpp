#include "tools/tessera-sql/GeometryText.h"

#include "engine/EngineCache.h"
#include "engine/geometry/GaiaDecoding.h"
#include "engine/geometry/GeometryConversions.h"
#include "platform/cs/CoordSystem.h"
#include "platform/geometry/Geometry.h"

#include <spatialite/gaiageo.h>
#include <memory>

namespace tessera::shell {
namespace {

QString hexText(const QByteArray& blob)
{
    constexpr int shown = 32;
    QString text = QStringLiteral("X'") + QString::fromLatin1(blob.left(shown).toHex().toUpper());
    if (blob.size() > shown)
        text += QStringLiteral("...");
    return text + '\'';
}

QString wktOf(const QByteArray& spatialiteBlob)
{
    std::unique_ptr<gaiaGeomColl, engine::GaiaDeleter> collection(
        gaiaFromSpatiaLiteBlobWkb(reinterpret_cast<const unsigned char*>(spatialiteBlob.constData()), spatialiteBlob.size()));
    if (!collection)
        return QString();
    gaiaOutBuffer buffer;
    gaiaOutBufferInitialize(&buffer);
    gaiaOutWktEx(&buffer, collection.get(), 6);
    QString wkt;
    if (buffer.Error == 0 && buffer.Buffer)
        wkt = QString::fromUtf8(buffer.Buffer, buffer.WriteOffset);
    gaiaOutBufferReset(&buffer);
    return wkt;
}

} // namespace

QString blobText(const QByteArray& blob, engine::EngineCache* cache)
{
    const auto geometry = cache ? cache->geometryInfo(blob, false).geometry() : nullptr;
    if (!geometry)
        return hexText(blob);
    const QString wkt = wktOf(engine::toGaia(geometry, nullptr));
    if (wkt.isEmpty())
        return hexText(blob);
    const auto& cs = geometry->coordSystem();
    if (cs && cs->epsg() > 0)
        return QStringLiteral("SRID=%1;%2").arg(cs->epsg()).arg(wkt);
    return wkt;
}

} // namespace tessera::shell
