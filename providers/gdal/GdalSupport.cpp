#include "providers/gdal/GdalSupport.h"

#include "platform/cs/CoordSystem.h"
#include "platform/dp/GeometryAttributeDefinition.h"
#include "platform/dp/SimpleAttributeDefinition.h"

#include <QDate>
#include <QDateTime>
#include <QTime>
#include <cpl_conv.h>
#include <mutex>
#include <ogr_srs_api.h>

namespace tessera::providers::gdal {

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

void setFieldValue(OGRFeatureH feature, int i, OGRFieldType type, const QVariant& value)
{
    if (!value.isValid() || value.isNull()) {
        OGR_F_SetFieldNull(feature, i);
        return;
    }
    switch (type) {
    case OFTInteger: OGR_F_SetFieldInteger(feature, i, value.toInt()); return;
    case OFTInteger64: OGR_F_SetFieldInteger64(feature, i, value.toLongLong()); return;
    case OFTReal: OGR_F_SetFieldDouble(feature, i, value.toDouble()); return;
    case OFTDate:
    case OFTTime:
    case OFTDateTime: {
        const QDateTime dt = value.userType() == QMetaType::QDate ? QDateTime(value.toDate(), QTime(0, 0))
                           : value.userType() == QMetaType::QTime ? QDateTime(QDate(1, 1, 1), value.toTime())
                                                                  : value.toDateTime();
        const QTime t = dt.time();
        OGR_F_SetFieldDateTimeEx(feature, i, dt.date().year(), dt.date().month(), dt.date().day(), t.hour(), t.minute(),
                                 static_cast<float>(t.second() + t.msec() / 1000.0), 0);
        return;
    }
    default: OGR_F_SetFieldString(feature, i, value.toString().toUtf8().constData()); return;
    }
}

dp::TableSchema layerSchema(OGRLayerH layer, const std::shared_ptr<cs::CoordSystem>& coordSystem)
{
    OGRFeatureDefnH definition = OGR_L_GetLayerDefn(layer);
    QList<dp::AttributeDefinitionPtr> attributes;
    for (int i = 0; i < OGR_FD_GetFieldCount(definition); ++i) {
        OGRFieldDefnH field = OGR_FD_GetFieldDefn(definition, i);
        const OGRFieldType type = OGR_Fld_GetType(field);
        const int width = OGR_Fld_GetWidth(field);
        attributes << dp::AttributeDefinitionPtr(new dp::SimpleAttributeDefinition(
            QString::fromUtf8(OGR_Fld_GetNameRef(field)), fieldType(type),
            type == OFTString ? (width > 0 ? width : 254) : width, OGR_Fld_GetPrecision(field)));
    }
    if (OGR_FD_GetGeomFieldCount(definition) > 0)
        attributes << dp::AttributeDefinitionPtr(new dp::GeometryAttributeDefinition(QStringLiteral("obj"), coordSystem));
    return dp::TableSchema(attributes);
}

} // namespace tessera::providers::gdal
