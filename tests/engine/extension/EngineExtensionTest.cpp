#include "engine/extension/EngineExtension.h"

#include "engine/Engine.h"
#include "platform/core/Core.h"
#include "platform/dp/DataCatalog.h"

#include "tests/support/EngineApplication.h"

#include <QSqlDriver>
#include <QSqlQuery>
#include <gtest/gtest.h>

namespace tessera {
namespace {

// Objects described as "rtree" become SQLite R-tree tables; others get none.
class RtreeExtension final : public EngineExtension {
public:
    QString moduleDescription(const QString& source, QList<QVariant>& args) const override
    {
        if (source != QLatin1String("rtree"))
            return QString();
        args = {QStringLiteral("id"), QStringLiteral("x0"), QStringLiteral("x1")};
        return QStringLiteral("rtree");
    }
};

class EngineExtensionTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        engine = Engine::load(&core);
        core.registerService(&catalog);
        extension.dependencyManager().setCore(&core);
        extension.linkDataCatalog();
    }
    void TearDown() override { Engine::unload(&core); }

    bool exists(const QString& name) const
    {
        QSqlQuery query(engine->engineDatabase());
        query.prepare(QStringLiteral("Select Count(*) From sqlite_master Where name = ?"));
        query.addBindValue(name);
        return query.exec() && query.next() && query.value(0).toInt() == 1;
    }
    dp::DataObjectPtr add(const QString& name, const QString& source)
    {
        auto object = std::make_shared<dp::DataObject>(name);
        object->setTableSourceDescription(source);
        catalog.addDataObject(object);
        return object;
    }

    Core core;
    Engine* engine = nullptr;
    dp::DataCatalog catalog;
    RtreeExtension extension;
};

TEST_F(EngineExtensionTest, FormatsModuleArguments)
{
    const QSqlDriver& driver = *engine->engineDatabase().driver();
    EXPECT_EQ(EngineExtension::formatArgs(driver, {1, QStringLiteral("abc"), QStringLiteral("a b"), QStringLiteral("it's")}),
              QStringLiteral("1,abc,a b,'it''s'"));
    EXPECT_EQ(EngineExtension::formatArgs(driver, {}), QString());
    const struct {
        const char* name;
        QString arg;
        bool needs;
    } rows[] = {
        {"path", QStringLiteral("/data/x.gpkg"), false},
        {"cyrillic letters", QStringLiteral("Дороги 2"), false},
        {"colon", QStringLiteral("a:b"), true},
        {"quote", QStringLiteral("a\"b"), true},
        {"comma", QStringLiteral("a,b"), true},
    };
    for (const auto& row : rows)
        EXPECT_EQ(EngineExtension::moduleArgNeedsFormatting(row.arg), row.needs) << row.name;
}

TEST_F(EngineExtensionTest, CreatesTablesOnlyForObjectsWithAModule)
{
    add(QStringLiteral("boxes"), QStringLiteral("rtree"));
    auto plain = add(QStringLiteral("plain"), QString());
    EXPECT_TRUE(exists(QStringLiteral("boxes")));
    EXPECT_FALSE(exists(QStringLiteral("plain")));
    // No close-request connection either (disconnecting finds nothing).
    EXPECT_FALSE(QObject::disconnect(plain.get(), nullptr, &extension, nullptr));
    auto boxes = catalog.findByName(QStringLiteral("boxes"));
    EXPECT_TRUE(QObject::disconnect(boxes.get(), nullptr, &extension, nullptr));
}

TEST_F(EngineExtensionTest, RenamesThatDifferOnlyInCaseDoNothing)
{
    auto object = add(QStringLiteral("boxes"), QStringLiteral("rtree"));
    extension.rename(QStringLiteral("boxes"), QStringLiteral("BOXES"));
    extension.rename(QString(), QStringLiteral("other"));
    extension.rename(QStringLiteral("boxes"), QString());
    EXPECT_TRUE(exists(QStringLiteral("boxes")));

    object->setName(QStringLiteral("crates"));
    extension.rename(QStringLiteral("boxes"), QStringLiteral("crates"));
    EXPECT_FALSE(exists(QStringLiteral("boxes")));
    EXPECT_TRUE(exists(QStringLiteral("crates")));
}

TEST_F(EngineExtensionTest, FailureToCreateIsNested)
{
    add(QStringLiteral("boxes"), QStringLiteral("rtree"));
    auto again = std::make_shared<dp::DataObject>(QStringLiteral("boxes"));
    again->setTableSourceDescription(QStringLiteral("rtree"));
    try {
        extension.handleDataObject(again);   // the name is taken
        FAIL() << "no exception";
    } catch (const std::runtime_error& e) {
        // The subclass has no meta-object of its own: the base class names it.
        EXPECT_STREQ(e.what(), "Регистрация модуля базы данных: tessera::EngineExtension");
        try {
            std::rethrow_if_nested(e);
            FAIL() << "not nested";
        } catch (const std::runtime_error& inner) {
            EXPECT_STRNE(inner.what(), "");
        }
    }
}

} // namespace
} // namespace tessera
