// A third-party Tessera plug-in: once the engine is loaded, it registers the
// SQL function Squared(x) and the virtual-table module "series" on the
// engine's connection through a table-adapter initialiser.

#include "SeriesTable.h"

#include <engine/Engine.h>
#include <engine/functions/ValueConversions.h>
#include <platform/core/Core.h>
#include <platform/core/Plugin.h>

#include <QObject>
#include <sqlite3.h>

namespace series {
namespace {

// Squared(x): x times x, NULL when x is not a number. Reads its argument with
// the engine's value conversion, so "2.5" and 2.5 are the same number.
void squared(sqlite3_context* context, int, sqlite3_value** argv)
{
    bool ok = false;
    const double x = tessera::engine::toDouble(argv[0], &ok);
    if (ok)
        sqlite3_result_double(context, x * x);
    else
        sqlite3_result_null(context);
}

// The table-adapter initialiser: runs with the engine's connection, the core
// and the engine cache (the user data the engine's own functions expect).
int init(sqlite3* db, char** error, tessera::Core*, tessera::engine::EngineCache* cache)
{
    int rc = sqlite3_create_function_v2(db, "Squared", 1, SQLITE_UTF8 | SQLITE_DETERMINISTIC, cache, squared,
                                        nullptr, nullptr, nullptr);
    if (rc == SQLITE_OK)
        rc = registerSeriesModule(db);
    if (rc != SQLITE_OK)
        *error = sqlite3_mprintf("%s", sqlite3_errmsg(db));
    return rc;
}

} // namespace

class SeriesPlugin : public QObject, public tessera::plugin::Plugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID TESSERA_PLUGIN_IID FILE "SeriesPlugin.json")
    Q_INTERFACES(tessera::plugin::Plugin)
public:
    void load(tessera::Core* core) override
    {
        // Both throw with the reason: no engine, or the module's message.
        core->requireService<tessera::Engine>().loadTableAdapterModule(core, &init);
    }
    void unload(tessera::Core*) override {}
};

} // namespace series

#include "SeriesPlugin.moc"
