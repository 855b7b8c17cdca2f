#pragma once
// What the GDAL provider's readers share: driver registration, GDAL's last
// error text, RAII for datasets and features, OGR fields as attribute values
// and OGR spatial references as coordinate systems.

#include "platform/dp/TableSchema.h"

#include <QString>
#include <QVariant>
#include <gdal.h>
#include <memory>
#include <ogr_api.h>

namespace tessera::cs { class CoordSystem; }

namespace tessera::providers::gdal {

struct DatasetCloser {
    void operator()(void* h) const { if (h) GDALClose(h); }
};
struct FeatureDestroyer {
    void operator()(void* h) const { if (h) OGR_F_Destroy(h); }
};
using Dataset = std::unique_ptr<void, DatasetCloser>;
using OgrFeature = std::unique_ptr<void, FeatureDestroyer>;

void registerDrivers();
QString lastGdalError();

// The Qt meta-type that holds values of an OGR field type (lists and binary
// fields are read as text).
int fieldType(OGRFieldType type);
QVariant fieldValue(OGRFeatureH feature, int i, OGRFieldType type);
// Sets field i from `value`; an invalid value makes the field NULL.
void setFieldValue(OGRFeatureH feature, int i, OGRFieldType type, const QVariant& value);

std::shared_ptr<cs::CoordSystem> coordSystemOf(OGRSpatialReferenceH srs);

// The layer's fields as simple attributes and its geometry as the geometry
// attribute "obj" with the layer's coordinate system.
dp::TableSchema layerSchema(OGRLayerH layer, const std::shared_ptr<cs::CoordSystem>& coordSystem);

} // namespace tessera::providers::gdal
