#pragma once
// Text helpers shared by the parser, the builders and their callers. The
// dialect library works on wide strings; the host side on QString.

#include <QString>
#include <string>

namespace tessera::sql {

// `text` between two `quote`s, every `quote` inside doubled.
std::wstring escape(const std::wstring& text, wchar_t quote);
QString escape(const QString& text, QChar quote);

// Unicode lower case.
std::wstring toLowercase(const std::wstring& text);

QString fromSqlString(const std::wstring& text);
std::wstring toSqlString(const QString& text);

} // namespace tessera::sql
