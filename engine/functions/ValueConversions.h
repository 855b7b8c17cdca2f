#pragma once
// Conversions of SQLite argument values into Qt and standard types, the
// engine's canonical date and time texts, SQL quoting, QVariant ordering and
// the statement behind a QSqlQuery. Every SQL function reads its arguments
// through these, so their acceptance rules are those of the whole library.

#include "engine/EngineExport.h"

#include <QDate>
#include <QDateTime>
#include <QSharedDataPointer>
#include <QString>
#include <QTime>
#include <QVariant>
#include <sqlite3.h>
#include <string>

class QSqlQuery;

namespace tessera::dp { class AttributeDefinition; }

namespace tessera::engine {

// Canonical texts: "yyyy-MM-dd", "hh:mm:ss.zzz", "yyyy-MM-dd hh:mm:ss.zzz".
extern TESSERA_ENGINE_EXPORT const QString dateFormat;
extern TESSERA_ENGINE_EXPORT const QString timeFormat;
extern TESSERA_ENGINE_EXPORT const QString dateTimeFormat;

TESSERA_ENGINE_EXPORT std::string toString(sqlite3_value* value);   // UTF-8; throws std::logic_error for NULL
TESSERA_ENGINE_EXPORT QString toQString(sqlite3_value* value);      // UTF-16; NULL gives a null string
TESSERA_ENGINE_EXPORT QString toQStringUTF8(sqlite3_value* value);  // UTF-8 decoded; NULL gives a null string

TESSERA_ENGINE_EXPORT QString toString(const QDate& date);
TESSERA_ENGINE_EXPORT QString toString(const QTime& time);
TESSERA_ENGINE_EXPORT QString toString(const QDateTime& dateTime);

TESSERA_ENGINE_EXPORT QTime toTime(sqlite3_value* value);
TESSERA_ENGINE_EXPORT QDate toDate(sqlite3_value* value);
TESSERA_ENGINE_EXPORT QDateTime toDateTime(sqlite3_value* value);

TESSERA_ENGINE_EXPORT QDate yymmdd2Date(int v);
TESSERA_ENGINE_EXPORT QDateTime int2Date(long long v);
TESSERA_ENGINE_EXPORT QDateTime real2Date(double v);

TESSERA_ENGINE_EXPORT qint64 toInt64(sqlite3_value* value, bool* ok = nullptr);
TESSERA_ENGINE_EXPORT double toDouble(sqlite3_value* value, bool* ok = nullptr);

TESSERA_ENGINE_EXPORT QString escapeString(QString s, char quote);
TESSERA_ENGINE_EXPORT bool isGeometry(const QSharedDataPointer<dp::AttributeDefinition>& attribute);
TESSERA_ENGINE_EXPORT bool isStyle(const QSharedDataPointer<dp::AttributeDefinition>& attribute);

TESSERA_ENGINE_EXPORT int variantType(const QVariant& v);
TESSERA_ENGINE_EXPORT bool variantCompare(const QVariant& a, const QVariant& b);

TESSERA_ENGINE_EXPORT sqlite3_stmt* handle(const QSqlQuery& query);

} // namespace tessera::engine
