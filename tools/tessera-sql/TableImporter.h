#pragma once
// Opens a GIS file and copies it into a table of the engine database, with the
// schema's column text (hidden geometry column included) and TesGeo geometry.

#include <QString>
#include <memory>

namespace tessera { class Engine; }
namespace tessera::dp { class Table; }

namespace tessera::shell {

// False with a message in `error` when the file cannot be read or the table
// cannot be made (e.g. the name is taken). The table read from the file goes
// to `imported` when given.
bool importTable(Engine& engine, const QString& path, const QString& name, QString& error,
                 std::shared_ptr<dp::Table>* imported = nullptr);

} // namespace tessera::shell
