#include "engine/EngineCache.h"
#include "engine/geometry/EngineGeometry.h"
#include "platform/cs/CoordSystem.h"
#include "platform/cs/CoordSystemArchive.h"
#include "platform/geometry/Geometry.h"

#include "tests/support/EngineTestCache.h"

#include <QDataStream>
#include <QIODevice>
#include <algorithm>
#include <gtest/gtest.h>
#include <set>
#include <thread>
#include <vector>

namespace tessera::engine {
namespace {

using test::spatiaLitePoint;
using test::TestCache;

dp::FeatureId fid(const QVariant& v)
{
    return dp::FeatureId(v);
}

std::shared_ptr<const geometry::Geometry> decode(EngineCache& cache, const QByteArray& blob, bool useCache)
{
    return cache.geometryInfo(blob, useCache).geometry();
}

TEST(EngineCache, NumbersFeatureIdsDenselyInOrderOfFirstSight)
{
    TestCache cache;
    EXPECT_EQ(cache.idLimit(), 0);
    EXPECT_EQ(cache.idToInt(fid(7), -5), -5);
    EXPECT_FALSE(cache.intToId(0).isValid());

    EXPECT_EQ(cache.assignIdToInt(fid(QStringLiteral("road 12"))), 0);
    EXPECT_EQ(cache.assignIdToInt(fid(7)), 1);
    EXPECT_EQ(cache.assignIdToInt(fid(QStringLiteral("road 12"))), 0);
    EXPECT_EQ(cache.assignIdToInt(fid(-3)), 2);
    // Identifiers compare by value: 7 and 7.0 are the same feature, "7" is not.
    EXPECT_EQ(cache.assignIdToInt(fid(7.0)), 1);
    EXPECT_EQ(cache.assignIdToInt(fid(QStringLiteral("7"))), 3);
    EXPECT_EQ(cache.idLimit(), 4);

    EXPECT_EQ(cache.idToInt(fid(-3), 99), 2);
    EXPECT_EQ(cache.intToId(0).value(), QVariant(QStringLiteral("road 12")));
    EXPECT_EQ(cache.intToId(2).value().toInt(), -3);
    EXPECT_FALSE(cache.intToId(4).isValid());
    EXPECT_FALSE(cache.intToId(-1).isValid());
}

TEST(EngineCache, ConcurrentNumberingIsDenseWithoutDuplicates)
{
    TestCache cache;
    constexpr int threads = 8;
    constexpr int idsPerThread = 3000;
    std::vector<std::vector<std::pair<int, qint64>>> assigned(threads);
    std::vector<std::thread> workers;
    for (int t = 0; t < threads; ++t) {
        workers.emplace_back([&, t] {
            // Overlapping ranges, walked in different directions.
            for (int i = 0; i < idsPerThread; ++i) {
                const int key = (t % 2 == 0) ? t * 1000 + i : t * 1000 + idsPerThread - 1 - i;
                assigned[t].emplace_back(key, cache.assignIdToInt(fid(key)));
                if (i % 64 == 0)
                    (void)cache.idLimit();
            }
        });
    }
    for (auto& worker : workers)
        worker.join();

    std::set<int> keys;
    std::map<int, qint64> numberOfKey;
    for (const auto& list : assigned) {
        for (const auto& [key, n] : list) {
            keys.insert(key);
            auto [it, inserted] = numberOfKey.emplace(key, n);
            EXPECT_EQ(it->second, n) << "key " << key << " got two numbers";
        }
    }
    const auto distinct = static_cast<qint64>(keys.size());
    EXPECT_EQ(cache.idLimit(), distinct);
    std::set<qint64> numbers;
    for (const auto& [key, n] : numberOfKey) {
        EXPECT_TRUE(numbers.insert(n).second) << "number " << n << " given twice";
        EXPECT_EQ(cache.intToId(n).value().toInt(), key);
    }
    ASSERT_FALSE(numbers.empty());
    EXPECT_EQ(*numbers.begin(), 0);
    EXPECT_EQ(*numbers.rbegin(), distinct - 1);
}

TEST(EngineCache, CachingModesForSpatiaLiteBlobs)
{
    const QByteArray blob = spatiaLitePoint(1, 2, 0);
    const auto saved = std::make_shared<const geometry::Point>(QPointF(9, 9));

    TestCache cache;
    EXPECT_EQ(cache.useGaiaCache(), GaiaCacheOnRequest);
    // On request: only when asked, and a later unasked call decodes afresh.
    const auto fresh1 = decode(cache, blob, false);
    const auto fresh2 = decode(cache, blob, false);
    ASSERT_TRUE(fresh1 && fresh2);
    EXPECT_NE(fresh1, fresh2);
    EXPECT_EQ(static_cast<const geometry::Point&>(*fresh1).point(), QPointF(1, 2));
    const auto kept = decode(cache, blob, true);
    EXPECT_EQ(decode(cache, blob, true), kept);
    EXPECT_NE(decode(cache, blob, false), kept);

    // Never: nothing is kept, save() included.
    cache.setUseGaiaCache(GaiaCacheNever);
    const QByteArray other = spatiaLitePoint(3, 4, 0);
    cache.save(other.constData(), other.size(), saved);
    EXPECT_NE(decode(cache, other, true), saved);
    EXPECT_NE(decode(cache, other, true), decode(cache, other, true));

    // Always: kept whatever the caller asks; save() is seen by geometryInfo.
    cache.setUseGaiaCache(GaiaCacheAlways);
    const auto always = decode(cache, other, false);
    EXPECT_EQ(decode(cache, other, false), always);
    const QByteArray third = spatiaLitePoint(5, 6, 0);
    cache.save(third.constData(), third.size(), saved);
    EXPECT_EQ(decode(cache, third, false), saved);
    // First writer wins.
    cache.save(third.constData(), third.size(), always);
    EXPECT_EQ(decode(cache, third, false), saved);

    // clear() forgets geometries (and coordinate-system blocks), nothing else.
    const auto wgs84 = cache.get(4326);
    cache.assignIdToInt(fid(1));
    cache.clear();
    EXPECT_NE(decode(cache, third, false), saved);
    EXPECT_EQ(cache.get(4326), wgs84);
    EXPECT_EQ(cache.idLimit(), 1);

    // Bytes that are no geometry give an empty result in every mode.
    for (const auto mode : {GaiaCacheNever, GaiaCacheAlways, GaiaCacheOnRequest}) {
        cache.setUseGaiaCache(mode);
        EXPECT_FALSE(cache.geometryInfo(QByteArray("no geometry at all"), true));
        EXPECT_FALSE(cache.geometryInfo(QByteArray(), true));
        EXPECT_FALSE(cache.geometryInfo(nullptr, 0, true));
    }
}

TEST(EngineCache, SpatiaLiteSridAndTesGeoBlocksResolveToSharedCoordinateSystems)
{
    TestCache cache;
    const auto wgs84 = cache.get(4326);
    ASSERT_TRUE(wgs84);
    EXPECT_EQ(wgs84->epsg(), 4326);
    EXPECT_EQ(cache.get(4326), wgs84);
    EXPECT_FALSE(cache.get(0));

    const auto g = decode(cache, spatiaLitePoint(10, 20, 4326), false);
    ASSERT_TRUE(g);
    EXPECT_EQ(g->coordSystem(), wgs84);
    EXPECT_EQ(decode(cache, spatiaLitePoint(1, 1, 0), false)->coordSystem(), nullptr);

    // save(epsg) decides what an SRID maps to.
    const auto replacement = cs::CoordSysFactory::defaultCoordSysFactory()->createFromEpsg(4326);
    cache.save(4326, replacement);
    EXPECT_EQ(decode(cache, spatiaLitePoint(10, 20, 4326), false)->coordSystem(), replacement);

    // TesGeo blobs: not cached as geometries, but their coordinate-system
    // block maps to one shared object.
    auto point = std::make_shared<geometry::Point>(QPointF(5, 6));
    point->setCoordSystem(wgs84);
    QByteArray csBytes;
    const QByteArray tesGeo = EngineGeometry::serialize(point, [&](const auto&, const QByteArray& bytes) { csBytes = bytes; });
    cache.setUseGaiaCache(GaiaCacheAlways);
    const auto a = decode(cache, tesGeo, true);
    const auto b = decode(cache, tesGeo, true);
    ASSERT_TRUE(a && b);
    EXPECT_NE(a, b);
    ASSERT_TRUE(a->coordSystem());
    EXPECT_EQ(a->coordSystem(), b->coordSystem());
    EXPECT_EQ(cache.get(csBytes), a->coordSystem());
    EXPECT_EQ(a->coordSystem()->epsg(), 4326);

    // A coordinate system saved under its bytes is the one the blobs get.
    TestCache primed;
    primed.save(csBytes, wgs84);
    EXPECT_EQ(decode(primed, tesGeo, false)->coordSystem(), wgs84);

    // Bytes that are no coordinate system give (and keep) an empty pointer.
    EXPECT_FALSE(cache.get(QByteArray("\x00\x00\x00\x00\x07", 5)));
    EXPECT_FALSE(cache.get(QByteArray()));
}

TEST(EngineCache, StoresAreBoundedAndClearedByClear)
{
    QByteArray blocks[3];
    int i = 0;
    for (const int epsg : {4326, 3857, 32633}) {
        auto point = std::make_shared<geometry::Point>(QPointF(1, 2));
        point->setCoordSystem(cs::CoordSysFactory::defaultCoordSysFactory()->createFromEpsg(epsg));
        EngineGeometry::serialize(point, [&](const auto&, const QByteArray& bytes) { blocks[i] = bytes; });
        ASSERT_FALSE(blocks[i++].isEmpty());
    }
    // A coordinate system saved under its bytes is what they give until
    // clear(); then the bytes are read again.
    TestCache cache;
    const auto saved = cs::CoordSysFactory::defaultCoordSysFactory()->createFromEpsg(3857);
    cache.save(blocks[0], saved);
    EXPECT_EQ(cache.get(blocks[0]), saved);
    cache.clear();
    ASSERT_TRUE(cache.get(blocks[0]));
    EXPECT_EQ(cache.get(blocks[0])->epsg(), 4326);

    // Two blocks at most: the third empties the store.
    EngineCacheLimits limits = cache.limits();
    limits.coordSystems = 2;
    cache.setLimits(limits);
    cache.save(blocks[0], saved);
    cache.get(blocks[1]);
    EXPECT_EQ(cache.get(blocks[0]), saved);
    cache.get(blocks[2]);
    EXPECT_NE(cache.get(blocks[0]), saved);

    // One geometry per shard (points of one SRID share a size, so a shard).
    cache.setUseGaiaCache(GaiaCacheAlways);
    limits.geometries = EngineCache::shardCount;
    cache.setLimits(limits);
    const QByteArray p1 = spatiaLitePoint(1, 1, 0);
    const QByteArray p2 = spatiaLitePoint(2, 2, 0);
    const auto kept = decode(cache, p1, true);
    EXPECT_EQ(decode(cache, p1, true), kept);
    decode(cache, p2, true);
    EXPECT_NE(decode(cache, p1, true), kept);
    // Blobs larger than a shard's byte bound are decoded, never kept.
    limits.geometryBytes = EngineCache::shardCount * std::size_t(p1.size() - 1);
    cache.setLimits(limits);
    EXPECT_NE(decode(cache, p1, true), decode(cache, p1, true));
}

class StyleCache final : public EngineStyleCache {
public:
    void clear() override {}
    bool contains(const QString&) const override { return false; }
    QByteArray style(const QString&) const override { return {}; }
    void setStyle(const QString&, const QByteArray&) override {}
};

TEST(EngineCache, StyleCachesRegularExpressionsAndTableLookup)
{
    TestCache cache;
    EXPECT_FALSE(cache.styleCache(QStringLiteral("roads")));
    auto first = std::make_shared<StyleCache>();
    auto second = std::make_shared<StyleCache>();
    cache.setStyleCache(QStringLiteral("roads"), first);
    EXPECT_EQ(cache.styleCache(QStringLiteral("roads")), first);
    EXPECT_FALSE(cache.styleCache(QStringLiteral("Roads")));
    cache.setStyleCache(QStringLiteral("roads"), second);
    EXPECT_EQ(cache.styleCache(QStringLiteral("roads")), second);
    cache.clear();
    EXPECT_EQ(cache.styleCache(QStringLiteral("roads")), second);
    cache.setStyleCache(QStringLiteral("roads"), nullptr);
    EXPECT_FALSE(cache.styleCache(QStringLiteral("roads")));
    cache.setStyleCache(QStringLiteral("nothing"), nullptr);
    EXPECT_FALSE(cache.styleCache(QStringLiteral("nothing")));

    const QRegularExpression re = cache.regularExpression(QStringLiteral("^a.c$"), QRegularExpression::CaseInsensitiveOption);
    EXPECT_TRUE(re.isValid());
    EXPECT_TRUE(re.match(QStringLiteral("AbC")).hasMatch());
    EXPECT_FALSE(cache.regularExpression(QStringLiteral("^a.c$"), QRegularExpression::NoPatternOption).match(QStringLiteral("AbC")).hasMatch());
    EXPECT_FALSE(cache.regularExpression(QStringLiteral("(unclosed"), QRegularExpression::NoPatternOption).isValid());

    cache.setTable(QStringLiteral("roads"), cache.get(3857));
    const EngineCache& base = cache;
    EXPECT_EQ(base.tableCoordSystem(QStringLiteral("roads")), cache.get(3857));
}

class Resembler final : public geometry::ResemblanceExtension {
public:
    explicit Resembler(geometry::ConstGeometryPtr answer, double newTolerance = -1)
        : answer(std::move(answer)), newTolerance(newTolerance) {}
    void setup(Setup& setup) override {
        toleranceAtSetup = setup.tolerance;
        if (newTolerance >= 0)
            setup.tolerance = newTolerance;
    }
    geometry::ConstGeometryPtr resemblance(const geometry::ConstGeometryPtr& g, const Setup& setup) const override {
        ++asked;
        lastTolerance = setup.tolerance;
        lastGeometry = g;
        return answer;
    }
    geometry::ConstGeometryPtr answer;
    double newTolerance;
    double toleranceAtSetup = -1;
    mutable double lastTolerance = -1;
    mutable geometry::ConstGeometryPtr lastGeometry;
    mutable int asked = 0;
};

TEST(EngineCache, ResemblanceAsksExtensionsInOrderThenFallsBack)
{
    TestCache cache;
    const auto line = std::make_shared<const geometry::LineString>(QVector<QPointF>{{0, 0}, {1, 0.0001}, {2, 0}, {3, 0}});
    EXPECT_FALSE(cache.tryResemblance(line));

    // Without extensions the geometry's own look-alike is used.
    const auto own = cache.resemblance(line);
    ASSERT_TRUE(own);
    EXPECT_NE(own, line);
    EXPECT_EQ(own->type(), geometry::GeometryType::LineString);
    EXPECT_LT(static_cast<const geometry::LineString&>(*own).points().size(), line->points().size());
    EXPECT_FALSE(cache.resemblance(nullptr));

    const auto answer = std::make_shared<const geometry::Point>(QPointF(1, 1));
    Resembler silent(nullptr, 2.5);
    Resembler speaking(answer);
    Resembler late(std::make_shared<const geometry::Point>(QPointF(2, 2)));
    cache.addResemblanceExtension(nullptr);
    cache.addResemblanceExtension(&silent);
    cache.addResemblanceExtension(&speaking);
    cache.addResemblanceExtension(&late);
    EXPECT_EQ(silent.toleranceAtSetup, 0.0);
    EXPECT_EQ(speaking.toleranceAtSetup, 2.5) << "extensions share one set-up";

    EXPECT_EQ(cache.tryResemblance(line), answer);
    EXPECT_EQ(cache.resemblance(line), answer);
    EXPECT_EQ(silent.asked, 2);
    EXPECT_EQ(speaking.asked, 2);
    EXPECT_EQ(late.asked, 0);
    EXPECT_EQ(speaking.lastGeometry, line);
    EXPECT_EQ(speaking.lastTolerance, 2.5);
}

} // namespace
} // namespace tessera::engine
