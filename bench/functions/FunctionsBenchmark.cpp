// Our text, matching and date callbacks against SQLite's built-ins over the
// same million rows. Each pair runs the same query shape, so the ratio of
// their times is the cost of our function over SQLite's.
#include "engine/EngineCache.h"
#include "engine/functions/DateTimeFunctions.h"
#include "engine/functions/MatchingFunctions.h"
#include "engine/functions/StringFunctions.h"

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <cstdio>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>

namespace {

using namespace tessera;

constexpr int rowCount = 1000000;

class BenchCache : public engine::EngineCache {
public:
    std::shared_ptr<cs::CoordSystem> tableCoordSystem(const QString&) const override { return {}; }
};

struct DbCloser {
    void operator()(sqlite3* db) const { sqlite3_close(db); }
};
struct StmtFinalizer {
    void operator()(sqlite3_stmt* stmt) const { sqlite3_finalize(stmt); }
};
using Db = std::unique_ptr<sqlite3, DbCloser>;
using Stmt = std::unique_ptr<sqlite3_stmt, StmtFinalizer>;

void check(int rc, sqlite3* db, const char* what)
{
    if (rc != SQLITE_OK && rc != SQLITE_DONE && rc != SQLITE_ROW)
        throw std::runtime_error(std::string(what) + ": " + sqlite3_errmsg(db));
}

Stmt prepare(sqlite3* db, const char* sql)
{
    sqlite3_stmt* stmt = nullptr;
    check(sqlite3_prepare_v2(db, sql, -1, &stmt, nullptr), db, sql);
    return Stmt(stmt);
}

// Words of mixed scripts, so that some rows are plain ASCII and some are not.
const char* const words[] = {"alpha", "Bravo", "charlie", "DELTA", "echo", "abc", "Straße", "Äpfel",
                             "привет", "МИР", "zulu", "x-ray", "Tango", "hotel", "india", "Juliett"};

std::string randomText(std::mt19937& random)
{
    std::uniform_int_distribution<int> count(3, 6);
    std::uniform_int_distribution<int> pick(0, int(sizeof words / sizeof words[0]) - 1);
    std::string text;
    for (int i = 0, n = count(random); i < n; ++i) {
        if (i)
            text += ' ';
        text += words[pick(random)];
    }
    return text;
}

std::string randomDate(std::mt19937& random)
{
    std::uniform_int_distribution<int> day(1, 28), month(1, 12), year(1950, 2049), form(0, 3);
    char buffer[48];
    switch (form(random)) {
    case 0:
        std::snprintf(buffer, sizeof buffer, "%02d.%02d.%04d", day(random), month(random), year(random));
        break;
    case 1:
        std::snprintf(buffer, sizeof buffer, "%04d%02d%02d", year(random), month(random), day(random));
        break;
    case 2:
        std::snprintf(buffer, sizeof buffer, "%d may %d", day(random), year(random));
        break;
    default:
        std::snprintf(buffer, sizeof buffer, "%02d.%02d.%02d 12:%02d:%02d.5", day(random), month(random),
                      year(random) % 100, day(random), day(random));
        break;
    }
    return buffer;
}

// One connection with the table t(s, d) and our callbacks under their
// dialect names (and under t_like / t_instr where SQLite's names are kept
// for the comparison), registered as the function module does.
class Fixture {
public:
    Fixture()
    {
        sqlite3* raw = nullptr;
        if (sqlite3_open(":memory:", &raw) != SQLITE_OK)
            throw std::runtime_error("cannot open an in-memory database");
        db.reset(raw);
        constexpr int pure = SQLITE_UTF8 | SQLITE_DETERMINISTIC;
        using Callback = void (*)(sqlite3_context*, int, sqlite3_value**);
        const struct {
            const char* name;
            int argc;
            int flags;
            Callback callback;
        } functions[] = {
            {"lcase", 1, pure, engine::loCaseUTF16},       {"ucase", 1, pure, engine::upCaseUTF16},
            {"len", 1, pure, engine::len},                 {"t_instr", -1, pure, engine::inStrUTF16},
            {"t_like", 2, pure, engine::caseInsensitiveLike}, {"stringtodate", 1, SQLITE_UTF8, engine::stringToDate},
        };
        for (const auto& f : functions)
            check(sqlite3_create_function_v2(db.get(), f.name, f.argc, f.flags, &cache, f.callback, nullptr, nullptr,
                                             nullptr),
                  db.get(), f.name);

        check(sqlite3_exec(db.get(), "CREATE TABLE t(s TEXT, d TEXT); BEGIN;", nullptr, nullptr, nullptr), db.get(),
              "create");
        Stmt insert = prepare(db.get(), "INSERT INTO t VALUES (?, ?)");
        std::mt19937 random(20240506);
        for (int i = 0; i < rowCount; ++i) {
            const std::string s = randomText(random);
            const std::string d = randomDate(random);
            sqlite3_bind_text(insert.get(), 1, s.data(), int(s.size()), SQLITE_TRANSIENT);
            sqlite3_bind_text(insert.get(), 2, d.data(), int(d.size()), SQLITE_TRANSIENT);
            check(sqlite3_step(insert.get()), db.get(), "insert");
            sqlite3_reset(insert.get());
        }
        check(sqlite3_exec(db.get(), "COMMIT;", nullptr, nullptr, nullptr), db.get(), "commit");
    }

    sqlite3* handle() const { return db.get(); }

private:
    BenchCache cache;
    Db db;
};

Fixture& fixture()
{
    static Fixture instance;
    return instance;
}

// Runs a one-value query over the whole table per iteration.
void runQuery(benchmark::State& state, const char* sql)
{
    sqlite3* db = fixture().handle();
    Stmt stmt = prepare(db, sql);
    sqlite3_int64 result = 0;
    for (auto _ : state) {
        check(sqlite3_step(stmt.get()), db, sql);
        result = sqlite3_column_int64(stmt.get(), 0);
        sqlite3_reset(stmt.get());
        benchmark::DoNotOptimize(result);
    }
    state.counters["rows/s"] = benchmark::Counter(double(rowCount), benchmark::Counter::kIsIterationInvariantRate);
    state.counters["result"] = double(result);
}

#define TEXT_BENCH(name, sql) \
    void name(benchmark::State& state) { runQuery(state, sql); } \
    BENCHMARK(name)->Unit(benchmark::kMillisecond)->MinTime(1.0)

TEXT_BENCH(Lower_Sqlite, "SELECT count(lower(s)) FROM t");
TEXT_BENCH(Lower_Ours, "SELECT count(lcase(s)) FROM t");
TEXT_BENCH(Upper_Sqlite, "SELECT count(upper(s)) FROM t");
TEXT_BENCH(Upper_Ours, "SELECT count(ucase(s)) FROM t");
TEXT_BENCH(Length_Sqlite, "SELECT sum(length(s)) FROM t");
TEXT_BENCH(Length_Ours, "SELECT sum(len(s)) FROM t");
TEXT_BENCH(Like_Sqlite, "SELECT count(*) FROM t WHERE s LIKE '%abc%'");
TEXT_BENCH(Like_Ours, "SELECT count(*) FROM t WHERE t_like('%abc%', s)");
TEXT_BENCH(LikePrefix_Sqlite, "SELECT count(*) FROM t WHERE s LIKE 'alpha%'");
TEXT_BENCH(LikePrefix_Ours, "SELECT count(*) FROM t WHERE t_like('alpha%', s)");
// Many runs: the work of a backtracking matcher grows with their number.
TEXT_BENCH(LikeRuns_Sqlite, "SELECT count(*) FROM t WHERE s LIKE '%a%a%a%a%b%c'");
TEXT_BENCH(LikeRuns_Ours, "SELECT count(*) FROM t WHERE t_like('%a%a%a%a%b%c', s)");
TEXT_BENCH(Instr_Sqlite, "SELECT sum(instr(s, 'abc')) FROM t");
TEXT_BENCH(Instr_Ours, "SELECT sum(t_instr(s, 'abc')) FROM t");
// SQLite has no free-text date reader; its date() on ISO text gives a scale.
TEXT_BENCH(Date_Sqlite, "SELECT count(date(d)) FROM t");
TEXT_BENCH(StringToDate_Ours, "SELECT count(stringtodate(d)) FROM t");

} // namespace

BENCHMARK_MAIN();
