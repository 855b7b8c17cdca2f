#pragma once
// One geometry of every kind, and a structural comparison for round trips.

#include "platform/geometry/Geometry.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace tessera::geometry::test {

inline Ring square(double x, double y, double side)
{
    return {QPointF(x, y), QPointF(x + side, y), QPointF(x + side, y + side), QPointF(x, y + side), QPointF(x, y)};
}

// The linear kinds (those that WKB holds exactly).
inline std::vector<GeometryPtr> linearSamples()
{
    std::vector<GeometryPtr> all;
    all.push_back(std::make_shared<Point>(QPointF(1.5, -2.25)));
    all.push_back(std::make_shared<Point>());
    all.push_back(std::make_shared<MultiPoint>(QVector<QPointF>{{0, 0}, {1e10, -1e-10}, {3, 4}}));
    all.push_back(std::make_shared<MultiPoint>());
    all.push_back(std::make_shared<LineString>(QVector<QPointF>{{0, 0}, {1, 1}, {2, 0.5}}));
    all.push_back(std::make_shared<LineString>());
    all.push_back(std::make_shared<MultiLineString>(
        QVector<QVector<QPointF>>{{{0, 0}, {1, 0}}, {{5, 5}, {6, 7}, {8, 9}}}));
    all.push_back(std::make_shared<Polygon>(QVector<Ring>{square(0, 0, 10), square(2, 2, 1), square(5, 5, 2)}));
    all.push_back(std::make_shared<Polygon>());
    all.push_back(std::make_shared<MultiPolygon>(
        QVector<QVector<Ring>>{{square(0, 0, 1)}, {square(10, 10, 5), square(11, 11, 1)}}));
    all.push_back(std::make_shared<GeometryCollection>(std::vector<std::shared_ptr<Geometry>>{
        std::make_shared<Point>(QPointF(7, 8)), std::make_shared<LineString>(QVector<QPointF>{{1, 2}, {3, 4}}),
        std::make_shared<GeometryCollection>(std::vector<std::shared_ptr<Geometry>>{
            std::make_shared<Polygon>(QVector<Ring>{square(-5, -5, 1)})})}));
    all.push_back(std::make_shared<GeometryCollection>());
    return all;
}

// Curves and shapes.
inline std::vector<GeometryPtr> shapeSamples()
{
    std::vector<GeometryPtr> all;
    all.push_back(std::make_shared<Arc>(QRectF(0, 0, 4, 2), 30.0, 200.0));
    all.push_back(std::make_shared<Ellipse>(QRectF(-1, -2, 2, 4)));
    all.push_back(std::make_shared<RoundedRectangle>(QRectF(0, 0, 10, 6), 1.0, 0.5));
    all.push_back(std::make_shared<Text>(QStringLiteral("Привет, world"), QRectF(1, 1, 8, 2), 15.0));
    return all;
}

inline std::vector<GeometryPtr> allSamples()
{
    auto all = linearSamples();
    for (auto& g : shapeSamples())
        all.push_back(g);
    all.push_back(std::make_shared<GeometryCollection>(std::vector<std::shared_ptr<Geometry>>{
        std::make_shared<Ellipse>(QRectF(0, 0, 2, 2)), std::make_shared<Point>(QPointF(9, 9))}));
    return all;
}

inline bool samePoint(const QPointF& a, const QPointF& b)
{
    return (a.x() == b.x() || (std::isnan(a.x()) && std::isnan(b.x())))
        && (a.y() == b.y() || (std::isnan(a.y()) && std::isnan(b.y())));
}

inline bool samePoints(const QVector<QPointF>& a, const QVector<QPointF>& b)
{
    if (a.size() != b.size())
        return false;
    for (int i = 0; i < a.size(); ++i)
        if (!samePoint(a[i], b[i]))
            return false;
    return true;
}

inline bool sameRings(const QVector<QVector<QPointF>>& a, const QVector<QVector<QPointF>>& b)
{
    if (a.size() != b.size())
        return false;
    for (int i = 0; i < a.size(); ++i)
        if (!samePoints(a[i], b[i]))
            return false;
    return true;
}

// Same kind and same coordinates, exactly (coordinate systems not compared).
inline bool sameGeometry(const Geometry& a, const Geometry& b)
{
    if (a.type() != b.type())
        return false;
    switch (a.type()) {
    case GeometryType::Point: {
        const auto& pa = static_cast<const Point&>(a);
        const auto& pb = static_cast<const Point&>(b);
        return pa.isEmpty() == pb.isEmpty() && (pa.isEmpty() || pa.point() == pb.point());
    }
    case GeometryType::MultiPoint:
        return samePoints(static_cast<const MultiPoint&>(a).points(), static_cast<const MultiPoint&>(b).points());
    case GeometryType::LineString:
        return samePoints(static_cast<const LineString&>(a).points(), static_cast<const LineString&>(b).points());
    case GeometryType::MultiLineString:
        return sameRings(static_cast<const MultiLineString&>(a).lines(),
                         static_cast<const MultiLineString&>(b).lines());
    case GeometryType::Polygon:
        return sameRings(static_cast<const Polygon&>(a).rings(), static_cast<const Polygon&>(b).rings());
    case GeometryType::MultiPolygon: {
        const auto& pa = static_cast<const MultiPolygon&>(a).polygons();
        const auto& pb = static_cast<const MultiPolygon&>(b).polygons();
        if (pa.size() != pb.size())
            return false;
        for (int i = 0; i < pa.size(); ++i)
            if (!sameRings(pa[i], pb[i]))
                return false;
        return true;
    }
    case GeometryType::Collection: {
        const auto& ma = static_cast<const GeometryCollection&>(a).members();
        const auto& mb = static_cast<const GeometryCollection&>(b).members();
        if (ma.size() != mb.size())
            return false;
        for (std::size_t i = 0; i < ma.size(); ++i)
            if (!sameGeometry(*ma[i], *mb[i]))
                return false;
        return true;
    }
    case GeometryType::Arc: {
        const auto& x = static_cast<const Arc&>(a);
        const auto& y = static_cast<const Arc&>(b);
        return x.rect() == y.rect() && x.startAngle() == y.startAngle() && x.endAngle() == y.endAngle();
    }
    case GeometryType::Ellipse:
        return static_cast<const Ellipse&>(a).rect() == static_cast<const Ellipse&>(b).rect();
    case GeometryType::RoundedRectangle: {
        const auto& x = static_cast<const RoundedRectangle&>(a);
        const auto& y = static_cast<const RoundedRectangle&>(b);
        return x.rect() == y.rect() && x.radiusX() == y.radiusX() && x.radiusY() == y.radiusY();
    }
    case GeometryType::Text: {
        const auto& x = static_cast<const Text&>(a);
        const auto& y = static_cast<const Text&>(b);
        return x.text() == y.text() && x.box() == y.box() && x.angle() == y.angle();
    }
    }
    return false;
}

} // namespace tessera::geometry::test
