#include "platform/dp/DataCatalogWithSelection.h"
#include "platform/dp/MemoryTable.h"

#include <QStringList>
#include <gtest/gtest.h>

namespace tessera::dp {
namespace {

DataObjectPtr object(const QString& name)
{
    return std::make_shared<DataObject>(name);
}

TEST(DataCatalog, AddsAndFindsObjects)
{
    DataCatalog catalog;
    QList<DataObjectPtr> added;
    QObject::connect(&catalog, &DataCatalog::dataObjectAdded, [&](const DataObjectPtr& o) { added << o; });

    const auto roads = object(QStringLiteral("roads"));
    const auto rivers = object(QStringLiteral("Rivers"));
    EXPECT_TRUE(catalog.addDataObject(roads));
    EXPECT_TRUE(catalog.addDataObject(rivers));
    EXPECT_EQ(added, (QList<DataObjectPtr>{roads, rivers}));
    EXPECT_EQ(catalog.count(), 2);

    EXPECT_EQ(catalog.findById(roads->id()), roads);
    EXPECT_EQ(catalog.findById(QUuid::createUuid()), nullptr);
    EXPECT_EQ(catalog.findByName(QStringLiteral("rivers")), rivers);
    EXPECT_EQ(catalog.findByName(QStringLiteral("ROADS")), roads);
    EXPECT_EQ(catalog.findByName(QStringLiteral("road")), nullptr);

    // The same object twice, or nothing at all, is refused without a signal.
    EXPECT_FALSE(catalog.addDataObject(roads));
    EXPECT_FALSE(catalog.addDataObject(nullptr));
    EXPECT_EQ(added.size(), 2);

    // Names stay unique ignoring case.
    const auto roads2 = object(QStringLiteral("ROADS"));
    const auto roads3 = object(QStringLiteral("roads"));
    EXPECT_TRUE(catalog.addDataObject(roads2));
    EXPECT_TRUE(catalog.addDataObject(roads3));
    EXPECT_EQ(roads2->name(), QStringLiteral("ROADS_2"));
    EXPECT_EQ(roads3->name(), QStringLiteral("roads_3"));
    EXPECT_EQ(catalog.uniqueName(QStringLiteral("lakes")), QStringLiteral("lakes"));

    // An exact match wins over one that differs in case.
    rivers->setName(QStringLiteral("roads_2"));
    EXPECT_EQ(catalog.findByName(QStringLiteral("ROADS_2")), roads2);
    EXPECT_EQ(catalog.findByName(QStringLiteral("roads_2")), rivers);
}

TEST(DataCatalog, ClosingAnObject)
{
    DataCatalog catalog;
    const auto roads = object(QStringLiteral("roads"));
    const auto other = object(QStringLiteral("other"));
    catalog.addDataObject(roads);
    catalog.addDataObject(other);

    QStringList events;
    QObject::connect(roads.get(), &DataObject::closeRequested, [&] {
        // Whoever follows the object can still find it at this point.
        events << (catalog.findById(roads->id()) ? QStringLiteral("close, present") : QStringLiteral("close, gone"));
    });
    QObject::connect(&catalog, &DataCatalog::dataObjectRemoved, [&](const DataObjectPtr& o) {
        events << QStringLiteral("removed ") + o->name()
                + (catalog.findById(o->id()) ? QStringLiteral(", present") : QStringLiteral(", gone"));
    });
    QStringList renames;
    QObject::connect(&catalog, &DataCatalog::dataObjectRenamed,
                     [&](const QString& from, const QString& to) { renames << from + QStringLiteral(">") + to; });

    roads->setName(QStringLiteral("streets"));
    roads->setName(QStringLiteral("streets"));   // no change, no signal
    EXPECT_EQ(renames, QStringList{QStringLiteral("roads>streets")});

    EXPECT_TRUE(catalog.closeDataObject(roads->id()));
    EXPECT_EQ(events, (QStringList{QStringLiteral("close, present"), QStringLiteral("removed streets, gone")}));
    EXPECT_FALSE(catalog.closeDataObject(roads->id()));
    EXPECT_EQ(catalog.dataObjects(), QList<DataObjectPtr>{other});

    // A closed object no longer speaks for the catalog.
    roads->setName(QStringLiteral("avenues"));
    EXPECT_EQ(renames.size(), 1);
}

TEST(DataCatalog, SelectionFollowsItsTable)
{
    EXPECT_EQ(DataCatalogWithSelection::selectionTableName(), QStringLiteral("Selection"));

    DataCatalogWithSelection catalog;
    const auto table = std::make_shared<MemoryTable>(QStringLiteral("t"), TableSchema());
    const auto other = std::make_shared<MemoryTable>(QStringLiteral("u"), TableSchema());
    catalog.addDataObject(table);
    catalog.addDataObject(other);
    EXPECT_TRUE(catalog.selection().isEmpty());

    int changes = 0;
    QObject::connect(&catalog, &DataCatalogWithSelection::selectionChanged, [&] { ++changes; });
    catalog.setSelection(Selection(table, {FeatureId(QVariant(3)), FeatureId(QVariant(7))}));
    EXPECT_EQ(changes, 1);
    EXPECT_FALSE(catalog.selection().isEmpty());
    EXPECT_EQ(catalog.selection().table(), table);
    EXPECT_EQ(catalog.selection().featureIds().size(), 2);
    EXPECT_TRUE(Selection(table, {}).isEmpty());

    catalog.closeDataObject(other->id());
    EXPECT_EQ(catalog.selection().table(), table);
    catalog.closeDataObject(table->id());
    EXPECT_TRUE(catalog.selection().isEmpty());
    EXPECT_EQ(catalog.selection().table(), nullptr);
    EXPECT_EQ(changes, 2);
}

TEST(DataObject, ValidObjectNames)
{
    EXPECT_EQ(DataObject::makeValidObjectName(QStringLiteral("  my roads-2024 ")), QStringLiteral("my_roads_2024"));
    EXPECT_EQ(DataObject::makeValidObjectName(QStringLiteral("2024 data")), QStringLiteral("_2024_data"));
    EXPECT_EQ(DataObject::makeValidObjectName(QStringLiteral("a.b\"c")), QStringLiteral("a_b_c"));
    EXPECT_EQ(DataObject::makeValidObjectName(QStringLiteral("$x")), QStringLiteral("_$x"));
    EXPECT_EQ(DataObject::makeValidObjectName(QStringLiteral("cost$")), QStringLiteral("cost$"));
    EXPECT_EQ(DataObject::makeValidObjectName(QString()), QStringLiteral("_"));
    EXPECT_EQ(DataObject::makeValidObjectName(QStringLiteral("Дороги")), QStringLiteral("Дороги"));
}

} // namespace
} // namespace tessera::dp
