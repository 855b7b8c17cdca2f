// A statement that reads no column (Count(*)) counts a table's rows without
// reading its features; rowids asked for later still come out right.

#include "tests/support/TableAdapterFixture.h"

#include "platform/dp/GeometryAttributeDefinition.h"
#include "platform/dp/MemoryTable.h"
#include "platform/dp/SimpleAttributeDefinition.h"
#include "platform/geometry/Geometry.h"

#include <atomic>

namespace tessera::test {
namespace {

// Features with ids 1..5, n = 10 * id, each a point; counts the features its
// cursors hand out.
class CountedTable final : public dp::Table {
public:
    CountedTable() : dp::Table(QStringLiteral("t"))
    {
        setTableSourceDescription(QStringLiteral("memory"));
        inner = std::make_shared<dp::MemoryTable>(
            QStringLiteral("t"),
            dp::TableSchema({dp::AttributeDefinitionPtr(new dp::SimpleAttributeDefinition(QStringLiteral("n"), QMetaType::Int)),
                             dp::AttributeDefinitionPtr(new dp::GeometryAttributeDefinition(QStringLiteral("obj")))}));
        for (int id = 1; id <= 5; ++id) {
            dp::Feature f = inner->newFeature();
            f.setId(dp::FeatureId(qlonglong(id)));
            f.setAttribute(0, 10 * id);
            f.setGeometry(1, std::make_shared<geometry::Point>(QPointF(id, id)));
            inner->insertFeature(f);
        }
    }
    dp::TableSchema schema() const override { return inner->schema(); }
    qint64 featureCount() const override { return inner->featureCount(); }
    std::shared_ptr<dp::Feature> feature(const dp::FeatureId& id) const override { return inner->feature(id); }
    std::unique_ptr<dp::FeatureCursor> features() const override
    {
        struct Cursor final : dp::FeatureCursor {
            std::unique_ptr<dp::FeatureCursor> inner;
            std::atomic<int>* reads;
            std::shared_ptr<dp::Feature> next() override
            {
                auto f = inner->next();
                if (f)
                    ++*reads;
                return f;
            }
        };
        auto cursor = std::make_unique<Cursor>();
        cursor->inner = inner->features();
        cursor->reads = &reads;
        return cursor;
    }
    mutable std::atomic<int> reads{0};

private:
    std::shared_ptr<dp::MemoryTable> inner;
};

using CountRowsTest = TableAdapterFixture;

TEST_F(CountRowsTest, CountsWithoutReadingAndListsRowidsWhenAsked)
{
    auto table = std::make_shared<CountedTable>();
    catalog.addDataObject(table);
    const int unchecked = -1;
    // Row ids are dense (0, 1, 2, ...) in the order the rows are first seen:
    // features 1..5 are rows 0..4.
    const struct {
        const char* name;
        QString sql;
        QString value;
        int reads;   // features read by the statement
    } rows[] = {
        {"count", QStringLiteral("Select Count(*) From t"), QStringLiteral("5"), 0},
        {"count of a cross join", QStringLiteral("Select Count(*) From t a, t b"), QStringLiteral("25"), 0},
        {"count under a rowid bound", QStringLiteral("Select Count(*) From t Where rowid >= 3"), QStringLiteral("2"), unchecked},
        {"sum of rowids", QStringLiteral("Select Sum(rowid) From t"), QStringLiteral("10"), unchecked},
        {"largest rowid", QStringLiteral("Select Max(rowid) From t"), QStringLiteral("4"), unchecked},
        {"count under a column condition", QStringLiteral("Select Count(*) From t Where n > 25"), QStringLiteral("3"), unchecked},
        {"rowid and column of the rows", QStringLiteral("Select Group_Concat(rowid || ':' || n) From t"),
         QStringLiteral("0:10,1:20,2:30,3:40,4:50"), unchecked},
        {"count again", QStringLiteral("Select Count(*) From t"), QStringLiteral("5"), 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        table->reads = 0;
        EXPECT_EQ(column(row.sql), QStringList{row.value});
        if (row.reads != unchecked) {
            EXPECT_EQ(table->reads, row.reads);
        }
    }
}

} // namespace
} // namespace tessera::test
