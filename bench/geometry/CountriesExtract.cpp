// Writes the countries of the given continents from Natural Earth's
// low-resolution countries layer as GeoJSON (EPSG:4326), keeping the fields
// name, continent, iso_a3, pop_est and gdp_md_est. Made tests/data/countries.geojson:
//   tessera-countries-extract naturalearth_lowres.shp countries.geojson "South America" Europe Africa

#include <gdal_priv.h>
#include <ogrsf_frmts.h>

#include <cstdio>
#include <memory>
#include <set>
#include <string>

namespace {

struct DatasetCloser {
    void operator()(GDALDataset* d) const { GDALClose(d); }
};
using Dataset = std::unique_ptr<GDALDataset, DatasetCloser>;

const char* const keptFields[] = {"name", "continent", "iso_a3", "pop_est", "gdp_md_est"};

} // namespace

int main(int argc, char** argv)
{
    if (argc < 4) {
        std::fprintf(stderr, "usage: %s input.shp output.geojson continent...\n", argv[0]);
        return 2;
    }
    const std::set<std::string> continents(argv + 3, argv + argc);
    GDALAllRegister();

    Dataset in(GDALDataset::Open(argv[1], GDAL_OF_VECTOR | GDAL_OF_READONLY));
    if (!in || in->GetLayerCount() < 1) {
        std::fprintf(stderr, "cannot read %s\n", argv[1]);
        return 1;
    }
    OGRLayer* source = in->GetLayer(0);

    GDALDriver* driver = GetGDALDriverManager()->GetDriverByName("GeoJSON");
    if (!driver) {
        std::fprintf(stderr, "GDAL has no GeoJSON driver\n");
        return 1;
    }
    Dataset out(driver->Create(argv[2], 0, 0, 0, GDT_Unknown, nullptr));
    if (!out) {
        std::fprintf(stderr, "cannot create %s\n", argv[2]);
        return 1;
    }
    OGRSpatialReference wgs84;
    wgs84.importFromEPSG(4326);
    char** options = CSLSetNameValue(nullptr, "COORDINATE_PRECISION", "6");
    OGRLayer* target = out->CreateLayer("countries", &wgs84, wkbUnknown, options);
    CSLDestroy(options);
    if (!target)
        return 1;

    OGRFeatureDefn* sourceDefn = source->GetLayerDefn();
    for (const char* field : keptFields) {
        const int index = sourceDefn->GetFieldIndex(field);
        if (index < 0) {
            std::fprintf(stderr, "no field %s in %s\n", field, argv[1]);
            return 1;
        }
        if (target->CreateField(sourceDefn->GetFieldDefn(index)) != OGRERR_NONE)
            return 1;
    }

    int written = 0;
    source->ResetReading();
    while (OGRFeature* raw = source->GetNextFeature()) {
        const std::unique_ptr<OGRFeature, void (*)(OGRFeature*)> feature(raw, OGRFeature::DestroyFeature);
        if (!continents.count(feature->GetFieldAsString("continent")))
            continue;
        const std::unique_ptr<OGRFeature, void (*)(OGRFeature*)> copy(
            OGRFeature::CreateFeature(target->GetLayerDefn()), OGRFeature::DestroyFeature);
        for (const char* field : keptFields)
            copy->SetField(field, feature->GetRawFieldRef(sourceDefn->GetFieldIndex(field)));
        copy->SetGeometry(feature->GetGeometryRef());
        if (target->CreateFeature(copy.get()) != OGRERR_NONE)
            return 1;
        ++written;
    }
    std::printf("%d countries written to %s\n", written, argv[2]);
    return 0;
}
