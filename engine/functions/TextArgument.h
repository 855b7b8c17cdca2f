#pragma once
// Zero-copy access to the text of an SQLite argument, for callbacks
// that only read it. The view points into SQLite's own buffer: it stays valid
// until the value is converted again or the callback returns, so it must not
// be kept.

#include <QString>
#include <QStringView>

#include <cstring>

#include <sqlite3.h>

namespace tessera::engine {

// The value's text as UTF-16 up to its first NUL (the same text toQString
// gives), or a null string for SQL NULL.
inline QString textArgument(sqlite3_value* value)
{
    const auto* data = static_cast<const QChar*>(sqlite3_value_text16(value));
    if (!data)
        return QString();
    const int units = sqlite3_value_bytes16(value) / 2;
    const qsizetype nul = QStringView(data, units).indexOf(QChar(0));
    return QString::fromRawData(data, nul < 0 ? units : int(nul));
}

// The value's UTF-8 text and, in `length`, its bytes up to the first NUL,
// where the UTF-16 text ends too; null for SQL NULL.
inline const unsigned char* utf8Argument(sqlite3_value* value, int& length)
{
    const unsigned char* text = sqlite3_value_text(value);
    length = 0;
    if (!text)
        return nullptr;
    const int bytes = sqlite3_value_bytes(value);
    const void* nul = std::memchr(text, 0, std::size_t(bytes));
    length = nul ? int(static_cast<const unsigned char*>(nul) - text) : bytes;
    return text;
}

// Hands a UTF-16 result to SQLite as a transient copy.
inline void resultText16(sqlite3_context* ctx, const QString& text)
{
    sqlite3_result_text16(ctx, text.utf16(), text.size() * 2, SQLITE_TRANSIENT);
}

} // namespace tessera::engine
