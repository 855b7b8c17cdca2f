// The SQLite index store with the engine's settings ("Locale" collation,
// case-insensitive LIKE and GLOB): filling an index over one text and one
// integer column from a million generated rows, and equality look-ups on the
// text column.
#include "engine/EngineCache.h"
#include "engine/indices/EngineIndicesFactory.h"
#include "engine/indices/EngineIndicesSetup.h"
#include "engine/indices/EngineIndices.h"
#include "platform/dp/SimpleAttributeDefinition.h"

#include <QCoreApplication>
#include <benchmark/benchmark.h>

#include <memory>
#include <random>
#include <stdexcept>

namespace {

using namespace tessera;
using engine::EngineIndices;

constexpr int rowCount = 1000000;
constexpr int lookUps = 10000;

class BenchCache : public engine::EngineCache {
public:
    std::shared_ptr<cs::CoordSystem> tableCoordSystem(const QString&) const override { return {}; }
};

// Street-like names in Latin and Cyrillic, mixed case, about 10 rows a name.
const std::vector<QVector<QVariant>>& generatedRows()
{
    static const std::vector<QVector<QVariant>> rows = [] {
        std::mt19937 random(20261123);
        std::uniform_int_distribution<int> name(0, rowCount / 10);
        std::uniform_int_distribution<int> number(-50000, 50000);
        const QString stems[] = {QStringLiteral("Straße "), QStringLiteral("улица "), QStringLiteral("Avenue "),
                                 QStringLiteral("Проспект ")};
        std::vector<QVector<QVariant>> result;
        result.reserve(rowCount);
        for (int i = 0; i < rowCount; ++i) {
            const int n = name(random);
            result.push_back({stems[n % 4] + QString::number(n), number(random)});
        }
        return result;
    }();
    return rows;
}

std::unique_ptr<EngineIndices> filledStore(BenchCache& cache, int& index)
{
    engine::EngineIndicesSetup setup;
    setup.set("Collate", QStringLiteral("Locale"));
    setup.set("UseCaseInsensitiveLike", true);
    setup.set("UseCaseInsensitiveGlob", true);
    auto store = engine::EngineIndicesFactory::instance().construct(setup, cache);
    const dp::TableSchema schema({dp::AttributeDefinitionPtr(new dp::SimpleAttributeDefinition("name", QMetaType::QString)),
                                  dp::AttributeDefinitionPtr(new dp::SimpleAttributeDefinition("n", QMetaType::Int))});
    if (!store->createStorage(schema))
        throw std::runtime_error("no storage");
    index = store->addIndex({{0}, {1}});
    auto inserter = store->getInserter(index);
    const auto& rows = generatedRows();
    for (int i = 0; i < rowCount; ++i)
        inserter->add(i, rows[static_cast<std::size_t>(i)]);
    store->flushInserter(std::move(inserter));
    return store;
}

void BM_FillIndex(benchmark::State& state)
{
    generatedRows();
    for (auto _ : state) {
        BenchCache cache;
        int index = -1;
        auto store = filledStore(cache, index);
        benchmark::DoNotOptimize(store.get());
    }
    state.SetItemsProcessed(state.iterations() * rowCount);
}
BENCHMARK(BM_FillIndex)->Unit(benchmark::kMillisecond)->Iterations(1);

void BM_EqualityLookUps(benchmark::State& state)
{
    BenchCache cache;
    int index = -1;
    auto store = filledStore(cache, index);
    const auto& rows = generatedRows();
    std::mt19937 random(7);
    std::uniform_int_distribution<int> pick(0, rowCount - 1);
    std::vector<QVariant> names;
    for (int i = 0; i < lookUps; ++i)
        names.push_back(rows[static_cast<std::size_t>(pick(random))][0].toString().toUpper());
    std::size_t found = 0;
    for (auto _ : state) {
        for (const QVariant& name : names)
            found += store->findRows(index, {EngineIndices::Constant{0, EngineIndices::Constant::Equal, {name}}}).size();
    }
    if (found == 0)
        state.SkipWithError("nothing found");
    state.SetItemsProcessed(state.iterations() * lookUps);
    state.counters["rows per look-up"] = double(found) / double(state.iterations() * lookUps);
}
BENCHMARK(BM_EqualityLookUps)->Unit(benchmark::kMillisecond)->Iterations(3);

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
