#include "platform/core/Core.h"

#include <QCoreApplication>
#include <gtest/gtest.h>

namespace tessera::coretest {

class Base : public QObject {
    Q_OBJECT
};

class Derived : public Base {
    Q_OBJECT
};

class Other : public QObject {
    Q_OBJECT
};

namespace {

TEST(Core, FindsServicesByClassNameAndBaseClass)
{
    Core core;
    EXPECT_EQ(core.findService<Base>(), nullptr);

    auto* derived = new Derived;
    derived->setParent(&core);
    core.registerService(derived);

    EXPECT_EQ(core.findService<Derived>(), derived);
    EXPECT_EQ(core.findService<Base>(), derived);   // through the base class
    EXPECT_EQ(core.findService<Other>(), nullptr);
    EXPECT_EQ(core.findService(&Derived::staticMetaObject, QStringLiteral("Derived")), nullptr);   // full names only
    EXPECT_EQ(core.findService(&Derived::staticMetaObject, QString::fromLatin1(Derived::staticMetaObject.className())), derived);
    EXPECT_EQ(core.findService(nullptr, QStringLiteral("QObject")), derived);
}

TEST(Core, FirstRegisteredServiceStaysFoundAndDestroyedServicesVanish)
{
    Core core;
    auto* first = new Base;
    auto* second = new Base;
    int emitted = 0;
    QObject::connect(&core, &Core::serviceRegistered, [&](QObject*) { ++emitted; });

    core.registerService(first);
    core.registerService(second);
    core.registerService(first);      // a second registration of the same object adds nothing
    core.registerService(nullptr);
    EXPECT_EQ(emitted, 2);
    EXPECT_EQ(core.findService<Base>(), first);

    delete first;
    EXPECT_EQ(core.findService<Base>(), second);
    delete second;
    EXPECT_EQ(core.findService<Base>(), nullptr);
}

TEST(Core, TypedObjectsAndInstance)
{
    struct Plain { int value; };
    {
        Core core;
        EXPECT_EQ(Core::instance(), &core);
        EXPECT_EQ(core.findObject<Plain>(), nullptr);
        core.registerObject(std::make_shared<Plain>(Plain{7}));
        ASSERT_NE(core.findObject<Plain>(), nullptr);
        EXPECT_EQ(core.findObject<Plain>()->value, 7);
        core.registerObject(std::make_shared<Plain>(Plain{8}));   // replaces
        EXPECT_EQ(core.findObject<Plain>()->value, 8);
        EXPECT_EQ(core.findObject<int>(), nullptr);

        Core second;
        EXPECT_EQ(Core::instance(), &core);   // the first one stays the application core
        EXPECT_EQ(second.findObject<Plain>(), nullptr);
        EXPECT_NE(core.extensionManager(), second.extensionManager());
    }
    EXPECT_EQ(Core::instance(), nullptr);
}

} // namespace
} // namespace tessera::coretest

#include "CoreTest.moc"
