#include "platform/geometry/algorithms/VincentyModel.h"

#include <cmath>
#include <stdexcept>

namespace tessera::geometry {

namespace {
constexpr double toRad = M_PI / 180.0;
}

double VincentyModel::distance(const QPointF& p1, const QPointF& p2) const
{
    if (p1 == p2)
        return 0.0;
    const double a = e.a;
    const double f = e.f;
    const double b = a * (1.0 - f);
    const double L = std::remainder((p2.x() - p1.x()) * toRad, 2 * M_PI);
    const double U1 = std::atan((1.0 - f) * std::tan(p1.y() * toRad));
    const double U2 = std::atan((1.0 - f) * std::tan(p2.y() * toRad));
    const double sinU1 = std::sin(U1), cosU1 = std::cos(U1);
    const double sinU2 = std::sin(U2), cosU2 = std::cos(U2);

    double lambda = L;
    double sinSigma = 0, cosSigma = 0, sigma = 0, cos2Alpha = 0, cos2SigmaM = 0;
    bool converged = false;
    for (int i = 0; i < maxIterations; ++i) {
        const double sinLambda = std::sin(lambda), cosLambda = std::cos(lambda);
        sinSigma = std::hypot(cosU2 * sinLambda, cosU1 * sinU2 - sinU1 * cosU2 * cosLambda);
        if (sinSigma == 0.0)
            return 0.0;   // coincident points
        cosSigma = sinU1 * sinU2 + cosU1 * cosU2 * cosLambda;
        sigma = std::atan2(sinSigma, cosSigma);
        const double sinAlpha = cosU1 * cosU2 * sinLambda / sinSigma;
        cos2Alpha = 1.0 - sinAlpha * sinAlpha;
        // On the equator cos2Alpha is 0 and the term vanishes.
        cos2SigmaM = cos2Alpha != 0.0 ? cosSigma - 2.0 * sinU1 * sinU2 / cos2Alpha : 0.0;
        const double C = f / 16.0 * cos2Alpha * (4.0 + f * (4.0 - 3.0 * cos2Alpha));
        const double previous = lambda;
        lambda = L + (1.0 - C) * f * sinAlpha
            * (sigma + C * sinSigma * (cos2SigmaM + C * cosSigma * (-1.0 + 2.0 * cos2SigmaM * cos2SigmaM)));
        if (std::abs(lambda - previous) < tolerance) {
            converged = true;
            break;
        }
        if (std::abs(lambda) > M_PI)   // the iteration has left the valid range
            break;
    }
    if (!converged)
        throw std::runtime_error("Vincenty's formula does not converge (nearly antipodal points)");

    const double u2 = cos2Alpha * (a * a - b * b) / (b * b);
    const double A = 1.0 + u2 / 16384.0 * (4096.0 + u2 * (-768.0 + u2 * (320.0 - 175.0 * u2)));
    const double B = u2 / 1024.0 * (256.0 + u2 * (-128.0 + u2 * (74.0 - 47.0 * u2)));
    const double deltaSigma = B * sinSigma
        * (cos2SigmaM + B / 4.0 * (cosSigma * (-1.0 + 2.0 * cos2SigmaM * cos2SigmaM)
           - B / 6.0 * cos2SigmaM * (-3.0 + 4.0 * sinSigma * sinSigma) * (-3.0 + 4.0 * cos2SigmaM * cos2SigmaM)));
    return b * A * (sigma - deltaSigma);
}

double VincentyModel::ringArea(const Ring&) const
{
    throw std::logic_error("Vincenty's formula gives distances only");
}

} // namespace tessera::geometry
