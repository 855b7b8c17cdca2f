#pragma once
// Bounding boxes built point by point. QRectF::united() ignores rectangles of
// zero size, which a single point or a vertical line has, so boxes are
// collected as coordinate ranges instead.

#include "platform/geometry/GeometryExport.h"

#include <QPointF>
#include <QRectF>
#include <QVector>
#include <cmath>
#include <functional>
#include <limits>

namespace tessera::geometry {

class TESSERA_GEOMETRY_EXPORT Bounds {
public:
    void add(const QPointF& p)
    {
        if (std::isnan(p.x()) || std::isnan(p.y()))
            return;
        if (p.x() < x0) x0 = p.x();
        if (p.x() > x1) x1 = p.x();
        if (p.y() < y0) y0 = p.y();
        if (p.y() > y1) y1 = p.y();
    }
    void add(const QVector<QPointF>& points)
    {
        for (const QPointF& p : points)
            add(p);
    }
    // A box of a non-empty geometry (it may have zero size).
    void add(const QRectF& box)
    {
        add(box.topLeft());
        add(box.bottomRight());
    }
    bool isEmpty() const { return x0 > x1; }
    // A null QRectF when nothing was added.
    QRectF rect() const { return isEmpty() ? QRectF() : QRectF(QPointF(x0, y0), QPointF(x1, y1)); }

private:
    double x0 = std::numeric_limits<double>::infinity();
    double y0 = std::numeric_limits<double>::infinity();
    double x1 = -std::numeric_limits<double>::infinity();
    double y1 = -std::numeric_limits<double>::infinity();
};

// The box that holds the images of a rectangle's four corners: shapes stay
// axis-aligned when their coordinates are mapped.
inline QRectF mapRect(const QRectF& rect, const std::function<QPointF(const QPointF&)>& f)
{
    const QRectF r = rect.normalized();
    Bounds b;
    b.add(f(r.topLeft()));
    b.add(f(r.topRight()));
    b.add(f(r.bottomLeft()));
    b.add(f(r.bottomRight()));
    return b.rect();
}

inline void mapPoints(QVector<QPointF>& points, const std::function<QPointF(const QPointF&)>& f)
{
    for (QPointF& p : points)
        p = f(p);
}

} // namespace tessera::geometry
