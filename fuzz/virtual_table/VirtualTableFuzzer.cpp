// SQL statements (Select, Insert, Update, Delete) over a live virtual table:
// a small GeoPackage in a temporary folder, opened through the GDAL provider
// and served by the table adapter as "t". Errors are fine; crashes are not.
// An input that changed the file is followed by a fresh copy, so that every
// input starts from the same table and a crash reproduces from its input.

#include "fuzz/FuzzEngine.h"
#include "modules/tables/TableAdapterExtension.h"
#include "modules/tables/TableAdapterModule.h"
#include "platform/dp/DataCatalog.h"
#include "providers/gdal/GdalTable.h"

#include <QFile>
#include <QLoggingCategory>
#include <QTemporaryDir>
#include <cpl_conv.h>
#include <cpl_vsi.h>
#include <cstdlib>
#include <gdal_utils.h>
#include <string>

namespace {

// Points, a line, polygons (one with a hole), a multi-polygon and a feature
// without geometry; text, integer, real and date fields with NULLs.
const char seedJson[] = R"({"type": "FeatureCollection", "features": [
{"type": "Feature", "properties": {"name": "alpha", "n": 1, "x": 1.5, "d": "2024-01-31"},
 "geometry": {"type": "Point", "coordinates": [1, 1]}},
{"type": "Feature", "properties": {"name": "beta", "n": 2, "x": -2.25, "d": null},
 "geometry": {"type": "LineString", "coordinates": [[0, 0], [3, 4], [3, 10]]}},
{"type": "Feature", "properties": {"name": "gamma", "n": 3, "x": null, "d": "1999-12-31"},
 "geometry": {"type": "Polygon", "coordinates": [[[0, 0], [10, 0], [10, 10], [0, 10], [0, 0]], [[2, 2], [2, 4], [4, 4], [4, 2], [2, 2]]]}},
{"type": "Feature", "properties": {"name": "delta", "n": null, "x": 1e300, "d": "2000-02-29"},
 "geometry": {"type": "MultiPolygon", "coordinates": [[[[20, 0], [30, 0], [30, 10], [20, 0]]], [[[40, 40], [50, 40], [50, 50], [40, 40]]]]}},
{"type": "Feature", "properties": {"name": null, "n": 5, "x": 0, "d": null}, "geometry": null},
{"type": "Feature", "properties": {"name": "ёжик", "n": -6, "x": 6.5, "d": "2024-06-01"},
 "geometry": {"type": "Point", "coordinates": [5, 5]}}
]})";

using namespace tessera;

// Keeps every input's effects within "t" (undone by the fresh copy): no
// schema changes (the catalog owns the virtual table), no writes to other
// tables, no transactions left open; the rest as the shared rules say.
bool fuzzing = false;   // the rules hold for the inputs, not for the catalog's own statements

int authorize(void* user, int action, const char* a, const char* b, const char* c, const char* d)
{
    if (!fuzzing)
        return SQLITE_OK;
    switch (action) {
    case SQLITE_INSERT:
    case SQLITE_UPDATE:
    case SQLITE_DELETE:
        return a && QString::fromUtf8(a).compare(QLatin1String("t"), Qt::CaseInsensitive) == 0 ? SQLITE_OK : SQLITE_DENY;
    case SQLITE_READ:
    case SQLITE_SELECT:
    case SQLITE_FUNCTION:
    case SQLITE_RECURSIVE:
        return fuzz::authorize(user, action, a, b, c, d);
    default:
        return SQLITE_DENY;
    }
}

class LiveTable {
public:
    static LiveTable& instance()
    {
        static LiveTable* table = new LiveTable();   // lives as long as the process
        return *table;
    }

    // Runs the input's statements; copies the file afresh when they changed it.
    void run(const std::string& sql)
    {
        auto& fuzz = fuzz::FuzzEngine::instance();
        const int before = sqlite3_total_changes(fuzz.db());
        fuzzing = true;
        fuzz.runAll(sql);
        fuzzing = false;
        if (sqlite3_total_changes(fuzz.db()) != before)
            reopen();
    }

private:
    LiveTable()
    {
        auto& fuzz = fuzz::FuzzEngine::instance();
        // Every fresh copy is logged at these levels: thousands of lines a second.
        QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false\n*.info=false"));
        fuzz.core().registerService(&catalog);
        fuzz.engine().loadTableAdapterModule(&fuzz.core(), &modules::initTableAdapterModule);
        extension.dependencyManager().setCore(&fuzz.core());
        extension.linkDataCatalog();
        sqlite3_set_authorizer(fuzz.db(), authorize, nullptr);

        pristine = dir.filePath(QStringLiteral("pristine.gpkg"));
        GDALAllRegister();
        // Every edit is a transaction on the file: no need to reach the disk.
        CPLSetConfigOption("OGR_SQLITE_SYNCHRONOUS", "OFF");
        const char* json = "/vsimem/fuzz-seed.geojson";
        VSIFCloseL(VSIFileFromMemBuffer(json, reinterpret_cast<GByte*>(const_cast<char*>(seedJson)), sizeof seedJson - 1, FALSE));
        GDALDatasetH source = GDALOpenEx(json, GDAL_OF_VECTOR, nullptr, nullptr, nullptr);
        const char* args[] = {"-f", "GPKG", "-nln", "t", "-a_srs", "EPSG:3857", nullptr};
        GDALVectorTranslateOptions* options = GDALVectorTranslateOptionsNew(const_cast<char**>(args), nullptr);
        int failed = 0;
        GDALDatasetH copy = source ? GDALVectorTranslate(pristine.toUtf8().constData(), nullptr, 1, &source, options, &failed) : nullptr;
        GDALVectorTranslateOptionsFree(options);
        GDALClose(source);
        VSIUnlink(json);
        if (!copy || failed)
            std::abort();   // no table, no target
        GDALClose(copy);
        reopen();
    }

    // A new file each time: the old one may still have its journal.
    void reopen()
    {
        if (table) {
            catalog.closeDataObject(table->id());
            table.reset();
            for (const char* suffix : {"", "-wal", "-shm", "-journal"})
                QFile::remove(live + QLatin1String(suffix));
        }
        live = dir.filePath(QStringLiteral("t%1.gpkg").arg(++copies));
        if (!QFile::copy(pristine, live))
            std::abort();
        providers::GdalTable::Options options;
        options.name = QStringLiteral("t");
        table = providers::GdalTable::open(live, options);
        catalog.addDataObject(table);
    }

    QTemporaryDir dir;
    QString pristine;
    QString live;
    int copies = 0;
    dp::DataCatalog catalog;
    modules::TableAdapterExtension extension;
    std::shared_ptr<providers::GdalTable> table;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    LiveTable::instance().run(std::string(reinterpret_cast<const char*>(data), size));
    return 0;
}
