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

bool bothInteger(sqlite3_value** argv)
{
    return isInteger(argv[0]) && isInteger(argv[1]);
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

bool readInt64s(sqlite3_context* context, sqlite3_value** argv, std::int64_t& a, std::int64_t& b)
{
    return readPair(context, argv, [](sqlite3_value* v, bool* ok) -> std::int64_t { return toInt64(v, ok); }, a, b);
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

void divide(sqlite3_context* context, int, sqlite3_value** argv)
{
    double a = 0;
    double b = 0;
    if (!readDoubles(context, argv, a, b))
        return;
    const double r = a / b;
    if (!isFinite(r))
        return error(context, divisionByZero);
    sqlite3_result_double(context, r);
}

void quotient(sqlite3_context* context, int, sqlite3_value** argv)
{
    if (bothInteger(argv)) {
        std::int64_t a = 0;
        std::int64_t b = 0;
        if (!readInt64s(context, argv, a, b))
            return;
        if (b == 0)
            return error(context, divisionByZero);
        // The one quotient of two 64-bit integers that does not fit: the user
        // gets the overflow error that the real path gives for it too.
        if (a == int64Min && b == -1)
            return error(context, integerOverflow);
        return sqlite3_result_int64(context, a / b);
    }
    double a = 0;
    double b = 0;
    if (!readDoubles(context, argv, a, b))
        return;
    const double q = a / b;
    if (!isFinite(q))
        return error(context, divisionByZero);
    // 2^63 itself is out of range as well: it has no 64-bit integer.
    std::int64_t result = 0;
    if (!floorToInt64(q, result))
        return error(context, integerOverflow);
    sqlite3_result_int64(context, result);
}

void modulo(sqlite3_context* context, int, sqlite3_value** argv)
{
    if (bothInteger(argv)) {
        std::int64_t a = 0;
        std::int64_t b = 0;
        if (!readInt64s(context, argv, a, b))
            return;
        if (b == 0)
            return error(context, divisionByZero);
        // Every integer is a multiple of -1; this also keeps INT64_MIN % -1,
        // which the processor traps on, well defined.
        if (b == -1)
            return sqlite3_result_int64(context, 0);
        return sqlite3_result_int64(context, a % b);
    }
    double a = 0;
    double b = 0;
    if (!readDoubles(context, argv, a, b))
        return;
    const double r = std::fmod(a, b);
    if (!isFinite(r))
        return error(context, divisionByZero);
    sqlite3_result_double(context, r);
}

void power(sqlite3_context* context, int, sqlite3_value** argv)
{
    bool okA = false;
    bool okB = false;
    const double a = toDouble(argv[0], &okA);
    const double b = isInteger(argv[1]) ? static_cast<double>(toInt64(argv[1], &okB)) : toDouble(argv[1], &okB);
    if (!okA || !okB)
        return sqlite3_result_null(context);
    const double r = std::pow(a, b);
    if (!isFinite(r))
        return error(context, powerOverflow);
    sqlite3_result_double(context, r);
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

void xorLogical(sqlite3_context* context, int, sqlite3_value** argv)
{
    if (bothInteger(argv)) {
        std::int64_t a = 0;
        std::int64_t b = 0;
        if (readInt64s(context, argv, a, b))
            sqlite3_result_int(context, (a != 0) != (b != 0) ? 1 : 0);
        return;
    }
    double a = 0;
    double b = 0;
    // NaN is not equal to 0, so it counts as true.
    if (readDoubles(context, argv, a, b))
        sqlite3_result_int(context, (a != 0) != (b != 0) ? 1 : 0);
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
