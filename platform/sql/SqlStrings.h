#pragma once
// Text helpers shared by the parser, the builders and their callers. The
// dialect library works on wide strings; the host side on QString.

#include "platform/sql/SqlExport.h"

#include <QString>
#include <string>

namespace tessera::sql {

// `text` between two `quote`s, every `quote` inside doubled.
TESSERA_SQL_EXPORT std::wstring escape(const std::wstring& text, wchar_t quote);
TESSERA_SQL_EXPORT QString escape(const QString& text, QChar quote);

// Unicode lower case.
TESSERA_SQL_EXPORT std::wstring toLowercase(const std::wstring& text);

TESSERA_SQL_EXPORT QString fromSqlString(const std::wstring& text);
TESSERA_SQL_EXPORT std::wstring toSqlString(const QString& text);

} // namespace tessera::sql
