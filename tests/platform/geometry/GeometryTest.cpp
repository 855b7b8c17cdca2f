#include "GeometrySamples.h"

#include "platform/cs/CoordSystem.h"
#include "platform/geometry/Approximation.h"
#include "platform/geometry/Simplification.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace tessera;
using namespace tessera::geometry;

namespace {

const QVector<QPointF>& exterior(const Geometry& g)
{
    return static_cast<const Polygon&>(g).rings().at(0);
}

double ringArea(const Ring& ring)
{
    double twice = 0.0;
    for (int i = 0; i + 1 < ring.size(); ++i)
        twice += ring[i].x() * ring[i + 1].y() - ring[i + 1].x() * ring[i].y();
    return twice / 2.0;
}

// Distance of p from the ellipse through its normalised radius.
double ellipseResidual(const QPointF& p, const QPointF& c, double rx, double ry)
{
    const double u = (p.x() - c.x()) / rx;
    const double v = (p.y() - c.y()) / ry;
    return std::abs(std::sqrt(u * u + v * v) - 1.0);
}

} // namespace

TEST(Geometry, BoundingRectsAndEmptiness)
{
    EXPECT_EQ(Point(QPointF(3, 4)).boundingRect(), QRectF(3, 4, 0, 0));
    EXPECT_TRUE(Point().isEmpty());
    EXPECT_FALSE(Point(QPointF(0, 0)).isEmpty());
    EXPECT_EQ(MultiPoint(QVector<QPointF>{{1, 5}, {-2, 3}, {0, 7}}).boundingRect(), QRectF(-2, 3, 3, 4));
    // A vertical line has a box of zero width that still counts.
    EXPECT_EQ(LineString(QVector<QPointF>{{2, 0}, {2, 9}}).boundingRect(), QRectF(2, 0, 0, 9));
    // A hole outside the exterior still widens the box.
    EXPECT_EQ(Polygon(QVector<Ring>{test::square(0, 0, 1), test::square(5, 5, 1)}).boundingRect(),
              QRectF(0, 0, 6, 6));
    EXPECT_TRUE(Polygon().isEmpty());
    EXPECT_TRUE(Polygon(QVector<Ring>{Ring()}).isEmpty());
    EXPECT_TRUE(MultiPolygon().boundingRect().isNull());
    // Empty members neither count nor widen.
    GeometryCollection collection(std::vector<std::shared_ptr<Geometry>>{
        std::make_shared<Point>(), nullptr, std::make_shared<Point>(QPointF(-1, -1)),
        std::make_shared<LineString>(QVector<QPointF>{{2, 3}, {4, 3}})});
    EXPECT_FALSE(collection.isEmpty());
    EXPECT_EQ(collection.boundingRect(), QRectF(-1, -1, 5, 4));
    EXPECT_TRUE(GeometryCollection(std::vector<std::shared_ptr<Geometry>>{std::make_shared<Point>()}).isEmpty());

    // Arcs: only the quarter turns they pass widen the box.
    EXPECT_EQ(Arc(QRectF(0, 0, 4, 2), 0, 90).boundingRect(), QRectF(2, 1, 2, 1));
    const QRectF crossing = Arc(QRectF(0, 0, 4, 2), 350, 10).boundingRect();
    EXPECT_DOUBLE_EQ(crossing.right(), 4.0);
    EXPECT_LT(crossing.width(), 0.15);
    EXPECT_EQ(Arc(QRectF(0, 0, 4, 2), 45, 45).boundingRect(), QRectF(0, 0, 4, 2));
    EXPECT_EQ(Ellipse(QRectF(4, 4, -2, -2)).boundingRect(), QRectF(2, 2, 2, 2));
    EXPECT_TRUE(Ellipse(QRectF()).isEmpty());
}

TEST(Geometry, CloneIsDeepAndKeepsTheCoordinateSystem)
{
    const auto wgs84 = cs::CoordSysFactory::defaultCoordSysFactory()->createFromEpsg(4326);
    for (const auto& g : test::allSamples()) {
        g->setCoordSystem(wgs84);
        const auto copy = g->clone();
        EXPECT_TRUE(test::sameGeometry(*copy, *g)) << g->className().toStdString();
        EXPECT_EQ(copy->coordSystem(), wgs84);
    }
    auto member = std::make_shared<Point>(QPointF(1, 1));
    GeometryCollection collection(std::vector<std::shared_ptr<Geometry>>{member});
    auto copy = collection.clone();
    copy->transformPoints([](const QPointF& p) { return p * 10.0; });
    EXPECT_EQ(member->point(), QPointF(1, 1));
    EXPECT_EQ(copy->boundingRect(), QRectF(10, 10, 0, 0));
    GeometryCollection assigned;
    assigned = collection;
    assigned.transformPoints([](const QPointF& p) { return p * 2.0; });
    EXPECT_EQ(member->point(), QPointF(1, 1));
    EXPECT_EQ(assigned.boundingRect(), QRectF(2, 2, 0, 0));
}

TEST(Geometry, ArcApproximation)
{
    const auto wgs84 = cs::CoordSysFactory::defaultCoordSysFactory()->createFromEpsg(4326);
    // A quarter of a circle at the default precision: a quarter of the segments.
    Arc quarter(QRectF(-1, -1, 2, 2), 0, 90);
    quarter.setCoordSystem(wgs84);
    const auto linear = quarter.approximateGeometry(QSizeF());
    ASSERT_EQ(linear->type(), GeometryType::LineString);
    EXPECT_EQ(linear->coordSystem(), wgs84);
    const auto& pts = static_cast<const LineString&>(*linear).points();
    ASSERT_EQ(pts.size(), accurateSegmentsPerTurn() / 4 + 1);
    EXPECT_NEAR(pts.first().x(), 1.0, 1e-12);
    EXPECT_NEAR(pts.first().y(), 0.0, 1e-12);
    EXPECT_NEAR(pts.last().x(), 0.0, 1e-12);
    EXPECT_NEAR(pts.last().y(), 1.0, 1e-12);

    // On an ellipse the angles are directions from the centre: 45 degrees
    // ends on the diagonal, and the arc runs counter-clockwise across 0.
    Arc elliptic(QRectF(0, 0, 8, 2), 300, 45);
    const auto ep = static_cast<const LineString&>(*elliptic.approximateGeometry(QSizeF())).points();
    const QPointF c(4, 1);
    EXPECT_NEAR(ep.last().x() - c.x(), ep.last().y() - c.y(), 1e-12);
    EXPECT_GT(ep.last().x(), c.x());
    EXPECT_NEAR(std::atan2(ep.first().y() - c.y(), ep.first().x() - c.x()) * 180 / M_PI, -60.0, 1e-9);
    bool crossedZero = false;
    for (const QPointF& p : ep) {
        EXPECT_LT(ellipseResidual(p, c, 4, 1), 1e-12);
        crossedZero = crossedZero || (p.x() > 7.99 && std::abs(p.y() - 1) < 0.2);
    }
    EXPECT_TRUE(crossedZero);

    // A pixel size picks the precision: no chord strays more than a pixel.
    const double radius = 1000.0;
    Arc full(QRectF(-radius, -radius, 2 * radius, 2 * radius), 0, 360);
    const auto fine = static_cast<const LineString&>(*full.approximateGeometry(QSizeF(0.5, 0.5))).points();
    const auto coarse = static_cast<const LineString&>(*full.approximateGeometry(QSizeF(50, 50))).points();
    EXPECT_GT(fine.size(), 64);
    EXPECT_LT(coarse.size(), 16);
    for (const auto* pts : {&fine, &coarse}) {
        const double pixel = pts == &fine ? 0.5 : 50.0;
        for (int i = 0; i + 1 < pts->size(); ++i) {
            const QPointF mid = ((*pts)[i] + (*pts)[i + 1]) / 2.0;
            EXPECT_LE(radius - std::hypot(mid.x(), mid.y()), pixel + 1e-9);
        }
    }
    // Without a pixel: 1 - sin(h)/h, the area lost, at most a millionth.
    const double h = 2 * M_PI / segmentsPerTurn(QSizeF(-1, -1), 10.0);
    EXPECT_LE(1 - std::sin(h) / h, 1e-6);
    EXPECT_EQ(segmentsPerTurn(QSizeF(100, 100), 10.0), 8);
    EXPECT_EQ(segmentsPerTurn(QSizeF(1e-12, 1e-12), 10.0), 4096);
}

TEST(Geometry, SurfaceApproximations)
{
    const auto mercator = cs::CoordSysFactory::defaultCoordSysFactory()->createFromEpsg(3857);
    Ellipse ellipse(QRectF(0, 0, 6, 2));
    ellipse.setCoordSystem(mercator);
    const auto e = ellipse.approximateGeometry(QSizeF());
    ASSERT_EQ(e->type(), GeometryType::Polygon);
    EXPECT_EQ(e->coordSystem(), mercator);
    const Ring& ring = exterior(*e);
    ASSERT_EQ(ring.size(), accurateSegmentsPerTurn() + 1);
    EXPECT_EQ(ring.first(), ring.last());
    EXPECT_NEAR(ringArea(ring), M_PI * 3 * 1, M_PI * 3 * 1e-6);
    for (const QPointF& p : ring)
        EXPECT_LT(ellipseResidual(p, QPointF(3, 1), 3, 1), 1e-12);

    RoundedRectangle rounded(QRectF(0, 0, 10, 6), 2, 1);
    const auto r = rounded.approximateGeometry(QSizeF());
    const Ring& rr = exterior(*r);
    EXPECT_EQ(rr.first(), rr.last());
    EXPECT_EQ(r->boundingRect(), QRectF(0, 0, 10, 6));
    // The area lost at the corners is that of four corner pieces.
    EXPECT_NEAR(ringArea(rr), 60 - (4 - M_PI) * 2 * 1, 60e-6);
    // No corner point of the box itself is on the ring.
    EXPECT_FALSE(rr.contains(QPointF(0, 0)));
    // Without radii the rectangle itself; radii beyond half a side are clamped.
    EXPECT_EQ(exterior(*RoundedRectangle(QRectF(0, 0, 2, 1), 0, 0).approximateGeometry(QSizeF())).size(), 5);
    const auto clamped = RoundedRectangle(QRectF(0, 0, 2, 2), 5, 5).approximateGeometry(QSizeF());
    EXPECT_NEAR(ringArea(exterior(*clamped)), M_PI, 0.01);
    EXPECT_EQ(clamped->boundingRect(), QRectF(0, 0, 2, 2));

    Text text("label", QRectF(1, 2, 3, 4), 30);
    const auto t = text.approximateGeometry(QSizeF(1, 1));
    EXPECT_EQ(exterior(*t).size(), 5);
    EXPECT_EQ(t->boundingRect(), QRectF(1, 2, 3, 4));
    EXPECT_DOUBLE_EQ(ringArea(exterior(*t)), 12.0);

    // Radii follow the box when the coordinates are scaled.
    RoundedRectangle scaled(QRectF(0, 0, 10, 6), 2, 1);
    scaled.transformPoints([](const QPointF& p) { return QPointF(p.x() * 3, p.y() * 0.5); });
    EXPECT_EQ(scaled.rect(), QRectF(0, 0, 30, 3));
    EXPECT_DOUBLE_EQ(scaled.radiusX(), 6.0);
    EXPECT_DOUBLE_EQ(scaled.radiusY(), 0.5);
    // So do the boxes of the other shapes; angles and texts stay.
    const auto scale = [](const QPointF& p) { return QPointF(p.x() * 3, p.y() * 0.5); };
    Arc arc(QRectF(0, 0, 4, 2), 30, 200);
    Ellipse oval(QRectF(1, 2, 2, 4));
    Text label(QStringLiteral("x"), QRectF(1, 2, 3, 4), 15);
    for (Geometry* g : std::initializer_list<Geometry*>{&arc, &oval, &label})
        g->transformPoints(scale);
    EXPECT_EQ(arc.rect(), QRectF(0, 0, 12, 1));
    EXPECT_EQ(std::make_pair(arc.startAngle(), arc.endAngle()), std::make_pair(30.0, 200.0));
    EXPECT_EQ(oval.rect(), QRectF(3, 1, 6, 2));
    EXPECT_EQ(label.box(), QRectF(3, 1, 9, 2));
    EXPECT_EQ(std::make_pair(label.text(), label.angle()), std::make_pair(QStringLiteral("x"), 15.0));
}

TEST(Geometry, Linearized)
{
    const auto wgs84 = cs::CoordSysFactory::defaultCoordSysFactory()->createFromEpsg(4326);
    for (const auto& g : test::linearSamples()) {
        const ConstGeometryPtr shared = g;
        EXPECT_EQ(linearized(shared), shared);   // linear geometries are not copied
    }
    EXPECT_FALSE(linearized(nullptr));

    auto collection = std::make_shared<GeometryCollection>(std::vector<std::shared_ptr<Geometry>>{
        std::make_shared<Point>(QPointF(1, 1)),
        std::make_shared<GeometryCollection>(std::vector<std::shared_ptr<Geometry>>{
            std::make_shared<Arc>(QRectF(0, 0, 2, 2), 0, 180)})});
    collection->setCoordSystem(wgs84);
    const auto linear = linearized(collection);
    ASSERT_NE(linear, collection);
    EXPECT_EQ(linear->coordSystem(), wgs84);
    const auto& members = static_cast<const GeometryCollection&>(*linear).members();
    ASSERT_EQ(members.size(), 2u);
    EXPECT_EQ(members[0]->type(), GeometryType::Point);
    const auto& inner = static_cast<const GeometryCollection&>(*members[1]).members();
    ASSERT_EQ(inner.size(), 1u);
    EXPECT_EQ(inner[0]->type(), GeometryType::LineString);
    EXPECT_FALSE(inner[0]->coordSystem());
    // The original is untouched.
    EXPECT_EQ(static_cast<const GeometryCollection&>(*collection->members()[1]).members()[0]->type(),
              GeometryType::Arc);
}

TEST(Geometry, Resemblance)
{
    const auto mercator = cs::CoordSysFactory::defaultCoordSysFactory()->createFromEpsg(3857);
    // A line with noise far below a thousandth of its extent loses its noise.
    QVector<QPointF> noisy;
    for (int i = 0; i <= 1000; ++i)
        noisy.append(QPointF(i, (i % 2) * 0.001));
    LineString line(noisy);
    line.setCoordSystem(mercator);
    const auto simple = line.resemblance();
    ASSERT_EQ(simple->type(), GeometryType::LineString);
    EXPECT_EQ(static_cast<const LineString&>(*simple).points(), (QVector<QPointF>{{0, 0}, {1000, 0}}));
    EXPECT_EQ(simple->coordSystem(), mercator);
    // Bends larger than the tolerance stay.
    LineString bent(QVector<QPointF>{{0, 0}, {500, 100}, {1000, 0}});
    EXPECT_EQ(static_cast<const LineString&>(*bent.resemblance()).points().size(), 3);

    // A tiny hole goes, a tiny exterior stays whole.
    Polygon polygon(QVector<Ring>{test::square(0, 0, 1000), test::square(10, 10, 0.1)});
    const auto p = polygon.resemblance();
    ASSERT_EQ(static_cast<const Polygon&>(*p).rings().size(), 1);
    EXPECT_EQ(exterior(*p).size(), 5);
    MultiPolygon parts(QVector<QVector<Ring>>{{test::square(0, 0, 1000)}, {test::square(2000, 0, 0.01)}});
    const auto kept = static_cast<const MultiPolygon&>(*parts.resemblance()).polygons();
    ASSERT_EQ(kept.size(), 2);
    EXPECT_EQ(kept[1][0], test::square(2000, 0, 0.01));

    // Shapes resemble their linear form; points stay as they are.
    const auto e = Ellipse(QRectF(0, 0, 100, 100)).resemblance();
    EXPECT_EQ(e->type(), GeometryType::Polygon);
    EXPECT_GE(exterior(*e).size(), 4);
    EXPECT_TRUE(test::sameGeometry(*MultiPoint(QVector<QPointF>{{1, 1}, {1, 1.0001}}).resemblance(),
                                   MultiPoint(QVector<QPointF>{{1, 1}, {1, 1.0001}})));
    EXPECT_TRUE(Point().resemblance()->isEmpty());
    GeometryCollection collection(std::vector<std::shared_ptr<Geometry>>{
        std::make_shared<LineString>(noisy), std::make_shared<Arc>(QRectF(0, 0, 10, 10), 0, 90)});
    const auto members = static_cast<const GeometryCollection&>(*collection.resemblance()).members();
    ASSERT_EQ(members.size(), 2u);
    EXPECT_EQ(static_cast<const LineString&>(*members[0]).points().size(), 2);
    EXPECT_EQ(members[1]->type(), GeometryType::LineString);
}

TEST(Geometry, DouglasPeucker)
{
    const QVector<QPointF> line{{0, 0}, {1, 0.1}, {2, -0.1}, {3, 5}, {4, 6}, {5, 7}, {6, 8.1}, {7, 9}, {8, 9}, {9, 9}};
    EXPECT_EQ(simplifyDouglasPeucker(line, 1.0), (QVector<QPointF>{{0, 0}, {2, -0.1}, {3, 5}, {7, 9}, {9, 9}}));
    EXPECT_EQ(simplifyDouglasPeucker(line, 0.0), line);
    EXPECT_EQ(simplifyDouglasPeucker(line, 100.0), (QVector<QPointF>{{0, 0}, {9, 9}}));
    EXPECT_EQ(simplifyDouglasPeucker({{1, 1}}, 1.0).size(), 1);
    // A long line needs no deep recursion.
    QVector<QPointF> spiral;
    for (int i = 0; i < 200000; ++i)
        spiral.append(QPointF(i, double(i) * i * 1e-3));
    EXPECT_GT(simplifyDouglasPeucker(spiral, 0.01).size(), 2);
}
