#include "providers/gdal/GisWriter.h"

#include "platform/cs/CoordSystem.h"
#include "platform/dp/GeometryValue.h"
#include "platform/geometry/Geometry.h"
#include "platform/geometry/GeometryFactory.h"
#include "providers/gdal/GdalMessages.h"

#include <QFileInfo>
#include <gdal.h>
#include <ogr_api.h>
#include <ogr_srs_api.h>
#include <memory>
#include <mutex>
#include <type_traits>

namespace tessera::providers {

namespace {

struct DatasetCloser {
    void operator()(void* dataset) const { if (dataset) GDALClose(dataset); }
};
struct SpatialReferenceRelease {
    void operator()(OGRSpatialReferenceH srs) const { if (srs) OSRRelease(srs); }
};
struct FeatureDestroyer {
    void operator()(OGRFeatureH feature) const { if (feature) OGR_F_Destroy(feature); }
};

bool hasCapability(GDALDriverH driver, const char* capability)
{
    const char* value = GDALGetMetadataItem(driver, capability, nullptr);
    return value && QByteArray(value).toUpper() == "YES";
}

// The vector driver that creates files with `extension`.
GDALDriverH driverForExtension(const QString& extension)
{
    for (int i = 0; i < GDALGetDriverCount(); ++i) {
        GDALDriverH driver = GDALGetDriver(i);
        if (!hasCapability(driver, GDAL_DCAP_VECTOR) || !hasCapability(driver, GDAL_DCAP_CREATE))
            continue;
        const char* extensions = GDALGetMetadataItem(driver, GDAL_DMD_EXTENSIONS, nullptr);
        if (!extensions)
            extensions = GDALGetMetadataItem(driver, GDAL_DMD_EXTENSION, nullptr);
        if (extensions && QString::fromUtf8(extensions).split(QLatin1Char(' ')).contains(extension, Qt::CaseInsensitive))
            return driver;
    }
    return nullptr;
}

// Integers when every value is one, reals when numbers mix, text otherwise.
OGRFieldType fieldType(const ResultSet& result, int column)
{
    OGRFieldType type = OFTString;
    bool any = false;
    for (const auto& row : result.rows) {
        const QVariant& v = row.value(column);
        if (v.isNull())
            continue;
        OGRFieldType own = OFTString;
        switch (v.userType()) {
        case QMetaType::Bool:
        case QMetaType::Int:
        case QMetaType::UInt:
        case QMetaType::LongLong:
        case QMetaType::ULongLong:
            own = OFTInteger64;
            break;
        case QMetaType::Double:
            own = OFTReal;
            break;
        default:
            return OFTString;
        }
        type = !any || type == own ? own : OFTReal;
        any = true;
    }
    return type;
}

int geometryColumn(const ResultSet& result)
{
    for (int c = 0; c < result.columns.size(); ++c)
        for (const auto& row : result.rows)
            if (dp::holdsGeometry(row.value(c)))
                return c;
    return -1;
}

dp::ConstGeometryPtr firstGeometry(const ResultSet& result, int column)
{
    for (const auto& row : result.rows)
        if (auto g = dp::geometryFromVariant(row.value(column)))
            return g;
    return nullptr;
}

} // namespace

bool writeGisFile(const QString& path, const QString& driverName, const ResultSet& result, QString& error)
{
    static std::once_flag registered;
    std::call_once(registered, [] { GDALAllRegister(); });
    GdalMessages messages;

    GDALDriverH driver = driverName.isEmpty() ? driverForExtension(QFileInfo(path).suffix())
                                              : GDALGetDriverByName(driverName.toUtf8().constData());
    if (!driver || !hasCapability(driver, GDAL_DCAP_VECTOR) || !hasCapability(driver, GDAL_DCAP_CREATE)) {
        error = driverName.isEmpty() ? QStringLiteral("%1: no GDAL driver writes files of this extension").arg(path)
                                     : QStringLiteral("%1: not a GDAL driver that writes vector files").arg(driverName);
        return false;
    }
    const QByteArray file = path.toUtf8();
    if (QFileInfo::exists(path) && GDALDeleteDataset(driver, file.constData()) != CE_None) {
        error = messages.foldInto(QStringLiteral("%1: cannot replace the file").arg(path));
        return false;
    }
    const std::unique_ptr<void, DatasetCloser> dataset(GDALCreate(driver, file.constData(), 0, 0, 0, GDT_Unknown, nullptr));
    if (!dataset) {
        error = messages.foldInto(QStringLiteral("%1: cannot create the file").arg(path));
        return false;
    }

    const int geometryAt = geometryColumn(result);
    OGRSpatialReferenceH srs = nullptr;
    if (const auto first = geometryAt >= 0 ? firstGeometry(result, geometryAt) : nullptr; first && first->coordSystem()
        && first->coordSystem()->epsg() > 0) {
        srs = OSRNewSpatialReference(nullptr);
        if (OSRImportFromEPSG(srs, first->coordSystem()->epsg()) != OGRERR_NONE) {
            OSRRelease(srs);
            srs = nullptr;
        } else {
            OSRSetAxisMappingStrategy(srs, OAMS_TRADITIONAL_GIS_ORDER);
        }
    }
    const std::unique_ptr<std::remove_pointer_t<OGRSpatialReferenceH>, SpatialReferenceRelease> srsOwner(srs);

    // CSV keeps geometries only when asked to, as WKT.
    const char* csvOptions[] = {"GEOMETRY=AS_WKT", nullptr};
    const bool csv = QByteArray(GDALGetDriverShortName(driver)) == "CSV";
    OGRLayerH layer = GDALDatasetCreateLayer(dataset.get(), QFileInfo(path).completeBaseName().toUtf8().constData(), srs,
                                             geometryAt >= 0 ? wkbUnknown : wkbNone, csv ? const_cast<char**>(csvOptions) : nullptr);
    if (!layer) {
        error = messages.foldInto(QStringLiteral("%1: cannot create a layer").arg(path));
        return false;
    }
    QVector<int> fieldOf(result.columns.size(), -1);
    QVector<OGRFieldType> types(result.columns.size(), OFTString);
    for (int c = 0, field = 0; c < result.columns.size(); ++c) {
        if (c == geometryAt)
            continue;
        types[c] = fieldType(result, c);
        OGRFieldDefnH definition = OGR_Fld_Create(result.columns[c].toUtf8().constData(), types[c]);
        const OGRErr created = OGR_L_CreateField(layer, definition, TRUE);
        OGR_Fld_Destroy(definition);
        if (created != OGRERR_NONE) {
            error = messages.foldInto(QStringLiteral("%1: cannot create the field %2").arg(path, result.columns[c]));
            return false;
        }
        fieldOf[c] = field++;
    }

    const bool transaction = OGR_L_StartTransaction(layer) == OGRERR_NONE;
    for (const auto& row : result.rows) {
        const std::unique_ptr<std::remove_pointer_t<OGRFeatureH>, FeatureDestroyer> feature(OGR_F_Create(OGR_L_GetLayerDefn(layer)));
        for (int c = 0; c < result.columns.size(); ++c) {
            const QVariant& v = row.value(c);
            if (c == geometryAt) {
                const auto g = dp::geometryFromVariant(v);
                const QByteArray wkb = g ? geometry::GeometryFactory::toWkb(g) : QByteArray();
                OGRGeometryH shape = nullptr;
                if (!wkb.isEmpty()
                    && OGR_G_CreateFromWkb(reinterpret_cast<const unsigned char*>(wkb.constData()), srs, &shape, wkb.size()) == OGRERR_NONE)
                    OGR_F_SetGeometryDirectly(feature.get(), shape);
                continue;
            }
            if (v.isNull())
                OGR_F_SetFieldNull(feature.get(), fieldOf[c]);
            else if (types[c] == OFTInteger64)
                OGR_F_SetFieldInteger64(feature.get(), fieldOf[c], v.toLongLong());
            else if (types[c] == OFTReal)
                OGR_F_SetFieldDouble(feature.get(), fieldOf[c], v.toDouble());
            else
                OGR_F_SetFieldString(feature.get(), fieldOf[c], v.toString().toUtf8().constData());
        }
        if (OGR_L_CreateFeature(layer, feature.get()) != OGRERR_NONE) {
            error = messages.foldInto(QStringLiteral("%1: cannot write a feature").arg(path));
            return false;
        }
    }
    if (transaction && OGR_L_CommitTransaction(layer) != OGRERR_NONE) {
        error = messages.foldInto(QStringLiteral("%1: cannot write the features").arg(path));
        return false;
    }
    return true;
}

} // namespace tessera::providers
