#include "platform/geometry/algorithms/Units.h"

#include <gtest/gtest.h>
#include <stdexcept>

using namespace tessera::geometry;

TEST(Units, LengthFactorsAreTheLegalDefinitions)
{
    EXPECT_DOUBLE_EQ(units::lengthFactor("m"), 1.0);
    EXPECT_DOUBLE_EQ(units::lengthFactor("km"), 1000.0);
    EXPECT_DOUBLE_EQ(units::lengthFactor("cm"), 0.01);
    EXPECT_DOUBLE_EQ(units::lengthFactor("mm"), 0.001);
    EXPECT_DOUBLE_EQ(units::lengthFactor("mi"), 1609.344);
    EXPECT_DOUBLE_EQ(units::lengthFactor("nmi"), 1852.0);
    EXPECT_DOUBLE_EQ(units::lengthFactor("ft"), 0.3048);
    EXPECT_NEAR(units::lengthFactor("survey ft"), 0.3048006096, 1e-10);
    EXPECT_DOUBLE_EQ(units::lengthFactor("yd"), 0.9144);
    EXPECT_DOUBLE_EQ(units::lengthFactor("in"), 0.0254);
    EXPECT_DOUBLE_EQ(units::lengthFactor("ch"), 20.1168);
    EXPECT_DOUBLE_EQ(units::lengthFactor("li"), 0.201168);
    EXPECT_DOUBLE_EQ(units::lengthFactor("rd"), 5.0292);
    // Case and blanks around the name do not matter.
    EXPECT_DOUBLE_EQ(units::lengthFactor(" KM "), 1000.0);
    EXPECT_DOUBLE_EQ(units::lengthFactor("Survey  Ft"), units::lengthFactor("survey ft"));
}

TEST(Units, AreaFactorsAreTheLegalDefinitions)
{
    EXPECT_DOUBLE_EQ(units::areaFactor("sq m"), 1.0);
    EXPECT_DOUBLE_EQ(units::areaFactor("sq km"), 1e6);
    EXPECT_DOUBLE_EQ(units::areaFactor("sq cm"), 1e-4);
    EXPECT_DOUBLE_EQ(units::areaFactor("sq mm"), 1e-6);
    EXPECT_NEAR(units::areaFactor("sq mi"), 2589988.110336, 1e-6);
    EXPECT_NEAR(units::areaFactor("sq ft"), 0.09290304, 1e-12);
    EXPECT_NEAR(units::areaFactor("sq survey ft"), 0.09290341161, 1e-10);
    EXPECT_NEAR(units::areaFactor("sq yd"), 0.83612736, 1e-12);
    EXPECT_NEAR(units::areaFactor("sq in"), 0.00064516, 1e-14);
    EXPECT_NEAR(units::areaFactor("sq ch"), 404.68564224, 1e-8);
    EXPECT_NEAR(units::areaFactor("sq li"), 0.040468564224, 1e-12);
    EXPECT_NEAR(units::areaFactor("sq rd"), 25.29285264, 1e-8);
    EXPECT_NEAR(units::areaFactor("acre"), 4046.8564224, 1e-7);
    EXPECT_DOUBLE_EQ(units::areaFactor("hectare"), 1e4);
    EXPECT_NEAR(units::areaFactor("perch"), 25.29285264, 1e-8);
    EXPECT_NEAR(units::areaFactor("rood"), 1011.7141056, 1e-7);
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
