#pragma once
// Splits a script into statements at ';' outside string literals, quoted
// identifiers and comments.

#include <QString>
#include <QStringList>
#include <QVector>

namespace tessera::shell {

// Statements without their terminating ';', trimmed; empty ones dropped.
QStringList splitStatements(const QString& script);

// A statement and where its first character is in the script (1-based), so
// that errors can name the line of the file. A line that starts with '.'
// between statements is a meta-command (MetaCommands.h), ended by the line's
// end instead of ';'.
struct ScriptStatement {
    QString text;
    int line = 1;
    int column = 1;
    bool metaCommand = false;
};
// `complete`, when given, receives the length of the part of `script` that
// ends with the last terminating ';' or meta-command line (0 when there is
// none).
QVector<ScriptStatement> splitScript(const QString& script, int* complete = nullptr);

// The line and column (1-based) of the first NUL character of `script`;
// false when it has none.
bool findNul(const QString& script, int& line, int& column);

} // namespace tessera::shell
