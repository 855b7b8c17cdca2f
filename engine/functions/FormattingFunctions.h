#pragma once
// Numbers, dates and times as text for display in the default locale
// (QLocale() at the time of the call), and locale number text back into
// plain C-locale number text.

#include "engine/EngineExport.h"

#include <QString>
#include <QTime>
#include <sqlite3.h>

class QLocale;

namespace tessera::engine {

TESSERA_ENGINE_EXPORT void formatDate(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void formatTime(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void formatNumber(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void deformat(sqlite3_context* ctx, int argc, sqlite3_value** argv);
TESSERA_ENGINE_EXPORT void formatNumberByPattern(sqlite3_context* ctx, int argc, sqlite3_value** argv);

// A time by the small pattern language of formatTime: H, HH, h, hh (hour
// modulo 12), m, mm, s, ss, f, ff, fff (milliseconds from the hundreds
// digit), t, tt (AM/PM text); other characters are copied as Latin-1.
TESSERA_ENGINE_EXPORT QString formatTimeByPattern(const QTime& time, const QString& pattern, const QLocale& locale);

} // namespace tessera::engine
