#include "platform/geometry/algorithms/Units.h"

#include <stdexcept>

namespace tessera::geometry::units {

namespace {

struct UnitSize {
    const char* name;
    double size;
};

// International foot, yard and mile; the US survey foot is 1200/3937 m; the
// chain, link and rod are Gunter's (66 ft, 1/100 chain, 1/4 chain).
constexpr double foot = 0.3048;
constexpr double surveyFoot = 1200.0 / 3937.0;
constexpr double chain = 66.0 * foot;
constexpr double rod = chain / 4.0;

constexpr UnitSize lengthUnits[] = {
    {"m", 1.0},           {"km", 1000.0},          {"cm", 0.01},   {"mm", 0.001},
    {"mi", 5280.0 * foot}, {"nmi", 1852.0},        {"ft", foot},   {"survey ft", surveyFoot},
    {"yd", 3.0 * foot},   {"in", foot / 12.0},     {"ch", chain},  {"li", chain / 100.0},
    {"rd", rod},
};

constexpr UnitSize areaUnits[] = {
    {"sq m", 1.0},
    {"sq km", 1.0e6},
    {"sq cm", 1.0e-4},
    {"sq mm", 1.0e-6},
    {"sq mi", 5280.0 * foot * 5280.0 * foot},
    {"sq ft", foot * foot},
    {"sq survey ft", surveyFoot * surveyFoot},
    {"sq yd", 9.0 * foot * foot},
    {"sq in", foot * foot / 144.0},
    {"sq ch", chain * chain},
    {"sq li", chain * chain / 1.0e4},
    {"sq rd", rod * rod},
    {"acre", 10.0 * chain * chain},
    {"hectare", 1.0e4},
    {"perch", rod * rod},
    {"rood", 2.5 * chain * chain},
};

template <std::size_t N>
double lookUp(const UnitSize (&table)[N], const QString& unit)
{
    const QString key = unit.simplified();
    for (const UnitSize& u : table) {
        if (key.compare(QLatin1String(u.name), Qt::CaseInsensitive) == 0)
            return u.size;
    }
    throw std::invalid_argument("Unknown unit: " + unit.toStdString());
}

} // namespace

double lengthFactor(const QString& unit)
{
    return lookUp(lengthUnits, unit);
}

double areaFactor(const QString& unit)
{
    return lookUp(areaUnits, unit);
}

} // namespace tessera::geometry::units
