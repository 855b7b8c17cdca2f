#include "platform/geometry/Approximation.h"

#include <algorithm>
#include <cmath>

namespace tessera::geometry {

namespace {
constexpr int minSegments = 8;
constexpr int maxSegments = 4096;
}

int accurateSegmentsPerTurn()
{
    // 1 - sin(h)/h < h^2/6: with half the allowed error, for a margin over
    // the rounding of coordinates.
    static const int segments = int(std::ceil(2.0 * M_PI / std::sqrt(6.0 * defaultRelativeError / 2.0)));
    return segments;
}

int segmentsPerTurn(const QSizeF& pixel, double radius)
{
    double step = 0.0;
    if (pixel.width() > 0.0 && pixel.height() > 0.0)
        step = std::min(pixel.width(), pixel.height());
    else
        step = std::max(pixel.width(), pixel.height());
    if (!(step > 0.0) || !std::isfinite(step) || !(radius > 0.0) || !std::isfinite(radius))
        return accurateSegmentsPerTurn();
    if (step >= radius)
        return minSegments;
    // A chord over angle a strays r * (1 - cos(a / 2)) from the arc.
    const double angle = 2.0 * std::acos(1.0 - step / radius);
    const double segments = std::ceil(2.0 * M_PI / angle);
    return int(std::clamp(segments, double(minSegments), double(maxSegments)));
}

double parametricAngle(double degrees, double rx, double ry)
{
    const double a = degrees * M_PI / 180.0;
    if (rx <= 0.0 || ry <= 0.0)
        return a;
    return std::atan2(rx * std::sin(a), ry * std::cos(a));
}

void appendEllipsePoints(QVector<QPointF>& out, const QPointF& c, double rx, double ry, double t0, double sweep,
                         int segments)
{
    out.reserve(out.size() + segments + 1);
    for (int i = 0; i <= segments; ++i) {
        const double t = t0 + sweep * i / segments;
        out.append(QPointF(c.x() + rx * std::cos(t), c.y() + ry * std::sin(t)));
    }
}

} // namespace tessera::geometry
