#pragma once
// Numbers, dates and times as text for display in the default locale
// (QLocale() at the time of the call), and locale number text back into
// plain C-locale number text.

#include <QString>
#include <QTime>
#include <sqlite3.h>

class QLocale;

namespace tessera::engine {

void formatDate(sqlite3_context* ctx, int argc, sqlite3_value** argv);
void formatTime(sqlite3_context* ctx, int argc, sqlite3_value** argv);
void formatNumber(sqlite3_context* ctx, int argc, sqlite3_value** argv);
void deformat(sqlite3_context* ctx, int argc, sqlite3_value** argv);
void formatNumberByPattern(sqlite3_context* ctx, int argc, sqlite3_value** argv);

// A time by the small pattern language of formatTime: H, HH, h, hh (hour
// modulo 12), m, mm, s, ss, f, ff, fff (milliseconds from the hundreds
// digit), t, tt (AM/PM text); other characters are copied as Latin-1.
QString formatTimeByPattern(const QTime& time, const QString& pattern, const QLocale& locale);

} // namespace tessera::engine
