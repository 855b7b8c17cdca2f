#include "engine/SchemaColumns.h"

#include "tests/support/EngineTestCache.h"
#include "tests/support/SqlHarness.h"
#include "engine/functions/ValueConversions.h"
#include "platform/core/QDecNumber.h"
#include "platform/cs/CoordSystem.h"
#include "platform/dp/GeometryAttributeDefinition.h"
#include "platform/dp/RenditionAttributeDefinition.h"
#include "platform/dp/SimpleAttributeDefinition.h"
#include "platform/dp/TableSchema.h"

#include <QStringList>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <stdexcept>

namespace tessera::engine {
namespace {

using dp::AttributeDefinitionPtr;

using test::TestCache;

AttributeDefinitionPtr geometry(const QString& name, std::shared_ptr<cs::CoordSystem> cs = {})
{
    return AttributeDefinitionPtr(new dp::GeometryAttributeDefinition(name, std::move(cs)));
}

AttributeDefinitionPtr style(const QString& name)
{
    return AttributeDefinitionPtr(new dp::RenditionAttributeDefinition(name));
}

AttributeDefinitionPtr simple(const QString& name, int type, int size = 0, int scale = 0, bool unique = false)
{
    return AttributeDefinitionPtr(new dp::SimpleAttributeDefinition(name, type, size, scale, unique));
}

QStringList columns(const dp::TableSchema& schema, EngineCache* cache, char quote)
{
    SchemaState state;
    QStringList texts;
    for (const AttributeDefinitionPtr& a : schema.attributes())
        texts << toString(a, state, cache, quote);
    return texts;
}

TEST(SchemaColumns, ColumnTextsOfATable)
{
    const int decimal = QDecNumber::metaTypeId();
    const dp::TableSchema schema({
        simple(QStringLiteral("name"), QMetaType::QString, 50),
        geometry(QStringLiteral("obj")),
        simple(QStringLiteral("price"), decimal, 10, 2),
        simple(QStringLiteral("code"), QMetaType::Int, 0, 0, true),
        simple(QStringLiteral("key"), QMetaType::QString, 8, 0, true),
        simple(QStringLiteral("amount"), decimal, 12, 4, true),
        geometry(QStringLiteral("it's second")),
        style(QStringLiteral("look")),
        style(QStringLiteral("look2")),
        simple(QStringLiteral("ratio"), QMetaType::Double, 5, 3),   // size only matters for text and decimals
    });
    const QStringList expected = {
        QStringLiteral("'name' Text(50) Collate Locale"),
        QStringLiteral("cd750f8a9a2b4fac9b9b05eb53795d97 Blob Null "),
        QStringLiteral("'price' Decimal(10, 2) "),
        QStringLiteral("'code' Integer Unique "),
        QStringLiteral("'key' Text(8) Collate Locale Unique "),
        QStringLiteral("'amount' Decimal(12, 4)  Unique "),
        QStringLiteral("'it''s second' Blob Null "),
        QStringLiteral("d39f65c319974aa198a899a89b1240c7 Text Null "),
        QStringLiteral("'look2' Text Null "),
        QStringLiteral("'ratio' Real"),
    };
    TestCache cache;
    const QStringList texts = columns(schema, &cache, '\'');
    ASSERT_EQ(texts.size(), expected.size());
    for (int i = 0; i < expected.size(); ++i)
        EXPECT_EQ(texts.at(i), expected.at(i)) << i;

    // The caller's quote character is used throughout.
    EXPECT_EQ(columns(schema, &cache, '"').at(6), QStringLiteral("\"it's second\" Blob Null "));
}

TEST(SchemaColumns, StateBelongsToOneTable)
{
    TestCache cache;
    const auto first = geometry(QStringLiteral("obj"));
    const auto firstStyle = style(QStringLiteral("style"));
    SchemaState state;
    EXPECT_EQ(state.bits(), 0u);
    EXPECT_EQ(toString(firstStyle, state, &cache, '"'), QStringLiteral("d39f65c319974aa198a899a89b1240c7 Text Null "));
    EXPECT_EQ(state.bits(), 2u);
    EXPECT_EQ(toString(first, state, &cache, '"'), QStringLiteral("cd750f8a9a2b4fac9b9b05eb53795d97 Blob Null "));
    EXPECT_EQ(state.bits(), 3u);
    // Reused for another table, the state makes its geometry keep its name.
    EXPECT_EQ(toString(first, state, &cache, '"'), QStringLiteral("\"obj\" Blob Null "));
    SchemaState fresh;
    EXPECT_EQ(toString(first, fresh, &cache, '"'), QStringLiteral("cd750f8a9a2b4fac9b9b05eb53795d97 Blob Null "));
    // Plain columns leave the state alone.
    SchemaState plain;
    toString(simple(QStringLiteral("n"), QMetaType::LongLong), plain, &cache, '"');
    EXPECT_EQ(plain.bits(), 0u);

    EXPECT_THROW(toString(AttributeDefinitionPtr(), plain, &cache, '"'), std::invalid_argument);
}

TEST(SchemaColumns, GeometryCoordSystemGoesToTheCache)
{
    const auto wgs84 = cs::CoordSysFactory::defaultCoordSysFactory()->createFromEpsg(4326);
    ASSERT_TRUE(wgs84);
    TestCache cache;
    SchemaState state;
    toString(geometry(QStringLiteral("obj"), wgs84), state, &cache, '"');
    // The very object, not one made afresh from the code.
    EXPECT_EQ(cache.get(4326).get(), wgs84.get());

    // Without a cache the text is the same and nothing breaks.
    SchemaState other;
    EXPECT_EQ(toString(geometry(QStringLiteral("obj"), wgs84), other, nullptr, '"'),
              QStringLiteral("cd750f8a9a2b4fac9b9b05eb53795d97 Blob Null "));
}

// The texts are meant for SQLite: a table made from them has the expected
// columns, and text columns compare with the Locale collation.
TEST(SchemaColumns, TextsMakeAnSqliteTable)
{
    const dp::TableSchema schema({
        geometry(QStringLiteral("obj")),
        simple(QStringLiteral("Name"), QMetaType::QString, 50),
        simple(QStringLiteral("price"), QDecNumber::metaTypeId(), 10, 2),
        simple(QStringLiteral("code"), QMetaType::Int, 0, 0, true),
        geometry(QStringLiteral("second \"geo\"")),
        style(QStringLiteral("style")),
        simple(QStringLiteral("day"), QMetaType::QDate),
    });
    TestCache cache;
    const QString sql = QStringLiteral("Create Table t (%1);").arg(columns(schema, &cache, '"').join(QStringLiteral(", ")));

    test::SqlHarness db;
    int localeCalls = 0;
    sqlite3_create_collation(db.handle(), "Locale", SQLITE_UTF16, &localeCalls,
                             [](void* calls, int n1, const void* a, int n2, const void* b) {
                                 ++*static_cast<int*>(calls);
                                 const QString x(static_cast<const QChar*>(a), n1 / 2);
                                 const QString y(static_cast<const QChar*>(b), n2 / 2);
                                 return QString::compare(x, y, Qt::CaseInsensitive);
                             });
    db.exec(sql.toStdString());
    db.exec("Insert Into t (Name, code) Values ('abc', 1)");
    db.expectAll({
        {"group_concat(name, '|') From (Select name From pragma_table_info('t') Order By cid)",
         "'" + std::string(geometryColumnName) + "|Name|price|code|second \"geo\"|" + styleColumnName + "|day'"},
        {"Count(*) From t Where Name = 'ABC'", "1"},
    });
    EXPECT_GT(localeCalls, 0);
    // The unique flag became a constraint.
    EXPECT_EQ(db.error("Insert Into t (Name, code) Values ('x', 1)"), "UNIQUE constraint failed: t.code");
}

} // namespace
} // namespace tessera::engine
