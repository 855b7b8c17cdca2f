// A shape cut at +-180 whose continuous form overlaps itself is tested as
// stored, on every call: the first (plain GEOS form) and the later ones
// (prepared) must agree. The shape is Natural Earth's Fiji at 1:110m as
// GDAL's make-valid leaves it: a sliver ring from -180 to 180 round the map.
// Expected answers are those of PostGIS and SpatiaLite on the same shape.
#include "platform/geometry/Algorithms.h"

#include "TestShapes.h"

#include <gtest/gtest.h>

using namespace tessera::geometry;
using namespace tessera::geometry::testing;

TEST(AntimeridianOverlap, ShapeTestedAsStoredOnEveryCall)
{
    const CoordSystemPtr wgs84 = epsg(4326);
    ASSERT_TRUE(wgs84);
    auto fiji = std::make_shared<MultiPolygon>(QVector<QVector<Ring>>{
        {{{178.552786, -18.150422}, {177.933579, -18.287519}, {177.382774, -18.163963}, {177.285573, -17.723897},
          {177.670777, -17.380308}, {178.124381, -17.505557}, {178.372784, -17.339687}, {178.718387, -17.629114},
          {178.552786, -18.150422}}},
        {{{178.65237, -16.800968}, {179.362794, -16.801453}, {178.725587, -17.01133}, {178.65237, -16.800968}}},
        {{{-179.806435, -16.066882}, {180, -16.066882}, {179.413194, -16.378313}, {179.096391, -16.434168},
          {178.595986, -16.638967}, {178.65237, -16.800968}, {-180, -16.556032}, {-179.917199, -16.50187},
          {-179.806435, -16.066882}}},
        {{{-180, -16.066882}, {-179.794798, -16.021183}, {-179.806435, -16.066882}, {-180, -16.066882}}},
    });
    fiji->setCoordSystem(wgs84);
    const ConstGeometryPtr shape = fiji;
    const struct {
        const char* name;
        ConstGeometryPtr probe;
        bool held;
    } cases[] = {
        {"its centroid in degrees, inside the sliver", point(12.446555, -16.383212, wgs84), true},
        {"Viti Levu", point(178.0, -17.8, wgs84), true},
        {"the sea south of the sliver", point(12.446555, -17.5, wgs84), false},
        {"(0 0)", point(0, 0, wgs84), false},
    };
    for (int round = 0; round < 3; ++round) {
        for (const auto& c : cases) {
            EXPECT_EQ(ContainsCentroid(shape, c.probe), c.held) << c.name << ", round " << round;
            EXPECT_EQ(Contains(shape, c.probe), c.held) << c.name << ", round " << round;
        }
    }
}
