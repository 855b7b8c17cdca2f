// Runs N (default 100000) distinct translated statements through one engine:
// each makes new geometries (SpatiaLite and TesGeo blobs, kept by the cache),
// a new regular expression, new texts and numbers. Prints the resident
// memory every tenth of the way; with bounded caches it levels off.
//
// Usage: engine_soak [N]

#include "engine/Engine.h"
#include "engine/EngineCache.h"
#include "modules/functions/FunctionModule.h"
#include "platform/core/Core.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QSqlDriver>
#include <cstdio>
#include <cstdlib>
#include <sqlite3.h>
#include <string>

namespace {

// Resident set in MiB where the system tells it (Linux), else -1.
double residentMegabytes()
{
    QFile statm(QStringLiteral("/proc/self/statm"));
    if (!statm.open(QIODevice::ReadOnly))
        return -1;
    const QList<QByteArray> fields = statm.readAll().split(' ');
    return fields.size() > 1 ? fields[1].toDouble() * 4096.0 / (1 << 20) : -1;
}

// Valid longitudes and latitudes for both coordinate systems, never twice the same.
std::string statement(long i)
{
    char coordinates[128];
    std::snprintf(coordinates, sizeof coordinates, "%.6f %.6f, %.6f %.6f, 0 0", -80.0 + i % 160 + (i / 160) * 1e-4,
                  -60.0 + i % 120 + (i / 120) * 1e-4, 10.0 + (i % 7) * 1e-3, 20.0 + i * 1e-6);
    const std::string n = std::to_string(i);
    const std::string line = std::string("GeomFromText('LINESTRING(") + coordinates + ")', " + (i % 2 ? "3857" : "4326") + ")";
    return "Select objectlen(" + line + ", 'm'), centroidx(totesgeo(" + line + ")), geometryintersects(" + line
        + ", totesgeo(" + line + ")), 'v" + n + "' Regexp '^v" + n + "$', UCase('row " + n + "') & Len('" + n + "')";
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    const long total = argc > 1 ? std::atol(argv[1]) : 100000;
    tessera::Core core;
    tessera::Engine* engine = tessera::Engine::load(&core);
    engine->loadTableAdapterModule(&core, tessera::modules::initFunctionModule);
    engine->cache()->setUseGaiaCache(tessera::engine::GaiaCacheAlways);
    sqlite3* db = *static_cast<sqlite3* const*>(engine->engineDatabase().driver()->handle().constData());

    QElapsedTimer timer;
    timer.start();
    std::printf("statements  resident MiB  seconds\n");
    std::printf("%10d  %12.1f  %7.1f\n", 0, residentMegabytes(), 0.0);
    long failed = 0;
    for (long i = 1; i <= total; ++i) {
        const std::string sql = engine->translate(statement(i)).toStdString();
        sqlite3_stmt* stmt = nullptr;
        if (sqlite3_prepare_v2(db, sql.c_str(), -1, &stmt, nullptr) != SQLITE_OK || sqlite3_step(stmt) != SQLITE_ROW)
            ++failed;
        sqlite3_finalize(stmt);
        if (i % (total / 10 > 0 ? total / 10 : 1) == 0)
            std::printf("%10ld  %12.1f  %7.1f\n", i, residentMegabytes(), timer.elapsed() / 1000.0);
    }
    if (failed)
        std::printf("%ld statements failed\n", failed);
    tessera::Engine::unload(&core);
    return failed ? 1 : 0;
}
