#include "engine/functions/NumericFunctions.h"

#include "tests/support/SqlHarness.h"

#include <gtest/gtest.h>


namespace tessera::engine {
namespace {

class NumericFunctions : public ::testing::Test {
protected:
    NumericFunctions()
    {
        db.scalar("divide", 2, divide);
        db.scalar("quotient", 2, quotient);
        db.scalar("modulo", 2, modulo);
        db.scalar("involution", 2, power);
        db.scalar("sqrt", 1, engine::sqrt);
        db.scalar("sign", 1, sign);
        db.scalar("minimum", 2, minimum);
        db.scalar("maximum", 2, maximum);
        db.scalar("truncate", 1, truncate);
        db.scalar("floor", 1, engine::floor);
        db.scalar("roundto", 2, roundTo);
        db.scalar("roundby", 1, roundBy);
        db.scalar("roundby", 2, roundBy);
        db.scalar("xor", 2, xorLogical);
        db.aggregate("wtavg", 2, WtAvg::step, WtAvg::final);
        db.aggregate("wtavgsafe", 2, WtAvgSafe::step, WtAvgSafe::final);
        db.exec("CREATE TABLE t(grp, v, w);"
                "INSERT INTO t VALUES (1, 10, 1), (1, 20, 3),"         // 17.5
                " (2, 5, 1), (2, 7, -1),"                              // weights cancel
                " (3, 'x', 1), (3, 4, NULL), (3, 6, '2'),"            // bad rows skipped
                " (4, 'x', 1),"                                        // nothing usable
                " (5, 1e300, 1e300), (5, 1e300, 1e300),"              // huge products
                " (6, 10, 1), (6, 20, -1), (6, 30, 1);");              // passes through zero
    }

    test::SqlHarness db;
};

TEST_F(NumericFunctions, DivideQuotientModulo)
{
    const std::string zero = "error: Division by zero", overflow = "error: Integer overflow";
    db.expectAll({
        {"divide(7, 2)", "3.5"}, {"divide('7', '2')", "3.5"}, {"divide(1, 0)", zero}, {"divide(0, 0)", zero},
        {"divide(1e308, 1e-308)", zero}, {"divide(NULL, 2)", "NULL"}, {"divide(1, 'abc')", "NULL"},
        {"divide(x'01', 2)", "NULL"},

        {"quotient(7, 2)", "3"}, {"quotient(-7, 2)", "-3"}, // two integers: truncated
        {"quotient(-7.0, 2)", "-4"},                          // otherwise: floored
        {"quotient('7', 2)", "3"},                            // text is not an integer value
        {"quotient(9223372036854775807, 1)", "9223372036854775807"},
        {"quotient(-9223372036854775807 - 1, 1)", "-9223372036854775808"},
        {"quotient(-9223372036854775807 - 1, -1)", overflow}, {"quotient(1e30, 1)", overflow},
        {"quotient(9223372036854775808.0, 1)", overflow},
        {"quotient(-9223372036854775808.0, 1)", "-9223372036854775808"},
        {"quotient(5, 0)", zero}, {"quotient(5.0, 0)", zero}, {"quotient(5, NULL)", "NULL"},
        {"quotient(1e17, 3)", "33333333333333332"}, // above 2^52: no floor needed

        {"modulo(-7, 3)", "-1"}, {"modulo(7, -3)", "1"}, {"modulo(-9223372036854775807 - 1, -1)", "0"},
        {"modulo(7.5, 2)", "1.5"}, {"modulo('7', 2)", "1.0"}, {"modulo(7.5, 0)", zero}, {"modulo(7, 0)", zero},
        {"modulo('a', 3)", "NULL"},
    });
}

TEST_F(NumericFunctions, PowerRootSignMinMax)
{
    const std::string overflow = "error: Power overflow", negative = "error: Square root from negative value";
    db.expectAll({
        {"involution(2, 10)", "1024.0"}, {"involution(2, -1)", "0.5"}, {"involution(-8, 3)", "-512.0"},
        {"involution(9, 0.5)", "3.0"}, {"involution('4', '0.5')", "2.0"}, {"involution(2, 1024)", overflow},
        {"involution(0, -1)", overflow}, {"involution(-8, 1.0/3)", overflow}, {"involution(NULL, 2)", "NULL"},
        {"sqrt(4)", "2.0"}, {"sqrt('2.25')", "1.5"}, {"sqrt(0)", "0.0"}, {"sqrt(-1)", negative},
        {"sqrt(NULL)", negative}, {"sqrt('x')", negative},
        {"sign(-3.5)", "-1"}, {"sign(0)", "0"}, {"sign(0.0)", "0"}, {"sign('12')", "1"}, {"sign('x')", "NULL"},
        {"minimum(1, 2)", "1.0"}, // a real even for integers
        {"minimum(2, 1)", "1.0"}, {"maximum(1, 2)", "2.0"}, {"maximum(-1, '-2')", "-1.0"},
        {"maximum(1, NULL)", "NULL"},
    });
}

TEST_F(NumericFunctions, TruncateFloorAndRounding)
{
    db.expectAll({
        {"truncate(-1.5)", "-1"}, {"truncate(1.9)", "1"}, {"truncate('12.9')", "12"}, {"truncate('1.5e3')", "1500"},
        {"truncate('abc')", "NULL"},
        {"floor(-1.5)", "-2"}, {"floor('3.7')", "3"}, {"floor(-0.0)", "0"},
        {"floor(9223372036854775807)", "9223372036854775807"}, // not through a double
        {"floor(-4503599627370497.0)", "-4503599627370497"}, {"floor(1e19)", "error: Integer overflow"},
        {"floor('x')", "NULL"},
        {"roundto(17, 5)", "15.0"}, {"roundto(18, 5)", "20.0"}, {"roundto(2.5, 0)", "3.0"}, {"roundto(-2.5, 1)", "-3.0"},
        {"roundto(1.26, 0.1)", "1.3"}, {"roundto(1, 'a')", "NULL"},
        {"roundby(2.5)", "3.0"}, {"roundby(-2.5)", "-3.0"}, {"roundby(2.675, 2)", "2.68"},
        {"roundby(1250, -2)", "1300.0"}, {"roundby(1.5, '0')", "2.0"}, {"roundby(1.5, 'x')", "NULL"},
        {"roundby(NULL)", "NULL"},
        {"typeof(roundby(1.5, 9223372036854775807)) <> ''", "1"}, // an absurd digit count is harmless
        {"xor(2, 0)", "1"}, {"xor(0, -5)", "1"}, {"xor(2, 3)", "0"}, {"xor(0, 0)", "0"},
        {"xor(0.5, 0)", "1"}, // as doubles: 0.5 is true
        {"xor('1', '0')", "1"}, {"xor(NULL, 1)", "NULL"}, {"xor(1, 'x')", "NULL"},
    });
}

TEST_F(NumericFunctions, WeightedAverages)
{
    const std::string zero = "error: Division by zero";
    db.expectAll({
        {"wtavg(v, w) FROM t WHERE grp = 1", "17.5"}, {"wtavgsafe(v, w) FROM t WHERE grp = 1", "17.5"},
        {"wtavg(v, w) FROM t WHERE grp = 2", zero}, {"wtavgsafe(v, w) FROM t WHERE grp = 2", zero},
        // Rows with a value or weight that is not a number are skipped.
        {"wtavg(v, w) FROM t WHERE grp = 3", "6.0"}, {"wtavgsafe(v, w) FROM t WHERE grp = 3", "6.0"},
        // Rows, but none usable; then no rows at all.
        {"wtavg(v, w) FROM t WHERE grp = 4", zero}, {"wtavgsafe(v, w) FROM t WHERE grp = 4", "0.0"},
        {"wtavg(v, w) FROM t WHERE grp = 99", "NULL"}, {"wtavgsafe(v, w) FROM t WHERE grp = 99", "NULL"},
        // The running mean stays within the range of its inputs where the
        // plain sum of products overflows.
        {"wtavgsafe(v, w) FROM t WHERE grp = 5", "1e+300"}, {"wtavg(v, w) = 1e300 FROM t WHERE grp = 5", "0"},
        // Once the running weight has been zero the safe mean stays failed.
        {"wtavgsafe(v, w) FROM t WHERE grp = 6", zero}, {"wtavg(v, w) FROM t WHERE grp = 6", "20.0"},
        // Grouped: one state per group.
        {"group_concat(a) FROM (SELECT wtavgsafe(v, w) AS a FROM t WHERE grp IN (1, 3) GROUP BY grp ORDER BY grp)",
         "'17.5,6.0'"},
    });
}

} // namespace
} // namespace tessera::engine
