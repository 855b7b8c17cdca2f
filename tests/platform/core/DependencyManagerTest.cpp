#include "platform/core/Core.h"
#include "platform/core/DependencyManager.h"

#include <gtest/gtest.h>

namespace tessera::di {

class Catalog : public QObject {
    Q_OBJECT
};

namespace {

class Consumer : public HasDependencies {
public:
    explicit Consumer(Core* core) : HasDependencies(core) {
        dependencyManager().addDependency<Core>([this](QObject* o) { this->core = qobject_cast<Core*>(o); });
        dependencyManager().addDependency<Catalog>([this](QObject*) { ++catalogCallbacks; });
    }
    Core* core = nullptr;
    int catalogCallbacks = 0;
};

TEST(DependencyManager, ResolvesNowAndWhenServicesAppearLater)
{
    Core core;
    Consumer consumer(&core);
    EXPECT_EQ(consumer.core, &core);   // the Core is available at once
    EXPECT_EQ(consumer.catalogCallbacks, 0);
    EXPECT_EQ(consumer.dependencyManager().getService<Catalog>(), nullptr);
    EXPECT_EQ(consumer.dependencyManager().missing(), QStringList{QString::fromLatin1(Catalog::staticMetaObject.className())});
    EXPECT_FALSE(consumer.dependencyManager().resolve());

    Catalog catalog;
    core.registerService(&catalog);
    EXPECT_EQ(consumer.catalogCallbacks, 1);
    EXPECT_EQ(consumer.dependencyManager().getService<Catalog>(), &catalog);
    EXPECT_TRUE(consumer.dependencyManager().missing().isEmpty());

    Catalog another;
    core.registerService(&another);
    EXPECT_EQ(consumer.catalogCallbacks, 1);   // callbacks run once
    EXPECT_TRUE(consumer.dependencyManager().resolve());
}

TEST(DependencyManager, FallsBackToTheApplicationCore)
{
    DependencyManager manager;
    EXPECT_EQ(manager.getService<Core>(), nullptr);
    Core core;
    EXPECT_EQ(manager.core(), &core);
    EXPECT_EQ(manager.getService<Core>(), &core);

    Catalog catalog;
    bool called = false;
    manager.addDependency<Catalog>([&](QObject* o) { called = (o == &catalog); });
    EXPECT_FALSE(called);
    core.registerService(&catalog);
    EXPECT_TRUE(called);
}

} // namespace
} // namespace tessera::di

#include "DependencyManagerTest.moc"
