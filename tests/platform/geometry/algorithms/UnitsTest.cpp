#include "platform/geometry/algorithms/Units.h"

#include <gtest/gtest.h>
#include <stdexcept>

using namespace tessera::geometry;

// The legal definitions: 1 ft = 0.3048 m, 1 US survey ft = 1200/3937 m,
// 1 mi = 1609.344 m, 1 nmi = 1852 m, 1 chain = 66 ft, 1 acre = 10 sq chains.
TEST(Units, FactorsAreTheLegalDefinitions)
{
    const struct {
        const char* name;
        double factor;
        bool area;
    } rows[] = {
        {"m", 1.0, false}, {"km", 1000.0, false}, {"cm", 0.01, false}, {"mm", 0.001, false},
        {"mi", 1609.344, false}, {"nmi", 1852.0, false}, {"ft", 0.3048, false},
        {"survey ft", 0.30480060960, false}, {"yd", 0.9144, false}, {"in", 0.0254, false},
        {"ch", 20.1168, false}, {"li", 0.201168, false}, {"rd", 5.0292, false},
        // Case and blanks around and inside the name do not matter.
        {" KM ", 1000.0, false}, {"Survey  Ft", 0.30480060960, false},
        {"sq m", 1.0, true}, {"sq km", 1e6, true}, {"sq cm", 1e-4, true}, {"sq mm", 1e-6, true},
        {"sq mi", 2589988.110336, true}, {"sq ft", 0.09290304, true}, {"sq survey ft", 0.09290341161, true},
        {"sq yd", 0.83612736, true}, {"sq in", 0.00064516, true}, {"sq ch", 404.68564224, true},
        {"sq li", 0.040468564224, true}, {"sq rd", 25.29285264, true}, {"acre", 4046.8564224, true},
        {"hectare", 1e4, true}, {"perch", 25.29285264, true}, {"rood", 1011.7141056, true},
    };
    for (const auto& row : rows) {
        const double factor = row.area ? units::areaFactor(row.name) : units::lengthFactor(row.name);
        EXPECT_NEAR(factor, row.factor, row.factor * 1e-10) << row.name;
    }
}

TEST(Units, UnknownNamesAreRejectedWithTheirName)
{
    try {
        units::lengthFactor("furlong");
        FAIL() << "no exception";
    } catch (const std::invalid_argument& e) {
        EXPECT_STREQ(e.what(), "Unknown unit: furlong");
    }
    // Area units are no lengths and the other way round.
    EXPECT_THROW(units::lengthFactor("sq m"), std::invalid_argument);
    EXPECT_THROW(units::areaFactor("m"), std::invalid_argument);
    EXPECT_THROW(units::areaFactor(""), std::invalid_argument);
    EXPECT_THROW(units::lengthFactor("kms"), std::invalid_argument);
}
