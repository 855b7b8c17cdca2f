#pragma once
// Reads a date, a time or both out of free-form text ("06.05.2024",
// "5 may 2021", "12:30:45.5", "20240506", "now"): numbers and month or
// weekday names become tokens scored per field, the best candidates are
// resolved into a date and a time, and what the text lacks is taken from
// today.

#include <QDateTime>
#include <QString>

namespace tessera::engine {

class DateTextReader {
public:
    using Clock = QDateTime (*)();

    // The clock gives "now" in local time; tests pass a fixed one.
    explicit DateTextReader(Clock clock = &QDateTime::currentDateTime);

    // The canonical text of what `text` holds: "yyyy-MM-dd" for a date,
    // "hh:mm:ss.zzz" for a time, both joined by a blank for a date and a
    // time. An impossible date or time gives the empty text; text without
    // any recognisable token gives today's date.
    QString read(const QString& text) const;

private:
    Clock clock;
};

} // namespace tessera::engine
