#pragma once
// Opens a GIS file and copies it into a table of the engine database, with the
// schema's column text (hidden geometry column included) and TesGeo geometry.

#include <QString>

namespace tessera { class Engine; }

namespace tessera::shell {

// False with a message in `error` when the file cannot be read or the table
// cannot be made (e.g. the name is taken).
bool importTable(Engine& engine, const QString& path, const QString& name, QString& error);

} // namespace tessera::shell
