#pragma once
// Dialect function names as numbers, with their text and kind.

#include "platform/sql/SqlExport.h"

#include <QFlags>
#include <QString>
#include <cstdint>
#include <string>

#include "platform/sql/FunctionCatalogue.h"

namespace tessera::sql {

enum class FunctionName : int {
    None = 0,
#define TESSERA_SQL_FUNCTION_ENUM(value, id, name, mask) id = value,
    TESSERA_SQL_FUNCTION_CATALOGUE(TESSERA_SQL_FUNCTION_ENUM)
#undef TESSERA_SQL_FUNCTION_ENUM
};

struct TESSERA_SQL_EXPORT FunctionInfo {
    enum TypeMask : int {
        Scalar = 1,
        Aggregate = 2,
        ScalarAggregate = Scalar | Aggregate,
        Window = 8,
    };
    Q_DECLARE_FLAGS(TypeMasks, TypeMask)
};

Q_DECLARE_OPERATORS_FOR_FLAGS(FunctionInfo::TypeMasks)

struct TESSERA_SQL_EXPORT FunctionNameInfo {
    // The function's name in UTF-8; "" for a value outside the catalogue.
    static const char* name(FunctionName value);
    static const char* name(int value) { return name(static_cast<FunctionName>(value)); }
    // The catalogue's type mask of the function; 0 outside the catalogue.
    static FunctionInfo::TypeMasks mask(FunctionName value);
    // The value named `name` (any case); None when there is none.
    static FunctionName find(const QString& name);
    static FunctionName find(const std::wstring& name);
    // The highest value in use (values 1..count() are all in use).
    static int count();
};

} // namespace tessera::sql
