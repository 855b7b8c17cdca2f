#include "platform/geometry/Geometry.h"

#include "platform/geometry/Approximation.h"
#include "platform/geometry/Bounds.h"
#include "platform/geometry/GeometryStream.h"
#include "platform/serialization/StreamIo.h"

#include <cmath>

namespace tessera::geometry {

namespace {

struct ArcShape {
    QPointF centre;
    double rx, ry;
    double t0;      // parametric start angle, radians
    double sweep;   // parametric sweep, (0, 2 pi]
};

ArcShape shapeOf(const QRectF& rect, double startAngle, double endAngle)
{
    const QRectF r = rect.normalized();
    ArcShape s{r.center(), r.width() / 2.0, r.height() / 2.0, 0.0, 2.0 * M_PI};
    double degrees = std::fmod(endAngle - startAngle, 360.0);
    if (degrees <= 0.0)
        degrees += 360.0;
    s.t0 = parametricAngle(startAngle, s.rx, s.ry);
    if (degrees < 360.0) {
        // The mapping between direction and parametric angle keeps turns.
        double sweep = std::fmod(parametricAngle(endAngle, s.rx, s.ry) - s.t0, 2.0 * M_PI);
        if (sweep < 0.0)
            sweep += 2.0 * M_PI;
        s.sweep = sweep;
    }
    return s;
}

QPointF pointAt(const ArcShape& s, double t)
{
    return QPointF(s.centre.x() + s.rx * std::cos(t), s.centre.y() + s.ry * std::sin(t));
}

} // namespace

QRectF Arc::boundingRect() const
{
    if (r.isNull())
        return QRectF();
    const ArcShape s = shapeOf(r, a0, a1);
    Bounds b;
    b.add(pointAt(s, s.t0));
    b.add(pointAt(s, s.t0 + s.sweep));
    // The extremes at the quarter turns that the arc passes.
    for (int k = 0; k < 4; ++k) {
        double t = k * M_PI / 2.0 - s.t0;
        t = std::fmod(t, 2.0 * M_PI);
        if (t < 0.0)
            t += 2.0 * M_PI;
        if (t <= s.sweep)
            b.add(pointAt(s, s.t0 + t));
    }
    return b.rect();
}

void Arc::transformPoints(const std::function<QPointF(const QPointF&)>& f)
{
    if (!r.isNull())
        r = mapRect(r, f);
}

std::unique_ptr<Geometry> Arc::approximateGeometry(const QSizeF& size) const
{
    std::unique_ptr<Geometry> result;
    if (r.isNull()) {
        result = std::make_unique<LineString>();
    } else {
        const ArcShape s = shapeOf(r, a0, a1);
        const int perTurn = segmentsPerTurn(size, std::max(s.rx, s.ry));
        const int segments = std::max(2, int(std::ceil(perTurn * s.sweep / (2.0 * M_PI))));
        QVector<QPointF> points;
        appendEllipsePoints(points, s.centre, s.rx, s.ry, s.t0, s.sweep, segments);
        result = std::make_unique<LineString>(std::move(points));
    }
    result->setCoordSystem(coordSystem());
    return result;
}

void Arc::saveBody(serialization::TrackingOutputArchive& archive) const
{
    QDataStream& s = archive.stream();
    writeRect(s, r);
    const double angles[2] = {a0, a1};
    serialization::writeDoubles(s, angles, 2);
}

std::shared_ptr<Arc> Arc::load(serialization::TrackingInputArchive& archive, quint32 version)
{
    checkVersion("Arc", version);
    QDataStream& s = archive.stream();
    const QRectF rect = readRect(s);
    double angles[2];
    serialization::readDoubles(s, angles, 2);
    return std::make_shared<Arc>(rect, angles[0], angles[1]);
}

} // namespace tessera::geometry
