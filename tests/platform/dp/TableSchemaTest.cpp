#include "platform/cs/CoordSystem.h"
#include "platform/dp/GeometryAttributeDefinition.h"
#include "platform/dp/SimpleAttributeDefinition.h"
#include "platform/dp/TableSchema.h"

#include <gtest/gtest.h>

namespace tessera::dp {
namespace {

AttributeDefinitionPtr simple(const QString& name, int type = QMetaType::Int)
{
    return AttributeDefinitionPtr(new SimpleAttributeDefinition(name, type));
}

AttributeDefinitionPtr geometry(const QString& name)
{
    return AttributeDefinitionPtr(new GeometryAttributeDefinition(name));
}

TEST(AttributeDefinition, CopiesKeepTheirKind)
{
    const AttributeDefinitionPtr original(
        new SimpleAttributeDefinition(QStringLiteral("price"), QMetaType::Double, 10, 2, true));
    AttributeDefinitionPtr copy = original;
    copy->setName(QStringLiteral("cost"));   // detaches: a polymorphic copy
    EXPECT_EQ(original->name(), QStringLiteral("price"));
    EXPECT_EQ(copy->name(), QStringLiteral("cost"));
    const auto* simpleCopy = dynamic_cast<const SimpleAttributeDefinition*>(copy.constData());
    ASSERT_NE(simpleCopy, nullptr);
    EXPECT_EQ(simpleCopy->precision(), 10);
    EXPECT_EQ(simpleCopy->scale(), 2);
    EXPECT_TRUE(simpleCopy->isUnique());
    // The scale has 15 bits; the unique flag shares the word.
    SimpleAttributeDefinition wide(QStringLiteral("w"), QMetaType::Double, 40, 40000, true);
    EXPECT_EQ(wide.scale(), 32767);
    EXPECT_TRUE(wide.isUnique());
    wide.setScale(-3);
    EXPECT_EQ(wide.scale(), 0);
    EXPECT_EQ(simpleCopy->type(), int(QMetaType::Double));

    const auto wgs84 = cs::CoordSysFactory::defaultCoordSysFactory()->createFromEpsg(4326);
    const AttributeDefinitionPtr geo(new GeometryAttributeDefinition(QStringLiteral("obj"), wgs84));
    AttributeDefinitionPtr geoCopy = geo;
    geoCopy->setCaption(QStringLiteral("Shape"));
    const auto* g = dynamic_cast<const GeometryAttributeDefinition*>(geoCopy.constData());
    ASSERT_NE(g, nullptr);
    EXPECT_EQ(g->coordSystem(), wgs84);
    EXPECT_EQ(geo->caption(), QStringLiteral("obj"));
    EXPECT_EQ(geoCopy->caption(), QStringLiteral("Shape"));

}

TEST(TableSchema, LooksUpNames)
{
    const TableSchema schema({simple(QStringLiteral("id")), simple(QStringLiteral("Name"), QMetaType::QString),
                              AttributeDefinitionPtr(), simple(QStringLiteral("NAME")), geometry(QStringLiteral("obj"))});
    EXPECT_EQ(schema.count(), 4);   // the null definition is not taken
    EXPECT_EQ(schema.indexOf(QStringLiteral("id")), 0);
    EXPECT_EQ(schema.indexOf(QStringLiteral("ID")), 0);
    EXPECT_EQ(schema.indexOf(QStringLiteral("NAME")), 2);   // exact first
    EXPECT_EQ(schema.indexOf(QStringLiteral("Name")), 1);
    EXPECT_EQ(schema.indexOf(QStringLiteral("name")), 1);   // then the first ignoring case
    EXPECT_EQ(schema.indexOf(QStringLiteral("missing")), -1);
    EXPECT_EQ(schema.find(QStringLiteral("OBJ"))->name(), QStringLiteral("obj"));
    EXPECT_FALSE(schema.find(QStringLiteral("missing")));
}

TEST(TableSchema, ChangesRebuildThePlans)
{
    TableSchema schema({simple(QStringLiteral("a")), simple(QStringLiteral("b"))});
    EXPECT_EQ(schema.indexOf(QStringLiteral("b")), 1);
    EXPECT_TRUE(schema.attributePlan<GeometryAttributeDefinition>()->isEmpty());

    // A copy shares the plans until one side changes.
    const TableSchema before = schema;
    schema.insert(0, geometry(QStringLiteral("obj")));
    EXPECT_EQ(schema.indexOf(QStringLiteral("b")), 2);
    EXPECT_EQ(schema.attributePlan<GeometryAttributeDefinition>()->size(), 1);
    EXPECT_EQ(before.indexOf(QStringLiteral("b")), 1);
    EXPECT_EQ(before.indexOf(QStringLiteral("obj")), -1);
    EXPECT_TRUE(before.attributePlan<GeometryAttributeDefinition>()->isEmpty());
    EXPECT_NE(schema, before);

    schema.replace(1, simple(QStringLiteral("c")));
    EXPECT_EQ(schema.indexOf(QStringLiteral("a")), -1);
    EXPECT_EQ(schema.indexOf(QStringLiteral("c")), 1);
    schema.removeAt(0);
    EXPECT_EQ(schema.indexOf(QStringLiteral("b")), 1);
    EXPECT_TRUE(schema.attributePlan<GeometryAttributeDefinition>()->isEmpty());
    schema.append(geometry(QStringLiteral("g2")));
    EXPECT_EQ(schema.attributePlan<GeometryAttributeDefinition>()->first()->name(), QStringLiteral("g2"));
    EXPECT_EQ(schema.indexOf(QStringLiteral("g2")), 2);
    schema.clear();
    EXPECT_EQ(schema.indexOf(QStringLiteral("b")), -1);
    EXPECT_TRUE(schema.attributePlan<GeometryAttributeDefinition>()->isEmpty());

    // Out-of-range and null changes are ignored.
    schema.append(AttributeDefinitionPtr());
    schema.removeAt(3);
    schema.replace(0, simple(QStringLiteral("x")));
    EXPECT_TRUE(schema.isEmpty());

    // A moved-from schema is empty and still usable.
    TableSchema source({simple(QStringLiteral("m"))});
    source.indexOf(QStringLiteral("m"));
    const TableSchema target = std::move(source);
    EXPECT_EQ(target.indexOf(QStringLiteral("m")), 0);
    EXPECT_EQ(source.indexOf(QStringLiteral("m")), -1);   // NOLINT(bugprone-use-after-move)
    source.append(simple(QStringLiteral("n")));
    EXPECT_EQ(source.indexOf(QStringLiteral("n")), 0);
}

TEST(TableSchema, PlanCacheKeepsTheFirstStoredPlan)
{
    const TableSchema schema({simple(QStringLiteral("a"))});
    struct Key {};
    EXPECT_EQ(schema.cacheFindAttributePlan(typeid(Key)), nullptr);
    const auto first = std::make_shared<int>(1);
    schema.cacheStoreAttributePlan(typeid(Key), first);
    schema.cacheStoreAttributePlan(typeid(Key), std::make_shared<int>(2));
    EXPECT_EQ(schema.cacheFindAttributePlan(typeid(Key)), first);

}

} // namespace
} // namespace tessera::dp
