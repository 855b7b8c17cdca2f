#pragma once
// The shell's session: a Core that loads the plug-ins (the engine, the function
// module and any others), running dialect statements (or raw SQLite ones) and
// printing results.

#include "platform/core/PluginManager.h"
#include "tools/tessera-sql/ResultPrinter.h"

#include <QString>
#include <QStringList>
#include <QVector>
#include <memory>
#include <vector>

class QTextStream;

namespace tessera { class Engine; }
namespace tessera::dp { class Table; }

namespace tessera::shell {

struct ShellOptions {
    OutputFormat format = OutputFormat::Table;
    bool translateOnly = false;  // print the SQLite text instead of running it
    bool raw = false;            // run the text as SQLite SQL, untranslated
    // Plug-in files or folders searched before the default ones
    // (plugin::PluginManager::defaultSearchPath); the first of a name wins.
    QStringList pluginPaths;
};

class Shell {
public:
    // Loads the plug-ins. Throws std::runtime_error when the engine is not
    // among them. The engine is made once per process, so a process has one
    // Shell at a time.
    explicit Shell(ShellOptions options);
    ~Shell();

    // The plug-ins that failed to load, with their reasons.
    QVector<plugin::PluginInfo> pluginFailures() const;
    // The plug-ins loaded, in load order.
    QVector<plugin::PluginInfo> loadedPlugins() const;

    const ShellOptions& options() const;
    void setOptions(ShellOptions options);

    // Opens a GIS source (GeoJSON, Shapefile, GeoPackage, MIF/TAB, CSV, a
    // "PG:..." connection, ...) as table `name` (the file's base name when
    // empty) in the shell's data catalog; the table adapter serves it live.
    // "file.gpkg:roads" names a layer. `openOptions` are GDAL open options
    // (KEY=VALUE). False with a message in `error` when it cannot be opened
    // or the name is taken.
    bool openFile(const QString& path, const QString& name, QString& error);
    bool openFile(const QString& path, const QString& name, const QStringList& openOptions, QString& error);

    // The tables of the catalog, in the order they were opened.
    QStringList tableNames() const;
    // Closes a table (its virtual table is dropped).
    bool closeTable(const QString& name, QString& error);
    bool renameTable(const QString& oldName, const QString& newName, QString& error);
    // One line per column: the attribute's name and its SQLite column text;
    // every table when `name` is empty.
    bool describeTable(const QString& name, QTextStream& out, QString& error) const;

    // Runs every statement and meta-command (MetaCommands.h) of the script;
    // stops at the first failing one. Returns false after an error, which is
    // written to `err`.
    bool runScript(const QString& script, QTextStream& out, QTextStream& err);
    bool runStatement(const QString& statement, QTextStream& out, QTextStream& err);

    // The SQLite text of a dialect statement, or false with the reasons in `error`.
    bool translate(const QString& statement, QString& sqlite, QString& error) const;

    Engine& engine() const;
    // A table of the catalog: exact name first, then ignoring case.
    std::shared_ptr<dp::Table> table(const QString& name) const;
    // The ids of the indices built on a table with .index (kept in its store).
    std::vector<int>& indexIds(const QString& table);

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace tessera::shell
