#pragma once
// Column headers as the user wrote them. SQLite names a result column after
// the translated text ("quotient((7),(2))") or the hidden column
// ("cd750f8a..."); a user wants "7 \ 2", "obj" or the alias.

#include <QString>
#include <QStringList>

namespace tessera::shell {

// The headers of the result of dialect `statement`, whose SQLite result
// columns are `sqliteNames`: an item's alias, a column's own name, or the
// item's text as written. Columns that come from `*` keep SQLite's names,
// with the hidden geometry and style columns called "obj" and "style".
// Falls back to `sqliteNames` when the statement cannot be matched.
QStringList userHeaders(const QString& statement, const QStringList& sqliteNames);

} // namespace tessera::shell
