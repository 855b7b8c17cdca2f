#include "platform/geometry/algorithms/LambertModel.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace tessera::geometry {

namespace {
constexpr double toRad = M_PI / 180.0;
}

double LambertModel::distance(const QPointF& p1, const QPointF& p2) const
{
    if (p1 == p2)
        return 0.0;
    const double b1 = std::atan((1.0 - e.f) * std::tan(p1.y() * toRad));
    const double b2 = std::atan((1.0 - e.f) * std::tan(p2.y() * toRad));
    const double dl = (p2.x() - p1.x()) * toRad;
    const double h = std::sin((b2 - b1) / 2) * std::sin((b2 - b1) / 2)
        + std::cos(b1) * std::cos(b2) * std::sin(dl / 2) * std::sin(dl / 2);
    const double sigma = 2.0 * std::asin(std::sqrt(std::clamp(h, 0.0, 1.0)));
    if (sigma == 0.0)
        return 0.0;
    const double P = (b1 + b2) / 2;
    const double Q = (b2 - b1) / 2;
    const double cosHalf = std::cos(sigma / 2);
    const double sinHalf = std::sin(sigma / 2);
    const double X = (sigma - std::sin(sigma)) * std::pow(std::sin(P) * std::cos(Q), 2) / (cosHalf * cosHalf);
    const double Y = (sigma + std::sin(sigma)) * std::pow(std::cos(P) * std::sin(Q), 2) / (sinHalf * sinHalf);
    const double d = e.a * (sigma - e.f / 2 * (X + Y));
    if (!std::isfinite(d))
        throw std::runtime_error("Lambert's formula has no value for these points");
    return d;
}

double LambertModel::ringArea(const Ring&) const
{
    throw std::logic_error("Lambert's formula gives distances only");
}

} // namespace tessera::geometry
