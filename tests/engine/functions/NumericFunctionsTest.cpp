#include "engine/functions/NumericFunctions.h"

#include "SqlHarness.h"

#include <gtest/gtest.h>

#include <limits>

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
    db.expectReal("SELECT divide(7, 2)", 3.5);
    db.expectReal("SELECT divide('7', '2')", 3.5);
    db.expectError("SELECT divide(1, 0)", "Division by zero");
    db.expectError("SELECT divide(0, 0)", "Division by zero");
    db.expectError("SELECT divide(1e308, 1e-308)", "Division by zero");
    db.expectNull("SELECT divide(NULL, 2)");
    db.expectNull("SELECT divide(1, 'abc')");
    db.expectNull("SELECT divide(x'01', 2)");

    db.expectInt("SELECT quotient(7, 2)", 3);
    db.expectInt("SELECT quotient(-7, 2)", -3);   // two integers: truncated
    db.expectInt("SELECT quotient(-7.0, 2)", -4); // otherwise: floored
    db.expectInt("SELECT quotient('7', 2)", 3);   // text is not an integer value
    db.expectInt("SELECT quotient(9223372036854775807, 1)", 9223372036854775807LL);
    db.expectInt("SELECT quotient(-9223372036854775807 - 1, 1)", std::numeric_limits<qint64>::min());
    db.expectError("SELECT quotient(-9223372036854775807 - 1, -1)", "Integer overflow");
    db.expectError("SELECT quotient(1e30, 1)", "Integer overflow");
    db.expectError("SELECT quotient(9223372036854775808.0, 1)", "Integer overflow");
    db.expectInt("SELECT quotient(-9223372036854775808.0, 1)", std::numeric_limits<qint64>::min());
    db.expectError("SELECT quotient(5, 0)", "Division by zero");
    db.expectError("SELECT quotient(5.0, 0)", "Division by zero");
    db.expectNull("SELECT quotient(5, NULL)");
    db.expectInt("SELECT quotient(1e17, 3)", 33333333333333332LL); // above 2^52: no floor needed

    db.expectInt("SELECT modulo(-7, 3)", -1);
    db.expectInt("SELECT modulo(7, -3)", 1);
    db.expectInt("SELECT modulo(-9223372036854775807 - 1, -1)", 0);
    db.expectReal("SELECT modulo(7.5, 2)", 1.5);
    db.expectReal("SELECT modulo('7', 2)", 1.0);
    db.expectError("SELECT modulo(7.5, 0)", "Division by zero");
    db.expectError("SELECT modulo(7, 0)", "Division by zero");
    db.expectNull("SELECT modulo('a', 3)");
}

TEST_F(NumericFunctions, PowerRootSignMinMax)
{
    db.expectReal("SELECT involution(2, 10)", 1024.0);
    db.expectReal("SELECT involution(2, -1)", 0.5);
    db.expectReal("SELECT involution(-8, 3)", -512.0);
    db.expectReal("SELECT involution(9, 0.5)", 3.0);
    db.expectReal("SELECT involution('4', '0.5')", 2.0);
    db.expectError("SELECT involution(2, 1024)", "Power overflow");
    db.expectError("SELECT involution(0, -1)", "Power overflow");
    db.expectError("SELECT involution(-8, 1.0/3)", "Power overflow");
    db.expectNull("SELECT involution(NULL, 2)");

    db.expectReal("SELECT sqrt(4)", 2.0);
    db.expectReal("SELECT sqrt('2.25')", 1.5);
    db.expectReal("SELECT sqrt(0)", 0.0);
    db.expectError("SELECT sqrt(-1)", "Square root from negative value");
    db.expectError("SELECT sqrt(NULL)", "Square root from negative value");
    db.expectError("SELECT sqrt('x')", "Square root from negative value");

    db.expectInt("SELECT sign(-3.5)", -1);
    db.expectInt("SELECT sign(0)", 0);
    db.expectInt("SELECT sign(0.0)", 0);
    db.expectInt("SELECT sign('12')", 1);
    db.expectNull("SELECT sign('x')");

    db.expectReal("SELECT minimum(1, 2)", 1.0); // a real even for integers
    db.expectReal("SELECT minimum(2, 1)", 1.0);
    db.expectReal("SELECT maximum(1, 2)", 2.0);
    db.expectReal("SELECT maximum(-1, '-2')", -1.0);
    db.expectNull("SELECT maximum(1, NULL)");
}

TEST_F(NumericFunctions, TruncateFloorAndRounding)
{
    db.expectInt("SELECT truncate(-1.5)", -1);
    db.expectInt("SELECT truncate(1.9)", 1);
    db.expectInt("SELECT truncate('12.9')", 12);
    db.expectInt("SELECT truncate('1.5e3')", 1500);
    db.expectNull("SELECT truncate('abc')");

    db.expectInt("SELECT floor(-1.5)", -2);
    db.expectInt("SELECT floor('3.7')", 3);
    db.expectInt("SELECT floor(-0.0)", 0);
    db.expectInt("SELECT floor(9223372036854775807)", 9223372036854775807LL); // not through a double
    db.expectInt("SELECT floor(-4503599627370497.0)", -4503599627370497LL);
    db.expectError("SELECT floor(1e19)", "Integer overflow");
    db.expectNull("SELECT floor('x')");

    db.expectReal("SELECT roundto(17, 5)", 15.0);
    db.expectReal("SELECT roundto(18, 5)", 20.0);
    db.expectReal("SELECT roundto(2.5, 0)", 3.0);
    db.expectReal("SELECT roundto(-2.5, 1)", -3.0);
    db.expectReal("SELECT roundto(1.26, 0.1)", 1.3);
    db.expectNull("SELECT roundto(1, 'a')");

    db.expectReal("SELECT roundby(2.5)", 3.0);
    db.expectReal("SELECT roundby(-2.5)", -3.0);
    db.expectReal("SELECT roundby(2.675, 2)", 2.68);
    db.expectReal("SELECT roundby(1250, -2)", 1300.0);
    db.expectReal("SELECT roundby(1.5, '0')", 2.0);
    db.expectNull("SELECT roundby(1.5, 'x')");
    db.expectNull("SELECT roundby(NULL)");
    // An absurd digit count is harmless.
    EXPECT_NE(db.query("SELECT roundby(1.5, 9223372036854775807)").type, 0);
}

TEST_F(NumericFunctions, ExclusiveOr)
{
    db.expectInt("SELECT xor(2, 0)", 1);
    db.expectInt("SELECT xor(0, -5)", 1);
    db.expectInt("SELECT xor(2, 3)", 0);
    db.expectInt("SELECT xor(0, 0)", 0);
    db.expectInt("SELECT xor(0.5, 0)", 1); // as doubles: 0.5 is true
    db.expectInt("SELECT xor('1', '0')", 1);
    db.expectNull("SELECT xor(NULL, 1)");
    db.expectNull("SELECT xor(1, 'x')");
}

TEST_F(NumericFunctions, WeightedAverages)
{
    db.expectReal("SELECT wtavg(v, w) FROM t WHERE grp = 1", 17.5);
    db.expectReal("SELECT wtavgsafe(v, w) FROM t WHERE grp = 1", 17.5);
    db.expectError("SELECT wtavg(v, w) FROM t WHERE grp = 2", "Division by zero");
    db.expectError("SELECT wtavgsafe(v, w) FROM t WHERE grp = 2", "Division by zero");
    // Rows with a value or weight that is not a number are skipped.
    db.expectReal("SELECT wtavg(v, w) FROM t WHERE grp = 3", 6.0);
    db.expectReal("SELECT wtavgsafe(v, w) FROM t WHERE grp = 3", 6.0);
    // Rows, but none usable.
    db.expectError("SELECT wtavg(v, w) FROM t WHERE grp = 4", "Division by zero");
    db.expectReal("SELECT wtavgsafe(v, w) FROM t WHERE grp = 4", 0.0);
    // No rows at all.
    db.expectNull("SELECT wtavg(v, w) FROM t WHERE grp = 99");
    db.expectNull("SELECT wtavgsafe(v, w) FROM t WHERE grp = 99");
    // The running mean stays within the range of its inputs where the plain
    // sum of products overflows.
    db.expectReal("SELECT wtavgsafe(v, w) FROM t WHERE grp = 5", 1e300);
    EXPECT_NE(db.query("SELECT wtavg(v, w) FROM t WHERE grp = 5").real, 1e300);
    // Once the running weight has been zero the safe mean stays failed.
    db.expectError("SELECT wtavgsafe(v, w) FROM t WHERE grp = 6", "Division by zero");
    db.expectReal("SELECT wtavg(v, w) FROM t WHERE grp = 6", 20.0);
    // Grouped: one state per group.
    const test::SqlResult r = db.query("SELECT group_concat(a) FROM (SELECT wtavgsafe(v, w) AS a FROM t "
                                       "WHERE grp IN (1, 3) GROUP BY grp ORDER BY grp)");
    EXPECT_EQ(r.text, "17.5,6.0");
}

} // namespace
} // namespace tessera::engine
