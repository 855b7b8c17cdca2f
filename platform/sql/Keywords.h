#pragma once
// The dialect's reserved words: they never name a column, a table or an alias
// unless quoted.

#include "platform/sql/SqlExport.h"

#include <string>

namespace tessera::sql {

// `folded` is the word in lower case.
TESSERA_SQL_EXPORT bool isReservedWord(const std::wstring& folded);

} // namespace tessera::sql
