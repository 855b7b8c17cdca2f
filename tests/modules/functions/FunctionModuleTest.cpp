// The function module on the engine connection: every dialect name is there
// with the right determinism, and LIKE and GLOB follow the settings. (The
// shell's tests run translated queries through the module's plug-in.)

#include "engine/Engine.h"
#include "modules/functions/FunctionModule.h"
#include "platform/core/Core.h"
#include "platform/core/Settings.h"
#include "tests/support/EngineApplication.h"

#include <QSqlQuery>
#include <QVariant>
#include <gtest/gtest.h>
#include <algorithm>
#include <map>
#include <memory>
#include <set>
#include <sqlite3.h>

using namespace tessera;

namespace {

class FunctionModuleTest : public ::testing::Test {
protected:
    static void SetUpTestSuite()
    {
        core = new Core;
        engine = Engine::load(core);
        engine->loadTableAdapterModule(core, &modules::initFunctionModule);
    }
    static void TearDownTestSuite()
    {
        Engine::unload(core);
        delete core;
    }

    static QVariant value(const QString& dialect)
    {
        QSqlQuery q(engine->engineDatabase());
        const QString sqlite = engine->translate(dialect);
        EXPECT_TRUE(q.exec(sqlite)) << sqlite.toStdString();
        EXPECT_TRUE(q.next()) << sqlite.toStdString();
        return q.value(0);
    }

    static Core* core;
    static Engine* engine;
};

Core* FunctionModuleTest::core = nullptr;
Engine* FunctionModuleTest::engine = nullptr;

constexpr int deterministicFlag = 0x800;

TEST_F(FunctionModuleTest, RegistersEveryDialectName)
{
    // (name, argument count, deterministic) as users call them; -1 stands for
    // a function that takes a variable number of arguments.
    struct Expected { const char* name; int narg; bool deterministic; };
    const Expected expected[] = {
        {"concat", -1, true}, {"xor", -1, true}, {"divide", -1, true}, {"quotient", -1, true},
        {"modulo", -1, true}, {"involution", -1, true}, {"chr", 1, true}, {"asc", 1, true},
        {"instr", -1, true}, {"lcase", 1, true}, {"ucase", 1, true}, {"len", 1, true},
        {"left$", 2, true}, {"right$", 2, true}, {"mid", 3, true}, {"val", 1, true},
        {"proper", 1, true}, {"space", 1, true}, {"repeat", 2, true}, {"str", 1, false},
        {"sqrt", 1, true}, {"sign", 1, true}, {"minimum", 2, true}, {"maximum", 2, true},
        {"truncate", 1, true}, {"floor", 1, true}, {"roundto", 2, true}, {"roundby", 1, true},
        {"wtavg", 2, true}, {"wtavgsafe", 2, true},
        {"curdate", 0, false}, {"curtime", 0, false}, {"curdatetime", 0, false},
        {"stringtodate", 1, false}, {"numbertodate", 1, true}, {"day", 1, true}, {"weekday", 1, true},
        {"getdate", 1, true}, {"gettime", 1, true},
        {"formatdate", 1, false}, {"formatnumber", 1, false}, {"deformat", 1, false},
        {"formatnumberbypattern", 2, false},
        {"like", 2, true}, {"like", 3, true}, {"glob", 2, true}, {"regexp", 2, true},
        {"casesensitivecompare", 2, true}, {"localecompare", 2, false},
        {"objectarea", 2, true}, {"objectperimeter", 2, true}, {"objectlen", 2, true},
        {"objectdistance", 3, true}, {"centroiddistance", 3, true},
        {"sphericalarea", 2, true}, {"ellipsoidalobjectlen", 2, true}, {"vincentydistance", 3, true},
        {"lambertobjectdistance", 3, true}, {"cartesianperimeter", 2, true},
        {"centroidx", 1, true}, {"centroidy", 1, true}, {"centroid", 1, true},
        {"geometryintersects", 2, true}, {"geometrycontains", 2, true}, {"geometrywithin", 2, true},
        {"containscentroid", 2, true}, {"centroidwithin", 2, true}, {"nearestpoints", 2, true},
        {"makevalidgeo", 1, true}, {"resemblance", 1, false},
        {"totesgeo", -1, true}, {"fromtesgeo", 1, true}, {"transformtotesgeo", -1, true},
        {"transformtoslgeo", -1, true}, {"frommif", -1, false}, {"retrievecs", 1, false}, {"retrievetablecs", 1, false},
    };

    std::map<std::pair<QString, int>, int> registered;   // (name, narg) -> flags
    QSqlQuery q(engine->engineDatabase());
    ASSERT_TRUE(q.exec(QStringLiteral("Select name, narg, flags From pragma_function_list")));
    while (q.next())
        registered[{q.value(0).toString().toLower(), q.value(1).toInt()}] = q.value(2).toInt();

    for (const Expected& e : expected) {
        const QString name = QString::fromLatin1(e.name);
        // Some functions take one of several counts; the entry names one of them.
        auto it = registered.find({name, e.narg});
        if (e.narg == -1 && it == registered.end()) {
            it = std::find_if(registered.begin(), registered.end(),
                              [&](const auto& r) { return r.first.first == name; });
        }
        ASSERT_NE(it, registered.end()) << e.name << "/" << e.narg;
        EXPECT_EQ((it->second & deterministicFlag) != 0, e.deterministic) << e.name;
    }
}

TEST_F(FunctionModuleTest, LikeAndGlobFollowTheSettings)
{
    // The engine's defaults: case-insensitive beyond ASCII.
    EXPECT_EQ(value(QStringLiteral("Select \"ÄРБУЗ\" Like \"äрб%\"")).toInt(), 1);
    EXPECT_EQ(value(QStringLiteral("Select \"ÄРБУЗ\" Glob \"äрб*\"")).toInt(), 1);

    // A connection whose settings keep SQLite's own LIKE and GLOB.
    Core plain;
    plain.settings().set(tessera::settings::useCaseInsensitiveLike, false);
    plain.settings().set(tessera::settings::useCaseInsensitiveGlob, false);
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(":memory:", &db), SQLITE_OK);
    std::unique_ptr<sqlite3, decltype(&sqlite3_close)> guard(db, &sqlite3_close);
    char* message = nullptr;
    ASSERT_EQ(modules::initFunctionModule(db, &message, &plain, engine->cache()), SQLITE_OK) << (message ? message : "");

    auto scalar = [db](const char* sql) {
        sqlite3_stmt* stmt = nullptr;
        EXPECT_EQ(sqlite3_prepare_v2(db, sql, -1, &stmt, nullptr), SQLITE_OK) << sql;
        EXPECT_EQ(sqlite3_step(stmt), SQLITE_ROW) << sql;
        const int result = sqlite3_column_int(stmt, 0);
        sqlite3_finalize(stmt);
        return result;
    };
    EXPECT_EQ(scalar("Select 'ÄРБУЗ' Like 'äрб%'"), 0);   // SQLite folds ASCII only
    EXPECT_EQ(scalar("Select 'ABC' Like 'abc'"), 1);
    EXPECT_EQ(scalar("Select 'ABC' Glob 'abc'"), 0);       // SQLite's GLOB is case-sensitive
    EXPECT_EQ(scalar("Select len('ÄРБУЗ')"), 5);           // the rest of the module is there
}

} // namespace
