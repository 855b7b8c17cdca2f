#pragma once
// Query results out as GIS files through GDAL (GeoPackage, GeoJSON,
// Shapefile, FlatGeobuf, CSV with WKT, ... any vector format GDAL writes).

#include "tools/tessera-sql/ResultPrinter.h"

#include <QString>

namespace tessera::shell {

// Writes `result` to `path`, replacing the file: through the GDAL driver
// named `driver`, or, when it is empty, the one that writes files with the
// extension of `path`. Cells hold geometries as geometry variants
// (platform/dp/GeometryValue.h): the first column with geometries becomes the
// layer's geometry, in the coordinate system of its first geometry; the other
// columns become fields. False with the reason (GDAL's included) in `error`.
bool writeGisFile(const QString& path, const QString& driver, const ResultSet& result, QString& error);

} // namespace tessera::shell
