#include "platform/core/SqliteException.h"

#include <sqlite3.h>

namespace tessera::err {

namespace {

// "not an error" (code 0) adds nothing worth reading.
std::string describe(const QString& message, int code, const QString& sqliteText)
{
    if (code == 0)
        return message.toStdString();
    return QStringLiteral("%1 (SQLite error %2: %3)").arg(message).arg(code).arg(sqliteText).toStdString();
}

} // namespace

SqliteException::SqliteException(sqlite3* db, const QString& message)
    : SqliteException(message,
                      db ? sqlite3_errcode(db) : 0,
                      db ? sqlite3_extended_errcode(db) : 0,
                      db ? QString::fromUtf8(sqlite3_errmsg(db)) : QString())
{
}

SqliteException::SqliteException(const QString& message, int code, int extendedCode, const QString& sqliteText)
    : std::runtime_error(describe(message, code, sqliteText))
    , text(message)
    , code(code)
    , extendedCode(extendedCode)
    , sqliteText(sqliteText)
{
}

} // namespace tessera::err
