#include "platform/geometry/Algorithms.h"

#include "TestShapes.h"

#include <gtest/gtest.h>
#include <cmath>
#include <stdexcept>

using namespace tessera::geometry;
using namespace tessera::geometry::testing;

namespace {

// The donut: a 10 x 10 square with a 6 x 6 hole in the middle.
ConstGeometryPtr donut()
{
    return polygon({box(0, 0, 10, 10), box(2, 2, 8, 8)});
}

// A U: concave, its centroid lies outside it.
ConstGeometryPtr uShape()
{
    return polygon({{{0, 0}, {6, 0}, {6, 6}, {5, 6}, {5, 1}, {1, 1}, {1, 6}, {0, 6}, {0, 0}}});
}

ConstGeometryPtr fitted(const ConstGeometryPtr& g, const CoordSystemPtr& cs)
{
    std::shared_ptr<Geometry> copy = g->clone();
    copy->setCoordSystem(cs);
    fitGeometry(*copy);
    return copy;
}

struct Row {
    const char* name;
    ConstGeometryPtr a, b;
    bool intersects, contains, containsCentroid;
};

void expectRows(const std::vector<Row>& rows)
{
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(Intersects(row.a, row.b), row.intersects);
        EXPECT_EQ(Intersects(row.b, row.a), row.intersects) << "swapped";
        EXPECT_EQ(Contains(row.a, row.b), row.contains);
        EXPECT_EQ(ContainsCentroid(row.a, row.b), row.containsCentroid);
    }
}

} // namespace

TEST(Predicates, PlanarShapes)
{
    const ConstGeometryPtr a = square(0, 0, 2, 2), inner = square(0.5, 0.5, 1.5, 1.5);
    const auto both = std::make_shared<GeometryCollection>(std::vector<std::shared_ptr<Geometry>>{
        std::make_shared<Point>(QPointF(0.5, 0.5)), std::make_shared<Point>(QPointF(7, 7))});
    expectRows({
        {"touching along a side", a, square(2, 0, 4, 2), true, false, false},
        {"touching at a corner", a, square(2, 2, 3, 3), true, false, false},
        // Its centroid is a's corner: on a counts.
        {"overlapping", a, square(1, 1, 3, 3), true, false, true},
        {"overlapping, centroid outside", a, square(1, 1, 3.5, 3.5), true, false, false},
        {"overlapping, centroid inside", a, square(1, 0.5, 2.5, 1.5), true, false, true},
        {"disjoint", a, square(5, 5, 6, 6), false, false, false}, {"inner", a, inner, true, true, true},
        // The swap matters: the inner square holds the outer one's centroid, not all of it.
        {"outer in inner", inner, a, true, false, true},
        {"outer in a smaller corner square", square(0, 0, 0.9, 0.9), a, true, false, false},
        {"itself", a, a, true, true, true},
        {"a point on the boundary is not inside", a, point(2, 1), true, false, true},
        {"a line inside", a, line({{0.5, 0.5}, {1.5, 1.5}}), true, true, true},
        {"donut, a point in the hole", donut(), point(5, 5), false, false, false},
        {"donut, a square in the hole", donut(), square(3, 3, 7, 7), false, false, false},
        {"donut, a point in the ring", donut(), point(1, 5), true, true, true},
        {"donut, a strip in the ring", donut(), square(0.5, 0.5, 1.5, 9.5), true, true, true},
        {"donut, a square over the hole", donut(), square(0.5, 0.5, 9.5, 9.5), true, false, false},
        // The donut's centroid lies in its own hole.
        {"donut and itself", donut(), donut(), true, true, false},
        {"a square in the hole and the donut", square(4, 4, 6, 6), donut(), false, false, true},
        {"an empty polygon", a, std::make_shared<Polygon>(), false, false, false},
        {"in an empty polygon", std::make_shared<Polygon>(), a, false, false, false},
        // A collection reaches GEOS member by member.
        {"a collection partly inside", a, both, true, false, false},
    });
    EXPECT_THROW(Intersects(a, nullptr), std::invalid_argument);
    EXPECT_THROW(Contains(nullptr, a), std::invalid_argument);
}

// Longitude and latitude: a shape whose edges cross +-180 is the one the
// measures read (each edge the shorter way round), also once fitted into
// [-180, 180]; 190 is -170. Other systems and none are planes.
TEST(Predicates, CoordinateSystemsAndTheAntimeridian)
{
    const CoordSystemPtr wgs84 = epsg(4326), mercator = epsg(3857);
    ASSERT_TRUE(wgs84 && mercator);
    // One degree square at the origin in Web Mercator metres (a pi / 180; on
    // the equator a degree of latitude is nearly as long as one of longitude).
    const double degree = 111319.490793;
    const ConstGeometryPtr mercatorCell = square(0, 0, degree, degree, mercator);
    const ConstGeometryPtr cell = square(9, 9, 11, 11, wgs84);
    std::vector<Row> rows = {
        {"a degree in mercator holds (0.5 0.5)", mercatorCell, point(0.5, 0.5, wgs84), true, true, true},
        {"a degree in mercator, (1.5 0.5)", mercatorCell, point(1.5, 0.5, wgs84), false, false, false},
        {"degrees around a mercator cell", square(-1, -1, 2, 2, wgs84), mercatorCell, true, true, true},
        {"degrees over part of a mercator cell", square(0.2, 0.2, 2, 2, wgs84), mercatorCell, true, false, true},
        // Without a system, a geometry is read in the other's, longitudes wrapped.
        {"a point at 370", cell, point(370, 10), true, true, true},
        {"a point at -350", cell, point(-350, 10), true, true, true},
        {"a square at 370", cell, square(369.5, 9.5, 370.5, 10.5), true, true, true},
        {"10 metres from (0 0)", cell, point(10, 10, mercator), false, false, false},
        {"no system: the plane", square(170, -10, 190, 10), point(180, 0), true, true, true},
        {"no system: no wrapping", square(170, -10, 190, 10), point(-175, 0), false, false, false},
    };
    for (const ConstGeometryPtr& across : {fitted(square(170, -10, 190, 10), wgs84), square(170, -10, 190, 10, wgs84)}) {
        rows.insert(rows.end(), {
            {"(0 0), far away", across, point(0, 0, wgs84), false, false, false},
            {"(-175 5)", across, point(-175, 5, wgs84), true, true, true},
            {"(175 5)", across, point(175, 5, wgs84), true, true, true},
            {"(185 -5)", across, fitted(point(185, -5), wgs84), true, true, true},
            {"(-160 0), just east", across, point(-160, 0, wgs84), false, false, false},
            {"a line over the antimeridian", across, fitted(line({{175, 0}, {185, 0}}), wgs84), true, true, true},
            {"a wider box over it", across, fitted(square(160, -5, 200, 5), wgs84), true, false, true},
            {"the box in the western half", across, square(-180, -10, -170, 10, wgs84), true, true, true},
        });
    }
    // In grads a full turn is 400: the box 190..210 holds -195 (205).
    const CoordSystemPtr grads = epsg(4807);
    ASSERT_TRUE(grads);
    rows.push_back({"grads: across 200", square(190, -10, 210, 10, grads), point(-195, 0, grads), true, true, true});
    expectRows(rows);
    // The nearest points come back in a's system.
    EXPECT_EQ(NearestPoints(cell, point(12, 10))->coordSystem(), wgs84);
}

TEST(Predicates, NearestPointsCentroidsAndPointsOnSurface)
{
    auto points = [](const GeometryPtr& g) {
        EXPECT_TRUE(g && g->type() == GeometryType::LineString);
        return g ? static_cast<const LineString&>(*g).points() : QVector<QPointF>();
    };
    // From a to b; shapes that meet give the same point twice.
    EXPECT_EQ(points(NearestPoints(square(0, 0, 1, 1), point(5, 0.5))), (QVector<QPointF>{{1, 0.5}, {5, 0.5}}));
    EXPECT_EQ(points(NearestPoints(point(5, 0.5), square(0, 0, 1, 1))), (QVector<QPointF>{{5, 0.5}, {1, 0.5}}));
    EXPECT_EQ(points(NearestPoints(square(0, 0, 2, 2), point(1, 1))), (QVector<QPointF>{{1, 1}, {1, 1}}));
    EXPECT_FALSE(NearestPoints(square(0, 0, 1, 1), std::make_shared<Polygon>()));

    const struct {
        const char* name;
        ConstGeometryPtr g;
        QPointF centroid;
    } centroids[] = {
        {"rectangle", square(0, 0, 2, 4), {1, 2}}, {"donut", donut(), {5, 5}},
        // The 6 x 6 square less the 4 x 5 gap: y = (36 * 3 - 20 * 3.5) / 16.
        {"U, in its gap", uShape(), {3, 2.375}}, {"line", line({{0, 0}, {4, 0}}), {2, 0}},
        {"ellipse, its centre", std::make_shared<Ellipse>(QRectF(10, 20, 4, 2)), {12, 21}},
    };
    for (const auto& row : centroids) {
        const QPointF c = centroid(row.g);
        EXPECT_NEAR(c.x(), row.centroid.x(), 1e-9) << row.name;
        EXPECT_NEAR(c.y(), row.centroid.y(), 1e-9) << row.name;
    }
    EXPECT_FALSE(Intersects(uShape(), point(3, 2.375)));
    EXPECT_THROW(centroid(std::make_shared<MultiPoint>()), std::runtime_error);
    EXPECT_THROW(centroid(nullptr), std::invalid_argument);

    // The point on surface is on the shape, where the centroid is not.
    for (const ConstGeometryPtr& g : {uShape(), line({{0, 0}, {4, 0}, {4, 4}}), point(3, 7)})
        EXPECT_TRUE(Intersects(g, PointOnSurface(g)));
    EXPECT_EQ(static_cast<const Point&>(*PointOnSurface(point(3, 7))).point(), QPointF(3, 7));
    const CoordSystemPtr wgs84 = epsg(4326);
    EXPECT_EQ(PointOnSurface(square(0, 0, 1, 1, wgs84))->coordSystem(), wgs84);
    EXPECT_FALSE(PointOnSurface(std::make_shared<Polygon>()));
    EXPECT_FALSE(PointOnSurface(nullptr));
}

TEST(Predicates, NormalizedAndFittedGeometries)
{
    // A bow tie crosses itself: made valid it is two triangles of area 1 each.
    const CoordSystemPtr mercator = epsg(3857);
    auto bowTie = std::make_shared<Polygon>(QVector<Ring>{{{0, 0}, {2, 2}, {2, 0}, {0, 2}, {0, 0}}});
    bowTie->setCoordSystem(mercator);
    const GeometryPtr valid = normalizedGeometry(bowTie);
    ASSERT_TRUE(valid);
    ASSERT_EQ(valid->type(), GeometryType::MultiPolygon);
    EXPECT_EQ(valid->coordSystem(), mercator);
    EXPECT_NEAR(cartesianArea(valid, "sq m"), 2.0, 1e-12);
    EXPECT_EQ(static_cast<const MultiPolygon&>(*valid).polygons().size(), 2);
    // A valid geometry comes back as a copy, curves included.
    const auto ellipse = std::make_shared<Ellipse>(QRectF(0, 0, 4, 2));
    const GeometryPtr same = normalizedGeometry(ellipse);
    ASSERT_TRUE(same);
    EXPECT_EQ(same->type(), GeometryType::Ellipse);
    EXPECT_NE(same.get(), ellipse.get());
    EXPECT_FALSE(normalizedGeometry(nullptr));

    // Longitudes are wrapped and latitudes clamped on the earth only.
    LineString l(QVector<QPointF>{{190, 95}, {-540, -100}, {45, 30}, {180, 90}});
    l.setCoordSystem(epsg(4326));
    fitGeometry(l);
    EXPECT_NEAR(l.points()[0].x(), -170, 1e-12);
    EXPECT_EQ(l.points()[0].y(), 90);
    EXPECT_NEAR(std::abs(l.points()[1].x()), 180, 1e-12);
    EXPECT_EQ(l.points()[1].y(), -90);
    EXPECT_EQ(l.points()[2], QPointF(45, 30));
    EXPECT_EQ(l.points()[3], QPointF(180, 90));
    for (const CoordSystemPtr& cs : {epsg(32631), CoordSystemPtr()}) {
        LineString plane(QVector<QPointF>{{190, 95}, {5e6, -1e7}});
        plane.setCoordSystem(cs);
        fitGeometry(plane);
        EXPECT_EQ(plane.points(), (QVector<QPointF>{{190, 95}, {5e6, -1e7}}));
    }
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
