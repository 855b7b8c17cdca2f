#pragma once
// One geometry of every kind of the host model, for round trips.

#include "platform/geometry/Geometry.h"

#include <QString>
#include <memory>
#include <utility>
#include <vector>

namespace tessera::test {

inline std::vector<std::pair<QString, std::shared_ptr<geometry::Geometry>>> everyGeometryKind()
{
    using namespace geometry;
    const Ring square{{0, 0}, {10, 0}, {10, 10}, {0, 10}, {0, 0}};
    const Ring hole{{2, 2}, {4, 2}, {4, 4}, {2, 2}};
    const Ring other{{20, 20}, {30, 20}, {30, 30}, {20, 20}};
    std::vector<std::pair<QString, std::shared_ptr<Geometry>>> all;
    all.emplace_back("point", std::make_shared<Point>(QPointF(1.5, -2.25)));
    all.emplace_back("empty point", std::make_shared<Point>());
    all.emplace_back("multipoint", std::make_shared<MultiPoint>(QVector<QPointF>{{1, 2}, {3, 4}, {5, 6}}));
    all.emplace_back("line", std::make_shared<LineString>(QVector<QPointF>{{0, 0}, {1, 1}, {2, 0}}));
    all.emplace_back("multiline", std::make_shared<MultiLineString>(QVector<QVector<QPointF>>{{{0, 0}, {1, 1}}, {{5, 5}, {6, 7}, {8, 9}}}));
    all.emplace_back("polygon with hole", std::make_shared<Polygon>(QVector<Ring>{square, hole}));
    all.emplace_back("multipolygon", std::make_shared<MultiPolygon>(QVector<QVector<Ring>>{{square, hole}, {other}}));
    all.emplace_back("collection", std::make_shared<GeometryCollection>(std::vector<std::shared_ptr<Geometry>>{
        std::make_shared<Point>(QPointF(1, 1)), std::make_shared<LineString>(QVector<QPointF>{{0, 0}, {3, 3}}),
        std::make_shared<Polygon>(QVector<Ring>{square})}));
    all.emplace_back("arc", std::make_shared<Arc>(QRectF(0, 0, 10, 6), 15.0, 200.0));
    all.emplace_back("ellipse", std::make_shared<Ellipse>(QRectF(-5, -3, 10, 6)));
    all.emplace_back("rounded rectangle", std::make_shared<RoundedRectangle>(QRectF(0, 0, 8, 4), 1.0, 0.5));
    all.emplace_back("text", std::make_shared<Text>(QStringLiteral("Подпись ✓"), QRectF(1, 1, 20, 5), 30.0));
    return all;
}

} // namespace tessera::test
