#pragma once
// Zero-copy access to the UTF-16 text of an SQLite argument, for callbacks
// that only read it. The view points into SQLite's own buffer: it stays valid
// until the value is converted again or the callback returns, so it must not
// be kept.

#include <QString>
#include <sqlite3.h>

namespace tessera::engine {

// The value's text as UTF-16 (the same text toQString gives), or a null
// string for SQL NULL.
inline QString textArgument(sqlite3_value* value)
{
    const void* data = sqlite3_value_text16(value);
    if (!data)
        return QString();
    const int bytes = sqlite3_value_bytes16(value);
    return QString::fromRawData(static_cast<const QChar*>(data), bytes / 2);
}

// Hands a UTF-16 result to SQLite as a transient copy.
inline void resultText16(sqlite3_context* ctx, const QString& text)
{
    sqlite3_result_text16(ctx, text.utf16(), text.size() * 2, SQLITE_TRANSIENT);
}

} // namespace tessera::engine
