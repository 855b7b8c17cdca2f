#pragma once
// Ordering of QStrings that ignores case, for sets of SQL names.

#include <QString>

#include <algorithm>

namespace tessera::engine {

struct caseInsensitiveLess {
    bool operator()(const QString& a, const QString& b) const
    {
        // ASCII names, nearly all of them, are compared without Qt's case
        // tables, in the order QString::compare gives (folded characters,
        // then the shorter first); any other character leaves it to Qt.
        const int n = std::min(a.size(), b.size());
        const QChar* x = a.constData();
        const QChar* y = b.constData();
        for (int i = 0; i < n; ++i) {
            ushort c = x[i].unicode();
            ushort d = y[i].unicode();
            if (c >= 0x80 || d >= 0x80)
                return QString::compare(a, b, Qt::CaseInsensitive) < 0;
            if (c >= 'A' && c <= 'Z')
                c = ushort(c + ('a' - 'A'));
            if (d >= 'A' && d <= 'Z')
                d = ushort(d + ('a' - 'A'));
            if (c != d)
                return c < d;
        }
        return a.size() < b.size();
    }
};

} // namespace tessera::engine
