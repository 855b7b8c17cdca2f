#include "platform/geometry/MifService.h"
#include "platform/geometry/Algorithms.h"

#include "tests/platform/geometry/GeometrySamples.h"

#include <gtest/gtest.h>
#include <cmath>

using namespace tessera::geometry;
using test::square;

namespace {

GeometryPtr load(const QString& text, MifSetup setup = {})
{
    return MifService().load(text, setup);
}

template <class T, class... Args>
GeometryPtr make(Args&&... args)
{
    return std::make_shared<T>(std::forward<Args>(args)...);
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

} // namespace

TEST(MifReader, ReadsEveryKind)
{
    MifSetup dot;
    dot.decimalSeparator = '.';
    const struct {
        const char* name;
        QString text;
        GeometryPtr expected;
        MifSetup setup;
    } rows[] = {
        {"point", "Point 1.5 -2", make<Point>(QPointF(1.5, -2)), {}},
        {"point with a style, any case", "  point\n 3 4\n    Symbol (35,0,12)\n", make<Point>(QPointF(3, 4)), {}},
        // The default setup reads commas as decimal separators; points still work.
        {"decimal comma", "Point 1,5 2.25", make<Point>(QPointF(1.5, 2.25)), {}},
        {"decimal point only", "Point 1.5 -2e3", make<Point>(QPointF(1.5, -2000)), dot},
        {"line", "LINE 0 0 10 5\nPen (1,2,0)", make<LineString>(QVector<QPointF>{{0, 0}, {10, 5}}), {}},
        {"pline", "Pline 3\n0 0\n1 1\n2 0\nPen (1,2,0)\nSmooth", make<LineString>(QVector<QPointF>{{0, 0}, {1, 1}, {2, 0}}), {}},
        {"pline multiple", "Pline Multiple 2\n 2\n0 0\n1 0\n 3\n5 5\n6 6\n7 5",
         make<MultiLineString>(QVector<QVector<QPointF>>{{{0, 0}, {1, 0}}, {{5, 5}, {6, 6}, {7, 5}}}), {}},
        {"multipoint", "MultiPoint 3\n1 1\n2 2\n3 3", make<MultiPoint>(QVector<QPointF>{{1, 1}, {2, 2}, {3, 3}}), {}},
        // A ring is closed by the reader.
        {"region of one ring", "Region 1\n 4\n0 0\n4 0\n4 4\n0 4\nPen (1,2,0)\nBrush (2,16777215,0)\nCenter 2 2",
         make<Polygon>(QVector<Ring>{{{0, 0}, {4, 0}, {4, 4}, {0, 4}, {0, 0}}}), {}},
        // A ring inside another is its hole; a ring inside the hole is an island.
        {"hole and island", "Region 3\n5\n0 0\n10 0\n10 10\n0 10\n0 0\n4\n2 2\n8 2\n8 8\n2 8\n4\n4 4\n6 4\n6 6\n4 6\n",
         make<MultiPolygon>(QVector<QVector<Ring>>{{square(0, 0, 10), {{2, 2}, {8, 2}, {8, 8}, {2, 8}, {2, 2}}},
                                                   {{{4, 4}, {6, 4}, {6, 6}, {4, 6}, {4, 4}}}}),
         {}},
        // Rings side by side are separate polygons; the order of rings does not matter.
        {"rings apart", "Region 2\n4\n5 5\n6 5\n6 6\n5 6\n4\n0 0\n1 0\n1 1\n0 1",
         make<MultiPolygon>(QVector<QVector<Ring>>{{square(5, 5, 1)}, {square(0, 0, 1)}}), {}},
        {"hole first", "Region 2\n4\n2 2\n3 2\n3 3\n2 3\n4\n0 0\n9 0\n9 9\n0 9",
         make<Polygon>(QVector<Ring>{square(0, 0, 9), square(2, 2, 1)}), {}},
        {"ellipse", "Ellipse 0 0 4 2\nPen (1,2,0)\nBrush (1,0,0)", make<Ellipse>(QRectF(0, 0, 4, 2)), {}},
        // The corner diameter 2 is a radius of 1.
        {"rounded rectangle", "RoundRect 0 0 10 6 2", make<RoundedRectangle>(QRectF(0, 0, 10, 6), 1.0, 1.0), {}},
        {"text", "Text\n    \"Main \"\"Street\"\"\"\n    1 2 11 4\n    Font (\"Arial\",0,0,0)\n    Spacing 1.5\n"
                 "    Justify Center\n    Angle 30\n    Label Line Arrow 5 5",
         make<Text>(QStringLiteral("Main \"Street\""), QRectF(1, 2, 10, 2), 30.0), {}},
        {"collection", "Collection 3\nRegion 1\n 3\n0 0\n1 0\n0 1\nPen (1,2,0)\nBrush (2,0,0)\n"
                       "Pline 2\n5 5\n6 6\nPen (1,2,0)\nMultiPoint 2\n7 7\n8 8\nSymbol (35,0,12)",
         make<GeometryCollection>(std::vector<std::shared_ptr<Geometry>>{
             std::make_shared<Polygon>(QVector<Ring>{{{0, 0}, {1, 0}, {0, 1}, {0, 0}}}),
             std::make_shared<LineString>(QVector<QPointF>{{5, 5}, {6, 6}}),
             std::make_shared<MultiPoint>(QVector<QPointF>{{7, 7}, {8, 8}})}),
         {}},
    };
    for (const auto& row : rows) {
        const GeometryPtr g = load(row.text, row.setup);
        ASSERT_TRUE(g) << row.name;
        EXPECT_TRUE(test::sameGeometry(*g, *row.expected)) << row.name;
    }
    // A rectangle is a polygon; None is no geometry at all.
    EXPECT_DOUBLE_EQ(cartesianArea(load("Rect 4 3 0 1"), "sq m"), 8.0);
    EXPECT_EQ(load("Rect 4 3 0 1")->boundingRect(), QRectF(0, 1, 4, 2));
    EXPECT_FALSE(load("None"));
}

TEST(MifReader, CurvesAreAccurateToAMillionth)
{
    MifSetup coarse;
    coarse.resolution = 36; // asks for less than the default accuracy
    const struct {
        const char* text;
        MifSetup setup;
        double area, length; // length: perimeter of shapes
    } cases[] = {
        {"Ellipse 0 0 4 2", {}, 2 * M_PI, ellipsePerimeter(2, 1)},
        {"Ellipse -50 0 50 1", {}, M_PI * 50 * 0.5, ellipsePerimeter(50, 0.5)},
        {"Arc 0 0 10 10 0 90", {}, 0, 2 * M_PI * 5 / 4}, {"Arc 0 0 10 10 0 90", coarse, 0, 2 * M_PI * 5 / 4},
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
    auto points = [](const GeometryPtr& g) {
        EXPECT_EQ(g->type(), GeometryType::LineString);
        return static_cast<const LineString&>(*g).points();
    };
    const QVector<QPointF> quarter = points(load("Arc -2 -1 2 1 0 90", coarse));
    EXPECT_NEAR(quarter.front().x(), 2.0, 1e-12);
    EXPECT_NEAR(quarter.back().y(), 1.0, 1e-12);
    for (const QPointF& p : quarter) // on the ellipse x^2/4 + y^2 = 1
        EXPECT_NEAR(p.x() * p.x() / 4 + p.y() * p.y(), 1.0, 1e-12);
    const QVector<QPointF> wrapped = points(load("Arc -1 -1 1 1 270 0"));
    EXPECT_NEAR(wrapped.front().y(), -1.0, 1e-12);
    EXPECT_NEAR(wrapped.back().x(), 1.0, 1e-12);
    // Absurd angles and resolutions stay bounded; a finer one is honoured.
    EXPECT_TRUE(load("Arc -1 -1 1 1 1e20 0", coarse));
    MifSetup huge;
    huge.resolution = 4000000000u;
    EXPECT_EQ(points(load("Arc -1 -1 1 1 0 180", huge)).size(), 32769);
}

TEST(MifReader, MalformedTextNamesTheLineAndTheExpectation)
{
    MifSetup dot;
    dot.decimalSeparator = '.';
    const std::pair<const char*, const char*> rows[] = {
        {"", "Line 1: expected a geometry, found the end of the text"},
        {"Circle 1 2 3", "Line 1: expected a geometry keyword, found \"Circle\""},
        {"Point 1", "Line 1: expected a y coordinate, found the end of the text"},
        {"Pline 3\n0 0\n1 x\n2 2", "Line 3: expected a y coordinate, found \"x\""},
        {"Region -1", "Line 1: expected a number of polygons, found \"-1\""},
        {"Point 1 2\nPoint 3 4", "Line 2: expected a style clause or the end of the text, found \"Point\""},
        {"Point 1 2 3", "Line 1: expected a style clause or the end of the text, found \"3\""},
        {"Text\n\"unterminated\n1 2 3 4", "Line 2: expected the closing quote of a text"},
        {"Collection 2\nPoint 1 2\n", "Line 2: expected a geometry keyword, found the end of the text"},
        {"Point nan 2", "Line 1: expected an x coordinate, found \"nan\""},
        // A count far beyond the text fails without trying to hold it.
        {"MultiPoint 2000000000\n1 1", "Line 2: expected an x coordinate, found the end of the text"},
        {"Pline Multiple 99999999999", "Line 1: expected a number of sections, found \"99999999999\""},
    };
    for (const auto& [text, message] : rows)
        EXPECT_EQ(errorOf(text), message) << text;
    EXPECT_THROW(load("Point 1,5 2", dot), MifError);
}
