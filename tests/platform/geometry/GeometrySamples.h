#pragma once
// One geometry of every kind, and an exact comparison for round trips.

#include "platform/geometry/Geometry.h"
#include "platform/serialization/Archive.h"

#include <gtest/gtest.h>

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

// The archive form of a geometry: every coordinate and parameter of every kind.
inline QByteArray archived(const Geometry& g)
{
    QByteArray out;
    QDataStream stream(&out, QIODevice::WriteOnly);
    serialization::BinaryOutputArchive archive(stream);
    serialization::TrackingOutputArchive tracking(archive);
    tracking.saveSerializable(g);
    return out;
}

// Same kind and same coordinates, exactly (coordinate systems not compared).
inline bool sameGeometry(const Geometry& a, const Geometry& b)
{
    return a.type() == b.type() && archived(a) == archived(b);
}

} // namespace tessera::geometry::test
