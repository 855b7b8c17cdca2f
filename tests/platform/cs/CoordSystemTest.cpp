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

// WGS 84 by its parameters, longitude first, under a name of its own: no
// EPSG code, yet the same system as EPSG:4326 but for the axis order.
const char* const wgs84ByWkt =
    "GEOGCRS[\"my own\",DATUM[\"World Geodetic System 1984\",ELLIPSOID[\"WGS 84\",6378137,298.257223563]],"
    "CS[ellipsoidal,2],AXIS[\"lon\",east],AXIS[\"lat\",north],ANGLEUNIT[\"degree\",0.0174532925199433]]";
// The same ellipsoid under a datum of its own: another system.
const char* const otherDatumByWkt =
    "GEOGCRS[\"my own\",DATUM[\"my datum\",ELLIPSOID[\"WGS 84\",6378137,298.257223563]],"
    "CS[ellipsoidal,2],AXIS[\"lon\",east],AXIS[\"lat\",north],ANGLEUNIT[\"degree\",0.0174532925199433]]";
const char* const customTmerc = "+proj=tmerc +lat_0=0 +lon_0=13.3 +k=0.9996 +x_0=123456 +y_0=0 +ellps=GRS80 +units=m";

} // namespace

TEST(CoordSystem, DescribesItsDefinition)
{
    const struct {
        const char* name;
        const char* definition;
        int epsg;
        bool geographic, projected;
        double semiMajor, inverseFlattening, unitFactor;
    } rows[] = {
        {"WGS 84", "EPSG:4326", 4326, true, false, 6378137.0, 298.257223563, M_PI / 180},
        // Three dimensions are still longitude and latitude.
        {"WGS 84 3D", "EPSG:4979", 4979, true, false, 6378137.0, 298.257223563, M_PI / 180},
        {"web mercator", "EPSG:3857", 3857, false, true, 6378137.0, 298.257223563, 1.0},
        {"NAD27 (Clarke 1866)", "EPSG:4267", 4267, true, false, 6378206.4, 294.978698214, M_PI / 180},
        {"California zone 3 in US survey feet", "EPSG:2227", 2227, false, true, 6378137.0, 298.257222101, 1200.0 / 3937.0},
        {"UTM 32N with blanks", " EPSG:32632 ", 32632, false, true, 6378137.0, 298.257223563, 1.0},
        // PROJ strings, with and without "+type=crs", are identified.
        {"UTM 32N as a PROJ string", "+proj=utm +zone=32 +datum=WGS84 +units=m +no_defs", 32632, false, true, 6378137.0,
         298.257223563, 1.0},
        {"PROJ string of a CRS", "+proj=longlat +datum=WGS84 +no_defs +type=crs", 4326, true, false, 6378137.0,
         298.257223563, M_PI / 180},
        // Names must match exactly, case aside.
        {"by name", "WGS 84", 4326, true, false, 6378137.0, 298.257223563, M_PI / 180},
        {"projected by name", "wgs 84 / pseudo-mercator", 3857, false, true, 6378137.0, 298.257223563, 1.0},
        {"custom transverse mercator", customTmerc, 0, false, true, 6378137.0, 298.257222101, 1.0},
        // A sphere has no flattening.
        {"sphere", "+proj=longlat +R=6371000 +no_defs", 0, true, false, 6371000.0, 0.0, M_PI / 180},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const auto cs = factory().createFromTaggedString(row.definition);
        ASSERT_TRUE(cs);
        EXPECT_EQ(cs->epsg(), row.epsg);
        EXPECT_EQ(cs->isGeographic(), row.geographic);
        EXPECT_EQ(cs->isProjected(), row.projected);
        EXPECT_NEAR(cs->semiMajorAxis(), row.semiMajor, 1e-6);
        EXPECT_NEAR(cs->inverseFlattening(), row.inverseFlattening, 1e-9);
        EXPECT_NEAR(cs->axisUnitFactor(), row.unitFactor, 1e-12);
        EXPECT_EQ(cs->taggedString(), row.epsg ? QStringLiteral("EPSG:%1").arg(row.epsg) : cs->wkt());
    }
    const auto wgs84 = factory().createFromEpsg(4326);
    ASSERT_TRUE(wgs84);
    EXPECT_EQ(wgs84->name(), "WGS 84");
    EXPECT_NEAR(wgs84->semiMinorAxis(), 6356752.314245, 1e-3);
    EXPECT_TRUE(wgs84->wkt().startsWith("GEOGCRS"));
    EXPECT_EQ(factory().createFromEpsg(4326), wgs84);
    EXPECT_DOUBLE_EQ(factory().createFromTaggedString("+proj=longlat +R=6371000 +no_defs")->semiMinorAxis(), 6371000.0);
    // WKT gives the code of its identifier; WKT without one is read back as such.
    EXPECT_EQ(factory().createFromTaggedString(factory().createFromEpsg(3857)->wkt())->epsg(), 3857);
    const auto custom = factory().createFromTaggedString(customTmerc);
    EXPECT_EQ(factory().createFromTaggedString(custom->taggedString())->epsg(), 0);

    for (const int code : {0, -4326, 999999, 7030 /* an ellipsoid, not a system */})
        EXPECT_FALSE(factory().createFromEpsg(code)) << code;
    for (const char* garbage : {"", "foo", "gar", "   ", "EPSG:", "EPSG:999999", "not a coordinate system", "+proj=nonsense",
                                "+proj=merc +type=operation", "GEOGCRS[\"broken\"", "4326"})
        EXPECT_FALSE(factory().createFromTaggedString(QString::fromUtf8(garbage))) << garbage;
}

// Equivalence follows the definitions: an EPSG code on one side only
// decides nothing.
TEST(CoordSystem, EquivalenceFollowsTheDefinitions)
{
    const struct {
        const char* name;
        const char* a;
        const char* b;
        bool equivalent;
    } rows[] = {
        {"same code", "EPSG:4326", "EPSG:4326", true}, {"different codes", "EPSG:4326", "EPSG:3857", false},
        {"2D and 3D", "EPSG:4326", "EPSG:4979", false},
        {"code and an identified PROJ string", "EPSG:32632", "+proj=utm +zone=32 +datum=WGS84 +units=m", true},
        {"code and the same system in WKT without a code", "EPSG:4326", wgs84ByWkt, true},
        {"code and the same system under another authority", "EPSG:4326", "OGC:CRS84", true},
        {"3D code and the same 3D system under another authority", "EPSG:4979", "OGC:CRS84h", true},
        {"code and another datum in WKT without a code", "EPSG:4326", otherDatumByWkt, false},
        {"code and a bare ellipsoid", "EPSG:4326", "+proj=longlat +ellps=WGS84", false},
        {"code and a custom projection", "EPSG:32632", customTmerc, false},
        {"two definitions without codes, the same", customTmerc,
         "+proj=tmerc +lat_0=0 +lon_0=13.3 +k=0.9996 +x_0=123456 +y_0=0 +ellps=GRS80 +units=m +no_defs", true},
        {"two definitions without codes, different", wgs84ByWkt, otherDatumByWkt, false},
    };
    int oneSidedAndEquivalent = 0;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const auto a = factory().createFromTaggedString(row.a);
        const auto b = factory().createFromTaggedString(row.b);
        ASSERT_TRUE(a && b);
        EXPECT_EQ(a->isEquivalentTo(*b), row.equivalent);
        EXPECT_EQ(b->isEquivalentTo(*a), row.equivalent);
        oneSidedAndEquivalent += row.equivalent && (a->epsg() == 0) != (b->epsg() == 0);
    }
    // Which definitions PROJ identifies depends on its version; some here
    // must stay without a code, or the case above is not reached.
    EXPECT_GT(oneSidedAndEquivalent, 0);
}

// Systems and transformations are shared between threads; each thread uses
// a PROJ context of its own (known coordinates: TransformTest).
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
                const double lon = 9.0 + 0.01 * (i + t);
                const QPointF p = CoordTransformation(*wgs84, *utm).transform(QPointF(lon, 48.0));
                const QPointF q = CoordTransformation(*utm, *wgs84).transform(p);
                if (std::abs(q.x() - lon) > 1e-8 || std::abs(q.y() - 48.0) > 1e-8)
                    ++failures;
            }
        });
    }
    for (auto& t : threads)
        t.join();
    EXPECT_EQ(failures.load(), 0);
}
