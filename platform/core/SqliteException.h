#pragma once
// An error of an operation on an SQLite connection: the caller's text plus the
// connection's SQLite error code and message at the time of the throw.

#include "platform/core/CoreExport.h"

#include <QString>
#include <stdexcept>
#include <string>

struct sqlite3;

namespace tessera::err {

class TESSERA_CORE_EXPORT SqliteException : public std::runtime_error {
public:
    // `db` may be null; the SQLite part is then left out.
    SqliteException(sqlite3* db, const QString& message);

    // The caller's text, without the SQLite part.
    const QString& message() const { return text; }
    // The connection's primary error code (0 without a connection).
    int errorCode() const { return code; }
    int extendedErrorCode() const { return extendedCode; }
    // sqlite3_errmsg of the connection (empty without a connection).
    const QString& sqliteMessage() const { return sqliteText; }

private:
    SqliteException(const QString& message, int code, int extendedCode, const QString& sqliteText);

    QString text;
    int code;
    int extendedCode;
    QString sqliteText;
};

} // namespace tessera::err
