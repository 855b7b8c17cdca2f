#include "tools/tessera-sql/CellAbbreviation.h"

#include <algorithm>
#include <cstdio>

#ifdef _WIN32
#include <io.h>
#include <windows.h>
#else
#include <sys/ioctl.h>
#include <unistd.h>
#endif

namespace tessera::shell {

namespace {

constexpr int shortest = 16;

int textWidth(const QVariant& v)
{
    return v.isNull() ? 4 : v.toString().toUcs4().size();   // NULL
}

} // namespace

void abbreviateWideCells(ResultSet& result, const QVector<bool>& wide, int width)
{
    const int n = result.columns.size();
    int wideCount = 0;
    int fixed = 3 * std::max(0, n - 1);   // " | " between columns
    for (int c = 0; c < n; ++c) {
        if (c < wide.size() && wide[c]) {
            ++wideCount;
            continue;
        }
        int w = result.columns[c].toUcs4().size();
        for (const auto& row : result.rows)
            if (c < row.size())
                w = std::max(w, textWidth(row[c]));
        fixed += w;
    }
    if (width <= 0 || wideCount == 0)
        return;
    const int budget = std::max(shortest, (width - fixed) / wideCount);
    for (auto& row : result.rows)
        for (int c = 0; c < n && c < row.size(); ++c) {
            if (c >= wide.size() || !wide[c] || row[c].isNull())
                continue;
            const QVector<uint> text = row[c].toString().toUcs4();
            if (text.size() > budget)
                row[c] = QString::fromUcs4(text.constData(), budget - 1) + QChar(0x2026);
        }
}

int terminalWidth()
{
#ifdef _WIN32
    CONSOLE_SCREEN_BUFFER_INFO info;
    if (_isatty(_fileno(stdout)) && GetConsoleScreenBufferInfo(GetStdHandle(STD_OUTPUT_HANDLE), &info))
        return info.srWindow.Right - info.srWindow.Left + 1;
#else
    winsize size{};
    if (isatty(fileno(stdout)) && ioctl(fileno(stdout), TIOCGWINSZ, &size) == 0 && size.ws_col > 0)
        return size.ws_col;
#endif
    return 0;
}

} // namespace tessera::shell
