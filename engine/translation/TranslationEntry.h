#pragma once
// Parsing a dialect text and letting a builder turn the tree into SQLite SQL.
// The engine's tryToTranslate forwards here with its own runtime.

#include <string>

namespace tessera::sql { class SqlRuntime; }

namespace tessera::engine {

class SqliteStringBuilder;

// Parses `text` (UTF-8) on `runtime`, sets the builder's collation to "Locale"
// and builds the SQLite text into the builder. With `expressionOnly`, a parse
// result that is not a bare expression is an error. Errors are collected in
// the builder; returns whether the builder holds a non-empty query afterwards.
bool translateQuery(const sql::SqlRuntime* runtime, const std::string& text, SqliteStringBuilder& builder, bool expressionOnly);

} // namespace tessera::engine
