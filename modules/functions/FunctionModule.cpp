#include "modules/functions/FunctionModule.h"

#include "engine/EngineCache.h"
#include "engine/functions/DateTimeFunctions.h"
#include "engine/functions/FormattingFunctions.h"
#include "engine/functions/MatchingFunctions.h"
#include "engine/functions/NumericFunctions.h"
#include "engine/functions/StringFunctions.h"
#include "modules/functions/GeometryFunctionTable.h"
#include "modules/functions/FunctionTable.h"
#include "platform/core/Core.h"
#include "platform/core/Settings.h"

#include <sqlite3.h>

namespace tessera::modules {
namespace {

using namespace tessera::engine;

constexpr int Pure = SQLITE_UTF8 | SQLITE_DETERMINISTIC;
constexpr int Volatile = SQLITE_UTF8;

// Every scalar and aggregate function of the text, number, date, formatting
// and matching families, under its dialect name. Functions whose result
// depends on the clock or the current locale are not deterministic.
const FunctionEntry textAndNumberFunctions[] = {
    // Operators the translator rewrites into calls; two or more arguments,
    // so that a chain of one operator is one call.
    {"concat", -1, Pure, concatUTF16},
    {"xor", -1, Pure, xorLogical},
    {"divide", -1, Pure, divide},
    {"quotient", -1, Pure, quotient},
    {"modulo", -1, Pure, modulo},
    {"involution", -1, Pure, power},

    // Text.
    {"chr", 1, Pure, charUTF16},
    {"asc", 1, Pure, ascUTF16},
    {"instr", -1, Pure, inStrUTF16},   // 2 to 4 arguments; the function checks the count
    {"lcase", 1, Pure, loCaseUTF16},
    {"lower", 1, Pure, loCaseUTF16},
    {"ucase", 1, Pure, upCaseUTF16},
    {"upper", 1, Pure, upCaseUTF16},
    {"ltrim", 1, Pure, leftTrimUTF8},
    {"rtrim", 1, Pure, rightTrimUTF8},
    {"len", 1, Pure, len},
    {"left$", 2, Pure, left_utf16},
    {"right$", 2, Pure, right_utf16},
    {"mid", 3, Pure, midUTF16},
    {"val", 1, Pure, valUTF8},
    {"proper", 1, Pure, capitalizeUTF16},
    {"space", 1, Pure, space},
    {"repeat", 2, Pure, repeat},
    {"str", 1, Volatile, strUTF16},    // dates are shown in the current locale

    // Numbers.
    {"sqrt", 1, Pure, engine::sqrt},
    {"sign", 1, Pure, sign},
    {"minimum", 2, Pure, minimum},
    {"maximum", 2, Pure, maximum},
    {"truncate", 1, Pure, engine::truncate},
    {"floor", 1, Pure, engine::floor},
    {"roundto", 2, Pure, roundTo},
    {"roundby", 1, Pure, roundBy},
    {"roundby", 2, Pure, roundBy},

    // Dates and times.
    {"curdate", 0, Volatile, curDate},
    {"curtime", 0, Volatile, curTime},
    {"curdatetime", 0, Volatile, curDateTime},
    {"stringtodate", 1, Volatile, stringToDate},   // falls back to today
    {"numbertodate", 1, Pure, numberToDate},
    {"day", 1, Pure, day},
    {"month", 1, Pure, month},
    {"year", 1, Pure, year},
    {"weekday", 1, Pure, weekday},
    {"hour", 1, Pure, hour},
    {"minute", 1, Pure, minute},
    {"second", 1, Pure, second},
    {"getdate", 1, Pure, getDate},
    {"gettime", 1, Pure, getTime},

    // Formatting (locale-dependent).
    {"formatdate", 1, Volatile, formatDate},
    {"formattime", 1, Volatile, formatTime},
    {"formattime", 2, Volatile, formatTime},
    {"formatnumber", 1, Volatile, formatNumber},
    {"deformat", 1, Volatile, deformat},
    {"formatnumberbypattern", 2, Volatile, formatNumberByPattern},

    // Matching and comparison.
    {"regexp", 2, Pure, regular},
    {"casesensitivecompare", 2, Pure, caseSensitiveCompare},
    {"localecompare", 2, Volatile, caseSensitiveLocaleCompare},
};

const AggregateEntry aggregates[] = {
    {"wtavg", 2, Pure, WtAvg::step, WtAvg::final},
    {"wtavgsafe", 2, Pure, WtAvgSafe::step, WtAvgSafe::final},
};

// Case-insensitive replacements of SQLite's own LIKE and GLOB.
const FunctionEntry likeFunctions[] = {
    {"like", 2, Pure, caseInsensitiveLike},
    {"like", 3, Pure, caseInsensitiveLikeEscape},
};
const FunctionEntry globFunctions[] = {
    {"glob", 2, Pure, caseInsensitiveGlob},
};

} // namespace

int initFunctionModule(sqlite3* db, char** errorMessage, Core* core, engine::EngineCache* cache)
{
    FunctionRegistrar registrar(db, cache);
    registrar.add(textAndNumberFunctions);
    registrar.add(aggregates);
    registrar.add(geometryFunctions());

    const Settings* settings = core ? &core->settings() : nullptr;
    if (!settings || settings->get(tessera::settings::useCaseInsensitiveLike))
        registrar.add(likeFunctions);
    if (!settings || settings->get(tessera::settings::useCaseInsensitiveGlob))
        registrar.add(globFunctions);
    return registrar.finish(errorMessage);
}

} // namespace tessera::modules
