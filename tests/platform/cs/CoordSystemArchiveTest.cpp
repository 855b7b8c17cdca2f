#include "platform/cs/CoordSystemArchive.h"

#include <QBuffer>
#include <gtest/gtest.h>

using namespace tessera;
using namespace tessera::serialization;

namespace {

QByteArray write(const std::shared_ptr<cs::CoordSystem>& coordSystem)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    BinaryOutputArchive archive(stream);
    save(archive, coordSystem, 0);
    return bytes;
}

std::shared_ptr<cs::CoordSystem> read(const QByteArray& bytes, quint32 version = 0)
{
    QDataStream stream(bytes);
    BinaryInputArchive archive(stream);
    std::shared_ptr<cs::CoordSystem> result = cs::CoordSysFactory::defaultCoordSysFactory()->createFromEpsg(4326);
    load(archive, result, version);
    return result;
}

} // namespace

TEST(CoordSystemArchive, RoundTrips)
{
    auto* factory = cs::CoordSysFactory::defaultCoordSysFactory();

    EXPECT_EQ(write(nullptr), QByteArray(1, '\0'));
    EXPECT_FALSE(read(write(nullptr)));

    const auto mercator = factory->createFromEpsg(3857);
    const QByteArray epsgBytes = write(mercator);
    EXPECT_EQ(epsgBytes, QByteArray::fromHex("0100000f11"));
    const auto back = read(epsgBytes);
    ASSERT_TRUE(back);
    EXPECT_EQ(back->epsg(), 3857);

    // A PROJ string that matches an EPSG system is stored by its code.
    EXPECT_EQ(write(factory->createFromTaggedString("+proj=utm +zone=33 +datum=WGS84")),
              QByteArray::fromHex("0100007f79"));

    const auto custom = factory->createFromTaggedString("+proj=aeqd +lat_0=52 +lon_0=13 +datum=WGS84");
    ASSERT_TRUE(custom);
    const QByteArray wktBytes = write(custom);
    EXPECT_EQ(wktBytes.at(0), 2);
    const auto customBack = read(wktBytes);
    ASSERT_TRUE(customBack);
    EXPECT_EQ(customBack->epsg(), 0);
    EXPECT_TRUE(customBack->isEquivalentTo(*custom));
}

TEST(CoordSystemArchive, RejectsBadBytes)
{
    auto* factory = cs::CoordSysFactory::defaultCoordSysFactory();
    EXPECT_THROW(read(QByteArray()), Error);
    EXPECT_THROW(read(QByteArray::fromHex("03")), Error);                    // unknown tag
    EXPECT_THROW(read(QByteArray::fromHex("01000f")), Error);                // short code
    EXPECT_THROW(read(QByteArray::fromHex("01000f423f")), Error);            // code 999999
    EXPECT_THROW(read(QByteArray::fromHex("0100000f11"), 1), Error);         // unknown version
    EXPECT_THROW(read(QByteArray::fromHex("02ffff0000")), Error);            // string longer than data
    EXPECT_THROW(read(QByteArray::fromHex("02000000060066006f006f")), Error); // "foo" is no system

    const QByteArray full = write(factory->createFromTaggedString("+proj=aeqd +lat_0=52 +lon_0=13 +datum=WGS84"));
    for (int cut = 0; cut < full.size(); ++cut)
        EXPECT_THROW(read(full.left(cut)), Error) << cut;
}

TEST(CoordSystemArchive, QuickShapeCheckAcceptsEverySavedForm)
{
    auto* factory = cs::CoordSysFactory::defaultCoordSysFactory();
    const QByteArray version(4, '\0');
    const auto custom = factory->createFromTaggedString(QStringLiteral("+proj=merc +lon_0=10 +ellps=GRS80 +units=m +no_defs"));
    ASSERT_TRUE(custom);
    for (const auto& system : {std::shared_ptr<cs::CoordSystem>(), factory->createFromEpsg(4326), custom}) {
        const QByteArray bytes = version + write(system);
        EXPECT_TRUE(mayHoldCoordSystem(bytes.constData(), bytes.size()));
    }
    // What the check refuses would make loading throw.
    for (const QByteArray& bad : {QByteArray(), QByteArray::fromHex("00000000"), QByteArray::fromHex("0000000103"),
                                  QByteArray::fromHex("0000000003"), QByteArray::fromHex("01000000e6100000")}) {
        EXPECT_FALSE(mayHoldCoordSystem(bad.constData(), bad.size())) << bad.toHex().toStdString();
    }
}
