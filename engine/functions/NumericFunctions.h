#pragma once
// Arithmetic SQL functions that SQLite lacks or defines differently, and the
// weighted-average aggregates. Arguments are read through ValueConversions;
// a non-numeric argument gives NULL unless a function says otherwise. Errors
// are reported with sqlite3_result_error: "Division by zero",
// "Integer overflow", "Power overflow", "Square root from negative value".

#include "engine/EngineExport.h"

#include <sqlite3.h>

namespace tessera::engine {

// The operator functions (divide, quotient, modulo, involution, xor) take two
// or more arguments: f(a, b, c) is f(f(a, b), c), so that a long chain of one
// operator is a single call.
// divide(a, b): real a / b.
TESSERA_ENGINE_EXPORT void divide(sqlite3_context* context, int argc, sqlite3_value** argv);
// quotient(a, b): integer division, truncating for two integers, flooring otherwise.
TESSERA_ENGINE_EXPORT void quotient(sqlite3_context* context, int argc, sqlite3_value** argv);
// modulo(a, b): integer remainder for two integers, fmod otherwise.
TESSERA_ENGINE_EXPORT void modulo(sqlite3_context* context, int argc, sqlite3_value** argv);
// involution(a, b): real a to the power b.
TESSERA_ENGINE_EXPORT void power(sqlite3_context* context, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void sqrt(sqlite3_context* context, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void sign(sqlite3_context* context, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void minimum(sqlite3_context* context, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void maximum(sqlite3_context* context, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void truncate(sqlite3_context* context, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void floor(sqlite3_context* context, int argc, sqlite3_value** argv);
// roundTo(x, step): x rounded to a multiple of step (0 counts as 1).
TESSERA_ENGINE_EXPORT void roundTo(sqlite3_context* context, int argc, sqlite3_value** argv);
// roundBy(x [, digits]): x rounded to `digits` decimal digits.
TESSERA_ENGINE_EXPORT void roundBy(sqlite3_context* context, int argc, sqlite3_value** argv);
// xor(a, b): 1 when exactly one of a, b is non-zero.
TESSERA_ENGINE_EXPORT void xorLogical(sqlite3_context* context, int argc, sqlite3_value** argv);

// wtavg(value, weight): sum(value * weight) / sum(weight).
namespace WtAvg {
TESSERA_ENGINE_EXPORT void step(sqlite3_context* context, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void final(sqlite3_context* context);
} // namespace WtAvg

// wtavgsafe(value, weight): the same mean kept as a running value, so that it
// never leaves the range of its inputs.
namespace WtAvgSafe {
TESSERA_ENGINE_EXPORT void step(sqlite3_context* context, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void final(sqlite3_context* context);
} // namespace WtAvgSafe

} // namespace tessera::engine
