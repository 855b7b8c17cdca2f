#pragma once
// The function module: a table-adapter initialiser that registers every SQL
// function of the engine on a connection, with the engine cache as user data.

struct sqlite3;

namespace tessera {
class Core;
namespace engine { class EngineCache; }

namespace modules {

// Registers the engine's SQL functions on `db`. Returns SQLITE_OK, or an
// SQLite error code with a message allocated by sqlite3_malloc in *errorMessage.
// "like" and "glob" replace SQLite's own when the settings
// "UseCaseInsensitiveLike" / "UseCaseInsensitiveGlob" of the core are true
// (the default).
int initFunctionModule(sqlite3* db, char** errorMessage, Core* core, engine::EngineCache* cache);

} // namespace modules
} // namespace tessera
