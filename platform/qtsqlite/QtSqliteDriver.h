#pragma once
// The "QTSQLITE" Qt SQL driver: Qt's own SQLite driver (built on the system
// libsqlite3 that the engine links), registered under the name the engine
// asks for, so that QSqlDriver::handle() is the engine's sqlite3*.

namespace tessera::qtsqlite {

// Registers the driver name unless Qt already has it (Qt forgets it with the
// application object); later calls do nothing.
// Returns false when Qt's SQLite driver plug-in cannot be loaded.
bool registerQtSqliteDriver();

} // namespace tessera::qtsqlite
