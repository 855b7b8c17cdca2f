#include "platform/cs/CoordSystem.h"
#include "platform/dp/GeometryAttributeDefinition.h"
#include "platform/dp/MemoryTable.h"
#include "platform/dp/SimpleAttributeDefinition.h"

#include <QDate>
#include <algorithm>
#include <gtest/gtest.h>
#include <map>

namespace tessera::dp {
namespace {

FeatureId id(QVariant v)
{
    return FeatureId(std::move(v));
}

TEST(FeatureId, OrdersAcrossTypes)
{
    EXPECT_FALSE(FeatureId().isValid());
    EXPECT_EQ(id(7), id(7LL));
    EXPECT_EQ(id(7), id(7.0));   // the same number whatever its type
    EXPECT_NE(id(7), id(QStringLiteral("7")));
    EXPECT_NE(id(7), FeatureId());
    EXPECT_EQ(FeatureId(), FeatureId());

    QList<FeatureId> ids = {FeatureId(),
                            id(QStringLiteral("9")),
                            id(10u),
                            id(2.5),
                            id(QStringLiteral("10")),
                            id(-3LL),
                            id(2)};
    std::sort(ids.begin(), ids.end());
    const QList<FeatureId> expected = {id(-3), id(2), id(2.5), id(10), id(QStringLiteral("10")), id(QStringLiteral("9")),
                                       FeatureId()};
    EXPECT_EQ(ids, expected);

    // As map keys, numerically equal identifiers are one key.
    std::map<FeatureId, int> keys;
    keys[id(1)] = 1;
    keys[id(1LL)] = 2;
    keys[id(1.0)] = 3;
    keys[id(QStringLiteral("1"))] = 4;
    EXPECT_EQ(keys.size(), 2u);
    EXPECT_EQ(keys.at(id(1u)), 3);

    const QVariant carried = QVariant::fromValue(id(QStringLiteral("abc")));
    EXPECT_EQ(carried.value<FeatureId>(), id(QStringLiteral("abc")));
}

class MemoryTableTest : public ::testing::Test {
protected:
    MemoryTableTest()
        : table(QStringLiteral("places"),
                TableSchema({AttributeDefinitionPtr(new SimpleAttributeDefinition(QStringLiteral("name"), QMetaType::QString, 20)),
                             AttributeDefinitionPtr(new SimpleAttributeDefinition(QStringLiteral("day"), QMetaType::QDate)),
                             AttributeDefinitionPtr(new GeometryAttributeDefinition(QStringLiteral("obj"), wgs84))}))
    {
    }

    Feature named(const QString& name, FeatureId fid = {}) const
    {
        Feature f = table.newFeature();
        f.setId(std::move(fid));
        f.setAttribute(QStringLiteral("NAME"), name);
        return f;
    }

    QStringList names() const
    {
        QStringList out;
        auto cursor = table.features();
        while (auto f = cursor->next())
            out << f->getAttribute(0).toString();
        return out;
    }

    const std::shared_ptr<cs::CoordSystem> wgs84 = cs::CoordSysFactory::defaultCoordSysFactory()->createFromEpsg(4326);
    MemoryTable table;
};

TEST_F(MemoryTableTest, FeaturesFollowTheSchema)
{
    Feature f = table.newFeature();
    EXPECT_EQ(f.numAttributes(), 3);
    EXPECT_FALSE(f.getAttribute(0).isValid());
    EXPECT_FALSE(f.id().isValid());
    EXPECT_TRUE(f.setAttribute(QStringLiteral("Day"), QDate(2024, 1, 2)));
    EXPECT_EQ(f.getAttribute(1), QVariant(QDate(2024, 1, 2)));
    EXPECT_FALSE(f.setAttribute(3, 1));
    EXPECT_FALSE(f.setAttribute(QStringLiteral("nothing"), 1));

    // Geometry values: a shared pointer in a variant of their own type. The
    // pointer below is never dereferenced; only its identity is checked.
    const auto owner = std::make_shared<int>(0);
    const ConstGeometryPtr shape(owner, reinterpret_cast<const geometry::Geometry*>(owner.get()));
    EXPECT_FALSE(f.geometry());
    EXPECT_TRUE(f.setGeometry(2, shape));
    EXPECT_EQ(f.geometry(), shape);
    EXPECT_EQ(f.geometry(2), shape);
    EXPECT_FALSE(f.geometry(0));
    EXPECT_TRUE(holdsGeometry(f.getAttribute(QStringLiteral("obj"))));
    EXPECT_TRUE(holdsGeometry(geometryToVariant(nullptr)));
    EXPECT_FALSE(holdsGeometry(QVariant(5)));
    EXPECT_FALSE(geometryFromVariant(QVariant(QStringLiteral("POINT(1 2)"))));

    EXPECT_EQ(table.coordSystem(), wgs84);
    EXPECT_EQ(MemoryTable(QStringLiteral("plain"), TableSchema()).coordSystem(), nullptr);
}

TEST_F(MemoryTableTest, InsertsWithNewAndGivenIds)
{
    int changes = 0;
    QObject::connect(&table, &Table::featuresChanged, [&] { ++changes; });

    EXPECT_EQ(table.insertFeature(named(QStringLiteral("a"))), id(1));
    EXPECT_EQ(table.insertFeature(named(QStringLiteral("b"), id(10))), id(10));
    EXPECT_EQ(table.insertFeature(named(QStringLiteral("c"))), id(11));   // past the given ids
    EXPECT_EQ(table.insertFeature(named(QStringLiteral("d"), id(QStringLiteral("key")))), id(QStringLiteral("key")));
    EXPECT_EQ(changes, 4);

    // Refused: an id in use (whatever its integer type), a wrong number of values.
    EXPECT_FALSE(table.insertFeature(named(QStringLiteral("e"), id(10LL))).isValid());
    EXPECT_FALSE(table.insertFeature(Feature(TableSchema(), id(20))).isValid());
    EXPECT_EQ(changes, 4);
    EXPECT_EQ(table.featureCount(), 4);

    ASSERT_TRUE(table.feature(id(10LL)));
    EXPECT_EQ(table.feature(id(10LL))->getAttribute(0), QVariant(QStringLiteral("b")));
    EXPECT_EQ(table.feature(id(QStringLiteral("key")))->id(), id(QStringLiteral("key")));
    EXPECT_FALSE(table.feature(id(2)));
    EXPECT_FALSE(table.feature(FeatureId()));

    // Features read out are copies.
    table.feature(id(1))->setAttribute(0, QStringLiteral("changed"));
    EXPECT_EQ(table.feature(id(1))->getAttribute(0), QVariant(QStringLiteral("a")));

    QVector<Feature> batch = {named(QStringLiteral("x")), named(QStringLiteral("y"), id(1)), named(QStringLiteral("z"))};
    EXPECT_EQ(table.appendFeatures(batch), 2);
    EXPECT_EQ(changes, 5);
    EXPECT_EQ(names(), (QStringList{"a", "b", "c", "d", "x", "z"}));
}

TEST_F(MemoryTableTest, CursorsReadASnapshot)
{
    table.insertFeature(named(QStringLiteral("a")));
    table.insertFeature(named(QStringLiteral("b")));
    auto cursor = table.features();
    table.insertFeature(named(QStringLiteral("c")));
    Feature renamed = named(QStringLiteral("A"), id(1));
    EXPECT_TRUE(table.updateFeature(renamed));

    QStringList seen;
    while (auto f = cursor->next())
        seen << f->getAttribute(0).toString();
    EXPECT_EQ(seen, (QStringList{"a", "b"}));
    EXPECT_FALSE(cursor->next());
    EXPECT_EQ(names(), (QStringList{"A", "b", "c"}));
}

TEST_F(MemoryTableTest, UpdatesAndRemovals)
{
    for (const char* n : {"a", "b", "c", "d"})
        table.insertFeature(named(QString::fromLatin1(n)));
    EXPECT_FALSE(table.updateFeature(named(QStringLiteral("q"), id(99))));
    EXPECT_FALSE(table.updateFeature(Feature(TableSchema(), id(1))));

    EXPECT_TRUE(table.removeFeature(id(2)));
    EXPECT_FALSE(table.removeFeature(id(2)));
    EXPECT_EQ(table.featureCount(), 3);
    // Features after the removed one are still found by id.
    ASSERT_TRUE(table.feature(id(3)));
    EXPECT_EQ(table.feature(id(3))->getAttribute(0), QVariant(QStringLiteral("c")));
    EXPECT_EQ(table.feature(id(4))->getAttribute(0), QVariant(QStringLiteral("d")));
    EXPECT_TRUE(table.updateFeature(named(QStringLiteral("D"), id(4))));
    EXPECT_EQ(names(), (QStringList{"a", "c", "D"}));
    // Removed ids are not handed out again while larger ones exist.
    EXPECT_EQ(table.insertFeature(named(QStringLiteral("e"))), id(5));
}

} // namespace
} // namespace tessera::dp
