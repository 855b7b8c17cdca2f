#pragma once
// Conversions of SQLite argument values into Qt and standard types, the
// engine's canonical date and time texts, SQL quoting, QVariant ordering and
// the statement behind a QSqlQuery. Every SQL function reads its arguments
// through these, so their acceptance rules are those of the whole library.

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
extern const QString dateFormat;
extern const QString timeFormat;
extern const QString dateTimeFormat;

std::string toString(sqlite3_value* value);   // UTF-8; throws std::logic_error for NULL
QString toQString(sqlite3_value* value);      // UTF-16; NULL gives a null string
QString toQStringUTF8(sqlite3_value* value);  // UTF-8 decoded; NULL gives a null string

QString toString(const QDate& date);
QString toString(const QTime& time);
QString toString(const QDateTime& dateTime);

QTime toTime(sqlite3_value* value);
QDate toDate(sqlite3_value* value);
QDateTime toDateTime(sqlite3_value* value);

QDate yymmdd2Date(int v);
QDateTime int2Date(long long v);
QDateTime real2Date(double v);

qint64 toInt64(sqlite3_value* value, bool* ok = nullptr);
double toDouble(sqlite3_value* value, bool* ok = nullptr);

QString escapeString(QString s, char quote);
bool isGeometry(const QSharedDataPointer<dp::AttributeDefinition>& attribute);
bool isStyle(const QSharedDataPointer<dp::AttributeDefinition>& attribute);

int variantType(const QVariant& v);
bool variantCompare(const QVariant& a, const QVariant& b);

sqlite3_stmt* handle(const QSqlQuery& query);

} // namespace tessera::engine
