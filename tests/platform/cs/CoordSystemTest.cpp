#include "platform/cs/CoordSystem.h"
#include "platform/cs/CoordTransformation.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <thread>
#include <vector>

using namespace tessera::cs;

namespace {
CoordSysFactory& factory() { return *CoordSysFactory::defaultCoordSysFactory(); }
}

TEST(CoordSystem, FromEpsgCodes)
{
    ASSERT_NE(CoordSysFactory::defaultCoordSysFactory(), nullptr);
    EXPECT_EQ(CoordSysFactory::defaultCoordSysFactory(), CoordSysFactory::defaultCoordSysFactory());

    const auto wgs84 = factory().createFromEpsg(4326);
    ASSERT_TRUE(wgs84);
    EXPECT_EQ(wgs84->epsg(), 4326);
    EXPECT_EQ(wgs84->taggedString(), "EPSG:4326");
    EXPECT_EQ(wgs84->name(), "WGS 84");
    EXPECT_TRUE(wgs84->isGeographic());
    EXPECT_FALSE(wgs84->isProjected());
    EXPECT_DOUBLE_EQ(wgs84->semiMajorAxis(), 6378137.0);
    EXPECT_NEAR(wgs84->inverseFlattening(), 298.257223563, 1e-9);
    EXPECT_NEAR(wgs84->semiMinorAxis(), 6356752.314245, 1e-3);
    EXPECT_NEAR(wgs84->axisUnitFactor(), M_PI / 180.0, 1e-15);
    EXPECT_TRUE(wgs84->wkt().startsWith("GEOGCRS"));

    const auto mercator = factory().createFromEpsg(3857);
    ASSERT_TRUE(mercator);
    EXPECT_TRUE(mercator->isProjected());
    EXPECT_FALSE(mercator->isGeographic());
    EXPECT_DOUBLE_EQ(mercator->axisUnitFactor(), 1.0);
    EXPECT_FALSE(mercator->isEquivalentTo(*wgs84));

    // A projected system in US survey feet; Clarke 1866 ellipsoid.
    const auto feet = factory().createFromEpsg(2227);
    ASSERT_TRUE(feet);
    EXPECT_NEAR(feet->axisUnitFactor(), 1200.0 / 3937.0, 1e-12);
    const auto nad27 = factory().createFromEpsg(4267);
    ASSERT_TRUE(nad27);
    EXPECT_NEAR(nad27->semiMajorAxis(), 6378206.4, 1e-6);

    // A sphere has no flattening.
    const auto sphere = factory().createFromTaggedString("+proj=longlat +R=6371000 +no_defs");
    ASSERT_TRUE(sphere);
    EXPECT_DOUBLE_EQ(sphere->inverseFlattening(), 0.0);
    EXPECT_DOUBLE_EQ(sphere->semiMinorAxis(), 6371000.0);

    EXPECT_FALSE(factory().createFromEpsg(0));
    EXPECT_FALSE(factory().createFromEpsg(-4326));
    EXPECT_FALSE(factory().createFromEpsg(999999));
    EXPECT_FALSE(factory().createFromEpsg(7030));   // an ellipsoid, not a system
}

TEST(CoordSystem, FromTaggedStrings)
{
    const auto tagged = factory().createFromTaggedString(" EPSG:32632 ");
    ASSERT_TRUE(tagged);
    EXPECT_EQ(tagged->epsg(), 32632);
    EXPECT_TRUE(tagged->isProjected());

    // PROJ strings, with and without "+type=crs", are identified.
    const auto utm = factory().createFromTaggedString("+proj=utm +zone=32 +datum=WGS84 +units=m +no_defs");
    ASSERT_TRUE(utm);
    EXPECT_EQ(utm->epsg(), 32632);
    EXPECT_EQ(utm->taggedString(), "EPSG:32632");
    EXPECT_TRUE(utm->isEquivalentTo(*tagged));
    const auto lonlat = factory().createFromTaggedString("+proj=longlat +datum=WGS84 +no_defs +type=crs");
    ASSERT_TRUE(lonlat);
    EXPECT_EQ(lonlat->epsg(), 4326);
    EXPECT_TRUE(lonlat->isGeographic());

    // WKT: the code of its identifier, or identification, or none.
    const auto fromWkt = factory().createFromTaggedString(factory().createFromEpsg(3857)->wkt());
    ASSERT_TRUE(fromWkt);
    EXPECT_EQ(fromWkt->epsg(), 3857);
    const QString custom = "+proj=tmerc +lat_0=0 +lon_0=13.3 +k=0.9996 +x_0=123456 +y_0=0 +ellps=GRS80 +units=m";
    const auto odd = factory().createFromTaggedString(custom);
    ASSERT_TRUE(odd);
    EXPECT_EQ(odd->epsg(), 0);
    EXPECT_TRUE(odd->isProjected());
    EXPECT_EQ(odd->taggedString(), odd->wkt());
    const auto again = factory().createFromTaggedString(odd->taggedString());
    ASSERT_TRUE(again);
    EXPECT_EQ(again->epsg(), 0);
    EXPECT_TRUE(again->isEquivalentTo(*odd));
    EXPECT_FALSE(again->isEquivalentTo(*utm));

    // Names must match exactly.
    const auto byName = factory().createFromTaggedString("WGS 84");
    ASSERT_TRUE(byName);
    EXPECT_EQ(byName->epsg(), 4326);
    const auto projectedByName = factory().createFromTaggedString("wgs 84 / pseudo-mercator");
    ASSERT_TRUE(projectedByName);
    EXPECT_EQ(projectedByName->epsg(), 3857);
    EXPECT_TRUE(projectedByName->isProjected());

    for (const char* garbage : {"", "foo", "gar", "   ", "EPSG:", "EPSG:999999", "not a coordinate system", "+proj=nonsense",
                                "+proj=merc +type=operation", "GEOGCRS[\"broken\"", "4326"})
        EXPECT_FALSE(factory().createFromTaggedString(QString::fromUtf8(garbage))) << garbage;
}

TEST(CoordSystem, KnownTransformation)
{
    const auto wgs84 = factory().createFromEpsg(4326);
    const auto mercator = factory().createFromEpsg(3857);
    ASSERT_TRUE(wgs84 && mercator);
    // x is longitude although EPSG:4326 puts latitude first.
    CoordTransformation forward(*wgs84, *mercator);
    const QPointF p = forward.transform(QPointF(10.0, 50.0));
    EXPECT_NEAR(p.x(), 1113194.9079, 1e-3);
    EXPECT_NEAR(p.y(), 6446275.8410, 1e-3);
    CoordTransformation back(*mercator, *wgs84);
    const QPointF q = back.transform(p);
    EXPECT_NEAR(q.x(), 10.0, 1e-9);
    EXPECT_NEAR(q.y(), 50.0, 1e-9);

    // Outside the projection's domain.
    EXPECT_THROW(forward.transform(QPointF(0.0, 95.0)), std::runtime_error);
}

TEST(CoordSystem, SharedBetweenThreads)
{
    const auto wgs84 = factory().createFromEpsg(4326);
    const auto utm = factory().createFromTaggedString("+proj=utm +zone=32 +datum=WGS84");
    ASSERT_TRUE(wgs84 && utm);
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 6; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < 50; ++i) {
                if (utm->epsg() != 32632 || !utm->isEquivalentTo(*factory().createFromEpsg(32632)))
                    ++failures;
                CoordTransformation tr(*wgs84, *utm);
                const double lon = 9.0 + 0.01 * (i + t);
                const QPointF p = tr.transform(QPointF(lon, 48.0));
                CoordTransformation back(*utm, *wgs84);
                const QPointF q = back.transform(p);
                if (std::abs(q.x() - lon) > 1e-8 || std::abs(q.y() - 48.0) > 1e-8)
                    ++failures;
            }
        });
    }
    for (auto& t : threads)
        t.join();
    EXPECT_EQ(failures.load(), 0);
}
