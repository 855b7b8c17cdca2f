// Throughput of the translator (parse and build) on a mix of realistic
// dialect queries. items_per_second is queries per second.

#include "engine/EngineCache.h"
#include "engine/translation/SqliteStringBuilder.h"
#include "engine/translation/TranslationEntry.h"
#include "platform/dp/MemoryTable.h"
#include "platform/dp/Selection.h"
#include "platform/sql/SqlRuntime.h"

#include <QCoreApplication>
#include <QSqlDatabase>
#include <benchmark/benchmark.h>

#include <memory>
#include <string>
#include <vector>

using namespace tessera;

namespace {

class BenchCache : public engine::EngineCache {
public:
    std::shared_ptr<cs::CoordSystem> tableCoordSystem(const QString&) const override { return {}; }
};

const std::vector<std::string>& queries()
{
    static const std::vector<std::string> texts = {
        "Select name, population From cities Where population > 100000 And name Like \"Mo%\" Order By population Desc",
        "Select Area(obj, \"sq km\") As area, Perimeter(obj, \"km\") From regions "
        "Where obj Intersects (Select obj From cities Where name = \"Moscow\")",
        "Select rownum, name, Round(population / 1000, 1) As k From cities Order By 3 Desc Limit 10",
        "Select region, Count(*), Sum(population) From cities Group By region Having Count(*) > 5 Order By 2 Desc",
        "Select s.name, s.obj, style From Selection s Where s.population Between 1000 And 50000",
        "Update cities Set name = Proper(name), code = Left(code, 2) & \"-\" & Right(code, 3) Where rowid In (1, 2, 3)",
        "Select c.name, r.name From cities c Inner Join regions r On c.obj Within r.obj "
        "Left Join roads d On d.obj Intersects c.obj Where c.population > 1000 Or r.area >= 10",
        "Case When a Xor b Then a \\ 2 Else a Mod 3 End + Distance(obj, obj, \"m\") ^ 2",
        "Select name From cities Where Exists (Select 1 From roads Where roads.obj Contains Part cities.obj) "
        "Union Select name From regions Where name Not In (\"a\", \"b\", \"c\") Order By 1",
        "Insert Into log (name, obj) Select name, MakeValid(obj) From regions Where Area(obj, \"sq m\") > 0",
    };
    return texts;
}

void translateMix(benchmark::State& state)
{
    sql::SqlRuntime runtime;
    BenchCache cache;
    QVector<dp::FeatureId> ids;
    for (int i = 0; i < 50; ++i)
        ids << dp::FeatureId(i * 7);
    const dp::Selection selection(std::make_shared<dp::MemoryTable>(QStringLiteral("cities"), dp::TableSchema()), ids);
    const QSqlDatabase db;
    std::size_t next = 0;
    std::size_t characters = 0;
    for (auto _ : state) {
        engine::SqliteStringBuilder builder(db, QString(), nullptr);
        builder.setSelection(selection, &cache);
        const std::string& text = queries()[next++ % queries().size()];
        const bool ok = engine::translateQuery(&runtime, text, builder, false);
        if (!ok) {
            state.SkipWithError("a benchmark query did not translate");
            break;
        }
        characters += builder.query().size();
        benchmark::DoNotOptimize(builder.query().data());
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()));
    state.counters["chars/query"] = state.iterations() ? double(characters) / double(state.iterations()) : 0.0;
}
BENCHMARK(translateMix);

// The same with a long expression: cost per operator of the rewrites.
void translateLongExpression(benchmark::State& state)
{
    sql::SqlRuntime runtime;
    std::string text = "a";
    for (int i = 0; i < state.range(0); ++i)
        text += i % 2 ? " / b" : " + c";
    for (auto _ : state) {
        engine::SqliteStringBuilder builder(QSqlDatabase(), QString(), nullptr);
        if (!engine::translateQuery(&runtime, text, builder, true)) {
            state.SkipWithError("the expression did not translate");
            break;
        }
        benchmark::DoNotOptimize(builder.query().data());
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()));
}
BENCHMARK(translateLongExpression)->Arg(10)->Arg(100)->Arg(1000);

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
