#pragma once
// Reads a vector layer of a GIS file (anything GDAL/OGR opens: GeoJSON,
// Shapefile, GeoPackage, MIF/TAB, CSV, ...) into an in-memory table: for
// callers that want a detached copy rather than the live GdalTable.

#include "providers/gdal/GdalError.h"

#include <QString>
#include <memory>

namespace tessera::dp { class MemoryTable; }

namespace tessera::providers {

class GdalTableReader {
public:
    // Reads the layer `layerName` (the first layer when empty) of `path` into
    // a table called `tableName` (the layer's name, made valid, when empty).
    // Fields become simple attributes, the layer's geometry one geometry
    // attribute "obj" with the layer's coordinate system, OGR feature ids the
    // feature ids. Throws GdalError with the file name and GDAL's reason.
    static std::shared_ptr<dp::MemoryTable> read(const QString& path, const QString& tableName = QString(),
                                                 const QString& layerName = QString());
};

} // namespace tessera::providers
