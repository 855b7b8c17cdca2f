#pragma once
// Splits a script into statements at ';' outside string literals, quoted
// identifiers and comments.

#include <QString>
#include <QStringList>

namespace tessera::shell {

// Statements without their terminating ';', trimmed; empty ones dropped.
QStringList splitStatements(const QString& script);

} // namespace tessera::shell
