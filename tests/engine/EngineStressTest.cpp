// Eight threads run translated queries (text functions, geometry measures,
// predicates, a slow self-join) while a ninth cancels and clears the cache at
// random moments. Four threads share the engine connection, one statement at
// a time as its rules demand; four run on connections of their own with the
// engine's functions and cache. Every answer is the one the query gives alone,
// or an interruption.

#include "engine/Engine.h"
#include "engine/EngineCache.h"
#include "engine/functions/MatchingFunctions.h"
#include "engine/translation/SpatiaLiteFunctions.h"
#include "modules/functions/FunctionModule.h"
#include "platform/core/Core.h"

#include "tests/support/EngineApplication.h"

#include <QElapsedTimer>
#include <QSqlDriver>
#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <iostream>
#include <mutex>
#include <random>
#include <sqlite3.h>   // before spatialite.h, which needs its types
#include <spatialite.h>
#include <string>
#include <thread>
#include <vector>

namespace tessera {
namespace {

const char* const dialect[] = {
    "Select UCase('straße') & Left$('hello', 3) & Len('ёжик') & Proper('big town')",
    "Select 'Hello World' Like 'hello%', 'abc' Glob 'A*', Mid('abcdef', 2, 3), 'ab12' Regexp '^[a-z]+[0-9]+$'",
    "Select objectlen(GeomFromText('LINESTRING(0 0, 3 4, 3 10)', 3857), 'm'), "
    "objectarea(GeomFromText('POLYGON((0 0, 10 0, 10 10, 0 10, 0 0))', 3857), 'sq m')",
    "Select sphericalobjectlen(GeomFromText('LINESTRING(0 0, 1 1)', 4326), 'km'), centroidx(GeomFromText('POLYGON((0 0, 4 0, 4 2, 0 2, 0 0))', 3857))",
    "Select geometryintersects(GeomFromText('POINT(1 1)', 4326), GeomFromText('POLYGON((0 0, 2 0, 2 2, 0 2, 0 0))', 4326)), "
    "geometrycontains(GeomFromText('POLYGON((0 0, 2 0, 2 2, 0 2, 0 0))', 4326), GeomFromText('POINT(3 3)', 4326))",
    "Select Count(*), Sum(a.n) From nums a, nums b Where a.n < b.n And (a.n + b.n) % 7 = 0",
};
constexpr int queryCount = sizeof dialect / sizeof *dialect;
constexpr int workers = 8;
constexpr int iterations = 60;

struct Answer {
    bool interrupted = false;
    std::string text;   // the row's values joined by '|', or the error
};

Answer run(sqlite3* db, const std::string& sql)
{
    Answer answer;
    sqlite3_stmt* stmt = nullptr;
    if (sqlite3_prepare_v2(db, sql.c_str(), -1, &stmt, nullptr) != SQLITE_OK) {
        answer.interrupted = sqlite3_errcode(db) == SQLITE_INTERRUPT;
        answer.text = std::string("error: ") + sqlite3_errmsg(db);
        return answer;
    }
    int rc = SQLITE_ROW;
    while ((rc = sqlite3_step(stmt)) == SQLITE_ROW) {
        for (int i = 0; i < sqlite3_column_count(stmt); ++i) {
            const unsigned char* text = sqlite3_column_text(stmt, i);
            answer.text += std::string(text ? reinterpret_cast<const char*>(text) : "NULL") + "|";
        }
    }
    if (rc != SQLITE_DONE) {
        answer.interrupted = rc == SQLITE_INTERRUPT;
        answer.text = std::string("error: ") + sqlite3_errmsg(db);
    }
    sqlite3_finalize(stmt);
    return answer;
}

void fillNumbers(sqlite3* db)
{
    run(db, "Create Table nums (n Integer)");
    run(db, "With Recursive c(x) As (Select 0 Union All Select x + 1 From c Where x < 399) Insert Into nums Select x From c");
}

int localeCollation(void* collator, int length1, const void* data1, int length2, const void* data2)
{
    return engine::collatorCompare(*static_cast<QCollator*>(collator), length1, data1, length2, data2);
}

// A connection of a worker's own with SpatiaLite, the engine's functions and
// the "Locale" collation that translated text asks for.
struct OwnConnection {
    OwnConnection(Core* core, engine::EngineCache* cache)
    {
        sqlite3_open(":memory:", &db);
        spatialite = spatialite_alloc_connection();
        engine::initSpatiaLite(db, spatialite);
        sqlite3_create_collation(db, "Locale", SQLITE_UTF16, &collator, localeCollation);
        char* message = nullptr;
        EXPECT_EQ(modules::initFunctionModule(db, &message, core, cache), SQLITE_OK);
        sqlite3_free(message);
        fillNumbers(db);
    }
    ~OwnConnection()
    {
        sqlite3_close(db);
        spatialite_cleanup_ex(spatialite);
    }
    OwnConnection(const OwnConnection&) = delete;
    OwnConnection& operator=(const OwnConnection&) = delete;
    QCollator collator = engine::collator();
    sqlite3* db = nullptr;
    void* spatialite = nullptr;
};

TEST(EngineStress, QueriesUnderCancellationAndCacheClearing)
{
    Core core;
    Engine* engine = Engine::load(&core);
    ASSERT_TRUE(engine);
    engine->loadTableAdapterModule(&core, modules::initFunctionModule);
    engine->cache()->setUseGaiaCache(engine::GaiaCacheAlways);
    sqlite3* shared = *static_cast<sqlite3* const*>(engine->engineDatabase().driver()->handle().constData());
    fillNumbers(shared);

    // Translated once, answered once, alone.
    std::vector<std::string> sql;
    std::vector<std::string> expected;
    for (const char* text : dialect) {
        sql.push_back(engine->translate(std::string(text)).toStdString());
        const Answer alone = run(shared, sql.back());
        ASSERT_FALSE(alone.interrupted) << text;
        ASSERT_EQ(alone.text.rfind("error", 0), std::string::npos) << text << ": " << alone.text;
        expected.push_back(alone.text);
    }

    std::mutex connectionMutex;   // the engine connection: one statement at a time
    std::atomic<int> running{workers};
    std::atomic<int> answered{0};
    std::atomic<int> interrupted{0};
    std::vector<std::string> failures(workers);
    QElapsedTimer timer;
    timer.start();

    std::vector<std::thread> threads;
    for (int w = 0; w < workers; ++w) {
        threads.emplace_back([&, w] {
            std::mt19937 random(w);
            std::unique_ptr<OwnConnection> own;
            if (w % 2)
                own = std::make_unique<OwnConnection>(&core, engine->cache());
            for (int i = 0; i < iterations && failures[w].empty(); ++i) {
                const int q = static_cast<int>(random() % queryCount);
                Answer answer;
                if (own) {
                    answer = run(own->db, sql[q]);
                } else {
                    std::lock_guard<std::mutex> lock(connectionMutex);
                    // Translation uses the connection too.
                    answer = run(shared, engine->translate(std::string(dialect[q])).toStdString());
                }
                if (answer.interrupted)
                    ++interrupted;
                else if (answer.text != expected[q])
                    failures[w] = std::string(dialect[q]) + " gave " + answer.text + " instead of " + expected[q];
                ++answered;
            }
            --running;
        });
    }
    std::thread disturber([&] {
        std::mt19937 random(99);
        while (running > 0) {
            std::this_thread::sleep_for(std::chrono::microseconds(random() % 3000));
            if (random() % 2)
                engine->cancelQuery();
            else
                engine->clearCache();
        }
    });
    for (auto& t : threads)
        t.join();
    disturber.join();

    for (const std::string& failure : failures)
        EXPECT_TRUE(failure.empty()) << failure;
    EXPECT_EQ(answered, workers * iterations);
    const double seconds = timer.elapsed() / 1000.0;
    std::cout << answered << " queries (" << interrupted << " interrupted) in " << seconds << " s: "
              << (seconds > 0 ? answered / seconds : 0.0) << " queries per second under contention\n";

    // Unload racing cancellation: the interrupt never meets a closed connection.
    std::atomic<bool> unloaded{false};
    std::thread canceller([&] {
        while (!unloaded)
            engine->cancelQuery();
        engine->cancelQuery();
    });
    Engine::unload(&core);
    unloaded = true;
    canceller.join();
}

} // namespace
} // namespace tessera
