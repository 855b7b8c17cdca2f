#include "tools/tessera-sql/ProgressLine.h"

#include <QSqlDriver>
#include <QVariant>
#include <cstdio>
#include <sqlite3.h>

namespace tessera::shell {

namespace {

// Virtual machine steps between ticks: often enough for a smooth line,
// rare enough to cost nothing.
constexpr int stepsPerTick = 100000;

} // namespace

ProgressLine::ProgressLine(const QSqlDatabase& db, bool enabled)
{
    if (!enabled || !db.driver())
        return;
    const QVariant v = db.driver()->handle();
    if (!v.isValid() || !v.constData())
        return;
    handle = *static_cast<sqlite3* const*>(v.constData());
    if (!handle)
        return;
    elapsed.start();
    sqlite3_progress_handler(static_cast<sqlite3*>(handle), stepsPerTick, &ProgressLine::tick, this);
}

ProgressLine::~ProgressLine()
{
    finish();
}

void ProgressLine::finish()
{
    if (!handle)
        return;
    sqlite3_progress_handler(static_cast<sqlite3*>(handle), 0, nullptr, nullptr);
    handle = nullptr;
    if (shownAt >= 0) {
        std::fputs("\r\033[K", stderr);
        std::fflush(stderr);
    }
}

int ProgressLine::tick(void* self)
{
    auto* line = static_cast<ProgressLine*>(self);
    const qint64 ms = line->elapsed.elapsed();
    if (ms >= 1000 && (line->shownAt < 0 || ms - line->shownAt >= 250)) {
        std::fprintf(stderr, "\rrunning... %.1f s (Ctrl-C cancels)", ms / 1000.0);
        std::fflush(stderr);
        line->shownAt = ms;
    }
    return 0;   // never stops the statement: Ctrl-C does that
}

} // namespace tessera::shell
