// Map images of query results: where the features land, what fails, and the
// images written by .plot and --output.

#include "platform/dp/GeometryValue.h"
#include "platform/geometry/Geometry.h"
#include "tests/support/EngineApplication.h"
#include "tests/tools/tessera-sql/ProgramRun.h"
#include "tools/tessera-sql/MapPlot.h"

#include <QColor>
#include <QImage>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace tessera::shell;
using namespace tessera::geometry;

namespace {

QVariant shape(std::shared_ptr<Geometry> g)
{
    return tessera::dp::geometryToVariant(std::move(g));
}

std::shared_ptr<Geometry> square(double x0, double y0, double x1, double y1)
{
    return std::make_shared<Polygon>(QVector<Ring>{{{x0, y0}, {x1, y0}, {x1, y1}, {x0, y1}, {x0, y0}}});
}

bool isBackground(const QImage& image, int x, int y)
{
    return image.pixelColor(x, y) == QColor(Qt::white);
}

} // namespace

TEST(MapPlot, FeaturesLandInsideTheFittedExtent)
{
    // Extent 0..40 by 0..30 on 400x300 with a 24-pixel margin: the scale is
    // min(352 / 40, 252 / 30) = 8.4 pixels a unit, the 336-pixel-wide map is
    // centred (x from 32) and y grows downwards from 276:
    // pixel = (32 + 8.4 x, 276 - 8.4 y).
    ResultSet result;
    result.columns << QStringLiteral("name") << QStringLiteral("obj");
    result.rows << QVector<QVariant>{QStringLiteral("low left"), shape(square(0, 0, 10, 10))}
                << QVector<QVariant>{QStringLiteral("high right"), shape(square(30, 20, 40, 30))}
                << QVector<QVariant>{QStringLiteral("point"), shape(std::make_shared<Point>(QPointF(20, 15)))}
                << QVector<QVariant>{QStringLiteral("no geometry"), QVariant()};
    PlotOptions options;
    options.size = QSize(400, 300);
    options.labelColumn = QStringLiteral("NAME");   // names ignore case
    QString error;
    const QImage image = drawMap(result, options, error);
    ASSERT_FALSE(image.isNull()) << error.toStdString();
    EXPECT_EQ(image.size(), QSize(400, 300));

    const struct {
        const char* name;
        QPoint pixel;
        bool background;
    } rows[] = {
        {"inside the low left square (2, 8)", {49, 209}, false},
        {"inside the high right square (38, 22)", {351, 91}, false},
        {"on the point (20, 15)", {200, 150}, false},
        {"between the squares (20, 5)", {200, 234}, true},
        {"above the low left square (5, 25)", {74, 66}, true},
        {"right of the point (30, 10)", {284, 192}, true},
    };
    for (const auto& row : rows)
        EXPECT_EQ(isBackground(image, row.pixel.x(), row.pixel.y()), row.background) << row.name;
    // Each row has a fill of its own.
    EXPECT_NE(image.pixelColor(49, 209), image.pixelColor(351, 91));

    // A single point has no extent: it is drawn in the middle.
    ResultSet point;
    point.columns << QStringLiteral("obj");
    point.rows << QVector<QVariant>{shape(std::make_shared<Point>(QPointF(7, -3)))};
    const QImage middle = drawMap(point, {QString(), QSize(400, 300)}, error);
    ASSERT_FALSE(middle.isNull()) << error.toStdString();
    EXPECT_FALSE(isBackground(middle, 200, 150));
}

TEST(MapPlot, RefusesWhatItCannotDraw)
{
    ResultSet noGeometry;
    noGeometry.columns << QStringLiteral("n");
    noGeometry.rows << QVector<QVariant>{1};
    ResultSet oneSquare;
    oneSquare.columns << QStringLiteral("obj");
    oneSquare.rows << QVector<QVariant>{shape(square(0, 0, 1, 1))};
    PlotOptions labelled;
    labelled.labelColumn = QStringLiteral("name");
    const struct {
        const char* name;
        const ResultSet& result;
        PlotOptions options;
        const char* error;
    } rows[] = {
        {"no geometry column", noGeometry, {}, "the result has no geometries"},
        {"no such label column", oneSquare, labelled, "no column name in the result"},
        {"too small", oneSquare, {QString(), QSize(10, 600)}, "cannot be drawn"},
    };
    for (const auto& row : rows) {
        QString error;
        EXPECT_TRUE(drawMap(row.result, row.options, error).isNull()) << row.name;
        EXPECT_TRUE(error.contains(QString::fromUtf8(row.error))) << row.name << ": " << error.toStdString();
    }

    const struct {
        const char* text;
        bool ok;
    } sizes[] = {{"1024x768", true}, {"64X64", true}, {"63x100", false}, {"100x20000", false}, {"100 x 100", false}, {"big", false}};
    for (const auto& size : sizes) {
        QSize parsed;
        EXPECT_EQ(parsePlotSize(QString::fromUtf8(size.text), parsed), size.ok) << size.text;
    }
}

TEST(MapPlot, ThePlotAndOutputWriteImagesOfTheResult)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QString countries = QStringLiteral(TESSERA_TEST_DATA "/countries.geojson");
    const QString plotted = dir.filePath(QStringLiteral("germany.png"));
    const QString output = dir.filePath(QStringLiteral("output.png"));
    // Germany alone: the middle of its box (10.4 E, 51.2 N) lies inside it.
    const QString germany = QStringLiteral("Select name, obj From countries Where iso_a3 = \"DEU\"");
    const struct {
        const char* name;
        QStringList arguments;
        QString image;
        QSize size;
    } rows[] = {
        {".plot with a label and a size", {QStringLiteral("--open"), countries, QStringLiteral("-c"),
                                          QStringLiteral(".plot '%1' name 320x240\n%2;\nSelect 1 As after").arg(plotted, germany)},
         plotted, QSize(320, 240)},
        {"--output to an image", {QStringLiteral("--open"), countries, QStringLiteral("--output"), output, QStringLiteral("--plot-size"),
                                  QStringLiteral("200x100"), QStringLiteral("-c"), germany},
         output, QSize(200, 100)},
    };
    for (const auto& row : rows) {
        const auto run = tessera::test::runTesseraSql(row.arguments);
        ASSERT_EQ(run.status, 0) << row.name << ": " << run.err.toStdString();
        const QImage image(row.image);
        ASSERT_FALSE(image.isNull()) << row.name;
        EXPECT_EQ(image.size(), row.size) << row.name;
        EXPECT_FALSE(isBackground(image, row.size.width() / 2, row.size.height() / 2)) << row.name;
    }
    // .plot draws only the next statement: the one after it prints.
    const auto run = tessera::test::runTesseraSql(rows[0].arguments);
    EXPECT_TRUE(run.out.contains(QStringLiteral("after"))) << run.out.toStdString();

    const auto refused = tessera::test::runTesseraSql({QStringLiteral("-c"), QStringLiteral(".plot map.svgz")});
    EXPECT_EQ(refused.status, 1);
    EXPECT_TRUE(refused.err.contains(QStringLiteral("not an image file name"))) << refused.err.toStdString();
}
