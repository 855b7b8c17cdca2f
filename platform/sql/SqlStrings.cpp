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
    return fromSqlString(text).toLower().toStdWString();
}

QString fromSqlString(const std::wstring& text)
{
    // Not QString::fromStdWString: with 32-bit wchar_t it goes through the
    // UTF-32 decoder, which drops a leading U+FEFF as a byte-order mark.
    if constexpr (sizeof(wchar_t) == 2)
        return QString::fromStdWString(text);
    // Written in place: every translated statement passes here.
    int size = static_cast<int>(text.size());
    for (const wchar_t c : text)
        if (QChar::requiresSurrogates(static_cast<char32_t>(c)))
            ++size;
    QString result(size, Qt::Uninitialized);
    QChar* out = result.data();
    for (const wchar_t c : text) {
        const auto cp = static_cast<char32_t>(c);
        if (QChar::requiresSurrogates(cp)) {
            *out++ = QChar(QChar::highSurrogate(cp));
            *out++ = QChar(QChar::lowSurrogate(cp));
        } else {
            *out++ = QChar(static_cast<char16_t>(cp));
        }
    }
    return result;
}

std::wstring toSqlString(const QString& text)
{
    return text.toStdWString();
}

} // namespace tessera::sql
