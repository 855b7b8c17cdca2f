#pragma once
// Which dialect functions and operators the engine offers: the dialect's
// function catalogue intersected with what SQLite reports as registered on a
// connection ("Pragma function_list;"), names compared ignoring case.

#include "engine/translation/CaseInsensitiveLess.h"
#include "platform/sql/FunctionName.h"
#include "platform/sql/FunctionSet.h"
#include "platform/sql/OperatorSet.h"

#include <QSqlDatabase>
#include <QString>
#include <set>

namespace tessera::engine {

using FunctionNameSet = std::set<QString, caseInsensitiveLess>;

// Every catalogue function registered on `db` whose catalogue mask shares a
// bit with `mask`, added with its catalogue mask. Empty when the pragma fails.
sql::FunctionSet availableFunctionSet(const QSqlDatabase& db, sql::FunctionInfo::TypeMasks mask);
// The same functions by their catalogue spelling, ordered ignoring case.
FunctionNameSet availableFunctionNames(const QSqlDatabase& db, sql::FunctionInfo::TypeMasks mask);
// Operation codes 1 to 45 except SimilarTo (10) and Overlaps (31), which the
// translator has no SQLite form for.
sql::OperatorSet offeredOperators();

} // namespace tessera::engine
