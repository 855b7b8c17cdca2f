#include "providers/gdal/GdalTableReader.h"

#include "platform/cs/CoordSystem.h"
#include "platform/dp/Feature.h"
#include "platform/dp/GeometryAttributeDefinition.h"
#include "platform/dp/MemoryTable.h"
#include "platform/dp/SimpleAttributeDefinition.h"
#include "platform/geometry/GeometryFactory.h"

#include <QDate>
#include <QDateTime>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QTime>
#include <QVector>
#include <cpl_conv.h>
#include <gdal.h>
#include <ogr_api.h>
#include <ogr_srs_api.h>
#include <memory>
#include <mutex>

namespace tessera::providers {
namespace {

Q_LOGGING_CATEGORY(lcGdal, "tessera.providers.gdal")

struct DatasetCloser {
    void operator()(GDALDatasetH h) const { if (h) GDALClose(h); }
};
struct FeatureDestroyer {
    void operator()(OGRFeatureH h) const { if (h) OGR_F_Destroy(h); }
};
using Dataset = std::unique_ptr<void, DatasetCloser>;
using OgrFeature = std::unique_ptr<void, FeatureDestroyer>;

void registerDrivers()
{
    static std::once_flag once;
    std::call_once(once, [] { GDALAllRegister(); });
}

QString lastGdalError()
{
    const char* text = CPLGetLastErrorMsg();
    return text && *text ? QString::fromUtf8(text) : QStringLiteral("unknown error");
}

// Qt meta-type of an OGR field type; lists and binaries are read as text.
int fieldType(OGRFieldType type)
{
    switch (type) {
    case OFTInteger: return QMetaType::Int;
    case OFTInteger64: return QMetaType::LongLong;
    case OFTReal: return QMetaType::Double;
    case OFTDate: return QMetaType::QDate;
    case OFTTime: return QMetaType::QTime;
    case OFTDateTime: return QMetaType::QDateTime;
    default: return QMetaType::QString;
    }
}

std::shared_ptr<cs::CoordSystem> coordSystemOf(OGRSpatialReferenceH srs)
{
    if (!srs)
        return {};
    const auto* factory = cs::CoordSysFactory::defaultCoordSysFactory();
    // An EPSG code makes the system comparable with "EPSG:<code>" elsewhere.
    const char* authority = OSRGetAuthorityName(srs, nullptr);
    const char* code = OSRGetAuthorityCode(srs, nullptr);
    if (authority && code && QByteArray(authority).compare("EPSG", Qt::CaseInsensitive) == 0)
        if (auto cs = factory->createFromEpsg(QByteArray(code).toInt()))
            return cs;
    char* wkt = nullptr;
    const char* options[] = {"FORMAT=WKT2_2018", nullptr};
    if (OSRExportToWktEx(srs, &wkt, options) != OGRERR_NONE || !wkt)
        return {};
    auto cs = factory->createFromTaggedString(QString::fromUtf8(wkt));
    CPLFree(wkt);
    return cs;
}

QVariant fieldValue(OGRFeatureH feature, int i, OGRFieldType type)
{
    if (!OGR_F_IsFieldSetAndNotNull(feature, i))
        return QVariant();
    switch (type) {
    case OFTInteger: return OGR_F_GetFieldAsInteger(feature, i);
    case OFTInteger64: return static_cast<qlonglong>(OGR_F_GetFieldAsInteger64(feature, i));
    case OFTReal: return OGR_F_GetFieldAsDouble(feature, i);
    case OFTDate:
    case OFTTime:
    case OFTDateTime: {
        int y = 0, mo = 0, d = 0, h = 0, mi = 0, tz = 0;
        float s = 0;
        if (!OGR_F_GetFieldAsDateTimeEx(feature, i, &y, &mo, &d, &h, &mi, &s, &tz))
            return QVariant();
        const QTime time(h, mi, static_cast<int>(s), static_cast<int>((s - static_cast<int>(s)) * 1000 + 0.5) % 1000);
        if (type == OFTDate)
            return QDate(y, mo, d);
        if (type == OFTTime)
            return time;
        return QDateTime(QDate(y, mo, d), time);
    }
    default: return QString::fromUtf8(OGR_F_GetFieldAsString(feature, i));
    }
}

} // namespace

std::shared_ptr<dp::MemoryTable> GdalTableReader::read(const QString& path, const QString& tableName, const QString& layerName)
{
    registerDrivers();
    if (!QFileInfo::exists(path))
        throw GdalError(QStringLiteral("%1: no such file").arg(path).toStdString());

    CPLErrorReset();
    Dataset dataset(GDALOpenEx(path.toUtf8().constData(), GDAL_OF_VECTOR | GDAL_OF_READONLY | GDAL_OF_VERBOSE_ERROR, nullptr, nullptr, nullptr));
    if (!dataset)
        throw GdalError(QStringLiteral("%1: not a readable vector file (%2)").arg(path, lastGdalError()).toStdString());

    OGRLayerH layer = layerName.isEmpty() ? GDALDatasetGetLayer(dataset.get(), 0)
                                          : GDALDatasetGetLayerByName(dataset.get(), layerName.toUtf8().constData());
    if (!layer)
        throw GdalError(layerName.isEmpty() ? QStringLiteral("%1: the file has no layer").arg(path).toStdString()
                                            : QStringLiteral("%1: no layer named %2").arg(path, layerName).toStdString());

    OGRFeatureDefnH definition = OGR_L_GetLayerDefn(layer);
    const int fieldCount = OGR_FD_GetFieldCount(definition);
    QVector<OGRFieldType> types;
    QList<dp::AttributeDefinitionPtr> attributes;
    for (int i = 0; i < fieldCount; ++i) {
        OGRFieldDefnH field = OGR_FD_GetFieldDefn(definition, i);
        const OGRFieldType type = OGR_Fld_GetType(field);
        types << type;
        const int width = OGR_Fld_GetWidth(field);
        attributes << dp::AttributeDefinitionPtr(new dp::SimpleAttributeDefinition(
            QString::fromUtf8(OGR_Fld_GetNameRef(field)), fieldType(type),
            type == OFTString ? (width > 0 ? width : 254) : width, OGR_Fld_GetPrecision(field)));
    }
    const bool hasGeometry = OGR_FD_GetGeomFieldCount(definition) > 0;
    const auto coordSystem = hasGeometry ? coordSystemOf(OGR_L_GetSpatialRef(layer)) : nullptr;
    if (hasGeometry)
        attributes << dp::AttributeDefinitionPtr(new dp::GeometryAttributeDefinition(QStringLiteral("obj"), coordSystem));

    const QString name = !tableName.isEmpty() ? tableName
                                              : dp::DataObject::makeValidObjectName(QString::fromUtf8(OGR_L_GetName(layer)));
    auto table = std::make_shared<dp::MemoryTable>(name, dp::TableSchema(attributes));
    table->setTableSourceDescription(QStringLiteral("ogr:") + path);

    QVector<dp::Feature> features;
    OGR_L_ResetReading(layer);
    int skipped = 0;
    while (OgrFeature f{OGR_L_GetNextFeature(layer)}) {
        dp::Feature feature = table->newFeature();
        const GIntBig fid = OGR_F_GetFID(f.get());
        if (fid != OGRNullFID)
            feature.setId(dp::FeatureId(static_cast<qlonglong>(fid)));
        for (int i = 0; i < fieldCount; ++i)
            feature.setAttribute(i, fieldValue(f.get(), i, types[i]));
        if (hasGeometry) {
            if (OGRGeometryH g = OGR_F_GetGeometryRef(f.get())) {
                QByteArray wkb(OGR_G_WkbSize(g), Qt::Uninitialized);
                if (OGR_G_ExportToIsoWkb(g, wkbNDR, reinterpret_cast<unsigned char*>(wkb.data())) == OGRERR_NONE) {
                    try {
                        feature.setGeometry(fieldCount, geometry::GeometryFactory::fromWkb(wkb, coordSystem));
                    } catch (const std::exception& e) {
                        ++skipped;
                        qCWarning(lcGdal) << path << "feature" << fid << "geometry not read:" << e.what();
                    }
                }
            }
        }
        features << feature;
    }
    if (skipped)
        qCWarning(lcGdal) << path << ":" << skipped << "geometries could not be read and are NULL";
    table->appendFeatures(features);
    return table;
}

} // namespace tessera::providers
