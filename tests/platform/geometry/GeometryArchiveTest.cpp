#include "GeometrySamples.h"

#include "platform/cs/CoordSystem.h"
#include "platform/serialization/Archive.h"

#include <gtest/gtest.h>

using namespace tessera;
using namespace tessera::geometry;
using namespace tessera::serialization;
using test::archived;

namespace {

std::shared_ptr<Geometry> load(const QByteArray& bytes)
{
    QDataStream stream(bytes);
    BinaryInputArchive archive(stream);
    TrackingInputArchive tracking(archive);
    auto object = tracking.loadSerializable();
    auto g = std::dynamic_pointer_cast<Geometry>(object);
    if (!g)
        throw Error("not a geometry");
    return g;
}

QByteArray tag(const char* name)
{
    QByteArray out;
    QDataStream s(&out, QIODevice::WriteOnly);
    s << QString::fromLatin1(name) << quint32(0);
    return out;
}

} // namespace

TEST(GeometryArchive, EveryKindRoundTrips)
{
    const auto wgs84 = cs::CoordSysFactory::defaultCoordSysFactory()->createFromEpsg(4326);
    for (const auto& g : test::allSamples()) {
        SCOPED_TRACE(g->className().toStdString());
        const QByteArray plain = archived(*g);
        g->setCoordSystem(wgs84);
        // The coordinate system is stored apart, never in the geometry's bytes.
        EXPECT_EQ(archived(*g), plain);
        const auto back = load(plain);
        ASSERT_TRUE(back);
        EXPECT_EQ(back->className(), g->className());
        EXPECT_EQ(archived(*back), plain);
        EXPECT_FALSE(back->coordSystem());
        EXPECT_EQ(back->isEmpty(), g->isEmpty());
    }
}

TEST(GeometryArchive, ByteLayout)
{
    EXPECT_EQ(archived(Point(QPointF(1.0, -2.0))).toHex(),
              (tag("Point") + QByteArray::fromHex("00" "3ff0000000000000" "c000000000000000")).toHex());
    EXPECT_EQ(archived(Point()).toHex(), (tag("Point") + QByteArray::fromHex("01")).toHex());
    EXPECT_EQ(archived(LineString(QVector<QPointF>{{0.5, 0}})).toHex(),
              (tag("LineString") + QByteArray::fromHex("00000001" "3fe0000000000000" "0000000000000000")).toHex());
    EXPECT_EQ(archived(Ellipse(QRectF(0, 0, 2, 1))).toHex(),
              (tag("Ellipse")
               + QByteArray::fromHex("0000000000000000" "0000000000000000" "4000000000000000" "3ff0000000000000"))
                  .toHex());

    // A collection that holds one member twice writes it twice (members are
    // never shared); empty member pointers are left out.
    auto shared = std::make_shared<Point>(QPointF(3, 4));
    GeometryCollection twice(std::vector<std::shared_ptr<Geometry>>{shared, nullptr, shared});
    const QByteArray bytes = archived(twice);
    const QByteArray point = tag("Point") + QByteArray::fromHex("00" "4008000000000000" "4010000000000000");
    const QByteArray expected = tag("GeometryCollection") + QByteArray::fromHex("00000002") + point + point;
    EXPECT_EQ(bytes.toHex(), expected.toHex());
    const auto back = std::dynamic_pointer_cast<GeometryCollection>(load(bytes));
    ASSERT_TRUE(back);
    ASSERT_EQ(back->members().size(), 2u);
    EXPECT_TRUE(test::sameGeometry(*back->members()[1], *shared));
}

TEST(GeometryArchive, MalformedBytesThrow)
{
    QByteArray v1;
    {
        QDataStream s(&v1, QIODevice::WriteOnly);
        s << QStringLiteral("Point") << quint32(1);
    }
    const QByteArray point = tag("Point") + QByteArray::fromHex("00" "3ff0000000000000" "3ff0000000000000");
    std::vector<std::pair<std::string, QByteArray>> rows = {
        {"nothing", QByteArray()},
        {"bad empty flag of a point", tag("Point") + QByteArray::fromHex("02")},
        {"unknown version", v1 + QByteArray::fromHex("01")},
        {"a text whose length runs past the data", tag("Text") + QByteArray::fromHex("7ffffff0")},
        {"a collection member that refers to the collection itself",
         tag("GeometryCollection") + QByteArray::fromHex("00000001" "ffffffff" "00000000")},
        // Each level of such references would double the vertices of a few bytes.
        {"a member that refers back to an earlier one",
         tag("GeometryCollection") + QByteArray::fromHex("00000002") + point + QByteArray::fromHex("ffffffff" "00000001")},
    };
    // Counts far beyond the bytes left are refused before anything is allocated.
    for (const char* cls : {"LineString", "MultiPoint", "Polygon", "MultiLineString", "MultiPolygon", "GeometryCollection"})
        rows.emplace_back(std::string("huge count of a ") + cls, tag(cls) + QByteArray::fromHex("7fffffff0000000000000000"));
    for (const auto& [name, bytes] : rows)
        EXPECT_THROW(load(bytes), Error) << name;

    // Every cut of every kind throws, and no flipped byte crashes.
    for (const auto& g : test::allSamples()) {
        const QByteArray full = archived(*g);
        for (int cut = 0; cut < full.size(); ++cut)
            EXPECT_THROW(load(full.left(cut)), Error) << g->className().toStdString() << " cut at " << cut;
        for (int i = 0; i < full.size(); ++i) {
            QByteArray bad = full;
            bad[i] = char(bad[i] ^ 0x5A);
            try {
                load(bad);
            } catch (const Error&) {
            }
        }
    }
}
