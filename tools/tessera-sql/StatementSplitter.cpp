#include "tools/tessera-sql/StatementSplitter.h"

namespace tessera::shell {

QStringList splitStatements(const QString& script)
{
    QStringList statements;
    QString current;
    const int n = script.size();
    int i = 0;

    auto flush = [&] {
        const QString s = current.trimmed();
        if (!s.isEmpty())
            statements << s;
        current.clear();
    };

    while (i < n) {
        const QChar c = script.at(i);
        const QChar next = i + 1 < n ? script.at(i + 1) : QChar();
        if (c == '-' && next == '-') {
            // Line comment: kept out of the statement text.
            while (i < n && script.at(i) != '\n')
                ++i;
            continue;
        }
        if (c == '/' && next == '*') {
            const int end = script.indexOf(QLatin1String("*/"), i + 2);
            i = end < 0 ? n : end + 2;
            current += ' ';
            continue;
        }
        if (c == '"' || c == '\'' || c == '`' || c == '[') {
            // Quoted text runs to the matching close; a doubled quote stays inside.
            const QChar close = c == '[' ? QChar(']') : c;
            current += c;
            ++i;
            while (i < n) {
                const QChar q = script.at(i);
                current += q;
                ++i;
                if (q == close) {
                    if (close != ']' && i < n && script.at(i) == close) {
                        current += close;
                        ++i;
                        continue;
                    }
                    break;
                }
            }
            continue;
        }
        if (c == ';') {
            flush();
            ++i;
            continue;
        }
        current += c;
        ++i;
    }
    flush();
    return statements;
}

bool endsBetweenStatements(const QString& script)
{
    // A word added on a line of its own is a statement of its own exactly
    // when nothing before it is left open (a statement, a quote, a comment).
    const QStringList statements = splitStatements(script + QLatin1String("\nx"));
    return !statements.isEmpty() && statements.back() == QLatin1String("x");
}

} // namespace tessera::shell
