#include "platform/sql/SqlStrings.h"

namespace tessera::sql {

std::wstring escape(const std::wstring& text, wchar_t quote)
{
    std::wstring result;
    result.reserve(text.size() + 2);
    result += quote;
    for (const wchar_t c : text) {
        result += c;
        if (c == quote)
            result += c;
    }
    result += quote;
    return result;
}

QString escape(const QString& text, QChar quote)
{
    QString doubled = text;
    doubled.replace(quote, QString(2, quote));
    return quote + doubled + quote;
}

std::wstring toLowercase(const std::wstring& text)
{
    // ASCII is the common case (keywords, function names) and needs no QString.
    bool ascii = true;
    for (const wchar_t c : text)
        if (static_cast<unsigned long>(c) > 0x7f) {
            ascii = false;
            break;
        }
    if (ascii) {
        std::wstring result = text;
        for (wchar_t& c : result)
            if (c >= L'A' && c <= L'Z')
                c = static_cast<wchar_t>(c - L'A' + L'a');
        return result;
    }
    return QString::fromStdWString(text).toLower().toStdWString();
}

QString fromSqlString(const std::wstring& text)
{
    return QString::fromStdWString(text);
}

std::wstring toSqlString(const QString& text)
{
    return text.toStdWString();
}

} // namespace tessera::sql
