// The engine's geometry SQL functions against SpatiaLite's on the same rows:
// Natural Earth country polygons (tests/data/countries.geojson), held in one
// table both as SpatiaLite blobs and as TesGeo blobs. Each pair of benchmarks
// runs one statement; the ratios (engine time / SpatiaLite time) are printed
// at the end (CPU time), with the results of both sides so that they can be compared.
//
//   geometry_bench [--benchmark_filter=...] [countries.geojson]

#include "engine/EngineCache.h"
#include "modules/functions/GeometryFunctionTable.h"

#include <benchmark/benchmark.h>
#include <gdal_priv.h>
#include <ogrsf_frmts.h>
#include <spatialite.h>
#include <sqlite3.h>

#include <cstdio>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

class BenchCache : public tessera::engine::EngineCache {
public:
    std::shared_ptr<tessera::cs::CoordSystem> tableCoordSystem(const QString&) const override { return nullptr; }
};

struct StatementDeleter {
    void operator()(sqlite3_stmt* s) const { sqlite3_finalize(s); }
};
using Statement = std::unique_ptr<sqlite3_stmt, StatementDeleter>;

struct DatasetCloser {
    void operator()(GDALDataset* d) const { GDALClose(d); }
};

// One connection with SpatiaLite and the engine's geometry functions, and the
// table countries(name, sl, tg, slb, tgb): polygons and their boundaries.
class Database {
public:
    explicit Database(const std::string& geojson)
    {
        if (sqlite3_open(":memory:", &db) != SQLITE_OK)
            throw std::runtime_error("cannot open an in-memory database");
        spatialite = spatialite_alloc_connection();
        spatialite_init_ex(db, spatialite, 0);
        for (const auto& f : tessera::modules::geometryFunctions()) {
            if (sqlite3_create_function_v2(db, f.name, f.arity, f.flags, &cache, f.call, nullptr, nullptr, nullptr) != SQLITE_OK)
                throw std::runtime_error(std::string("cannot register ") + f.name);
        }
        // SpatiaLite's geodesic measures find the ellipsoid in its metadata.
        exec("Select InitSpatialMetadata(1)");
        exec("Create Table countries(name Text, sl Blob, tg Blob, slb Blob, tgb Blob)");
        load(geojson);
        exec("Update countries Set slb = ST_Boundary(sl)");
        exec("Update countries Set tg = ToTesGeo(sl), tgb = ToTesGeo(slb)");
    }
    ~Database()
    {
        sqlite3_close(db);
        spatialite_cleanup_ex(spatialite);
    }
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    Statement prepare(const std::string& sql) const
    {
        sqlite3_stmt* stmt = nullptr;
        if (sqlite3_prepare_v2(db, sql.c_str(), -1, &stmt, nullptr) != SQLITE_OK)
            throw std::runtime_error(sql + ": " + sqlite3_errmsg(db));
        return Statement(stmt);
    }

    // The first column of the single row of `stmt`, which is reset for reuse.
    double value(sqlite3_stmt* stmt) const
    {
        if (sqlite3_step(stmt) != SQLITE_ROW) {
            const std::string error = sqlite3_errmsg(db);
            sqlite3_reset(stmt);
            throw std::runtime_error(error);
        }
        const double v = sqlite3_column_double(stmt, 0);
        sqlite3_reset(stmt);
        return v;
    }

    double value(const std::string& sql) const { return value(prepare(sql).get()); }

private:
    void exec(const std::string& sql)
    {
        char* message = nullptr;
        if (sqlite3_exec(db, sql.c_str(), nullptr, nullptr, &message) != SQLITE_OK) {
            const std::string error = sql + ": " + (message ? message : "");
            sqlite3_free(message);
            throw std::runtime_error(error);
        }
    }

    void load(const std::string& geojson)
    {
        GDALAllRegister();
        std::unique_ptr<GDALDataset, DatasetCloser> in(GDALDataset::Open(geojson.c_str(), GDAL_OF_VECTOR | GDAL_OF_READONLY));
        if (!in || in->GetLayerCount() < 1)
            throw std::runtime_error("cannot read " + geojson);
        const Statement insert = prepare("Insert Into countries(name, sl) Values (?, GeomFromWKB(?, 4326))");
        OGRLayer* layer = in->GetLayer(0);
        layer->ResetReading();
        while (OGRFeature* raw = layer->GetNextFeature()) {
            const std::unique_ptr<OGRFeature, void (*)(OGRFeature*)> feature(raw, OGRFeature::DestroyFeature);
            const OGRGeometry* g = feature->GetGeometryRef();
            if (!g)
                continue;
            std::vector<unsigned char> wkb(g->WkbSize());
            g->exportToWkb(wkbNDR, wkb.data());
            sqlite3_bind_text(insert.get(), 1, feature->GetFieldAsString("name"), -1, SQLITE_TRANSIENT);
            sqlite3_bind_blob(insert.get(), 2, wkb.data(), static_cast<int>(wkb.size()), SQLITE_TRANSIENT);
            if (sqlite3_step(insert.get()) != SQLITE_DONE)
                throw std::runtime_error(std::string("insert: ") + sqlite3_errmsg(db));
            sqlite3_reset(insert.get());
        }
    }

    sqlite3* db = nullptr;
    void* spatialite = nullptr;
    BenchCache cache;
};

// One measured operation, as the engine's and as SpatiaLite's statement.
struct Comparison {
    const char* name;
    std::string tessera;
    std::string spatialite;
};

const std::string pairs = " From countries a Join countries b On a.rowid < b.rowid";
const std::string firstPairs = pairs + " Where a.rowid <= 25 And b.rowid <= 25";

std::vector<Comparison> comparisons()
{
    return {
        // SpatiaLite blobs are decoded once and then found in the engine cache;
        // TesGeo blobs are read afresh every time.
        {"Intersects", "Select Count(*)" + pairs + " Where GeometryIntersects(a.sl, b.sl)",
         "Select Count(*)" + pairs + " Where ST_Intersects(a.sl, b.sl)"},
        {"IntersectsTesGeo", "Select Count(*)" + pairs + " Where GeometryIntersects(a.tg, b.tg)",
         "Select Count(*)" + pairs + " Where ST_Intersects(a.sl, b.sl)"},
        {"Area", "Select Sum(ObjectArea(tg, 'sq m')) From countries", "Select Sum(ST_Area(sl, 1)) From countries"},
        {"Length", "Select Sum(ObjectLen(tgb, 'm')) From countries", "Select Sum(ST_Length(slb, 1)) From countries"},
        {"Distance", "Select Sum(ObjectDistance(a.tg, b.tg, 'm'))" + firstPairs,
         "Select Sum(ST_Distance(a.sl, b.sl, 1))" + firstPairs},
    };
}

void runStatement(benchmark::State& state, const Database* db, const std::string& sql)
{
    const Statement stmt = db->prepare(sql);
    for (auto _ : state)
        benchmark::DoNotOptimize(db->value(stmt.get()));
}

// Keeps the CPU time of every run for the ratio table (steadier than wall
// time on a shared machine).
class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs)
            times[run.benchmark_name()] = run.GetAdjustedCPUTime();
        ConsoleReporter::ReportRuns(runs);
    }
    std::map<std::string, double> times;
};

} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    const std::string path = argc > 1 ? argv[1] : TESSERA_TEST_DATA "/countries.geojson";
    std::unique_ptr<Database> db;
    try {
        db = std::make_unique<Database>(path);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "geometry_bench: %s\n", e.what());
        return 1;
    }

    const std::vector<Comparison> all = comparisons();
    std::printf("%-18s %20s %20s\n", "result", "engine", "SpatiaLite");
    for (const Comparison& c : all) {
        try {
            std::printf("%-18s %20.3f %20.3f\n", c.name, db->value(c.tessera), db->value(c.spatialite));
        } catch (const std::exception& e) {
            std::fprintf(stderr, "geometry_bench: %s: %s\n", c.name, e.what());
            return 1;
        }
    }

    for (const Comparison& c : all) {
        benchmark::RegisterBenchmark((std::string(c.name) + "/Tessera").c_str(), runStatement, db.get(), c.tessera)
            ->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark((std::string(c.name) + "/SpatiaLite").c_str(), runStatement, db.get(), c.spatialite)
            ->Unit(benchmark::kMillisecond);
    }
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);

    std::printf("\n%-18s %12s\n", "operation", "engine / SpatiaLite (CPU time)");
    for (const Comparison& c : all) {
        const auto ours = reporter.times.find(std::string(c.name) + "/Tessera");
        const auto theirs = reporter.times.find(std::string(c.name) + "/SpatiaLite");
        if (ours != reporter.times.end() && theirs != reporter.times.end() && theirs->second > 0)
            std::printf("%-18s %12.2f\n", c.name, ours->second / theirs->second);
    }
    benchmark::Shutdown();
    return 0;
}
