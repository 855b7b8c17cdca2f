#pragma once
// Splits a script into statements at ';' outside string literals, quoted
// identifiers and comments.

#include <QString>
#include <QStringList>

namespace tessera::shell {

// Statements without their terminating ';', trimmed; empty ones dropped.
QStringList splitStatements(const QString& script);

// True when `script` ends outside any statement: it is blank or its last
// statement is closed by ';' (comments and blanks may follow).
bool endsBetweenStatements(const QString& script);

} // namespace tessera::shell
