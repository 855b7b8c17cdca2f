#pragma once
// A line on standard error that shows how long a statement has been running,
// once it runs longer than a second (SQLite's progress handler ticks it).
// The line is cleared when the statement ends.

#include <QElapsedTimer>
#include <QSqlDatabase>

namespace tessera::shell {

class ProgressLine {
public:
    // Shows progress for the statements run on `db` while the object lives;
    // does nothing unless `enabled` (standard error is a terminal).
    ProgressLine(const QSqlDatabase& db, bool enabled);
    ~ProgressLine();
    // Clears the line and stops ticking (before the results are printed).
    void finish();
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

private:
    static int tick(void* self);

    void* handle = nullptr;   // the connection's sqlite3*
    QElapsedTimer elapsed;
    qint64 shownAt = -1;      // milliseconds of the last line written
};

} // namespace tessera::shell
