#include "engine/expression/EngineExpression.h"

#include "engine/SchemaColumns.h"
#include "platform/core/QDecNumber.h"
#include "platform/dp/Feature.h"
#include "platform/dp/GeometryAttributeDefinition.h"
#include "platform/dp/RenditionAttributeDefinition.h"
#include "platform/dp/SimpleAttributeDefinition.h"
#include "platform/geometry/Geometry.h"
#include "tests/support/EngineFixture.h"

#include <QDate>
#include <QPoint>
#include <QRegularExpression>
#include <QSqlQuery>
#include <QStringList>
#include <gtest/gtest.h>

namespace tessera::engine {
namespace {

using dp::AttributeDefinitionPtr;

AttributeDefinitionPtr simple(const QString& name, int type, int size = 0)
{
    return AttributeDefinitionPtr(new dp::SimpleAttributeDefinition(name, type, size));
}

// Collects the warnings logged while it lives.
class WarningLog {
public:
    WarningLog() { instance = this; previous = qInstallMessageHandler(&WarningLog::handle); }
    ~WarningLog() { qInstallMessageHandler(previous); instance = nullptr; }
    QStringList lines;

private:
    static void handle(QtMsgType type, const QMessageLogContext&, const QString& text)
    {
        if (type == QtWarningMsg && instance)
            instance->lines << text;
    }
    static inline WarningLog* instance = nullptr;
    QtMessageHandler previous = nullptr;
};

class EngineExpressionTest : public test::FunctionEngineFixture {
protected:
    void SetUp() override
    {
        FunctionEngineFixture::SetUp();
        schema = dp::TableSchema({simple("name", QMetaType::QString, 40), simple("flag", QMetaType::Bool),
                                  simple("day", QMetaType::QDate), simple("stamp", QMetaType::QDateTime),
                                  AttributeDefinitionPtr(new dp::GeometryAttributeDefinition("shape", {})),
                                  AttributeDefinitionPtr(new dp::RenditionAttributeDefinition("look"))});
    }

    std::shared_ptr<dp::Feature> feature(const QString& name, bool flag) const
    {
        auto f = std::make_shared<dp::Feature>(schema);
        f->setAttribute(0, name);
        f->setAttribute(1, flag);
        f->setAttribute(2, QDate(2024, 2, 29));
        f->setAttribute(3, QDateTime(QDate(2023, 12, 31), QTime(23, 5, 9, 40)));
        f->setGeometry(4, std::make_shared<geometry::LineString>(QVector<QPointF>{{0, 0}, {3, 4}}));
        f->setAttribute(5, QStringLiteral("Pen (1, 2, 0)"));
        return f;
    }

    int tempTables(const QString& name) const
    {
        return scalar(QStringLiteral("Select Count(1) From sqlite_temp_master Where name = '%1'").arg(name)).toInt();
    }

    dp::TableSchema schema;
};

TEST_F(EngineExpressionTest, SchemaWithoutAttributesHasNoTable)
{
    EngineExpression e(db, dp::TableSchema(), engine->cache());
    EXPECT_TRUE(e.isValid());
    EXPECT_TRUE(e.tableName().isEmpty());
    ASSERT_TRUE(e.setExpression(QStringLiteral("6 * 7")));
    EXPECT_EQ(e.exec().toInt(), 42);
    EXPECT_FALSE(e.fill(std::make_shared<dp::Feature>(schema)));
}

TEST_F(EngineExpressionTest, TableMirrorsTheSchemaAndIsDroppedWithTheObject)
{
    QString table;
    {
        EngineExpression e(db, schema, engine->cache());
        ASSERT_TRUE(e.isValid()) << e.lastError().toStdString();
        table = e.tableName();
        EXPECT_TRUE(QRegularExpression(QStringLiteral("^expr[0-9a-f]{32}$")).match(table).hasMatch()) << table.toStdString();
        EXPECT_EQ(e.columns(), (QStringList{"name", "flag", "day", "stamp", geometryColumnName, styleColumnName}));
        EXPECT_EQ(e.geoName(), QStringLiteral("shape"));
        EXPECT_EQ(e.styleName(), QStringLiteral("look"));
        EXPECT_EQ(tempTables(table), 1);
        ASSERT_TRUE(e.setExpression(QStringLiteral("name")));
        ASSERT_TRUE(e.fill(feature("x", true)));
        EXPECT_EQ(e.exec().toString(), QStringLiteral("x"));
    }
    EXPECT_EQ(tempTables(table), 0);
}

TEST_F(EngineExpressionTest, TwoEvaluatorsOnOneConnectionKeepTheirOwnRows)
{
    EngineExpression a(db, schema, engine->cache());
    EngineExpression b(db, schema, engine->cache());
    EXPECT_NE(a.tableName(), b.tableName());
    ASSERT_TRUE(a.setExpression(QStringLiteral("name || '!'")));
    ASSERT_TRUE(b.setExpression(QStringLiteral("Upper(name)")));
    ASSERT_TRUE(a.fill(feature("first", false)));
    ASSERT_TRUE(b.fill(feature("second", false)));
    EXPECT_EQ(a.exec().toString(), QStringLiteral("first!"));
    EXPECT_EQ(b.exec().toString(), QStringLiteral("SECOND"));
    // Filling again replaces the single row.
    ASSERT_TRUE(a.fill(feature("third", false)));
    ASSERT_TRUE(a.setExpression(QStringLiteral("Count(1) || name")));
    EXPECT_EQ(a.exec().toString(), QStringLiteral("1third"));
}

TEST_F(EngineExpressionTest, ValuesAreBoundAsTheEngineStoresThem)
{
    EngineExpression e(db, schema, engine->cache());
    const struct {
        const char* name;
        const char* expression;
        QVariant expected;
    } rows[] = {
        {"true as 1", "typeof(flag) || ':' || flag", "integer:1"},
        {"date text", "day", "2024-02-29"},
        {"date time text", "stamp", "2023-12-31 23:05:09.040"},
        {"geometry as a blob", "typeof(cd750f8a9a2b4fac9b9b05eb53795d97)", "blob"},
        {"geometry functions read it", "CartesianObjectLen(cd750f8a9a2b4fac9b9b05eb53795d97, 'm')", 5.0},
        {"style text", "d39f65c319974aa198a899a89b1240c7", "Pen (1, 2, 0)"},
    };
    ASSERT_TRUE(e.fill(feature("n", true)));
    for (const auto& row : rows) {
        ASSERT_TRUE(e.setExpression(QString::fromUtf8(row.expression))) << row.name << e.lastError().toStdString();
        EXPECT_EQ(e.exec(), row.expected) << row.name;
    }
    ASSERT_TRUE(e.fill(feature("n", false)));
    ASSERT_TRUE(e.setExpression(QStringLiteral("flag")));
    EXPECT_EQ(e.exec().toInt(), 0);
}

TEST_F(EngineExpressionTest, LiteralsAndBindableValues)
{
    EngineExpression e(db, schema, engine->cache());
    const struct {
        const char* name;
        QVariant value;
        const char* literal;
        QVariant bound;
    } rows[] = {
        {"apostrophes doubled", QStringLiteral("it's O'Neil"), "'it''s O''Neil'", QStringLiteral("it's O'Neil")},
        {"true", true, "1", 1},
        {"false", false, "0", 0},
        {"int", -17, "-17", -17},
        {"unsigned", 4000000000u, "4000000000", 4000000000u},
        {"long long", Q_INT64_C(-9000000000), "-9000000000", Q_INT64_C(-9000000000)},
        {"double, six digits", 3.14159265, "3.14159", 3.14159265},
        {"date", QDate(2001, 9, 1), "'2001-09-01'", QStringLiteral("2001-09-01")},
        {"time", QTime(7, 8, 9, 10), "'07:08:09.010'", QStringLiteral("07:08:09.010")},
        {"decimal", QVariant::fromValue(QDecNumber(12345, -2)), "123.45", 123.45},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(e.toStr(row.value), QString::fromUtf8(row.literal)) << row.name;
        const QVariant bound = e.toValue(row.value);
        EXPECT_EQ(bound, row.bound) << row.name;
        EXPECT_EQ(bound.userType(), row.bound.userType()) << row.name;
    }
}

class PointExpression final : public EngineExpression {
public:
    using EngineExpression::EngineExpression;

protected:
    std::optional<QString> toExtensionString(const QVariant& value) const override
    {
        if (value.userType() != QMetaType::QPoint)
            return std::nullopt;
        return QStringLiteral("%1 %2").arg(value.toPoint().x()).arg(value.toPoint().y());
    }
    QVariant toExtensionValue(const QVariant& value) const override
    {
        return value.userType() == QMetaType::QPoint ? QVariant(value.toPoint().x() * 1000 + value.toPoint().y()) : QVariant();
    }
};

TEST_F(EngineExpressionTest, ExtensionHooksRenderUnknownTypes)
{
    PointExpression e(db, schema, engine->cache());
    EXPECT_EQ(e.toStr(QPoint(3, 4)), QStringLiteral("'3 4'"));
    EXPECT_EQ(e.toValue(QPoint(3, 4)), QVariant(3004));
    EXPECT_EQ(e.toStr(QStringLiteral("a")), QStringLiteral("'a'"));
}

TEST_F(EngineExpressionTest, FailuresGiveInvalidResultsAndWarnings)
{
    WarningLog log;
    {
        EngineExpression e(db, schema, engine->cache());
        ASSERT_TRUE(e.setExpression(QStringLiteral("name")));
        // Nothing filled: no row, no value.
        EXPECT_FALSE(e.exec().isValid());
        EXPECT_FALSE(e.setExpression(QStringLiteral("no_such_column")));
        EXPECT_FALSE(e.isValid());
        EXPECT_FALSE(e.lastError().isEmpty());
        e.setError(QStringLiteral("told"));
        EXPECT_EQ(e.lastError(), QStringLiteral("told"));
    }
    EXPECT_TRUE(log.lines.filter(QStringLiteral("Expression exec error: ")).size() == 1) << log.lines.join('\n').toStdString();

    // Two attributes of one name cannot make a table.
    EngineExpression twice(db, dp::TableSchema({simple("a", QMetaType::Int), simple("A", QMetaType::Int)}), engine->cache());
    EXPECT_FALSE(twice.isValid());
    EXPECT_FALSE(twice.lastError().isEmpty());
    EXPECT_EQ(log.lines.filter(QStringLiteral("Expression creation error: ")).size(), 1);
}

} // namespace
} // namespace tessera::engine
