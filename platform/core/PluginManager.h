#pragma once
// Finds, orders, loads and unloads the plug-ins of a Core (QPluginLoader).
// Candidates come from files and folders added in order of precedence; of
// several plug-ins with one name the first found wins. A plug-in that cannot
// be loaded (unreadable file, another interface version, missing or failed
// dependency, failing set-up) is reported with its name and the reason, and
// the others go on.

#include "platform/core/CoreExport.h"

#include <QString>
#include <QStringList>
#include <QVector>
#include <memory>
#include <optional>

namespace tessera {

class Core;

namespace plugin {

struct TESSERA_CORE_EXPORT PluginInfo {
    QString name;            // from the JSON description; the file's base name if unreadable
    QString version;
    QString file;
    QStringList dependencies;
    bool loaded = false;
    QString error;           // why it is not loaded; empty when loaded
};

class TESSERA_CORE_EXPORT PluginManager {
public:
    PluginManager();
    ~PluginManager();
    PluginManager(const PluginManager&) = delete;
    PluginManager& operator=(const PluginManager&) = delete;

    // A plug-in file, or a folder whose libraries are all candidates. A path
    // that does not exist is reported by load() as a missing file.
    void addPath(const QString& path);

    // Loads every candidate added since the last call, in dependency order.
    // Returns those that failed (error set), in the order they were tried.
    QVector<PluginInfo> load(Core* core);

    // Plug-ins named `name` found by later calls of load() are not loaded
    // there (unless a plug-in loaded there depends on them) but kept for
    // loadDeferred(): a host loads what it rarely needs on first need.
    void defer(const QString& name);
    // Loads the deferred plug-in `name` (its dependencies must be loaded) and
    // returns how that went; nothing when no such plug-in waits.
    std::optional<PluginInfo> loadDeferred(const QString& name, Core* core);
    // The names of the plug-ins that wait for loadDeferred().
    QStringList deferredPlugins() const;

    // Calls unload() of the loaded plug-ins in the reverse order of loading.
    // The libraries stay mapped: objects the core still owns (the engine's
    // connection and the functions registered on it) may point into them
    // until the process ends.
    void unload(Core* core);

    // Every plug-in tried, loaded or not, in the order of loading.
    QVector<PluginInfo> plugins() const;

    // The folders searched by default, in order, those that exist: the
    // entries of TESSERA_PLUGIN_PATH, the folder "plugins" next to the
    // program, and the installation's plug-in folder relative to the program.
    static QStringList defaultSearchPath();

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace plugin
} // namespace tessera
