#include "providers/gdal/GdalTable.h"

#include "platform/cs/CoordSystem.h"
#include "platform/dp/Feature.h"
#include "platform/geometry/Geometry.h"
#include "platform/geometry/GeometryFactory.h"
#include "providers/gdal/GdalSupport.h"

#include <QFileInfo>
#include <QLoggingCategory>
#include <QMutex>
#include <QSizeF>
#include <QVector>
#include <cpl_string.h>
#include <atomic>
#include <vector>

namespace tessera::providers {

namespace {

Q_LOGGING_CATEGORY(lcGdalTable, "tessera.providers.gdal")

// Drivers whose layers the table edits in place.
const char* const writableDrivers[] = {"GPKG", "ESRI Shapefile", "SQLite", "PostgreSQL", "MapInfo File"};

bool isWritableDriver(const QString& driver)
{
    for (const char* name : writableDrivers)
        if (driver == QLatin1String(name))
            return true;
    return false;
}

// OGR takes linear geometries only: curves travel as their approximation.
geometry::ConstGeometryPtr linear(geometry::ConstGeometryPtr g)
{
    if (auto* curve = dynamic_cast<const geometry::ApproximableCurve*>(g.get()))
        return curve->approximateGeometry(QSizeF());
    if (auto* surface = dynamic_cast<const geometry::ApproximableSurface*>(g.get()))
        return surface->approximateGeometry(QSizeF());
    return g;
}

struct Handle {
    gdal::Dataset dataset;
    OGRLayerH layer = nullptr;
    unsigned generation = 0;
};

} // namespace

struct GdalTable::Private {
    QString source;
    GdalTable::Options options;
    bool update = false;
    QString driver;
    dp::TableSchema schema;
    std::shared_ptr<cs::CoordSystem> coordSystem;
    QVector<OGRFieldType> types;
    QStringList fieldNames;
    bool hasGeometry = false;

    QMutex poolMutex;
    std::vector<std::unique_ptr<Handle>> idle;
    unsigned generation = 0;   // bumped by writes: older idle handles are closed
    std::atomic<qint64> count{-1};

    std::unique_ptr<Handle> openHandle(bool forUpdate) const
    {
        gdal::registerDrivers();
        QVector<QByteArray> optionBytes;
        std::vector<const char*> optionList;
        for (const QString& o : options.openOptions)
            optionBytes << o.toUtf8();
        for (const QByteArray& o : optionBytes)
            optionList.push_back(o.constData());
        optionList.push_back(nullptr);
        CPLErrorReset();
        auto handle = std::make_unique<Handle>();
        handle->dataset.reset(GDALOpenEx(source.toUtf8().constData(),
                                         GDAL_OF_VECTOR | (forUpdate ? GDAL_OF_UPDATE : GDAL_OF_READONLY),
                                         nullptr, optionList.data(), nullptr));
        if (!handle->dataset)
            throw GdalError(QStringLiteral("%1: not a readable vector source (%2)").arg(source, gdal::lastGdalError()).toStdString());
        handle->layer = options.layer.isEmpty() ? GDALDatasetGetLayer(handle->dataset.get(), 0)
                                                : GDALDatasetGetLayerByName(handle->dataset.get(), options.layer.toUtf8().constData());
        if (!handle->layer)
            throw GdalError(options.layer.isEmpty() ? QStringLiteral("%1: the source has no layer").arg(source).toStdString()
                                                    : QStringLiteral("%1: no layer named %2").arg(source, options.layer).toStdString());
        return handle;
    }

    std::unique_ptr<Handle> acquire()
    {
        {
            QMutexLocker locker(&poolMutex);
            if (!idle.empty()) {
                auto handle = std::move(idle.back());
                idle.pop_back();
                return handle;
            }
        }
        auto handle = openHandle(update);
        QMutexLocker locker(&poolMutex);
        handle->generation = generation;
        return handle;
    }

    void release(std::unique_ptr<Handle> handle)
    {
        if (!handle)
            return;
        OGR_L_SetAttributeFilter(handle->layer, nullptr);
        OGR_L_SetSpatialFilter(handle->layer, nullptr);
        OGR_L_SetIgnoredFields(handle->layer, nullptr);
        OGR_L_ResetReading(handle->layer);
        QMutexLocker locker(&poolMutex);
        if (handle->generation == generation)
            idle.push_back(std::move(handle));
    }

    // After a write: other handles may hold what the file said before.
    void wrote(Handle& writer)
    {
        OGR_L_SyncToDisk(writer.layer);
        count = -1;
        QMutexLocker locker(&poolMutex);
        ++generation;
        idle.clear();
        writer.generation = generation;
    }

    std::shared_ptr<dp::Feature> toFeature(OGRFeatureH f) const
    {
        auto feature = std::make_shared<dp::Feature>(schema);
        const GIntBig fid = OGR_F_GetFID(f);
        if (fid != OGRNullFID)
            feature->setId(dp::FeatureId(static_cast<qlonglong>(fid)));
        for (int i = 0; i < types.size(); ++i)
            feature->setAttribute(i, gdal::fieldValue(f, i, types[i]));
        if (!hasGeometry)
            return feature;
        if (OGRGeometryH g = OGR_F_GetGeometryRef(f)) {
            QByteArray wkb(OGR_G_WkbSize(g), Qt::Uninitialized);
            if (OGR_G_ExportToIsoWkb(g, wkbNDR, reinterpret_cast<unsigned char*>(wkb.data())) == OGRERR_NONE) {
                try {
                    feature->setGeometry(types.size(), geometry::GeometryFactory::fromWkb(wkb, coordSystem));
                } catch (const std::exception& e) {
                    qCWarning(lcGdalTable) << source << "feature" << fid << "geometry not read:" << e.what();
                }
            }
        }
        return feature;
    }

    // A new OGR feature holding `feature`'s values; null with a logged reason.
    gdal::OgrFeature toOgr(const dp::Feature& feature, OGRLayerH layer) const
    {
        gdal::OgrFeature f(OGR_F_Create(OGR_L_GetLayerDefn(layer)));
        if (feature.id().isValid()) {
            bool ok = false;
            const qlonglong fid = feature.id().value().toLongLong(&ok);
            if (ok)
                OGR_F_SetFID(f.get(), fid);
        }
        for (int i = 0; i < types.size(); ++i)
            gdal::setFieldValue(f.get(), i, types[i], feature.getAttribute(i));
        if (hasGeometry) {
            geometry::ConstGeometryPtr g = feature.geometry(types.size());
            if (g) {
                try {
                    if (coordSystem && g->coordSystem() && !g->coordSystem()->isEquivalentTo(*coordSystem))
                        g = g->transformed(coordSystem);
                    const QByteArray wkb = geometry::GeometryFactory::toWkb(linear(g));
                    OGRGeometryH ogr = nullptr;
                    if (OGR_G_CreateFromWkb(wkb.constData(), nullptr, &ogr, wkb.size()) != OGRERR_NONE)
                        throw std::runtime_error("OGR does not read the geometry");
                    OGR_F_SetGeometryDirectly(f.get(), ogr);
                } catch (const std::exception& e) {
                    qCWarning(lcGdalTable) << source << ": geometry not written:" << e.what();
                    return nullptr;
                }
            }
        }
        return f;
    }
};

namespace {

// Reads through a handle of its own, given back to the pool at the end.
class GdalCursor final : public dp::FeatureCursor {
public:
    GdalCursor(std::shared_ptr<GdalTable::Private> d, std::unique_ptr<Handle> handle)
        : d(std::move(d)), handle(std::move(handle))
    {
    }
    ~GdalCursor() override { d->release(std::move(handle)); }

    std::shared_ptr<dp::Feature> next() override
    {
        if (!handle)
            return nullptr;
        gdal::OgrFeature f(OGR_L_GetNextFeature(handle->layer));
        if (!f) {
            d->release(std::move(handle));
            return nullptr;
        }
        return d->toFeature(f.get());
    }

private:
    std::shared_ptr<GdalTable::Private> d;
    std::unique_ptr<Handle> handle;
};

} // namespace

GdalTable::GdalTable(const QString& name, std::shared_ptr<Private> d)
    : dp::Table(name), d(std::move(d))
{
}

GdalTable::~GdalTable() = default;

std::shared_ptr<GdalTable> GdalTable::open(const QString& source, const Options& options)
{
    auto d = std::make_shared<Private>();
    d->source = source;
    d->options = options;
    // A file that is not there is reported as such; other sources (database
    // connections) are GDAL's to judge.
    const QFileInfo file(source);
    if (!source.contains(QLatin1Char(':')) && !file.exists())
        throw GdalError(QStringLiteral("%1: no such file").arg(source).toStdString());

    auto handle = d->openHandle(false);
    d->driver = QString::fromUtf8(GDALGetDriverShortName(GDALGetDatasetDriver(handle->dataset.get())));
    if (!options.readOnly && isWritableDriver(d->driver) && (!file.exists() || file.isWritable())) {
        try {
            handle = d->openHandle(true);
            d->update = true;
        } catch (const GdalError& e) {
            qCInfo(lcGdalTable) << source << "opened read-only:" << e.what();
        }
    }

    OGRLayerH layer = handle->layer;
    OGRFeatureDefnH definition = OGR_L_GetLayerDefn(layer);
    d->hasGeometry = OGR_FD_GetGeomFieldCount(definition) > 0;
    d->coordSystem = d->hasGeometry ? gdal::coordSystemOf(OGR_L_GetSpatialRef(layer)) : nullptr;
    d->schema = gdal::layerSchema(layer, d->coordSystem);
    for (int i = 0; i < OGR_FD_GetFieldCount(definition); ++i) {
        d->types << OGR_Fld_GetType(OGR_FD_GetFieldDefn(definition, i));
        d->fieldNames << QString::fromUtf8(OGR_Fld_GetNameRef(OGR_FD_GetFieldDefn(definition, i)));
    }
    const QString name = !options.name.isEmpty() ? options.name
                                                 : dp::DataObject::makeValidObjectName(QString::fromUtf8(OGR_L_GetName(layer)));
    d->release(std::move(handle));
    auto table = std::shared_ptr<GdalTable>(new GdalTable(name, d));
    table->setTableSourceDescription(QStringLiteral("ogr:") + source
                                     + (options.layer.isEmpty() ? QString() : QLatin1Char(':') + options.layer));
    return table;
}

dp::TableSchema GdalTable::schema() const
{
    return d->schema;
}

qint64 GdalTable::featureCount() const
{
    qint64 n = d->count;
    if (n >= 0)
        return n;
    auto handle = d->acquire();
    n = OGR_L_GetFeatureCount(handle->layer, TRUE);
    d->release(std::move(handle));
    d->count = n;
    return n;
}

std::shared_ptr<dp::Feature> GdalTable::feature(const dp::FeatureId& id) const
{
    bool ok = false;
    const qlonglong fid = id.value().toLongLong(&ok);
    if (!ok)
        return nullptr;
    auto handle = d->acquire();
    gdal::OgrFeature f(OGR_L_GetFeature(handle->layer, fid));
    auto result = f ? d->toFeature(f.get()) : nullptr;
    d->release(std::move(handle));
    return result;
}

std::unique_ptr<dp::FeatureCursor> GdalTable::features() const
{
    auto handle = d->acquire();
    OGR_L_ResetReading(handle->layer);
    return std::make_unique<GdalCursor>(d, std::move(handle));
}

QString GdalTable::attributeFilter(const dp::FeatureFilter& filter) const
{
    static const char* const ops[] = {"=", "<>", "<", "<=", ">", ">="};
    QStringList terms;
    for (const dp::AttributeCondition& c : filter.conditions) {
        if (c.attribute < 0 || c.attribute >= d->fieldNames.size())
            continue;
        bool ok = false;
        const double value = c.value.toDouble(&ok);
        if (!ok || c.value.userType() == QMetaType::QString)
            continue;   // only numbers: text comparison rules differ between sources
        QString name = d->fieldNames[c.attribute];
        name.replace(QLatin1Char('"'), QLatin1String("\"\""));
        const QString number = c.value.userType() == QMetaType::Double ? QString::number(value, 'g', 17) : c.value.toString();
        terms << QStringLiteral("\"%1\" %2 %3").arg(name, QLatin1String(ops[c.op]), number);
    }
    return terms.join(QLatin1String(" AND "));
}

std::unique_ptr<dp::FeatureCursor> GdalTable::filteredFeatures(const dp::FeatureFilter& filter) const
{
    auto handle = d->acquire();
    const QString where = attributeFilter(filter);
    if (!where.isEmpty() && OGR_L_SetAttributeFilter(handle->layer, where.toUtf8().constData()) != OGRERR_NONE) {
        qCInfo(lcGdalTable) << d->source << "attribute filter not taken:" << where << gdal::lastGdalError();
        OGR_L_SetAttributeFilter(handle->layer, nullptr);
    }
    if (!filter.geometries) {
        // OGR then skips reading and converting them.
        const char* ignored[] = {"OGR_GEOMETRY", nullptr};
        OGR_L_SetIgnoredFields(handle->layer, ignored);
    }
    if (filter.bounds.isValid()) {
        const QRectF b = filter.bounds.normalized();
        OGR_L_SetSpatialFilterRect(handle->layer, b.left(), b.top(), b.right(), b.bottom());
    }
    OGR_L_ResetReading(handle->layer);
    return std::make_unique<GdalCursor>(d, std::move(handle));
}

bool GdalTable::isEditable() const
{
    return d->update;
}

dp::FeatureId GdalTable::insertFeature(const dp::Feature& feature)
{
    if (!d->update)
        return {};
    auto handle = d->acquire();
    gdal::OgrFeature f = d->toOgr(feature, handle->layer);
    dp::FeatureId id;
    if (f && OGR_L_CreateFeature(handle->layer, f.get()) == OGRERR_NONE) {
        id = dp::FeatureId(static_cast<qlonglong>(OGR_F_GetFID(f.get())));
        d->wrote(*handle);
    } else {
        qCWarning(lcGdalTable) << d->source << "feature not added:" << gdal::lastGdalError();
    }
    d->release(std::move(handle));
    if (id.isValid())
        emit featuresChanged();
    return id;
}

bool GdalTable::updateFeature(const dp::Feature& feature)
{
    if (!d->update || !feature.id().isValid())
        return false;
    auto handle = d->acquire();
    gdal::OgrFeature f = d->toOgr(feature, handle->layer);
    const bool ok = f && OGR_L_SetFeature(handle->layer, f.get()) == OGRERR_NONE;
    if (ok)
        d->wrote(*handle);
    else
        qCWarning(lcGdalTable) << d->source << "feature not changed:" << gdal::lastGdalError();
    d->release(std::move(handle));
    if (ok)
        emit featuresChanged();
    return ok;
}

bool GdalTable::removeFeature(const dp::FeatureId& id)
{
    bool isNumber = false;
    const qlonglong fid = id.value().toLongLong(&isNumber);
    if (!d->update || !isNumber)
        return false;
    auto handle = d->acquire();
    const bool ok = OGR_L_DeleteFeature(handle->layer, fid) == OGRERR_NONE;
    if (ok)
        d->wrote(*handle);
    d->release(std::move(handle));
    if (ok)
        emit featuresChanged();
    return ok;
}

QString GdalTable::driverName() const
{
    return d->driver;
}

} // namespace tessera::providers
