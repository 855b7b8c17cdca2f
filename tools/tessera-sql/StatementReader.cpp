#include "tools/tessera-sql/StatementReader.h"

namespace tessera::shell {

QVector<ScriptStatement> StatementReader::feed(const QString& text)
{
    buffer += text;
    int complete = 0;
    splitScript(buffer, &complete);
    if (complete == 0)
        return {};
    // What follows the last ';' waits for its own.
    QVector<ScriptStatement> statements = splitScript(buffer.left(complete));
    for (ScriptStatement& s : statements) {
        if (s.line == 1)
            s.column += column - 1;
        s.line += line - 1;
    }
    const QString consumed = buffer.left(complete);
    const int newlines = consumed.count(QLatin1Char('\n'));
    line += newlines;
    column = newlines ? complete - consumed.lastIndexOf(QLatin1Char('\n')) : column + complete;
    buffer.remove(0, complete);
    return statements;
}

QVector<ScriptStatement> StatementReader::finish()
{
    // On a line of its own: the input may end inside a line comment.
    QVector<ScriptStatement> statements = feed(QStringLiteral("\n;"));
    buffer.clear();
    return statements;
}

bool StatementReader::pending() const
{
    return !splitScript(buffer).isEmpty();
}

void StatementReader::discard()
{
    line += buffer.count(QLatin1Char('\n'));
    column = 1;
    buffer.clear();
}

} // namespace tessera::shell
