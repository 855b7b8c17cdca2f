#pragma once
// Query results out as GIS files through GDAL (GeoPackage, GeoJSON,
// Shapefile, FlatGeobuf, CSV with WKT, ... any vector format GDAL writes).

#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVector>

namespace tessera::providers {

// Column names, and rows of cells in their order.
struct ResultSet {
    const QStringList& columns;
    const QVector<QVector<QVariant>>& rows;
};

// Writes `result` to `path`, replacing the file: through the GDAL driver
// named `driver`, or, when it is empty, the one that writes files with the
// extension of `path`. Cells hold geometries as geometry variants
// (platform/dp/GeometryValue.h): the first column with geometries becomes the
// layer's geometry, in the coordinate system of its first geometry; the other
// columns become fields. False with the reason (GDAL's included) in `error`.
bool writeGisFile(const QString& path, const QString& driver, const ResultSet& result, QString& error);

} // namespace tessera::providers
