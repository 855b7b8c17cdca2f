#pragma once
// Texts for people about translation errors. The engine reports errors as
// values with short texts meant for its host; the shell says what they mean.

#include <QString>
#include <string>

namespace tessera::sql { class SqlError; }

namespace tessera::shell {

// `line` and `column` are where the statement starts in its script, so that
// a position in the text is the script's.
QString describeError(const sql::SqlError& error, int line = 1, int column = 1);

// Where and why the parser rejects `text` ("line 1, column 8: ..."), or an
// empty text when it parses. `line` and `column` are where the text starts
// in its script, so that the position is the script's.
QString describeSyntaxError(const std::string& text, int line = 1, int column = 1);

} // namespace tessera::shell
