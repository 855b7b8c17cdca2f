#include "tools/tessera-sql/MapPlot.h"

#include "platform/cs/CoordSystem.h"
#include "platform/dp/GeometryValue.h"
#include "platform/geometry/Algorithms.h"
#include "platform/geometry/Geometry.h"
#include "tools/tessera-sql/OutlineFont.h"

#include <QFileInfo>
#include <QImage>
#include <QImageWriter>
#include <QPainter>
#include <QPainterPath>
#include <QRegularExpression>
#include <QTransform>
#include <algorithm>
#include <cmath>
#include <exception>
#include <limits>
#include <vector>

namespace tessera::shell {

namespace {

using geometry::ConstGeometryPtr;
using geometry::GeometryType;

constexpr double pi = 3.14159265358979323846;

struct PlottedRow {
    ConstGeometryPtr geometry;   // linear form, in the map's coordinate system
    QString label;
};

// What a row's geometry becomes on the image.
struct Shapes {
    QPainterPath areas;
    QPainterPath lines;
    QVector<QPointF> points;
};

void addRings(QPainterPath& path, const QVector<geometry::Ring>& rings)
{
    for (const geometry::Ring& ring : rings) {
        if (ring.isEmpty())
            continue;
        path.addPolygon(QPolygonF(ring));
        path.closeSubpath();
    }
}

void addLine(QPainterPath& path, const QVector<QPointF>& line)
{
    if (!line.isEmpty())
        path.addPolygon(QPolygonF(line));
}

// The parts of a linear geometry, in map coordinates.
void collect(const geometry::Geometry& g, Shapes& shapes)
{
    switch (g.type()) {
    case GeometryType::Point:
        if (!g.isEmpty())
            shapes.points << static_cast<const geometry::Point&>(g).point();
        break;
    case GeometryType::MultiPoint:
        shapes.points << static_cast<const geometry::MultiPoint&>(g).points();
        break;
    case GeometryType::LineString:
        addLine(shapes.lines, static_cast<const geometry::LineString&>(g).points());
        break;
    case GeometryType::MultiLineString:
        for (const auto& line : static_cast<const geometry::MultiLineString&>(g).lines())
            addLine(shapes.lines, line);
        break;
    case GeometryType::Polygon:
        addRings(shapes.areas, static_cast<const geometry::Polygon&>(g).rings());
        break;
    case GeometryType::MultiPolygon:
        for (const auto& polygon : static_cast<const geometry::MultiPolygon&>(g).polygons())
            addRings(shapes.areas, polygon);
        break;
    case GeometryType::Collection:
        for (const auto& member : static_cast<const geometry::GeometryCollection&>(g).members())
            if (member)
                collect(*geometry::linearized(member), shapes);
        break;
    default:   // curves and shapes come linearized
        break;
    }
}

// A length of 1, 2 or 5 times a power of ten, at most `limit`.
double roundLength(double limit)
{
    const double power = std::pow(10.0, std::floor(std::log10(limit)));
    for (const double step : {5.0, 2.0, 1.0})
        if (step * power <= limit)
            return step * power;
    return power;
}

// The spacing of graticule lines: a round number of degrees giving at most
// about six lines across `span` degrees.
double graticuleStep(double span)
{
    static const double steps[] = {0.001, 0.002, 0.005, 0.01, 0.02, 0.05, 0.1, 0.2, 0.25, 0.5,
                                   1, 2, 5, 10, 15, 20, 30, 45, 60, 90};
    for (const double step : steps)
        if (span / step <= 6.0)
            return step;
    return 90.0;
}

QString degreeText(double value, double step, QChar positive, QChar negative)
{
    const int decimals = step >= 1.0 ? 0 : int(std::ceil(-std::log10(step) - 1e-9));
    const double magnitude = std::abs(value) < step / 2 ? 0.0 : std::abs(value);
    QString text = QString::number(magnitude, 'f', decimals) + QChar(0x00B0);
    if (magnitude > 0.0)
        text += value > 0 ? positive : negative;
    return text;
}

// A colour per row: hues a golden angle apart, so neighbours differ.
QColor rowColour(int row)
{
    return QColor::fromHsv(int(std::fmod(row * 137.508 + 200.0, 360.0)), 120, 230);
}

// Text with a white halo, so that it reads over any fill.
void drawText(QPainter& painter, const OutlineFont& font, const QString& text, QPointF baseline, const QColor& colour)
{
    const QPainterPath path = font.path(text, baseline);
    painter.strokePath(path, QPen(QColor(255, 255, 255, 220), 3.0, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.fillPath(path, colour);
}

struct MapFrame {
    QTransform toPixel;           // map coordinates to image pixels
    bool geographic = false;
    double groundPerPixel = 0.0;  // metres (or units) one pixel spans across
    bool metres = false;          // groundPerPixel in metres; else in the data's units
};

MapFrame fitExtent(QRectF extent, const geometry::CoordSystemPtr& coordSystem, QSize size)
{
    MapFrame frame;
    frame.geographic = coordSystem && coordSystem->isGeographic();
    const double midLatitude = extent.center().y();
    // Parallels shrink with the cosine of the latitude.
    const double xScale = frame.geographic ? std::max(0.05, std::cos(midLatitude * pi / 180.0)) : 1.0;
    double width = extent.width() * xScale;
    double height = extent.height();
    if (width <= 0.0 && height <= 0.0) {
        // A single point: a small square around it.
        const QPointF c = extent.center();
        const double half = frame.geographic ? 0.01 : std::max(1.0, std::max(std::abs(c.x()), std::abs(c.y())) * 1e-3);
        width = 2 * half * xScale;
        height = 2 * half;
    } else if (width <= 0.0) {
        width = height;
    } else if (height <= 0.0) {
        height = width;
    }
    const double scale = std::min((size.width() - 2.0 * plotMargin) / width, (size.height() - 2.0 * plotMargin) / height);
    const QPointF c = extent.center();
    frame.toPixel = QTransform(scale * xScale, 0, 0, -scale, size.width() / 2.0 - scale * xScale * c.x(), size.height() / 2.0 + scale * c.y());

    if (frame.geographic) {
        // The radius of the parallel through the middle, over its pixels.
        const double a = coordSystem->semiMajorAxis() > 0 ? coordSystem->semiMajorAxis() : 6378137.0;
        const double rf = coordSystem->inverseFlattening();
        const double e2 = rf > 0 ? (2.0 - 1.0 / rf) / rf : 0.0;
        const double phi = midLatitude * pi / 180.0;
        const double n = a / std::sqrt(1.0 - e2 * std::sin(phi) * std::sin(phi));
        frame.groundPerPixel = (pi / 180.0) * n * std::cos(phi) / (scale * xScale);
        frame.metres = true;
    } else if (coordSystem && coordSystem->isProjected() && coordSystem->axisUnitFactor() > 0.0) {
        frame.groundPerPixel = coordSystem->axisUnitFactor() / scale;
        frame.metres = true;
    } else {
        frame.groundPerPixel = 1.0 / scale;
    }
    return frame;
}

void drawGraticule(QPainter& painter, const OutlineFont& font, const MapFrame& frame, QSize size)
{
    const QRectF visible = frame.toPixel.inverted().mapRect(QRectF(QPointF(0, 0), size)).normalized();
    const double west = std::max(-180.0, visible.left()), east = std::min(180.0, visible.right());
    const double south = std::max(-90.0, visible.top()), north = std::min(90.0, visible.bottom());
    if (west >= east || south >= north)
        return;
    const double step = graticuleStep(std::max(east - west, north - south));
    const QColor lineColour(200, 200, 200), textColour(110, 110, 110);
    painter.setPen(QPen(lineColour, 1.0));
    const double top = font.capHeight() + 4;
    for (double lon = std::ceil(west / step) * step; lon <= east; lon += step) {
        const QLineF line(frame.toPixel.map(QPointF(lon, south)), frame.toPixel.map(QPointF(lon, north)));
        painter.drawLine(line);
        const QString text = degreeText(lon, step, QLatin1Char('E'), QLatin1Char('W'));
        drawText(painter, font, text, QPointF(std::min(line.x1() + 3, size.width() - font.width(text) - 2), top), textColour);
    }
    painter.setPen(QPen(lineColour, 1.0));
    for (double lat = std::ceil(south / step) * step; lat <= north; lat += step) {
        const QLineF line(frame.toPixel.map(QPointF(west, lat)), frame.toPixel.map(QPointF(east, lat)));
        painter.drawLine(line);
        drawText(painter, font, degreeText(lat, step, QLatin1Char('N'), QLatin1Char('S')), QPointF(4, line.y1() - 3), textColour);
    }
}

void drawScaleBar(QPainter& painter, const OutlineFont& font, const MapFrame& frame, QSize size)
{
    // About a quarter of the width, rounded to 1, 2 or 5 units.
    const double length = roundLength(frame.groundPerPixel * size.width() / 4.0);
    const double pixels = length / frame.groundPerPixel;
    QString text;
    if (!frame.metres)
        text = QStringLiteral("%1 units").arg(length, 0, 'g', 6);
    else if (length >= 1000.0)
        text = QStringLiteral("%1 km").arg(length / 1000.0, 0, 'g', 6);
    else
        text = QStringLiteral("%1 m").arg(length, 0, 'g', 6);
    const QPointF origin(10, size.height() - 12);
    const double barHeight = 6;
    const QRectF box(origin.x() - 4, origin.y() - barHeight - 6, pixels + font.width(text) + 18, barHeight + 12);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(255, 255, 255, 200));
    painter.drawRect(box);
    painter.setPen(QPen(Qt::black, 1.0));
    for (int i = 0; i < 4; ++i) {
        painter.setBrush(i % 2 ? Qt::white : Qt::black);
        painter.drawRect(QRectF(origin.x() + i * pixels / 4, origin.y() - barHeight, pixels / 4, barHeight));
    }
    drawText(painter, font, text, QPointF(origin.x() + pixels + 6, origin.y()), Qt::black);
}

// Where a row's label goes: a point on its geometry, else its box's centre.
QPointF labelAnchor(const ConstGeometryPtr& g)
{
    try {
        if (const auto point = geometry::PointOnSurface(g); point && point->type() == GeometryType::Point && !point->isEmpty())
            return static_cast<const geometry::Point&>(*point).point();
    } catch (const std::exception&) {
    }
    return g->boundingRect().center();
}

} // namespace

QImage drawMap(const ResultSet& result, const PlotOptions& options, QString& error)
{
    int geometryColumn = -1;
    for (int c = 0; c < result.columns.size() && geometryColumn < 0; ++c)
        for (const auto& row : result.rows)
            if (dp::geometryFromVariant(row.value(c))) {
                geometryColumn = c;
                break;
            }
    if (geometryColumn < 0) {
        error = QStringLiteral("nothing to plot: the result has no geometries");
        return {};
    }
    int labelColumn = -1;
    if (!options.labelColumn.isEmpty()) {
        for (int c = 0; c < result.columns.size() && labelColumn < 0; ++c)
            if (result.columns[c].compare(options.labelColumn, Qt::CaseInsensitive) == 0)
                labelColumn = c;
        if (labelColumn < 0) {
            error = QStringLiteral("no column %1 in the result to label with (columns: %2)")
                        .arg(options.labelColumn, result.columns.join(QLatin1String(", ")));
            return {};
        }
    }
    if (options.size.width() < plotMinimumSide || options.size.height() < plotMinimumSide
        || options.size.width() > plotMaximumSide || options.size.height() > plotMaximumSide) {
        error = QStringLiteral("an image of %1x%2 pixels cannot be drawn (each side from %3 to %4)")
                    .arg(options.size.width()).arg(options.size.height()).arg(plotMinimumSide).arg(plotMaximumSide);
        return {};
    }

    // The rows with a geometry, in the first one's coordinate system.
    std::vector<PlottedRow> rows;
    geometry::CoordSystemPtr coordSystem;
    double west = std::numeric_limits<double>::max(), south = west;
    double east = std::numeric_limits<double>::lowest(), north = east;
    for (const auto& row : result.rows) {
        ConstGeometryPtr g = dp::geometryFromVariant(row.value(geometryColumn));
        if (!g || g->isEmpty())
            continue;
        if (rows.empty())
            coordSystem = g->coordSystem();
        else if (coordSystem && g->coordSystem() && !g->coordSystem()->isEquivalentTo(*coordSystem)) {
            try {
                g = g->transformed(coordSystem);
            } catch (const std::exception& e) {
                error = QStringLiteral("cannot draw a geometry in the map's coordinate system: %1").arg(QString::fromUtf8(e.what()));
                return {};
            }
        }
        g = geometry::linearized(g);
        const QRectF box = g->boundingRect().normalized();
        west = std::min(west, box.left());
        east = std::max(east, box.right());
        south = std::min(south, box.top());
        north = std::max(north, box.bottom());
        rows.push_back({g, labelColumn >= 0 ? row.value(labelColumn).toString() : QString()});
    }
    if (rows.empty()) {
        error = QStringLiteral("nothing to plot: every geometry of the result is NULL or empty");
        return {};
    }
    if (!std::isfinite(west) || !std::isfinite(east) || !std::isfinite(south) || !std::isfinite(north)) {
        error = QStringLiteral("cannot draw geometries whose coordinates are not finite numbers");
        return {};
    }

    const MapFrame frame = fitExtent(QRectF(QPointF(west, south), QPointF(east, north)), coordSystem, options.size);
    QImage image(options.size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::white);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    const OutlineFont font(11.0);
    if (frame.geographic)
        drawGraticule(painter, font, frame, options.size);

    std::vector<Shapes> shapes(rows.size());
    for (std::size_t i = 0; i < rows.size(); ++i)
        collect(*rows[i].geometry, shapes[i]);
    // Areas under lines under points, so that nothing small is hidden.
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (shapes[i].areas.isEmpty())
            continue;
        const QColor colour = rowColour(int(i));
        painter.setPen(QPen(colour.darker(170), 1.0));
        painter.setBrush(QColor(colour.red(), colour.green(), colour.blue(), 190));
        painter.drawPath(frame.toPixel.map(shapes[i].areas));
    }
    painter.setBrush(Qt::NoBrush);
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (shapes[i].lines.isEmpty())
            continue;
        painter.setPen(QPen(rowColour(int(i)).darker(130), 2.0, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        painter.drawPath(frame.toPixel.map(shapes[i].lines));
    }
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const QColor colour = rowColour(int(i));
        painter.setPen(QPen(colour.darker(200), 1.0));
        painter.setBrush(colour);
        for (const QPointF& p : shapes[i].points)
            painter.drawEllipse(frame.toPixel.map(p), 4.0, 4.0);
    }
    for (const PlottedRow& row : rows) {
        if (row.label.isEmpty())
            continue;
        const QPointF at = frame.toPixel.map(labelAnchor(row.geometry));
        // Beside a point's marker; centred on lines and areas.
        const bool point = row.geometry->type() == GeometryType::Point || row.geometry->type() == GeometryType::MultiPoint;
        const QPointF baseline = point ? at + QPointF(6, -5) : QPointF(at.x() - font.width(row.label) / 2, at.y() + font.capHeight() / 2);
        drawText(painter, font, row.label, baseline, QColor(30, 30, 30));
    }
    drawScaleBar(painter, font, frame, options.size);
    painter.end();
    return image;
}

bool plotMap(const QString& path, const ResultSet& result, const PlotOptions& options, QString& error)
{
    const QImage image = drawMap(result, options, error);
    if (image.isNull())
        return false;
    QImageWriter writer(path);
    if (!writer.write(image)) {
        error = QStringLiteral("cannot write %1: %2").arg(path, writer.errorString());
        return false;
    }
    return true;
}

bool isImagePath(const QString& path)
{
    const QByteArray suffix = QFileInfo(path).suffix().toLower().toLatin1();
    return !suffix.isEmpty() && QImageWriter::supportedImageFormats().contains(suffix);
}

bool parsePlotSize(const QString& text, QSize& size)
{
    static const QRegularExpression pattern(QStringLiteral("^(\\d{1,5})[xX](\\d{1,5})$"));
    const auto match = pattern.match(text);
    if (!match.hasMatch())
        return false;
    const QSize parsed(match.captured(1).toInt(), match.captured(2).toInt());
    if (parsed.width() < plotMinimumSide || parsed.height() < plotMinimumSide || parsed.width() > plotMaximumSide
        || parsed.height() > plotMaximumSide)
        return false;
    size = parsed;
    return true;
}

} // namespace tessera::shell
