#include "tests/support/TableAdapterFixture.h"

#include "engine/EngineCache.h"
#include "engine/TableManagement.h"
#include "platform/dp/GeometryAttributeDefinition.h"
#include "platform/dp/MemoryTable.h"
#include "platform/dp/SimpleAttributeDefinition.h"
#include "platform/geometry/Geometry.h"

#include <QSqlDriver>
#include <algorithm>
#include <sqlite3.h>

namespace tessera::test {
namespace {

using geometry::Ring;

Ring box(double x0, double y0, double x1, double y1)
{
    return {{x0, y0}, {x1, y0}, {x1, y1}, {x0, y1}, {x0, y0}};
}

dp::TableSchema shapeSchema()
{
    return dp::TableSchema({dp::AttributeDefinitionPtr(new dp::SimpleAttributeDefinition(QStringLiteral("name"), QMetaType::QString, 20)),
                            dp::AttributeDefinitionPtr(new dp::SimpleAttributeDefinition(QStringLiteral("n"), QMetaType::Int)),
                            dp::AttributeDefinitionPtr(new dp::GeometryAttributeDefinition(QStringLiteral("obj")))});
}

// Shapes chosen for their relations: "base" and "touch" share an edge,
// "inner" lies inside "base", "far" is apart from all, "ring" has a hole in
// which "islet" lies without touching it (the centroid of each is (37.5,
// 7.5), inside "islet"), "dot" is the centroid of "base".
std::shared_ptr<dp::MemoryTable> shapes(const QString& name)
{
    auto table = std::make_shared<dp::MemoryTable>(name, shapeSchema());
    table->setTableSourceDescription(QStringLiteral("memory"));
    const auto add = [&](const char* label, int n, std::shared_ptr<geometry::Geometry> g) {
        dp::Feature f = table->newFeature();
        f.setAttribute(0, QString::fromLatin1(label));
        f.setAttribute(1, n);
        f.setGeometry(2, std::move(g));
        table->insertFeature(f);
    };
    using geometry::Polygon;
    add("base", 1, std::make_shared<Polygon>(QVector<Ring>{box(0, 0, 10, 10)}));
    add("touch", 2, std::make_shared<Polygon>(QVector<Ring>{box(10, 0, 20, 10)}));
    add("inner", 3, std::make_shared<Polygon>(QVector<Ring>{box(2, 2, 4, 4)}));
    add("far", 4, std::make_shared<Polygon>(QVector<Ring>{box(50, 50, 60, 60)}));
    add("ring", 5, std::make_shared<Polygon>(QVector<Ring>{box(30, 0, 45, 15), box(33, 3, 42, 12)}));
    add("islet", 6, std::make_shared<Polygon>(QVector<Ring>{box(35, 5, 40, 10)}));
    add("dot", 7, std::make_shared<geometry::Point>(QPointF(5, 5)));
    add("nothing", 8, nullptr);
    return table;
}

class TableAdapterTest : public TableAdapterFixture {
protected:
    void SetUp() override
    {
        TableAdapterFixture::SetUp();
        table = shapes(QStringLiteral("s"));
        catalog.addDataObject(table);
        // A plain SQLite copy: the same functions over every pair, no push-down.
        ASSERT_TRUE(run(QStringLiteral("Create Temp Table plain As Select rowid As r, name, n, %1 As obj From s").arg(g())));
    }
    std::shared_ptr<dp::MemoryTable> table;
};

TEST_F(TableAdapterTest, DeclaresTheSchemaWithTheHiddenGeometryColumn)
{
    EXPECT_EQ(column(QStringLiteral("Select name From pragma_table_info('s')")),
              (QStringList{QStringLiteral("name"), QStringLiteral("n"), g()}));
    EXPECT_EQ(column(QStringLiteral("Select Count(*) From s")), QStringList{QStringLiteral("8")});
    EXPECT_NE(engine->findManagement(QStringLiteral("s")), nullptr);
}

TEST_F(TableAdapterTest, AnswersEqualAFullReading)
{
    const struct {
        const char* name;
        QString where;
    } rows[] = {
        {"rowid equal", QStringLiteral("rowid = (Select Min(rowid) + 2 From s)")},
        {"rowid as a real", QStringLiteral("rowid = (Select Min(rowid) + 1.0 From s)")},
        {"rowid absent", QStringLiteral("rowid = 999999")},
        {"rowid in", QStringLiteral("rowid In (Select rowid From s Where n In (2, 5, 7))")},
        {"attribute", QStringLiteral("n >= 3 And n < 6")},
        {"text", QStringLiteral("name = 'ring'")},
    };
    for (const auto& row : rows) {
        const QString where = QString(row.where).replace(QStringLiteral("rowid"), QStringLiteral("r")).replace(QStringLiteral(" s"), QStringLiteral(" plain"));
        EXPECT_EQ(column(QStringLiteral("Select name From s Where %1 Order By name").arg(row.where)),
                  column(QStringLiteral("Select name From plain Where %1 Order By name").arg(where)))
            << row.name;
    }
}

// Pairs (a, b) for which the predicate holds, through the adapter's R-tree
// and over the plain copy.
TEST_F(TableAdapterTest, SpatialJoinsEqualAFullReading)
{
    const struct {
        const char* function;
        QStringList expected;   // worked out by hand from the shapes
    } rows[] = {
        {"GeometryIntersects",
         {"base-base", "base-dot", "base-inner", "base-touch", "dot-base", "dot-dot", "far-far",
          "inner-base", "inner-inner", "islet-islet", "ring-ring", "touch-base", "touch-touch"}},
        {"GeometryContains",
         {"base-base", "base-dot", "base-inner", "dot-dot", "far-far", "inner-inner", "islet-islet", "ring-ring", "touch-touch"}},
        {"GeometryWithin",
         {"base-base", "dot-base", "dot-dot", "far-far", "inner-base", "inner-inner", "islet-islet", "ring-ring", "touch-touch"}},
        {"ContainsCentroid",
         {"base-base", "base-dot", "base-inner", "dot-base", "dot-dot", "far-far", "inner-inner", "islet-islet",
          "islet-ring", "touch-touch"}},
        {"CentroidWithin",
         {"base-base", "base-dot", "dot-base", "dot-dot", "far-far", "inner-base", "inner-inner", "islet-islet",
          "ring-islet", "touch-touch"}},
    };
    for (const auto& row : rows) {
        const QString f = QString::fromLatin1(row.function);
        const QStringList adapted = column(QStringLiteral("Select a.name || '-' || b.name From s a, s b Where %1(a.%2, b.%2) Order By 1").arg(f, g()));
        EXPECT_EQ(adapted.join(' ').toStdString(), row.expected.join(' ').toStdString()) << row.function;
        EXPECT_EQ(adapted.join(' ').toStdString(), column(QStringLiteral("Select a.name || '-' || b.name From plain a, plain b Where %1(a.obj, b.obj) Order By 1").arg(f)).join(' ').toStdString())
            << row.function;
        // A constant argument: a subquery's geometry.
        EXPECT_EQ(column(QStringLiteral("Select name From s Where %1(%2, (Select %2 From s Where name = 'base')) Order By 1").arg(f, g())).join(' ').toStdString(),
                  column(QStringLiteral("Select name From plain Where %1(obj, (Select obj From plain Where name = 'base')) Order By 1").arg(f)).join(' ').toStdString())
            << row.function;
    }
}

TEST_F(TableAdapterTest, SpatialSelfJoinUsesTheFunctionConstraintOnTheInnerTable)
{
    QSqlQuery query(engine->engineDatabase());
    ASSERT_TRUE(query.exec(QStringLiteral(
        "Explain Query Plan Select Count(*) From s a, s b Where a.rowid < b.rowid And GeometryIntersects(a.%1, b.%1)").arg(g())));
    QStringList plan;
    while (query.next())
        plan << query.value(3).toString();
    ASSERT_EQ(plan.size(), 2);
    // The outer side needs only geometries: served from the kept blobs.
    EXPECT_EQ(plan[0].toStdString(), "SCAN b VIRTUAL TABLE INDEX 5:geometry");
    EXPECT_TRUE(plan[1].startsWith(QStringLiteral("SCAN a VIRTUAL TABLE INDEX"))
                && plan[1].endsWith(QStringLiteral(":GeometryIntersects"))) << plan[1].toStdString();
}

TEST_F(TableAdapterTest, EditsReachTheTable)
{
    ASSERT_TRUE(run(QStringLiteral("Insert Into s (name, n, %1) Select 'copy', 9, %1 From s Where name = 'far'").arg(g())));
    ASSERT_TRUE(run(QStringLiteral("Update s Set n = 40 Where name = 'far'")));
    ASSERT_TRUE(run(QStringLiteral("Delete From s Where name = 'dot'")));
    QStringList seen;
    auto cursor = table->features();
    while (auto f = cursor->next())
        seen << f->getAttribute(0).toString() + QLatin1Char('=') + f->getAttribute(1).toString();
    EXPECT_EQ(seen, (QStringList{"base=1", "touch=2", "inner=3", "far=40", "ring=5", "islet=6", "nothing=8", "copy=9"}));
    // The copy's geometry is found by the R-tree, built before or after.
    EXPECT_EQ(column(QStringLiteral("Select b.name From s a, s b Where a.name = 'far' And GeometryIntersects(b.%1, a.%1) Order By 1").arg(g())),
              (QStringList{"copy", "far"}));

    QString error;
    EXPECT_FALSE(run(QStringLiteral("Update s Set n = 'many' Where name = 'far'"), &error));
    EXPECT_TRUE(error.contains(QStringLiteral("does not fit"))) << error.toStdString();
}

// A table whose source cannot be written.
class ReadOnlyTable final : public dp::Table {
public:
    explicit ReadOnlyTable(std::shared_ptr<dp::MemoryTable> inner) : dp::Table(QStringLiteral("fixed")), inner(std::move(inner))
    {
        setTableSourceDescription(QStringLiteral("memory"));
    }
    dp::TableSchema schema() const override { return inner->schema(); }
    qint64 featureCount() const override { return inner->featureCount(); }
    std::shared_ptr<dp::Feature> feature(const dp::FeatureId& id) const override { return inner->feature(id); }
    std::unique_ptr<dp::FeatureCursor> features() const override { return inner->features(); }

private:
    std::shared_ptr<dp::MemoryTable> inner;
};

TEST_F(TableAdapterTest, ReadOnlyTablesRefuseEdits)
{
    catalog.addDataObject(std::make_shared<ReadOnlyTable>(shapes(QStringLiteral("inner"))));
    for (const char* sql : {"Insert Into fixed (name, n) Values ('x', 1)", "Update fixed Set n = 0", "Delete From fixed"}) {
        QString error;
        EXPECT_FALSE(run(QString::fromLatin1(sql), &error)) << sql;
        EXPECT_TRUE(error.contains(QStringLiteral("table fixed is read-only"))) << sql << ": " << error.toStdString();
    }
    EXPECT_EQ(column(QStringLiteral("Select Sum(n) From fixed")), QStringList{QStringLiteral("36")});
}

TEST_F(TableAdapterTest, CatalogCloseAndRenameReachTheEngine)
{
    table->setName(QStringLiteral("Shapes2"));   // the catalog reports it to the extension
    EXPECT_EQ(column(QStringLiteral("Select Count(*) From Shapes2")), QStringList{QStringLiteral("8")});
    EXPECT_EQ(engine->findManagement(QStringLiteral("s")), nullptr);
    ASSERT_NE(engine->findManagement(QStringLiteral("Shapes2")), nullptr);

    catalog.closeDataObject(table->id());
    EXPECT_EQ(engine->findManagement(QStringLiteral("Shapes2")), nullptr);
    EXPECT_FALSE(run(QStringLiteral("Select Count(*) From Shapes2")));
}

// Statements that SQLite starts on the engine connection while alive.
class StatementTrace {
public:
    explicit StatementTrace(const QSqlDatabase& db) : handle(*static_cast<sqlite3* const*>(db.driver()->handle().constData()))
    {
        sqlite3_trace_v2(handle, SQLITE_TRACE_STMT, [](unsigned, void* self, void*, void* text) {
            static_cast<StatementTrace*>(self)->statements << QString::fromUtf8(static_cast<const char*>(text));
            return 0;
        }, this);
    }
    ~StatementTrace() { sqlite3_trace_v2(handle, 0, nullptr, nullptr); }
    int count(const QString& part) const { return int(std::count_if(statements.begin(), statements.end(), [&](const QString& s) { return s.contains(part); })); }

    QStringList statements;

private:
    sqlite3* handle;
};

TEST_F(TableAdapterTest, DetachingAnUnknownTableConnectsItOnce)
{
    const QString connect = QStringLiteral("Where 1=0");
    {
        StatementTrace trace(engine->engineDatabase());
        EXPECT_TRUE(extension.detachTable(QStringLiteral("s")));
        EXPECT_EQ(trace.count(connect), 0);
        EXPECT_EQ(table.use_count(), 2);   // the catalog's and ours: the adapter let go
    }
    EXPECT_FALSE(extension.detachTable(QStringLiteral("absent")));
    // A table the engine has no management for: one connecting statement,
    // one more try (SQLite keeps the table connected, so it still fails).
    engine->unRegisterManagement(QStringLiteral("s"));
    StatementTrace trace(engine->engineDatabase());
    EXPECT_FALSE(extension.detachTable(QStringLiteral("s")));
    EXPECT_EQ(trace.count(connect), 1);
}
} // namespace
} // namespace tessera::test
