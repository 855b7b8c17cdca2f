#pragma once
// LIKE and GLOB matching (a wildcard matcher, case folding over all of
// Unicode), regular-expression matching through Qt regular expressions, two
// string comparisons and the comparison behind the "Locale" collation.
//
// The matching functions take SQLite's argument order: the pattern first,
// then the text (then the LIKE escape). A NULL argument gives NULL; a
// regular expression that does not compile never matches, one that stops on
// the matching limits is an SQL error. The user data, when set, is the
// engine's EngineCache, whose store keeps the compiled expressions.

#include "engine/EngineExport.h"

#include <QCollator>
#include <sqlite3.h>

namespace tessera::engine {

// like(pattern, text): 1 or 0, ignoring case, no escape character.
TESSERA_ENGINE_EXPORT void caseInsensitiveLike(sqlite3_context* context, int argc, sqlite3_value** argv);
// like(pattern, text, escape): the first character of `escape` escapes; NULL
// or empty means none.
TESSERA_ENGINE_EXPORT void caseInsensitiveLikeEscape(sqlite3_context* context, int argc, sqlite3_value** argv);
// glob(pattern, text): 1 or 0, ignoring case.
TESSERA_ENGINE_EXPORT void caseInsensitiveGlob(sqlite3_context* context, int argc, sqlite3_value** argv);
// regexp(pattern, text): 1 when the expression matches anywhere, case-sensitive.
TESSERA_ENGINE_EXPORT void regular(sqlite3_context* context, int argc, sqlite3_value** argv);

// casesensitivecompare(a, b): code-unit order, negative, zero or positive.
TESSERA_ENGINE_EXPORT void caseSensitiveCompare(sqlite3_context* context, int argc, sqlite3_value** argv);
// localecompare(a, b): order of the current locale.
TESSERA_ENGINE_EXPORT void caseSensitiveLocaleCompare(sqlite3_context* context, int argc, sqlite3_value** argv);

// A collator for the default locale, case-insensitive, punctuation significant.
TESSERA_ENGINE_EXPORT QCollator collator();
// Compares two UTF-16 strings given as byte lengths and pointers, as SQLite
// hands them to a collation callback.
TESSERA_ENGINE_EXPORT int collatorCompare(const QCollator& collator, int length1, const void* data1, int length2, const void* data2);

} // namespace tessera::engine
