#include "platform/geometry/MifService.h"
#include "platform/geometry/Algorithms.h"

#include <gtest/gtest.h>
#include <cmath>

using namespace tessera::geometry;

namespace {

GeometryPtr load(const QString& text, MifSetup setup = {})
{
    return MifService().load(text, setup);
}

// g as its concrete class, checked (the pointer keeps the geometry alive).
template <class T>
std::shared_ptr<const T> as(const GeometryPtr& g, GeometryType type)
{
    EXPECT_TRUE(g);
    if (!g || g->type() != type) {
        ADD_FAILURE() << "wrong kind of geometry";
        return {};
    }
    return std::static_pointer_cast<const T>(g);
}

// The message of the MifError that reading `text` raises.
std::string errorOf(const QString& text, MifSetup setup = {})
{
    try {
        load(text, setup);
    } catch (const MifError& e) {
        return e.what();
    }
    return "no error";
}

} // namespace

TEST(MifReader, PointsAndLines)
{
    EXPECT_EQ(as<Point>(load("Point 1.5 -2"), GeometryType::Point)->point(), QPointF(1.5, -2));
    EXPECT_EQ(as<Point>(load("  point\n 3 4\n    Symbol (35,0,12)\n"), GeometryType::Point)->point(), QPointF(3, 4));
    EXPECT_EQ(as<LineString>(load("LINE 0 0 10 5\nPen (1,2,0)"), GeometryType::LineString)->points(),
              (QVector<QPointF>{{0, 0}, {10, 5}}));
    EXPECT_EQ(as<LineString>(load("Pline 3\n0 0\n1 1\n2 0\nPen (1,2,0)\nSmooth"), GeometryType::LineString)->points(),
              (QVector<QPointF>{{0, 0}, {1, 1}, {2, 0}}));
    const auto multi = as<MultiLineString>(load("Pline Multiple 2\n 2\n0 0\n1 0\n 3\n5 5\n6 6\n7 5"),
                                            GeometryType::MultiLineString);
    ASSERT_EQ(multi->lines().size(), 2);
    EXPECT_EQ(multi->lines()[1], (QVector<QPointF>{{5, 5}, {6, 6}, {7, 5}}));
    EXPECT_EQ(as<MultiPoint>(load("MultiPoint 3\n1 1\n2 2\n3 3"), GeometryType::MultiPoint)->points().size(), 3);
    // None is no geometry at all.
    EXPECT_FALSE(load("None"));
}

TEST(MifReader, RegionsGroupRingsIntoPolygons)
{
    // One ring, closed by the reader.
    const auto one = as<Polygon>(load("Region 1\n 4\n0 0\n4 0\n4 4\n0 4\nPen (1,2,0)\nBrush (2,16777215,0)\nCenter 2 2"),
                                  GeometryType::Polygon);
    ASSERT_EQ(one->rings().size(), 1);
    EXPECT_EQ(one->rings()[0].size(), 5);
    EXPECT_EQ(one->rings()[0].front(), one->rings()[0].back());

    // A ring inside another is its hole; a ring inside the hole is an island.
    const GeometryPtr nested = load("Region 3\n5\n0 0\n10 0\n10 10\n0 10\n0 0\n"
                                    "4\n2 2\n8 2\n8 8\n2 8\n"
                                    "4\n4 4\n6 4\n6 6\n4 6\n");
    const auto islands = as<MultiPolygon>(nested, GeometryType::MultiPolygon);
    ASSERT_EQ(islands->polygons().size(), 2);
    EXPECT_EQ(islands->polygons()[0].size(), 2);
    EXPECT_EQ(islands->polygons()[1].size(), 1);
    EXPECT_DOUBLE_EQ(cartesianArea(nested, "sq m"), 100 - 36 + 4);

    // Rings side by side are separate polygons; the order of rings does not matter.
    const auto apart = as<MultiPolygon>(load("Region 2\n4\n5 5\n6 5\n6 6\n5 6\n4\n0 0\n1 0\n1 1\n0 1"),
                                         GeometryType::MultiPolygon);
    EXPECT_EQ(apart->polygons().size(), 2);
    const auto holeFirst = as<Polygon>(load("Region 2\n4\n2 2\n3 2\n3 3\n2 3\n4\n0 0\n9 0\n9 9\n0 9"),
                                        GeometryType::Polygon);
    ASSERT_EQ(holeFirst->rings().size(), 2);
    EXPECT_EQ(holeFirst->rings()[0][1], QPointF(9, 0));
}

TEST(MifReader, ShapesAndCollections)
{
    const auto rect = as<Polygon>(load("Rect 4 3 0 1"), GeometryType::Polygon);
    EXPECT_DOUBLE_EQ(cartesianArea(load("Rect 4 3 0 1"), "sq m"), 8.0);
    EXPECT_EQ(rect->boundingRect(), QRectF(0, 1, 4, 2));
    EXPECT_EQ(as<Ellipse>(load("Ellipse 0 0 4 2\nPen (1,2,0)\nBrush (1,0,0)"), GeometryType::Ellipse)->rect(),
              QRectF(0, 0, 4, 2));
    const auto rounded = as<RoundedRectangle>(load("RoundRect 0 0 10 6 2"), GeometryType::RoundedRectangle);
    EXPECT_EQ(rounded->rect(), QRectF(0, 0, 10, 6));
    EXPECT_DOUBLE_EQ(rounded->radiusX(), 1.0);

    const auto text = as<Text>(load("Text\n    \"Main \"\"Street\"\"\"\n    1 2 11 4\n"
                                     "    Font (\"Arial\",0,0,0)\n    Spacing 1.5\n    Justify Center\n"
                                     "    Angle 30\n    Label Line Arrow 5 5"),
                                GeometryType::Text);
    EXPECT_EQ(text->text(), QString("Main \"Street\""));
    EXPECT_EQ(text->box(), QRectF(1, 2, 10, 2));
    EXPECT_DOUBLE_EQ(text->angle(), 30.0);

    const auto collection = as<GeometryCollection>(
        load("Collection 3\nRegion 1\n 3\n0 0\n1 0\n0 1\nPen (1,2,0)\nBrush (2,0,0)\n"
             "Pline 2\n5 5\n6 6\nPen (1,2,0)\nMultiPoint 2\n7 7\n8 8\nSymbol (35,0,12)"),
        GeometryType::Collection);
    ASSERT_EQ(collection->members().size(), 3);
    EXPECT_EQ(collection->members()[0]->type(), GeometryType::Polygon);
    EXPECT_EQ(collection->members()[1]->type(), GeometryType::LineString);
    EXPECT_EQ(collection->members()[2]->type(), GeometryType::MultiPoint);
}

// Perimeter of an ellipse by Simpson's rule over the parametric angle.
double ellipsePerimeter(double a, double b)
{
    constexpr int n = 200000;
    auto speed = [&](double t) { return std::hypot(a * std::sin(t), b * std::cos(t)); };
    double sum = speed(0) + speed(2 * M_PI);
    for (int i = 1; i < n; ++i)
        sum += (i % 2 ? 4 : 2) * speed(2 * M_PI * i / n);
    return sum * 2 * M_PI / n / 3;
}

TEST(MifReader, CurvesAreAccurateToAMillionth)
{
    MifSetup coarse;
    coarse.resolution = 36;   // asks for less than the default accuracy
    const struct {
        const char* text;
        MifSetup setup;
        double area, length;   // length: perimeter of shapes
    } cases[] = {
        {"Ellipse 0 0 4 2", {}, 2 * M_PI, ellipsePerimeter(2, 1)},
        {"Ellipse -50 0 50 1", {}, M_PI * 50 * 0.5, ellipsePerimeter(50, 0.5)},
        {"Arc 0 0 10 10 0 90", {}, 0, 2 * M_PI * 5 / 4},
        {"Arc 0 0 10 10 0 90", coarse, 0, 2 * M_PI * 5 / 4},
        {"Arc -2 -1 2 1 45 45", {}, 0, ellipsePerimeter(2, 1)},
        // Corner radius 1: four quarter circles instead of the corners.
        {"RoundRect 0 0 10 6 2", {}, 60 - 4 + M_PI, 2 * 8 + 2 * 4 + 2 * M_PI},
    };
    for (const auto& c : cases) {
        const GeometryPtr g = load(c.text, c.setup);
        if (c.area > 0) {
            EXPECT_NEAR(cartesianArea(g, "sq m") / c.area, 1.0, 1e-6) << c.text;
            EXPECT_NEAR(cartesianPerimeter(g, "m") / c.length, 1.0, 1e-6) << c.text;
        } else {
            EXPECT_NEAR(cartesianLength(g, "m") / c.length, 1.0, 1e-6) << c.text;
        }
    }

    // Arcs are cut into lines at once, on the ellipse, counter-clockwise.
    const auto quarter = as<LineString>(load("Arc -2 -1 2 1 0 90", coarse), GeometryType::LineString);
    EXPECT_NEAR(quarter->points().front().x(), 2.0, 1e-12);
    EXPECT_NEAR(quarter->points().back().y(), 1.0, 1e-12);
    for (const QPointF& p : quarter->points())   // on the ellipse x^2/4 + y^2 = 1
        EXPECT_NEAR(p.x() * p.x() / 4 + p.y() * p.y(), 1.0, 1e-12);
    const auto wrapped = as<LineString>(load("Arc -1 -1 1 1 270 0"), GeometryType::LineString);
    EXPECT_NEAR(wrapped->points().front().y(), -1.0, 1e-12);
    EXPECT_NEAR(wrapped->points().back().x(), 1.0, 1e-12);
    // Absurd angles and resolutions stay bounded; a finer one is honoured.
    EXPECT_TRUE(load("Arc -1 -1 1 1 1e20 0", coarse));
    MifSetup huge;
    huge.resolution = 4000000000u;
    EXPECT_EQ(as<LineString>(load("Arc -1 -1 1 1 0 180", huge), GeometryType::LineString)->points().size(), 32769);
}

TEST(MifReader, DecimalSeparators)
{
    // The default setup reads commas as decimal separators; points still work.
    EXPECT_EQ(as<Point>(load("Point 1,5 2.25"), GeometryType::Point)->point(), QPointF(1.5, 2.25));
    MifSetup dot;
    dot.decimalSeparator = '.';
    EXPECT_EQ(as<Point>(load("Point 1.5 -2e3", dot), GeometryType::Point)->point(), QPointF(1.5, -2000));
    EXPECT_THROW(load("Point 1,5 2", dot), MifError);
}

TEST(MifReader, MalformedTextNamesTheLineAndTheExpectation)
{
    EXPECT_EQ(errorOf(""), "Line 1: expected a geometry, found the end of the text");
    EXPECT_EQ(errorOf("Circle 1 2 3"), "Line 1: expected a geometry keyword, found \"Circle\"");
    EXPECT_EQ(errorOf("Point 1"), "Line 1: expected a y coordinate, found the end of the text");
    EXPECT_EQ(errorOf("Pline 3\n0 0\n1 x\n2 2"), "Line 3: expected a y coordinate, found \"x\"");
    EXPECT_EQ(errorOf("Region -1"), "Line 1: expected a number of polygons, found \"-1\"");
    EXPECT_EQ(errorOf("Point 1 2\nPoint 3 4"), "Line 2: expected a style clause or the end of the text, found \"Point\"");
    EXPECT_EQ(errorOf("Point 1 2 3"), "Line 1: expected a style clause or the end of the text, found \"3\"");
    EXPECT_EQ(errorOf("Text\n\"unterminated\n1 2 3 4"), "Line 2: expected the closing quote of a text");
    EXPECT_EQ(errorOf("Collection 2\nPoint 1 2\n"), "Line 2: expected a geometry keyword, found the end of the text");
    EXPECT_EQ(errorOf("Point nan 2"), "Line 1: expected an x coordinate, found \"nan\"");
    // A count far beyond the text fails without trying to hold it.
    EXPECT_EQ(errorOf("MultiPoint 2000000000\n1 1"), "Line 2: expected an x coordinate, found the end of the text");
    EXPECT_EQ(errorOf("Pline Multiple 99999999999"), "Line 1: expected a number of sections, found \"99999999999\"");
}
