#include "tools/tessera-sql/StatementSplitter.h"

namespace tessera::shell {

QStringList splitStatements(const QString& script)
{
    QStringList texts;
    for (const ScriptStatement& statement : splitScript(script))
        texts << statement.text;
    return texts;
}

QVector<ScriptStatement> splitScript(const QString& script, int* complete)
{
    if (complete)
        *complete = 0;
    QVector<ScriptStatement> statements;
    QString current;
    const int n = script.size();
    int i = 0;
    int start = -1;   // where the statement's first visible character is

    // Lines and columns are counted forward from the last statement's start.
    int counted = 0;
    int line = 1;
    int lineStart = 0;
    auto flush = [&](bool metaCommand) {
        const QString s = current.trimmed();
        if (!s.isEmpty() && start >= 0) {
            for (; counted < start; ++counted)
                if (script.at(counted) == '\n') {
                    ++line;
                    lineStart = counted + 1;
                }
            statements.push_back({s, line, start - lineStart + 1, metaCommand});
        }
        current.resize(0);   // keeps the buffer for the next statement
        start = -1;
    };

    // Only blanks between the line's start and `at`.
    auto blankBefore = [&script](int at) {
        while (at > 0 && script.at(at - 1) != '\n')
            if (!script.at(--at).isSpace())
                return false;
        return true;
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
            if (start < 0)
                start = i;
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
        if (c == '.' && start < 0 && next.isLetter() && blankBefore(i)) {
            // A meta-command: the rest of the line, as it stands.
            const int end = script.indexOf(QLatin1Char('\n'), i);
            current = script.mid(i, (end < 0 ? n : end) - i);
            start = i;
            flush(true);
            i = end < 0 ? n : end + 1;
            if (complete && end >= 0)
                *complete = i;
            continue;
        }
        if (c == ';') {
            flush(false);
            ++i;
            if (complete)
                *complete = i;
            continue;
        }
        if (start < 0 && !c.isSpace())
            start = i;
        current += c;
        ++i;
    }
    flush(false);
    return statements;
}

bool findNul(const QString& script, int& line, int& column)
{
    const int nul = script.indexOf(QChar(0));
    if (nul < 0)
        return false;
    line = script.leftRef(nul).count(QLatin1Char('\n')) + 1;
    column = nul - script.lastIndexOf(QLatin1Char('\n'), nul);
    return true;
}

} // namespace tessera::shell
