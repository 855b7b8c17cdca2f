#include "platform/geometry/algorithms/MifReader.h"

#include "platform/geometry/Approximation.h"

#include <QLocale>
#include <algorithm>
#include <cmath>
#include <limits>

namespace tessera::geometry {

namespace {

const QStringList geometryKeywords = {
    "point", "line", "pline", "region", "multipoint", "collection",
    "arc", "ellipse", "rect", "roundrect", "text", "none",
};
const QStringList styleKeywords = {
    "pen", "brush", "symbol", "smooth", "center", "font", "spacing", "justify", "angle", "label",
};

bool isOneOf(const QString& word, const QStringList& keywords)
{
    return keywords.contains(word, Qt::CaseInsensitive);
}

enum class Side { Inside, Outside, Boundary };

// Ray casting, with points on an edge reported apart.
Side sideOf(const Ring& ring, const QPointF& p)
{
    bool inside = false;
    const int n = ring.size();
    for (int i = 0, j = n - 1; i < n; j = i++) {
        const QPointF& a = ring[i];
        const QPointF& b = ring[j];
        const double cross = (b.x() - a.x()) * (p.y() - a.y()) - (b.y() - a.y()) * (p.x() - a.x());
        if (cross == 0.0 && std::min(a.x(), b.x()) <= p.x() && p.x() <= std::max(a.x(), b.x())
            && std::min(a.y(), b.y()) <= p.y() && p.y() <= std::max(a.y(), b.y()))
            return Side::Boundary;
        if ((a.y() > p.y()) != (b.y() > p.y())
            && p.x() < (b.x() - a.x()) * (p.y() - a.y()) / (b.y() - a.y()) + a.x())
            inside = !inside;
    }
    return inside ? Side::Inside : Side::Outside;
}

// Whether ring `inner` lies inside `outer`, judged by its first vertex that is
// not on outer's boundary.
bool ringInside(const Ring& inner, const Ring& outer)
{
    for (const QPointF& p : inner) {
        const Side side = sideOf(outer, p);
        if (side != Side::Boundary)
            return side == Side::Inside;
    }
    return false;
}

double ringArea(const Ring& ring)
{
    double twice = 0.0;
    for (int i = 0, j = ring.size() - 1; i < ring.size(); j = i++)
        twice += ring[j].x() * ring[i].y() - ring[i].x() * ring[j].y();
    return std::abs(twice) / 2.0;
}

} // namespace

MifReader::MifReader(const QString& text, const MifSetup& setup) : setup(setup)
{
    int line = 1;
    int i = 0;
    const int n = text.size();
    while (i < n) {
        const QChar c = text[i];
        if (c == '\n') {
            ++line;
            ++i;
        } else if (c.isSpace()) {
            ++i;
        } else if (c == '"') {
            const int startLine = line;
            QString word;
            ++i;
            for (;;) {
                if (i >= n)
                    throw MifError(QStringLiteral("Line %1: expected the closing quote of a text").arg(startLine).toStdString());
                if (text[i] == '"') {
                    if (i + 1 < n && text[i + 1] == '"') {   // "" stands for one quote
                        word += '"';
                        i += 2;
                        continue;
                    }
                    ++i;
                    break;
                }
                if (text[i] == '\n')
                    ++line;
                word += text[i++];
            }
            tokens.push_back({word, startLine, true});
        } else {
            const int start = i;
            while (i < n && !text[i].isSpace() && text[i] != '"')
                ++i;
            tokens.push_back({text.mid(start, i - start), line, false});
        }
    }
}

const MifReader::Token* MifReader::peek() const
{
    return pos < tokens.size() ? &tokens[pos] : nullptr;
}

void MifReader::fail(const char* expected) const
{
    const QString found = pos < tokens.size() ? QStringLiteral("\"%1\"").arg(tokens[pos].text)
                                              : QStringLiteral("the end of the text");
    const int line = pos < tokens.size() ? tokens[pos].line : (tokens.empty() ? 1 : tokens.back().line);
    throw MifError(QStringLiteral("Line %1: expected %2, found %3")
                       .arg(line).arg(QLatin1String(expected), found).toStdString());
}

const MifReader::Token& MifReader::next(const char* expected)
{
    if (pos >= tokens.size())
        fail(expected);
    return tokens[pos++];
}

double MifReader::number(const char* expected)
{
    if (pos >= tokens.size() || tokens[pos].quoted)
        fail(expected);
    QString text = tokens[pos].text;
    if (setup.decimalSeparator != '.')
        text.replace(setup.decimalSeparator, '.');
    bool ok = false;
    const double value = QLocale::c().toDouble(text, &ok);
    if (!ok || !std::isfinite(value))
        fail(expected);
    ++pos;
    return value;
}

int MifReader::count(const char* expected)
{
    if (pos >= tokens.size() || tokens[pos].quoted)
        fail(expected);
    bool ok = false;
    const int value = tokens[pos].text.toInt(&ok);
    if (!ok || value < 0)
        fail(expected);
    ++pos;
    return value;
}

QPointF MifReader::point()
{
    const double x = number("an x coordinate");
    const double y = number("a y coordinate");
    return {x, y};
}

QVector<QPointF> MifReader::points(int n)
{
    QVector<QPointF> pts;
    // A count larger than the text can hold must not allocate before it fails.
    pts.reserve(static_cast<int>(std::min<std::size_t>(static_cast<std::size_t>(n), (tokens.size() - pos) / 2)));
    for (int i = 0; i < n; ++i)
        pts.append(point());
    return pts;
}

QRectF MifReader::rect()
{
    const QPointF a = point();
    const QPointF b = point();
    return QRectF(a, b).normalized();
}

GeometryPtr MifReader::read()
{
    if (tokens.empty())
        fail("a geometry");
    double angle = std::numeric_limits<double>::quiet_NaN();
    GeometryPtr g = geometry(false);
    skipStyles(true, &angle);
    if (g && g->type() == GeometryType::Text && !std::isnan(angle)) {
        const auto& t = static_cast<const Text&>(*g);
        g = std::make_shared<Text>(t.text(), t.box(), angle);
    }
    return g;
}

void MifReader::skipStyles(bool toEnd, double* angle)
{
    bool inStyle = false;
    while (const Token* t = peek()) {
        if (!t->quoted && isOneOf(t->text, geometryKeywords)) {
            if (toEnd)
                fail("a style clause or the end of the text");
            return;
        }
        if (!inStyle && (t->quoted || !isOneOf(t->text, styleKeywords)))
            fail(toEnd ? "a style clause or the end of the text" : "a style clause or a geometry");
        inStyle = true;
        ++pos;
        if (t->quoted)
            continue;
        if (angle && t->text.compare("angle", Qt::CaseInsensitive) == 0) {
            *angle = number("a text angle");
        } else if (t->text.compare("label", Qt::CaseInsensitive) == 0) {
            // "Label Line Simple|Arrow x y": the word "Line" here is no geometry.
            const Token* kind = peek();
            if (kind && !kind->quoted && kind->text.compare("line", Qt::CaseInsensitive) == 0)
                ++pos;
        }
    }
}

GeometryPtr MifReader::geometry(bool allowStyles)
{
    const Token& t = next("a geometry keyword");
    const QString word = t.quoted ? QString() : t.text.toLower();
    GeometryPtr g;
    if (word == "none") {
        g = nullptr;
    } else if (word == "point") {
        g = std::make_shared<Point>(point());
    } else if (word == "line") {
        QVector<QPointF> pts = points(2);
        g = std::make_shared<LineString>(pts);
    } else if (word == "pline") {
        g = pline();
    } else if (word == "region") {
        g = region();
    } else if (word == "multipoint") {
        g = std::make_shared<MultiPoint>(points(count("a number of points")));
    } else if (word == "collection") {
        const int parts = count("a number of parts");
        std::vector<std::shared_ptr<Geometry>> members;
        for (int i = 0; i < parts; ++i) {
            if (GeometryPtr member = geometry(true))
                members.push_back(std::move(member));
        }
        g = std::make_shared<GeometryCollection>(std::move(members));
    } else if (word == "arc") {
        g = arc();
    } else if (word == "ellipse") {
        g = std::make_shared<Ellipse>(rect());
    } else if (word == "rect") {
        const QRectF r = rect();
        g = std::make_shared<Polygon>(QVector<Ring>{
            {r.topLeft(), r.topRight(), r.bottomRight(), r.bottomLeft(), r.topLeft()}});
    } else if (word == "roundrect") {
        const QRectF r = rect();
        const double rounding = number("the rounding of the corners");
        g = std::make_shared<RoundedRectangle>(r, rounding / 2.0, rounding / 2.0);
    } else if (word == "text") {
        g = text();
    } else {
        --pos;
        fail("a geometry keyword");
    }
    if (allowStyles)
        skipStyles(false, nullptr);
    return g;
}

GeometryPtr MifReader::pline()
{
    const Token* t = peek();
    if (t && !t->quoted && t->text.compare("multiple", Qt::CaseInsensitive) == 0) {
        ++pos;
        const int sections = count("a number of sections");
        QVector<QVector<QPointF>> lines;
        for (int i = 0; i < sections; ++i)
            lines.append(points(count("a number of points")));
        return std::make_shared<MultiLineString>(lines);
    }
    return std::make_shared<LineString>(points(count("a number of points")));
}

GeometryPtr MifReader::region()
{
    const int polygons = count("a number of polygons");
    QVector<Ring> rings;
    for (int i = 0; i < polygons; ++i) {
        Ring ring = points(count("a number of points"));
        if (!ring.isEmpty() && ring.front() != ring.back())
            ring.append(ring.front());
        if (!ring.isEmpty())
            rings.append(ring);
    }
    return regionFromRings(rings);
}

GeometryPtr MifReader::regionFromRings(const QVector<Ring>& rings)
{
    const int n = rings.size();
    QVector<int> depth(n, 0);
    QVector<QVector<int>> containers(n);
    for (int i = 0; i < n; ++i) {
        for (int j = 0; j < n; ++j) {
            if (i != j && ringInside(rings[i], rings[j])) {
                ++depth[i];
                containers[i].append(j);
            }
        }
    }
    QVector<int> polygonOfRing(n, -1);
    QVector<QVector<Ring>> polygons;
    for (int i = 0; i < n; ++i) {
        if (depth[i] % 2 == 0) {
            polygonOfRing[i] = polygons.size();
            polygons.append({rings[i]});
        }
    }
    for (int i = 0; i < n; ++i) {
        if (depth[i] % 2 == 0)
            continue;
        int parent = -1;
        for (int j : containers[i]) {
            if (depth[j] == depth[i] - 1 && (parent < 0 || ringArea(rings[j]) < ringArea(rings[parent])))
                parent = j;
        }
        if (parent >= 0)
            polygons[polygonOfRing[parent]].append(rings[i]);
    }
    if (polygons.size() == 1)
        return std::make_shared<Polygon>(polygons.front());
    return std::make_shared<MultiPolygon>(polygons);
}

GeometryPtr MifReader::arc()
{
    const QRectF r = rect();
    const double start = number("a start angle");
    const double end = number("an end angle");
    // Counter-clockwise from start to end; equal angles make a full turn.
    double sweep = std::fmod(end - start, 360.0);
    if (sweep <= 0.0)
        sweep += 360.0;
    // The set-up may ask for more segments, never for a coarser arc than the
    // default approximation of curves.
    const double perTurn = std::max<quint32>(std::min<quint32>(setup.resolution, maxResolution),
                                             quint32(accurateSegmentsPerTurn()));
    const int segments = std::max(1, static_cast<int>(std::ceil(perTurn * sweep / 360.0)));
    const QPointF c = r.center();
    const double rx = r.width() / 2.0;
    const double ry = r.height() / 2.0;
    QVector<QPointF> pts;
    pts.reserve(segments + 1);
    for (int i = 0; i <= segments; ++i) {
        const double t = (start + sweep * i / segments) * M_PI / 180.0;
        pts.append(QPointF(c.x() + rx * std::cos(t), c.y() + ry * std::sin(t)));
    }
    return std::make_shared<LineString>(pts);
}

GeometryPtr MifReader::text()
{
    const Token& label = next("the text of a label");
    const QString content = label.text;
    return std::make_shared<Text>(content, rect());
}

} // namespace tessera::geometry
