#include "GeometrySamples.h"

#include "platform/cs/CoordSystem.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace tessera;
using namespace tessera::geometry;

namespace {
cs::CoordSysFactory& factory() { return *cs::CoordSysFactory::defaultCoordSysFactory(); }
}

TEST(Transform, KnownCoordinates)
{
    const auto wgs84 = factory().createFromEpsg(4326);
    const auto mercator = factory().createFromEpsg(3857);
    ASSERT_TRUE(wgs84 && mercator);

    Point point(QPointF(10, 50));
    point.setCoordSystem(wgs84);
    const auto moved = point.transformed(mercator);
    ASSERT_EQ(moved->type(), GeometryType::Point);
    EXPECT_EQ(moved->coordSystem(), mercator);
    const QPointF p = static_cast<const Point&>(*moved).point();
    EXPECT_NEAR(p.x(), 1113194.9079, 1e-3);
    EXPECT_NEAR(p.y(), 6446275.8410, 1e-3);
    // The source is unchanged and the way back returns the start.
    EXPECT_EQ(point.point(), QPointF(10, 50));
    const QPointF back = static_cast<const Point&>(*moved->transformed(wgs84)).point();
    EXPECT_NEAR(back.x(), 10.0, 1e-9);
    EXPECT_NEAR(back.y(), 50.0, 1e-9);

    // Every vertex of every part, collections included.
    auto collection = std::make_shared<GeometryCollection>(std::vector<std::shared_ptr<Geometry>>{
        std::make_shared<LineString>(QVector<QPointF>{{0, 0}, {10, 50}}),
        std::make_shared<Polygon>(QVector<Ring>{{{10, 50}, {11, 50}, {11, 51}, {10, 50}}})});
    collection->setCoordSystem(wgs84);
    const auto movedCollection = collection->transformed(mercator);
    const auto& members = static_cast<const GeometryCollection&>(*movedCollection).members();
    const auto& line = static_cast<const LineString&>(*members[0]).points();
    EXPECT_NEAR(line[0].x(), 0.0, 1e-6);
    EXPECT_NEAR(line[1].x(), 1113194.9079, 1e-3);
    EXPECT_NEAR(static_cast<const Polygon&>(*members[1]).rings()[0][0].y(), 6446275.8410, 1e-3);

    // A PROJ-string system works like an EPSG one; shapes keep their kind
    // and get the box of their mapped corners.
    const auto utm = factory().createFromTaggedString("+proj=utm +zone=32 +datum=WGS84 +units=m +no_defs");
    ASSERT_TRUE(utm);
    Ellipse ellipse(QRectF(8, 48, 2, 2));
    ellipse.setCoordSystem(wgs84);
    const auto e = ellipse.transformed(utm);
    ASSERT_EQ(e->type(), GeometryType::Ellipse);
    const QRectF box = e->boundingRect();
    EXPECT_GT(box.width(), 140000);
    EXPECT_LT(box.width(), 160000);
    EXPECT_GT(box.top(), 5.3e6);

    // An empty point has nothing to transform.
    Point empty;
    empty.setCoordSystem(wgs84);
    EXPECT_TRUE(empty.transformed(mercator)->isEmpty());
}

TEST(Transform, Errors)
{
    const auto wgs84 = factory().createFromEpsg(4326);
    const auto mercator = factory().createFromEpsg(3857);
    Point nowhere(QPointF(1, 1));
    EXPECT_THROW(nowhere.transformed(mercator), std::runtime_error);
    nowhere.setCoordSystem(wgs84);
    EXPECT_THROW(nowhere.transformed(nullptr), std::runtime_error);

    // Beyond a pole there is no Mercator image: a clear error, not infinities.
    LineString pole(QVector<QPointF>{{0, 0}, {0, 95}});
    pole.setCoordSystem(wgs84);
    try {
        pole.transformed(mercator);
        FAIL() << "no error";
    } catch (const std::runtime_error& e) {
        EXPECT_NE(std::string(e.what()).find("cannot be transformed"), std::string::npos) << e.what();
    }

    // Into the system it already has: an equal copy.
    for (const auto& g : test::allSamples()) {
        g->setCoordSystem(mercator);
        const auto same = g->transformed(mercator);
        EXPECT_TRUE(test::sameGeometry(*same, *g)) << g->className().toStdString();
        EXPECT_EQ(same->coordSystem(), mercator);
    }
}
