// Fills store their rows in key order, not in the order given: a row added
// again, in one fill or a later one, keeps only its last keys, and keys of
// mixed kinds (NULL, numbers, texts) are all found.

#include "engine/indices/EngineIndicesSetup.h"
#include "engine/indices/EngineIndicesSqlite.h"
#include "platform/dp/SimpleAttributeDefinition.h"
#include "tests/support/EngineApplication.h"
#include "tests/support/EngineTestCache.h"

#include <gtest/gtest.h>

namespace tessera::engine {
namespace {

using C = EngineIndices::Constant;
using Rows = std::vector<std::int64_t>;

TEST(EngineIndicesFillOrder, RowsAddedAgainKeepTheirLastKeys)
{
    test::TestCache cache;
    EngineIndicesSetup setup;
    setup.set("Collate", QStringLiteral("Locale"));
    EngineIndicesSqlite store(setup, cache);
    ASSERT_TRUE(store.createStorage(dp::TableSchema(
        {dp::AttributeDefinitionPtr(new dp::SimpleAttributeDefinition("name", QMetaType::QString))})));
    const int index = store.addIndex({{0}});
    const auto fill = [&](const std::vector<std::pair<std::int64_t, QVariant>>& rows) {
        auto inserter = store.getInserter(index);
        ASSERT_TRUE(inserter);
        for (const auto& [row, name] : rows)
            ASSERT_TRUE(inserter->add(row, {name}));
        store.flushInserter(std::move(inserter));
    };
    // Falling row ids, a row twice, NULL and a number among the texts.
    fill({{9, QStringLiteral("Zürich")}, {7, QStringLiteral("bern")}, {8, QVariant()}, {7, QStringLiteral("Basel")},
          {5, 42}, {6, QStringLiteral("Bern")}});
    // A later fill adds row 9 again and a new row.
    fill({{9, QStringLiteral("Aarau")}, {10, QStringLiteral("zürich")}});

    const struct {
        const char* name;
        C constant;
        Rows rows;
    } cases[] = {
        {"bern in either case", C{0, C::Equal, {QStringLiteral("BERN")}}, {6}},
        {"row 7's last key", C{0, C::Equal, {QStringLiteral("Basel")}}, {7}},
        {"row 9's first key replaced", C{0, C::Equal, {QStringLiteral("Zürich")}}, {10}},
        {"row 9's new key", C{0, C::Equal, {QStringLiteral("Aarau")}}, {9}},
        {"NULL", C{0, C::IsNull, {}}, {8}},
        {"the number", C{0, C::Equal, {42}}, {5}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(store.findRows(index, {c.constant}), c.rows) << c.name;
    EXPECT_EQ(store.statistics(index)->rows, 6u);
}

} // namespace
} // namespace tessera::engine
