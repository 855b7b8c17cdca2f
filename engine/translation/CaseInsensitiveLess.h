#pragma once
// Ordering of QStrings that ignores case, for sets of SQL names.

#include <QString>

namespace tessera::engine {

struct caseInsensitiveLess {
    bool operator()(const QString& a, const QString& b) const
    {
        return QString::compare(a, b, Qt::CaseInsensitive) < 0;
    }
};

} // namespace tessera::engine
