#include "platform/geometry/Algorithms.h"

#include "TestShapes.h"

#include <gtest/gtest.h>
#include <cmath>
#include <stdexcept>

using namespace tessera::geometry;
using namespace tessera::geometry::testing;

namespace {

// The donut: a 10 x 10 square with a 6 x 6 hole in the middle.
ConstGeometryPtr donut(CoordSystemPtr cs = {})
{
    auto p = std::make_shared<Polygon>(QVector<Ring>{box(0, 0, 10, 10), box(2, 2, 8, 8)});
    p->setCoordSystem(std::move(cs));
    return p;
}

// A U: concave, its centroid lies outside it.
ConstGeometryPtr uShape()
{
    return std::make_shared<Polygon>(QVector<Ring>{
        {{0, 0}, {6, 0}, {6, 6}, {5, 6}, {5, 1}, {1, 1}, {1, 6}, {0, 6}, {0, 0}}});
}

QPointF pointOf(const GeometryPtr& g)
{
    return static_cast<const Point&>(*g).point();
}

} // namespace

TEST(Predicates, TouchingOverlappingDisjointAndNested)
{
    const ConstGeometryPtr a = square(0, 0, 2, 2);
    const ConstGeometryPtr touching = square(2, 0, 4, 2);
    const ConstGeometryPtr corner = square(2, 2, 3, 3);
    const ConstGeometryPtr overlapping = square(1, 1, 3, 3);
    const ConstGeometryPtr disjoint = square(5, 5, 6, 6);
    const ConstGeometryPtr inner = square(0.5, 0.5, 1.5, 1.5);

    EXPECT_TRUE(Intersects(a, touching));
    EXPECT_TRUE(Intersects(a, corner));
    EXPECT_TRUE(Intersects(a, overlapping));
    EXPECT_FALSE(Intersects(a, disjoint));
    EXPECT_TRUE(Intersects(a, inner));
    EXPECT_TRUE(Intersects(inner, a));

    EXPECT_FALSE(Contains(a, touching));
    EXPECT_FALSE(Contains(a, overlapping));
    EXPECT_FALSE(Contains(a, disjoint));
    EXPECT_TRUE(Contains(a, inner));
    EXPECT_FALSE(Contains(inner, a));   // the swap matters
    EXPECT_TRUE(Contains(a, a));
    EXPECT_FALSE(Contains(a, point(2, 1)));   // the boundary is not inside
    EXPECT_TRUE(Contains(a, line({{0.5, 0.5}, {1.5, 1.5}})));

    EXPECT_FALSE(ContainsCentroid(a, touching));
    EXPECT_FALSE(ContainsCentroid(a, square(1, 1, 3.5, 3.5)));
    EXPECT_TRUE(ContainsCentroid(a, overlapping));   // its centroid is a's corner: on a counts
    EXPECT_FALSE(ContainsCentroid(a, disjoint));
    EXPECT_TRUE(ContainsCentroid(a, inner));
    // The inner square holds the outer one's centroid (1, 1), not all of it.
    EXPECT_TRUE(ContainsCentroid(inner, a));
    EXPECT_FALSE(ContainsCentroid(square(0, 0, 0.9, 0.9), a));
    // b only partly inside a, but its centroid is.
    EXPECT_TRUE(ContainsCentroid(a, square(1, 0.5, 2.5, 1.5)));
    EXPECT_FALSE(Contains(a, square(1, 0.5, 2.5, 1.5)));
}

TEST(Predicates, PolygonsWithHoles)
{
    const ConstGeometryPtr d = donut();
    EXPECT_FALSE(Intersects(d, point(5, 5)));             // in the hole
    EXPECT_FALSE(Intersects(d, square(3, 3, 7, 7)));
    EXPECT_TRUE(Intersects(d, point(1, 5)));              // in the ring
    EXPECT_TRUE(Contains(d, square(0.5, 0.5, 1.5, 9.5)));
    EXPECT_FALSE(Contains(d, square(0.5, 0.5, 9.5, 9.5))); // spans the hole
    // The donut's centroid lies in its own hole.
    EXPECT_FALSE(ContainsCentroid(d, d));
    EXPECT_TRUE(ContainsCentroid(square(4, 4, 6, 6), d));
    EXPECT_FALSE(Contains(square(4, 4, 6, 6), d));
    const QPointF c = centroid(d);
    EXPECT_NEAR(c.x(), 5.0, 1e-12);
    EXPECT_NEAR(c.y(), 5.0, 1e-12);
}

TEST(Predicates, MixedCoordinateSystems)
{
    const CoordSystemPtr wgs84 = epsg(4326);
    const CoordSystemPtr mercator = epsg(3857);
    ASSERT_TRUE(wgs84 && mercator);
    const double metresPerDegree = 6378137.0 * M_PI / 180.0;
    // One degree square at the origin, in Web Mercator metres (on the equator
    // a degree of latitude is nearly as long as one of longitude).
    const ConstGeometryPtr mercatorCell = square(0, 0, metresPerDegree, metresPerDegree, mercator);
    EXPECT_TRUE(Intersects(point(0.5, 0.5, wgs84), mercatorCell));
    EXPECT_TRUE(Contains(mercatorCell, point(0.5, 0.5, wgs84)));
    EXPECT_FALSE(Intersects(point(1.5, 0.5, wgs84), mercatorCell));
    EXPECT_TRUE(Contains(square(-1, -1, 2, 2, wgs84), mercatorCell));
    EXPECT_FALSE(Contains(square(0.2, 0.2, 2, 2, wgs84), mercatorCell));

    // Without a system, a geometry is read in the other's, longitudes wrapped.
    const ConstGeometryPtr cell = square(9, 9, 11, 11, wgs84);
    EXPECT_TRUE(Intersects(cell, point(370, 10)));
    EXPECT_TRUE(Intersects(point(-350, 10), cell));
    EXPECT_TRUE(ContainsCentroid(cell, square(369.5, 9.5, 370.5, 10.5)));
    EXPECT_FALSE(Intersects(cell, point(10, 10, mercator)));   // 10 metres from (0, 0)

    // The nearest points come back in a's system.
    const GeometryPtr nearest = NearestPoints(cell, point(12, 10));
    ASSERT_TRUE(nearest);
    EXPECT_EQ(nearest->coordSystem(), wgs84);
}

TEST(Predicates, NearestPointsRunFromAToB)
{
    const GeometryPtr g = NearestPoints(square(0, 0, 1, 1), point(5, 0.5));
    ASSERT_TRUE(g);
    ASSERT_EQ(g->type(), GeometryType::LineString);
    const QVector<QPointF>& pts = static_cast<const LineString&>(*g).points();
    ASSERT_EQ(pts.size(), 2);
    EXPECT_EQ(pts[0], QPointF(1, 0.5));
    EXPECT_EQ(pts[1], QPointF(5, 0.5));
    const GeometryPtr back = NearestPoints(point(5, 0.5), square(0, 0, 1, 1));
    EXPECT_EQ(static_cast<const LineString&>(*back).points().front(), QPointF(5, 0.5));
    // Shapes that meet: both points are the same.
    const GeometryPtr meetLine = NearestPoints(square(0, 0, 2, 2), point(1, 1));
    const QVector<QPointF>& meet = static_cast<const LineString&>(*meetLine).points();
    EXPECT_EQ(meet[0], meet[1]);
    EXPECT_FALSE(NearestPoints(square(0, 0, 1, 1), std::make_shared<Polygon>()));
}

TEST(Predicates, CentroidAndPointOnSurface)
{
    const QPointF c = centroid(square(0, 0, 2, 4));
    EXPECT_DOUBLE_EQ(c.x(), 1.0);
    EXPECT_DOUBLE_EQ(c.y(), 2.0);
    // The U's arithmetic centroid is in its gap; the point on surface is not.
    const QPointF uc = centroid(uShape());
    EXPECT_NEAR(uc.x(), 3.0, 1e-12);
    EXPECT_FALSE(Intersects(uShape(), point(uc.x(), uc.y())));
    const GeometryPtr onSurface = PointOnSurface(uShape());
    ASSERT_TRUE(onSurface);
    EXPECT_TRUE(Contains(uShape(), onSurface));
    // Lines and points too.
    const QPointF lc = centroid(line({{0, 0}, {4, 0}}));
    EXPECT_EQ(lc, QPointF(2, 0));
    EXPECT_TRUE(Intersects(line({{0, 0}, {4, 0}, {4, 4}}), PointOnSurface(line({{0, 0}, {4, 0}, {4, 4}}))));
    EXPECT_EQ(pointOf(PointOnSurface(point(3, 7))), QPointF(3, 7));
    // Curves: the centre of a circle.
    const QPointF cc = centroid(std::make_shared<Ellipse>(QRectF(10, 20, 4, 2)));
    EXPECT_NEAR(cc.x(), 12.0, 1e-9);
    EXPECT_NEAR(cc.y(), 21.0, 1e-9);
    // The coordinate system is kept.
    const CoordSystemPtr wgs84 = epsg(4326);
    EXPECT_EQ(PointOnSurface(square(0, 0, 1, 1, wgs84))->coordSystem(), wgs84);

    // Nothing to point at.
    EXPECT_FALSE(PointOnSurface(std::make_shared<Polygon>()));
    EXPECT_FALSE(PointOnSurface(nullptr));
    EXPECT_THROW(centroid(std::make_shared<MultiPoint>()), std::runtime_error);
    EXPECT_THROW(centroid(nullptr), std::invalid_argument);
}

TEST(Predicates, NormalizedGeometryIsValid)
{
    // A bow tie crosses itself: made valid it is two triangles of area 1 each.
    const CoordSystemPtr mercator = epsg(3857);
    auto bowTie = std::make_shared<Polygon>(QVector<Ring>{{{0, 0}, {2, 2}, {2, 0}, {0, 2}, {0, 0}}});
    bowTie->setCoordSystem(mercator);
    const GeometryPtr valid = normalizedGeometry(bowTie);
    ASSERT_TRUE(valid);
    EXPECT_EQ(valid->type(), GeometryType::MultiPolygon);
    EXPECT_EQ(valid->coordSystem(), mercator);
    EXPECT_NEAR(cartesianArea(valid, "sq m"), 2.0, 1e-12);
    EXPECT_EQ(static_cast<const MultiPolygon&>(*valid).polygons().size(), 2);

    // A valid geometry comes back as it is, curves included.
    const auto ellipse = std::make_shared<Ellipse>(QRectF(0, 0, 4, 2));
    const GeometryPtr same = normalizedGeometry(ellipse);
    ASSERT_TRUE(same);
    EXPECT_EQ(same->type(), GeometryType::Ellipse);
    EXPECT_NE(same.get(), ellipse.get());
    EXPECT_FALSE(normalizedGeometry(nullptr));
}

TEST(Predicates, FitGeometryWrapsLongitudesAndClampsLatitudes)
{
    const CoordSystemPtr wgs84 = epsg(4326);
    const CoordSystemPtr utm = epsg(32631);
    ASSERT_TRUE(wgs84 && utm);
    LineString l(QVector<QPointF>{{190, 95}, {-540, -100}, {45, 30}, {180, 90}});
    l.setCoordSystem(wgs84);
    fitGeometry(l);
    const QVector<QPointF>& pts = l.points();
    EXPECT_NEAR(pts[0].x(), -170, 1e-12);
    EXPECT_EQ(pts[0].y(), 90);
    EXPECT_NEAR(std::abs(pts[1].x()), 180, 1e-12);
    EXPECT_EQ(pts[1].y(), -90);
    EXPECT_EQ(pts[2], QPointF(45, 30));
    EXPECT_EQ(pts[3], QPointF(180, 90));

    // Projected coordinates and those without a system stay as they are.
    LineString projected(QVector<QPointF>{{190, 95}, {5e6, -1e7}});
    projected.setCoordSystem(utm);
    fitGeometry(projected);
    EXPECT_EQ(projected.points(), (QVector<QPointF>{{190, 95}, {5e6, -1e7}}));
    LineString bare(QVector<QPointF>{{190, 95}});
    fitGeometry(bare);
    EXPECT_EQ(bare.points().front(), QPointF(190, 95));
}

// Longitude and latitude: a shape whose edges cross +-180 is the one the
// measures read (each edge the shorter way round), also once fitted into
// [-180, 180]; 190 is -170.
TEST(Predicates, ShapesAcrossTheAntimeridian)
{
    const CoordSystemPtr wgs84 = epsg(4326);
    ASSERT_TRUE(wgs84);
    auto fitted = [&](const ConstGeometryPtr& g) {
        std::shared_ptr<Geometry> copy = g->clone();
        copy->setCoordSystem(wgs84);
        fitGeometry(*copy);
        return ConstGeometryPtr(copy);
    };
    const ConstGeometryPtr across = fitted(square(170, -10, 190, 10));
    const ConstGeometryPtr asStored = square(170, -10, 190, 10, wgs84);
    const struct {
        const char* name;
        ConstGeometryPtr b;
        bool intersects, contains, containsCentroid;
    } cases[] = {
        {"(0 0), far away", point(0, 0, wgs84), false, false, false},
        {"(-175 5)", point(-175, 5, wgs84), true, true, true},
        {"(175 5)", point(175, 5, wgs84), true, true, true},
        {"(185 -5)", fitted(point(185, -5)), true, true, true},
        {"(-160 0), just east", point(-160, 0, wgs84), false, false, false},
        {"a line over the antimeridian", fitted(line({{175, 0}, {185, 0}})), true, true, true},
        {"a box over it, wider", fitted(square(160, -5, 200, 5)), true, false, true},
        {"the box in the western half", square(-180, -10, -170, 10, wgs84), true, true, true},
    };
    for (const ConstGeometryPtr& a : {across, asStored}) {
        for (const auto& c : cases) {
            EXPECT_EQ(Intersects(a, c.b), c.intersects) << c.name;
            EXPECT_EQ(Intersects(c.b, a), c.intersects) << c.name << ", swapped";
            EXPECT_EQ(Contains(a, c.b), c.contains) << c.name;
            EXPECT_EQ(ContainsCentroid(a, c.b), c.containsCentroid) << c.name;
        }
    }
    // Without a coordinate system, or projected, the plane is the plane.
    EXPECT_TRUE(Intersects(square(170, -10, 190, 10), point(180, 0)));
    EXPECT_FALSE(Intersects(square(170, -10, 190, 10), point(-175, 0)));
}

TEST(Predicates, EmptyAndMissingOperands)
{
    const ConstGeometryPtr a = square(0, 0, 1, 1);
    const ConstGeometryPtr empty = std::make_shared<Polygon>();
    EXPECT_FALSE(Intersects(a, empty));
    EXPECT_FALSE(Contains(a, empty));
    EXPECT_FALSE(Contains(empty, a));
    EXPECT_FALSE(ContainsCentroid(a, empty));
    EXPECT_THROW(Intersects(a, nullptr), std::invalid_argument);
    EXPECT_THROW(Contains(nullptr, a), std::invalid_argument);
    // A collection reaches GEOS member by member.
    const auto both = std::make_shared<GeometryCollection>(std::vector<std::shared_ptr<Geometry>>{
        std::make_shared<Point>(QPointF(0.5, 0.5)), std::make_shared<Point>(QPointF(7, 7))});
    EXPECT_TRUE(Intersects(a, both));
    EXPECT_FALSE(Contains(a, both));
}

// A geometry tested again and again (the outer side of a join) is answered
// from its remembered, prepared GEOS form: the answers must not change, and a
// new geometry at a freed one's address must not inherit its form.
TEST(Predicates, RepeatedOperandGivesTheSameAnswers)
{
    const ConstGeometryPtr holder = donut();
    const std::vector<std::pair<ConstGeometryPtr, bool>> probes = {
        {point(1, 1), true}, {point(5, 5), false}, {square(1, 1, 9, 9), true},
        {square(20, 20, 21, 21), false}, {line({{5, 5}, {5, 12}}), true}, {point(10, 5), true},
    };
    for (int round = 0; round < 3; ++round) {
        for (const auto& [probe, intersects] : probes)
            EXPECT_EQ(Intersects(holder, probe), intersects) << "round " << round;
        EXPECT_TRUE(Contains(holder, point(1, 1)));
        EXPECT_FALSE(Contains(holder, point(5, 5)));
        EXPECT_FALSE(ContainsCentroid(holder, square(4, 4, 6, 6)));
        EXPECT_TRUE(ContainsCentroid(holder, square(0, 0, 2, 2)));
    }
    for (int i = 0; i < 20; ++i) {
        // Freed and reallocated shapes, likely at reused addresses.
        const ConstGeometryPtr shape = i % 2 ? square(0, 0, 1, 1) : square(100, 100, 101, 101);
        EXPECT_EQ(Intersects(shape, point(0.5, 0.5)), i % 2 == 1) << i;
        EXPECT_EQ(Intersects(shape, point(0.5, 0.5)), i % 2 == 1) << i;
    }
}
