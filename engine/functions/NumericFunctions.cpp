#include "engine/functions/NumericFunctions.h"

#include "engine/functions/ValueConversions.h"
#include "platform/utils/NumberFormat.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

namespace tessera::engine {

namespace {

const char* const divisionByZero = "Division by zero";
const char* const integerOverflow = "Integer overflow";
const char* const powerOverflow = "Power overflow";
const char* const negativeRoot = "Square root from negative value";

constexpr std::int64_t int64Min = std::numeric_limits<std::int64_t>::min();
// 2^63: the first double above every 64-bit integer.
constexpr double twoTo63 = 9223372036854775808.0;
// 2^52: from here on every double is integral.
constexpr double twoTo52 = 4503599627370496.0;

void error(sqlite3_context* context, const char* text)
{
    sqlite3_result_error(context, text, -1);
}

bool isFinite(double r)
{
    return std::fabs(r) <= std::numeric_limits<double>::max();
}

bool isInteger(sqlite3_value* value)
{
    return sqlite3_value_type(value) == SQLITE_INTEGER;
}

// Reads two numbers with `read`; false (and a NULL result) if either is not numeric.
template <class T, class Read>
bool readPair(sqlite3_context* context, sqlite3_value** argv, Read read, T& a, T& b)
{
    bool okA = false;
    bool okB = false;
    a = read(argv[0], &okA);
    b = read(argv[1], &okB);
    if (okA && okB)
        return true;
    sqlite3_result_null(context);
    return false;
}

bool readDoubles(sqlite3_context* context, sqlite3_value** argv, double& a, double& b)
{
    return readPair(context, argv, &toDouble, a, b);
}

// One operand of an operator chain: an integer or a real (a read integer
// carries its real value too, as the mixed paths read it).
struct Operand {
    bool isInteger = false;
    std::int64_t integer = 0;
    double real = 0;
};

Operand integerOperand(std::int64_t value)
{
    return {true, value, static_cast<double>(value)};
}

Operand realOperand(double value)
{
    return {false, 0, value};
}

bool readOperand(sqlite3_value* value, Operand& out)
{
    bool ok = false;
    if (isInteger(value))
        out = integerOperand(toInt64(value, &ok));
    else
        out = realOperand(toDouble(value, &ok));
    return ok;
}

// The translator writes a chain a / b / c as one call divide(a, b, c): the
// operands are combined from the left by `step`, exactly as nested calls of
// two arguments would be. A non-numeric operand gives NULL; `step` returns
// an error text or null.
template <class Step>
void foldChain(sqlite3_context* context, int argc, sqlite3_value** argv, Step step)
{
    if (argc < 2)
        return error(context, "Two or more arguments expected");
    Operand accumulated;
    if (!readOperand(argv[0], accumulated))
        return sqlite3_result_null(context);
    for (int k = 1; k < argc; ++k) {
        Operand next;
        if (!readOperand(argv[k], next))
            return sqlite3_result_null(context);
        if (const char* failure = step(accumulated, next))
            return error(context, failure);
    }
    if (accumulated.isInteger)
        sqlite3_result_int64(context, accumulated.integer);
    else
        sqlite3_result_double(context, accumulated.real);
}

// floor(x) as a 64-bit integer; false when it does not fit.
bool floorToInt64(double x, std::int64_t& result)
{
    if (!(x >= -twoTo63 && x < twoTo63))
        return false;
    result = static_cast<std::int64_t>(std::fabs(x) < twoTo52 ? std::floor(x) : x);
    return true;
}

} // namespace

void divide(sqlite3_context* context, int argc, sqlite3_value** argv)
{
    foldChain(context, argc, argv, [](Operand& a, const Operand& b) -> const char* {
        const double r = a.real / b.real;
        if (!isFinite(r))
            return divisionByZero;
        a = realOperand(r);
        return nullptr;
    });
}

void quotient(sqlite3_context* context, int argc, sqlite3_value** argv)
{
    foldChain(context, argc, argv, [](Operand& a, const Operand& b) -> const char* {
        if (a.isInteger && b.isInteger) {
            if (b.integer == 0)
                return divisionByZero;
            // The one quotient of two 64-bit integers that does not fit: the
            // user gets the overflow error that the real path gives for it too.
            if (a.integer == int64Min && b.integer == -1)
                return integerOverflow;
            a = integerOperand(a.integer / b.integer);
            return nullptr;
        }
        const double q = a.real / b.real;
        if (!isFinite(q))
            return divisionByZero;
        // 2^63 itself is out of range as well: it has no 64-bit integer.
        std::int64_t result = 0;
        if (!floorToInt64(q, result))
            return integerOverflow;
        a = integerOperand(result);
        return nullptr;
    });
}

void modulo(sqlite3_context* context, int argc, sqlite3_value** argv)
{
    foldChain(context, argc, argv, [](Operand& a, const Operand& b) -> const char* {
        if (a.isInteger && b.isInteger) {
            if (b.integer == 0)
                return divisionByZero;
            // Every integer is a multiple of -1; this also keeps INT64_MIN % -1,
            // which the processor traps on, well defined.
            a = integerOperand(b.integer == -1 ? 0 : a.integer % b.integer);
            return nullptr;
        }
        const double r = std::fmod(a.real, b.real);
        if (!isFinite(r))
            return divisionByZero;
        a = realOperand(r);
        return nullptr;
    });
}

void power(sqlite3_context* context, int argc, sqlite3_value** argv)
{
    foldChain(context, argc, argv, [](Operand& a, const Operand& b) -> const char* {
        const double r = std::pow(a.real, b.real);
        if (!isFinite(r))
            return powerOverflow;
        a = realOperand(r);
        return nullptr;
    });
}

void sqrt(sqlite3_context* context, int, sqlite3_value** argv)
{
    // No NULL result here: whatever is not a non-negative number is an error.
    bool ok = false;
    const double a = toDouble(argv[0], &ok);
    if (!ok || !(a >= 0))
        return error(context, negativeRoot);
    sqlite3_result_double(context, std::sqrt(a));
}

void sign(sqlite3_context* context, int, sqlite3_value** argv)
{
    bool ok = false;
    const double a = toDouble(argv[0], &ok);
    if (!ok)
        return sqlite3_result_null(context);
    sqlite3_result_int(context, a < 0 ? -1 : (a == 0 ? 0 : 1));
}

void minimum(sqlite3_context* context, int, sqlite3_value** argv)
{
    double a = 0;
    double b = 0;
    if (readDoubles(context, argv, a, b))
        sqlite3_result_double(context, b < a ? b : a);
}

void maximum(sqlite3_context* context, int, sqlite3_value** argv)
{
    double a = 0;
    double b = 0;
    if (readDoubles(context, argv, a, b))
        sqlite3_result_double(context, b > a ? b : a);
}

void truncate(sqlite3_context* context, int, sqlite3_value** argv)
{
    bool ok = false;
    const std::int64_t a = toInt64(argv[0], &ok);
    if (!ok)
        return sqlite3_result_null(context);
    sqlite3_result_int64(context, a);
}

void floor(sqlite3_context* context, int, sqlite3_value** argv)
{
    bool ok = false;
    if (isInteger(argv[0])) {
        const std::int64_t a = toInt64(argv[0], &ok);
        return ok ? sqlite3_result_int64(context, a) : sqlite3_result_null(context);
    }
    const double a = toDouble(argv[0], &ok);
    if (!ok)
        return sqlite3_result_null(context);
    // A real beyond the 64-bit range has no integer floor to give.
    std::int64_t result = 0;
    if (!floorToInt64(a, result))
        return error(context, integerOverflow);
    sqlite3_result_int64(context, result);
}

void roundTo(sqlite3_context* context, int, sqlite3_value** argv)
{
    double x = 0;
    double step = 0;
    if (!readDoubles(context, argv, x, step))
        return;
    if (step == 0)
        step = 1;
    sqlite3_result_double(context, std::round(x / step) * step);
}

void roundBy(sqlite3_context* context, int argc, sqlite3_value** argv)
{
    bool ok = false;
    const double x = toDouble(argv[0], &ok);
    if (!ok)
        return sqlite3_result_null(context);
    std::int64_t digits = 0;
    if (argc > 1) {
        digits = toInt64(argv[1], &ok);
        if (!ok)
            return sqlite3_result_null(context);
    }
    // Beyond a few hundred digits rounding changes nothing (or gives 0); the
    // clamp keeps the count within an int.
    digits = std::clamp<std::int64_t>(digits, -400, 400);
    sqlite3_result_double(context, utils::getRound(x, static_cast<int>(digits)));
}

void xorLogical(sqlite3_context* context, int argc, sqlite3_value** argv)
{
    // NaN is not equal to 0, so it counts as true.
    auto truth = [](const Operand& x) { return x.isInteger ? x.integer != 0 : x.real != 0; };
    foldChain(context, argc, argv, [&truth](Operand& a, const Operand& b) -> const char* {
        a = integerOperand(truth(a) != truth(b) ? 1 : 0);
        return nullptr;
    });
}

namespace WtAvg {

namespace {
struct State {
    double weightedSum;
    double weightSum;
};
} // namespace

void step(sqlite3_context* context, int, sqlite3_value** argv)
{
    // Allocated even for a skipped row: the final tells "no rows" (NULL)
    // from "no usable weight" (an error) by it.
    auto* state = static_cast<State*>(sqlite3_aggregate_context(context, sizeof(State)));
    if (!state)
        return sqlite3_result_error_nomem(context);
    bool ok = false;
    const double weight = toDouble(argv[1], &ok);
    if (!ok)
        return;
    const double value = toDouble(argv[0], &ok);
    if (!ok)
        return;
    state->weightSum += weight;
    state->weightedSum += value * weight;
}

void final(sqlite3_context* context)
{
    const auto* state = static_cast<const State*>(sqlite3_aggregate_context(context, 0));
    if (!state)
        return sqlite3_result_null(context);
    if (state->weightSum == 0)
        return error(context, divisionByZero);
    sqlite3_result_double(context, state->weightedSum / state->weightSum);
}

} // namespace WtAvg

namespace WtAvgSafe {

namespace {
struct State {
    double mean;
    double weightSum;
    unsigned char failed;
};
} // namespace

void step(sqlite3_context* context, int, sqlite3_value** argv)
{
    auto* state = static_cast<State*>(sqlite3_aggregate_context(context, sizeof(State)));
    if (!state)
        return sqlite3_result_error_nomem(context);
    if (state->failed)
        return;
    bool ok = false;
    const double weight = toDouble(argv[1], &ok);
    if (!ok)
        return;
    const double value = toDouble(argv[0], &ok);
    if (!ok)
        return;
    state->weightSum += weight;
    // Weights that cancel out leave nothing to divide by, for good.
    if (state->weightSum == 0.0) {
        state->failed = 1;
        return;
    }
    // weight / W first: the product value * weight may overflow where the
    // mean itself does not.
    state->mean += (value - state->mean) * (weight / state->weightSum);
}

void final(sqlite3_context* context)
{
    const auto* state = static_cast<const State*>(sqlite3_aggregate_context(context, 0));
    if (!state)
        return sqlite3_result_null(context);
    if (state->failed)
        return error(context, divisionByZero);
    sqlite3_result_double(context, state->mean);
}

} // namespace WtAvgSafe

} // namespace tessera::engine
