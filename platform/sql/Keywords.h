#pragma once
// The dialect's reserved words: they never name a column, a table or an alias
// unless quoted.

#include <string>

namespace tessera::sql {

// `folded` is the word in lower case.
bool isReservedWord(const std::wstring& folded);

} // namespace tessera::sql
