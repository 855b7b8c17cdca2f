// The engine cache's numbering of feature ids under a small bound
// (EngineCache/FeatureIds): ids unused for long are forgotten, and queries
// over the virtual tables still give the answers of a full reading.

#include "tests/support/TableAdapterFixture.h"

#include "engine/EngineCache.h"
#include "engine/EngineCacheSettings.h"
#include "engine/FeatureIdNumbering.h"
#include "platform/dp/GeometryAttributeDefinition.h"
#include "platform/dp/MemoryTable.h"
#include "platform/dp/SimpleAttributeDefinition.h"
#include "platform/geometry/Geometry.h"

namespace tessera::test {
namespace {

dp::FeatureId fid(int n)
{
    return dp::FeatureId(QVariant(n));
}

TEST(FeatureIdNumbering, KeepsWhatIsInUseAndForgetsTheRest)
{
    engine::FeatureIdNumbering numbering(8);   // two generations of 4
    const std::int64_t kept = numbering.assign(fid(1000));
    for (int k = 0; k < 100; ++k) {
        EXPECT_EQ(numbering.assign(fid(k)), k + 1) << k;
        EXPECT_EQ(numbering.number(fid(1000), -1), kept) << k;
        EXPECT_LE(numbering.size(), 8u) << k;
    }
    EXPECT_GT(numbering.epoch(), 0u);
    // Id 10 (number 11) went unused for 90 insertions: forgotten both ways,
    // and its number is not handed out again.
    EXPECT_FALSE(numbering.id(11).isValid());
    EXPECT_EQ(numbering.number(fid(10), -1), -1);
    EXPECT_EQ(numbering.assign(fid(10)), 101);
    EXPECT_EQ(numbering.id(101).value().toInt(), 10);
    EXPECT_EQ(numbering.id(0).value().toInt(), 1000);
    EXPECT_EQ(numbering.next(), 102);

    // A lower bound applies at once.
    const auto epoch = numbering.epoch();
    numbering.setLimit(2);
    EXPECT_LE(numbering.size(), 2u);
    EXPECT_GT(numbering.epoch(), epoch);
}

dp::TableSchema schema()
{
    return dp::TableSchema({dp::AttributeDefinitionPtr(new dp::SimpleAttributeDefinition(QStringLiteral("name"), QMetaType::QString, 20)),
                            dp::AttributeDefinitionPtr(new dp::GeometryAttributeDefinition(QStringLiteral("obj")))});
}

// Three unit squares at x = 0, 2, 4 named a, b, c, with text ids of their own.
std::shared_ptr<dp::MemoryTable> squares(const QString& name)
{
    auto table = std::make_shared<dp::MemoryTable>(name, schema());
    for (int i = 0; i < 3; ++i) {
        dp::Feature f = table->newFeature();
        f.setId(dp::FeatureId(QStringLiteral("%1:%2").arg(name).arg(i)));
        f.setAttribute(0, QString(QLatin1Char('a' + i)));
        const double x = 2 * i;
        f.setGeometry(1, std::make_shared<geometry::Polygon>(
                             QVector<geometry::Ring>{{{x, 0}, {x + 1, 0}, {x + 1, 1}, {x, 1}, {x, 0}}}));
        table->insertFeature(f);
    }
    return table;
}

using FeatureIdBound = TableAdapterFixture;

TEST_F(FeatureIdBound, AnswersStayRightWhenFeatureIdsAreForgotten)
{
    // Room for two tables' ids: reading the third forgets the first's.
    core.settings().set(settings::cacheFeatureIds, 8);
    engine->cache()->setLimits(engine::cacheLimits(core.settings()));
    const QStringList names{QStringLiteral("t0"), QStringLiteral("t1"), QStringLiteral("t2")};
    for (const QString& name : names)
        catalog.addDataObject(squares(name));
    const std::uint64_t epoch = engine->cache()->idEpoch();

    const struct {
        const char* name;
        const char* sql;   // %1: the table, %2: its geometry column
        const char* expected;
    } rows[] = {
        {"scan", "Select group_concat(name) From (Select name From %1 Order By name)", "a,b,c"},
        // The R-tree's rows.
        {"spatial", "Select group_concat(name) From (Select name From %1 Where GeometryIntersects(%2, "
                    "GeomFromText('POLYGON((1.5 0, 4.5 0, 4.5 1, 1.5 1, 1.5 0))')) Order By name)", "b,c"},
        // The kept blobs (the outer side of a spatial self-join).
        {"self-join", "Select Count(*) From %1 x, %1 y Where GeometryIntersects(x.%2, y.%2)", "3"},
        {"rowid", "Select name From %1 Where rowid = (Select rowid From %1 Where name = 'b')", "b"},
    };
    for (int round = 0; round < 3; ++round)
        for (const QString& table : names)
            for (const auto& row : rows) {
                EXPECT_EQ(column(QString::fromLatin1(row.sql).replace(QLatin1String("%2"), g()).replace(QLatin1String("%1"), table)), QStringList{QString::fromLatin1(row.expected)})
                    << row.name << " over " << table.toStdString() << ", round " << round;
                EXPECT_LE(engine->cache()->idCount(), 8u);
            }
    EXPECT_GT(engine->cache()->idEpoch(), epoch);
}

} // namespace
} // namespace tessera::test
