#pragma once
// A copy of a GIS source through GDAL (ogr2ogr's library form), for tests that
// need the sample data in another format or in a database.

#include <QByteArray>
#include <QString>
#include <gdal_utils.h>
#include <vector>

namespace tessera::test {

// Copies every layer of `source` to `destination` with GDAL driver `driver`,
// naming the layer `layer`. False when GDAL fails.
inline bool copyLayer(const QString& source, const QString& destination, const char* driver, const char* layer)
{
    GDALAllRegister();
    GDALDatasetH from = GDALOpenEx(source.toUtf8().constData(), GDAL_OF_VECTOR, nullptr, nullptr, nullptr);
    if (!from)
        return false;
    std::vector<char*> args{const_cast<char*>("-f"), const_cast<char*>(driver), const_cast<char*>("-nln"), const_cast<char*>(layer), nullptr};
    GDALVectorTranslateOptions* options = GDALVectorTranslateOptionsNew(args.data(), nullptr);
    int failed = 0;
    GDALDatasetH copy = GDALVectorTranslate(destination.toUtf8().constData(), nullptr, 1, &from, options, &failed);
    GDALVectorTranslateOptionsFree(options);
    GDALClose(from);
    if (copy)
        GDALClose(copy);
    return copy && !failed;
}

} // namespace tessera::test
