#include "engine/geometry/EngineGeometry.h"
#include "engine/geometry/EngineGeometryMap.h"
#include "platform/cs/CoordSystem.h"
#include "platform/cs/CoordSystemArchive.h"
#include "platform/geometry/Geometry.h"

#include "tests/support/EngineGeometries.h"

#include <QDataStream>
#include <QIODevice>
#include <atomic>
#include <gtest/gtest.h>
#include <random>
#include <thread>
#include <vector>

namespace tessera::engine {
namespace {

using test::everyGeometryKind;

std::shared_ptr<cs::CoordSystem> wgs84()
{
    static const auto coordSystem = cs::CoordSysFactory::defaultCoordSysFactory()->createFromEpsg(4326);
    return coordSystem;
}

// Resolver that knows nothing: coordinate-system blocks are parsed.
std::shared_ptr<cs::CoordSystem> noResolver(const void*, int)
{
    return nullptr;
}

struct Block {
    int header = -1;
    QByteArray payload;
};

// Splits a blob written by serialize() into its blocks, checking the length
// fields on the way.
std::vector<Block> blocksOf(const QByteArray& blob)
{
    std::vector<Block> blocks;
    int pos = 0;
    while (pos < blob.size()) {
        Block block;
        block.header = static_cast<quint8>(blob[pos++]);
        const int n = (block.header & 3) + 1;
        quint32 length = 0;
        for (int i = 0; i < n && pos + i < blob.size(); ++i)
            length |= quint32(static_cast<quint8>(blob[pos + i])) << (8 * i);
        pos += n;
        EXPECT_EQ(n, EngineGeometry::lengthBytes(length)) << "length written with more bytes than needed";
        block.payload = blob.mid(pos, static_cast<int>(length));
        EXPECT_EQ(block.payload.size(), static_cast<int>(length));
        pos += static_cast<int>(length);
        blocks.push_back(block);
    }
    return blocks;
}

// A block with a length field of exactly `lengthBytes` bytes.
QByteArray block(int type, const QByteArray& payload, int lengthBytes = -1)
{
    const auto length = static_cast<quint32>(payload.size());
    const int n = lengthBytes > 0 ? lengthBytes : EngineGeometry::lengthBytes(length);
    QByteArray out;
    out.append(static_cast<char>((n - 1) | (type << 2)));
    for (int i = 0; i < n; ++i)
        out.append(static_cast<char>((length >> (8 * i)) & 0xFF));
    return out + payload;
}

QByteArray geometryPayload(const std::shared_ptr<geometry::Geometry>& g)
{
    const QByteArray blob = EngineGeometry::serialize(g, {});
    return blocksOf(blob).at(0).payload;
}

QByteArray coordSystemPayload(const std::shared_ptr<cs::CoordSystem>& coordSystem)
{
    QByteArray payload;
    QDataStream stream(&payload, QIODevice::WriteOnly);
    serialization::BinaryOutputArchive archive(stream);
    archive.saveVersion(0);
    serialization::save(archive, coordSystem, 0);
    return payload;
}

TEST(EngineGeometry, LengthFieldUsesTheFewestBytes)
{
    const std::vector<std::pair<quint32, int>> cases{
        {0, 1}, {1, 1}, {0xFF, 1}, {0x100, 2}, {0xFFFF, 2}, {0x10000, 3},
        {0xFFFFFF, 3}, {0x1000000, 4}, {0xFFFFFFFF, 4}};
    for (const auto& [length, bytes] : cases)
        EXPECT_EQ(EngineGeometry::lengthBytes(length), bytes) << std::hex << length;

    // Writing: a line long enough to need 2 and 3 length bytes.
    for (const int points : {4, 20, 5000}) {
        QVector<QPointF> pts;
        for (int i = 0; i < points; ++i)
            pts << QPointF(i, -i);
        const auto line = std::make_shared<geometry::LineString>(pts);
        const QByteArray blob = EngineGeometry::serialize(line, {});
        const auto blocks = blocksOf(blob);
        ASSERT_EQ(blocks.size(), 1u);
        const int payloadSize = blocks[0].payload.size();
        EXPECT_EQ(blocks[0].header, EngineGeometry::lengthBytes(payloadSize) - 1);
        EXPECT_EQ(blob.size(), 1 + EngineGeometry::lengthBytes(payloadSize) + payloadSize);
        const auto back = EngineGeometry::deserialize(blob, noResolver).geometry();
        ASSERT_TRUE(back);
        EXPECT_EQ(static_cast<const geometry::LineString&>(*back).points(), pts);
    }
}

TEST(EngineGeometry, ReadsPayloadsAtEveryLengthBoundary)
{
    // The reader only needs the geometry at the start of the payload, so
    // padding makes payloads of exact lengths.
    const auto point = std::make_shared<geometry::Point>(QPointF(3, 4));
    const QByteArray payload = geometryPayload(point);
    for (const int length : {0xFF, 0x100, 0xFFFF, 0x10000, 0x1000000}) {
        ASSERT_LE(payload.size(), length);
        QByteArray padded = payload;
        padded.append(QByteArray(length - payload.size(), '\0'));
        const QByteArray blob = block(0, padded);
        const int expectedLengthBytes = length <= 0xFF ? 1 : length <= 0xFFFF ? 2 : length <= 0xFFFFFF ? 3 : 4;
        EXPECT_EQ(static_cast<quint8>(blob[0]), expectedLengthBytes - 1) << length;
        const auto g = EngineGeometry::deserialize(blob, noResolver).geometry();
        ASSERT_TRUE(g) << length;
        EXPECT_EQ(static_cast<const geometry::Point&>(*g).point(), QPointF(3, 4));
    }
    // A length field wider than needed is still read.
    for (int n = 1; n <= 4; ++n)
        EXPECT_TRUE(EngineGeometry::deserialize(block(0, payload, n), noResolver)) << n;
    // An empty block is written as 00 00 and holds no geometry; the reader goes on.
    EXPECT_EQ(block(0, QByteArray()), QByteArray("\x00\x00", 2));
    EXPECT_FALSE(EngineGeometry::deserialize(block(0, QByteArray()), noResolver));
    EXPECT_TRUE(EngineGeometry::deserialize(block(1, QByteArray()) + block(0, payload), noResolver));
}

TEST(EngineGeometry, RoundTripsEveryKindWithoutCoordinateSystem)
{
    for (const auto& [name, g] : everyGeometryKind()) {
        SCOPED_TRACE(name.toStdString());
        int calls = 0;
        const QByteArray blob = EngineGeometry(g).serialize([&](const auto&, const auto&) { ++calls; });
        EXPECT_EQ(calls, 0);
        const auto blocks = blocksOf(blob);
        ASSERT_EQ(blocks.size(), 1u);
        EXPECT_LE(blocks[0].header, 3);

        const EngineGeometry back = EngineGeometry::deserialize(blob, [&](const void*, int) {
            ++calls;
            return wgs84();
        });
        ASSERT_TRUE(back);
        EXPECT_EQ(calls, 0);
        EXPECT_EQ(back.geometry()->type(), g->type());
        EXPECT_EQ(back.geometry()->coordSystem(), nullptr);
        EXPECT_EQ(back.geometry()->boundingRect(), g->boundingRect());
        EXPECT_EQ(EngineGeometry(back.geometry()).serialize({}), blob);
    }
}

TEST(EngineGeometry, RoundTripsEveryKindWithCoordinateSystem)
{
    const QByteArray expectedCsPayload = coordSystemPayload(wgs84());
    for (const auto& [name, g] : everyGeometryKind()) {
        SCOPED_TRACE(name.toStdString());
        const QByteArray plain = EngineGeometry::serialize(g, {});
        g->setCoordSystem(wgs84());

        std::vector<std::pair<std::shared_ptr<cs::CoordSystem>, QByteArray>> sunk;
        const QByteArray blob = EngineGeometry::serialize(g, [&](const auto& c, const QByteArray& bytes) {
            sunk.emplace_back(c, bytes);
        });
        EXPECT_EQ(g->coordSystem(), wgs84()) << "the coordinate system is put back";
        ASSERT_EQ(sunk.size(), 1u);
        EXPECT_EQ(sunk[0].first, wgs84());
        EXPECT_EQ(sunk[0].second, expectedCsPayload);

        const auto blocks = blocksOf(blob);
        ASSERT_EQ(blocks.size(), 2u);
        EXPECT_LE(blocks[0].header, 3);
        EXPECT_GE(blocks[1].header, 4);
        EXPECT_LE(blocks[1].header, 7);
        EXPECT_EQ(blocks[1].payload, expectedCsPayload);
        // The geometry block is the same as without a coordinate system.
        EXPECT_EQ(blob.left(plain.size()), plain);

        // Parsed from the block when the resolver has nothing ...
        const auto parsed = EngineGeometry::deserialize(blob, noResolver).geometry();
        ASSERT_TRUE(parsed);
        ASSERT_TRUE(parsed->coordSystem());
        EXPECT_EQ(parsed->coordSystem()->epsg(), 4326);
        EXPECT_EQ(parsed->type(), g->type());
        // ... and the resolver's object, shared, when it has one.
        QByteArray asked;
        const auto resolved = EngineGeometry::deserialize(blob, [&](const void* data, int size) {
            asked = QByteArray(static_cast<const char*>(data), size);
            return wgs84();
        }).geometry();
        ASSERT_TRUE(resolved);
        EXPECT_EQ(resolved->coordSystem(), wgs84());
        EXPECT_EQ(asked, expectedCsPayload);
        EXPECT_EQ(EngineGeometry(resolved).serialize([](const auto&, const auto&) {}), blob);
    }
}

TEST(EngineGeometry, ReaderSkipsAndOrdersBlocks)
{
    const auto point = std::make_shared<geometry::Point>(QPointF(1, 2));
    const auto line = std::make_shared<geometry::LineString>(QVector<QPointF>{{0, 0}, {5, 5}});
    const QByteArray pointBlock = block(0, geometryPayload(point));
    const QByteArray lineBlock = block(0, geometryPayload(line));
    const QByteArray csBlock = block(1, coordSystemPayload(wgs84()));
    const auto mercator = cs::CoordSysFactory::defaultCoordSysFactory()->createFromEpsg(3857);
    const QByteArray otherCsBlock = block(1, coordSystemPayload(mercator));

    // Bytes above 7 are no header and are skipped one by one.
    const auto skipped = EngineGeometry::deserialize(QByteArray("\x08\xFF\x42", 3) + pointBlock, noResolver).geometry();
    ASSERT_TRUE(skipped);
    EXPECT_EQ(skipped->type(), geometry::GeometryType::Point);

    // A coordinate system alone is no geometry.
    EXPECT_FALSE(EngineGeometry::deserialize(csBlock, noResolver));

    // The coordinate system may come first.
    const auto reversed = EngineGeometry::deserialize(csBlock + pointBlock, noResolver).geometry();
    ASSERT_TRUE(reversed && reversed->coordSystem());
    EXPECT_EQ(reversed->coordSystem()->epsg(), 4326);

    // A second geometry block and a second coordinate-system block are ignored.
    const auto first = EngineGeometry::deserialize(pointBlock + lineBlock + csBlock, noResolver).geometry();
    ASSERT_TRUE(first && first->coordSystem());
    EXPECT_EQ(first->type(), geometry::GeometryType::Point);
    const auto firstCs = EngineGeometry::deserialize(csBlock + otherCsBlock + pointBlock, noResolver).geometry();
    ASSERT_TRUE(firstCs && firstCs->coordSystem());
    EXPECT_EQ(firstCs->coordSystem()->epsg(), 4326);

    // Once a geometry has its coordinate system, the rest is never looked at.
    int resolverCalls = 0;
    const auto counting = [&](const void*, int) { ++resolverCalls; return std::shared_ptr<cs::CoordSystem>(); };
    EXPECT_TRUE(EngineGeometry::deserialize(pointBlock + csBlock + otherCsBlock, counting));
    EXPECT_EQ(resolverCalls, 1);

    // A resolver answer means the payload is not parsed: garbage is fine then.
    const QByteArray garbageCs = block(1, QByteArray("not a coordinate system"));
    const auto viaResolver = EngineGeometry::deserialize(pointBlock + garbageCs, [&](const void*, int) { return mercator; }).geometry();
    ASSERT_TRUE(viaResolver);
    EXPECT_EQ(viaResolver->coordSystem(), mercator);
    const auto unparsable = EngineGeometry::deserialize(pointBlock + garbageCs, noResolver).geometry();
    ASSERT_TRUE(unparsable);
    EXPECT_EQ(unparsable->coordSystem(), nullptr);

    // An empty resolver is a programming error when a coordinate system comes.
    EXPECT_THROW(EngineGeometry::deserialize(pointBlock + csBlock, {}), std::bad_function_call);
    EXPECT_NO_THROW(EngineGeometry::deserialize(pointBlock, {}));
    // So is an empty sink when the geometry has a coordinate system.
    point->setCoordSystem(wgs84());
    EXPECT_THROW(EngineGeometry::serialize(point, {}), std::bad_function_call);
    EXPECT_TRUE(EngineGeometry::serialize(nullptr, {}).isEmpty());
}

TEST(EngineGeometry, CutAndCorruptBlobsNeverCrash)
{
    auto polygon = everyGeometryKind().at(6).second;   // multipolygon
    polygon->setCoordSystem(wgs84());
    const QByteArray blob = EngineGeometry::serialize(polygon, [](const auto&, const auto&) {});
    const auto blocks = blocksOf(blob);
    ASSERT_EQ(blocks.size(), 2u);
    const int geometryEnd = blob.size() - (1 + 1 + blocks[1].payload.size());

    for (int cut = 0; cut < blob.size(); ++cut) {
        const auto g = EngineGeometry::deserialize(blob.left(cut), noResolver).geometry();
        if (cut < geometryEnd) {
            EXPECT_FALSE(g) << "cut at " << cut;
        } else {
            // The geometry was complete; its coordinate system was not.
            ASSERT_TRUE(g) << "cut at " << cut;
            EXPECT_EQ(g->coordSystem(), nullptr);
        }
    }

    std::mt19937 random(20240611);
    std::uniform_int_distribution<int> byte(0, 255);
    for (int round = 0; round < 3000; ++round) {
        QByteArray noise(1 + round % 97, '\0');
        for (auto& c : noise)
            c = static_cast<char>(byte(random));
        EXPECT_NO_THROW(EngineGeometry::deserialize(noise, noResolver));
        // Flipped bytes inside a real blob.
        QByteArray flipped = blob;
        flipped[round % blob.size()] = static_cast<char>(byte(random));
        flipped[(round * 7) % blob.size()] = static_cast<char>(byte(random));
        EXPECT_NO_THROW(EngineGeometry::deserialize(flipped, noResolver));
    }
    // A length that claims far more than the blob holds.
    EXPECT_FALSE(EngineGeometry::deserialize(QByteArray("\x03\xFF\xFF\xFF\x7F\x01\x02", 7), noResolver));
}

TEST(EngineGeometryMap, FirstWriterWinsAndFailuresAreRemembered)
{
    EngineGeometryMap map;
    const QByteArray key("\x01\x02\x03", 3);
    const auto a = std::make_shared<const geometry::Point>(QPointF(1, 1));
    const auto b = std::make_shared<const geometry::Point>(QPointF(2, 2));

    map.set(key.constData(), key.size(), a);
    map.set(key.constData(), key.size(), b);
    int made = 0;
    EXPECT_EQ(map.get(key.constData(), key.size(), [&](const void*, unsigned) { ++made; return b; }), a);
    EXPECT_EQ(made, 0);

    // The key is a copy: changing the caller's bytes afterwards changes nothing.
    QByteArray scratch("\x09\x09", 2);
    EXPECT_EQ(map.get(scratch.constData(), scratch.size(), [&](const void* data, unsigned size) {
        ++made;
        EXPECT_EQ(QByteArray(static_cast<const char*>(data), static_cast<int>(size)), scratch);
        return std::shared_ptr<const geometry::Geometry>();
    }), nullptr);
    EXPECT_EQ(made, 1);
    scratch[0] = '\x07';
    EXPECT_EQ(map.get("\x09\x09", 2, [&](const void*, unsigned) { ++made; return a; }), nullptr);
    EXPECT_EQ(made, 1) << "an empty decoding is kept";
    EXPECT_EQ(map.get(scratch.constData(), scratch.size(), [&](const void*, unsigned) { ++made; return b; }), b);
    EXPECT_EQ(made, 2);
    EXPECT_EQ(map.size(), 3u);

    map.clearMap();
    EXPECT_EQ(map.size(), 0u);
    EXPECT_EQ(map.get(key.constData(), key.size(), [&](const void*, unsigned) { ++made; return b; }), b);
    EXPECT_THROW(map.get("\x05", 1, {}), std::bad_function_call);
}

TEST(EngineGeometryMap, KeysOrderByLengthFirst)
{
    const EngineGeometryMap::KeyLess less;
    EXPECT_TRUE(less(QByteArray("\xFF", 1), QByteArray("\x00\x00", 2)));
    EXPECT_FALSE(less(QByteArray("\x00\x00", 2), QByteArray("\xFF", 1)));
    EXPECT_TRUE(less(QByteArray("ab"), QByteArray("ac")));
    EXPECT_FALSE(less(QByteArray("ac"), QByteArray("ab")));
    EXPECT_FALSE(less(QByteArray("ab"), QByteArray("ab")));
    EXPECT_TRUE(less(QByteArray(), QByteArray("\x00", 1)));
    EXPECT_FALSE(less(QByteArray(), QByteArray()));
    // Bytes compare unsigned.
    EXPECT_TRUE(less(QByteArray("\x01", 1), QByteArray("\x80", 1)));
}

TEST(EngineGeometryMap, RacingDecodersAllGetTheOneStoredGeometry)
{
    EngineGeometryMap map;
    const QByteArray key("shared key");
    std::atomic<int> decodings{0};
    std::vector<std::shared_ptr<const geometry::Geometry>> seen(8);
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < 200; ++i) {
                auto g = map.get(key.constData(), key.size(), [&](const void*, unsigned) {
                    ++decodings;
                    std::this_thread::yield();
                    return std::make_shared<const geometry::Point>(QPointF(t, i));
                });
                if (!seen[t])
                    seen[t] = g;
                EXPECT_EQ(g, seen[t]);
            }
        });
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_GE(decodings.load(), 1);
    for (const auto& g : seen)
        EXPECT_EQ(g, seen[0]);
    EXPECT_EQ(map.size(), 1u);
}

} // namespace
} // namespace tessera::engine
