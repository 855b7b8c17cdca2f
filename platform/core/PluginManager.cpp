#include "platform/core/PluginManager.h"

#include "platform/core/Logging.h"
#include "platform/core/Plugin.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonObject>
#include <QLibrary>
#include <QPluginLoader>
#include <QVersionNumber>
#include <algorithm>
#include <exception>
#include <map>
#include <set>

namespace tessera::plugin {

Plugin::~Plugin() = default;

namespace {

struct Dependency {
    QString name;
    QVersionNumber version; // null: any version
};

struct Candidate {
    PluginInfo info;
    std::vector<Dependency> dependencies;
    std::unique_ptr<QPluginLoader> loader;
    enum State { Pending, Visiting, Done } state = Pending;
};

// The message of an exception and of the exceptions nested in it.
QString describe(const std::exception& e)
{
    QString text = QString::fromUtf8(e.what());
    try {
        std::rethrow_if_nested(e);
    } catch (const std::exception& inner) {
        text += QStringLiteral(": ") + describe(inner);
    } catch (...) {
    }
    return text;
}

// Reads the description of a plug-in file without loading its code.
Candidate inspect(const QString& file)
{
    Candidate c;
    c.info.file = file;
    c.info.name = QFileInfo(file).completeBaseName();
    if (!QFileInfo(file).isFile()) {
        c.info.error = QStringLiteral("file not found");
        return c;
    }
    c.loader = std::make_unique<QPluginLoader>(file);
    const QJsonObject meta = c.loader->metaData();
    if (meta.isEmpty()) {
        c.info.error = QStringLiteral("not a plug-in: %1").arg(c.loader->errorString());
        return c;
    }
    const QJsonObject description = meta.value(QLatin1String("MetaData")).toObject();
    const QString name = description.value(QLatin1String("name")).toString();
    if (!name.isEmpty())
        c.info.name = name;
    c.info.version = description.value(QLatin1String("version")).toString();
    const QString iid = meta.value(QLatin1String("IID")).toString();
    if (iid != QLatin1String(TESSERA_PLUGIN_IID)) {
        c.info.error = QStringLiteral("built for plug-in interface %1, this host offers %2")
                           .arg(iid, QLatin1String(TESSERA_PLUGIN_IID));
        return c;
    }
    if (name.isEmpty()) {
        c.info.error = QStringLiteral("its description has no name");
        return c;
    }
    if (QVersionNumber::fromString(c.info.version).isNull()) {
        c.info.error = QStringLiteral("its description has no valid version");
        return c;
    }
    for (const QJsonValue& value : description.value(QLatin1String("dependencies")).toArray()) {
        Dependency dependency;
        if (value.isObject()) {
            dependency.name = value.toObject().value(QLatin1String("name")).toString();
            dependency.version = QVersionNumber::fromString(value.toObject().value(QLatin1String("version")).toString());
        } else {
            dependency.name = value.toString();
        }
        if (dependency.name.isEmpty()) {
            c.info.error = QStringLiteral("its description has a dependency without a name");
            return c;
        }
        c.info.dependencies << dependency.name;
        c.dependencies.push_back(dependency);
    }
    return c;
}

// Same major version and at least the required one.
bool compatible(const QVersionNumber& found, const QVersionNumber& required)
{
    return required.isNull() || (found.majorVersion() == required.majorVersion() && found >= required);
}

} // namespace

struct PluginManager::Private {
    QStringList pending;
    // Names loaded on first need (loadDeferred) rather than by load(), and
    // the candidates found for them, their code not yet loaded.
    QStringList deferredNames;
    std::vector<Candidate> deferred;
    // Every plug-in tried, in the order of loading; the loaded ones keep their
    // loader and interface.
    struct Entry {
        PluginInfo info;
        std::unique_ptr<QPluginLoader> loader;
        Plugin* plugin = nullptr;
    };
    std::vector<Entry> entries;

    const Entry* loadedEntry(const QString& name) const
    {
        for (const auto& e : entries)
            if (e.info.loaded && e.info.name == name)
                return &e;
        return nullptr;
    }

    void visit(Candidate& c, std::map<QString, Candidate*>& byName, Core* core);
    void finish(Candidate& c, Plugin* plugin, qint64 nanoseconds = 0);
};

void PluginManager::Private::finish(Candidate& c, Plugin* plugin, qint64 nanoseconds)
{
    c.state = Candidate::Done;
    c.info.loaded = plugin != nullptr;
    // With the time its library and its set-up took: a host's start-up is
    // mostly the loading of its plug-ins.
    if (plugin)
        qCInfo(logging::core()).nospace() << "plug-in loaded: " << c.info.name << " " << c.info.version << " " << c.info.file
                                          << " (" << nanoseconds / 1000 / 1000.0 << " ms)";
    else
        // Reported to the caller of load(), who tells the user.
        qCInfo(logging::core()).noquote() << QStringLiteral("plug-in %1 not loaded: %2").arg(c.info.name, c.info.error);
    entries.push_back(Entry{c.info, std::move(c.loader), plugin});
}

void PluginManager::Private::visit(Candidate& c, std::map<QString, Candidate*>& byName, Core* core)
{
    if (c.state == Candidate::Done)
        return;
    if (c.state == Candidate::Visiting)
        return; // the caller reports the cycle
    c.state = Candidate::Visiting;
    for (const Dependency& dependency : c.dependencies) {
        QString foundVersion;
        if (const Entry* loaded = loadedEntry(dependency.name)) {
            foundVersion = loaded->info.version;
        } else if (auto it = byName.find(dependency.name); it != byName.end()) {
            Candidate& other = *it->second;
            visit(other, byName, core);
            if (other.state == Candidate::Visiting) {
                c.info.error = QStringLiteral("dependency cycle through %1").arg(dependency.name);
                break;
            }
            if (!other.info.loaded) {
                c.info.error = QStringLiteral("dependency %1 is not loaded (%2)").arg(dependency.name, other.info.error);
                break;
            }
            foundVersion = other.info.version;
        } else {
            c.info.error = QStringLiteral("missing dependency %1").arg(dependency.name);
            break;
        }
        if (!compatible(QVersionNumber::fromString(foundVersion), dependency.version)) {
            c.info.error = QStringLiteral("needs %1 %2 or a later %3.x, found version %4")
                               .arg(dependency.name, dependency.version.toString())
                               .arg(dependency.version.majorVersion())
                               .arg(foundVersion);
            break;
        }
    }
    if (!c.info.error.isEmpty())
        return finish(c, nullptr);

    QElapsedTimer timer;
    timer.start();
    QObject* instance = c.loader->instance();
    Plugin* plugin = qobject_cast<Plugin*>(instance);
    if (!instance) {
        c.info.error = c.loader->errorString();
        return finish(c, nullptr);
    }
    if (!plugin) {
        c.info.error = QStringLiteral("does not implement the plug-in interface");
        return finish(c, nullptr);
    }
    try {
        plugin->load(core);
    } catch (const std::exception& e) {
        c.info.error = describe(e);
        return finish(c, nullptr);
    } catch (...) {
        c.info.error = QStringLiteral("its set-up failed");
        return finish(c, nullptr);
    }
    finish(c, plugin, timer.nsecsElapsed());
}

PluginManager::PluginManager()
    : d(std::make_unique<Private>())
{
}

PluginManager::~PluginManager() = default;

void PluginManager::addPath(const QString& path)
{
    d->pending << path;
}

QVector<PluginInfo> PluginManager::load(Core* core)
{
    // Candidates in order of precedence.
    std::vector<Candidate> candidates;
    for (const QString& given : std::exchange(d->pending, {})) {
        // Absolute: QPluginLoader looks a relative name up in Qt's library
        // paths, not in the working folder.
        const QString path = QFileInfo(given).absoluteFilePath();
        const QFileInfo info(path);
        if (info.isDir()) {
            const QDir dir(path);
            for (const QString& entry : dir.entryList(QDir::Files, QDir::Name))
                if (QLibrary::isLibrary(entry))
                    candidates.push_back(inspect(dir.filePath(entry)));
        } else {
            candidates.push_back(inspect(path));
        }
    }

    std::map<QString, Candidate*> byName;
    const std::size_t before = d->entries.size();
    for (Candidate& c : candidates) {
        if (!c.info.error.isEmpty()) {
            d->finish(c, nullptr);
            continue;
        }
        if (const auto* loaded = d->loadedEntry(c.info.name)) {
            c.info.error = QStringLiteral("a plug-in of that name is already loaded from %1").arg(loaded->info.file);
            d->finish(c, nullptr);
        } else if (auto it = byName.find(c.info.name); it != byName.end()) {
            // Shadowed by one found earlier (an explicit file, or an earlier folder).
            qCInfo(logging::core()) << "plug-in" << c.info.file << "ignored: " << c.info.name << "found in" << it->second->info.file;
            c.state = Candidate::Done;
        } else {
            byName.emplace(c.info.name, &c);
        }
    }
    // Deferred ones wait, unless a plug-in loaded now depends on them.
    std::set<QString> needed;
    for (const auto& [name, c] : byName)
        if (!d->deferredNames.contains(name))
            for (const Dependency& dependency : c->dependencies)
                needed.insert(dependency.name);
    for (Candidate& c : candidates) {
        if (!byName.count(c.info.name) || byName[c.info.name] != &c)
            continue;
        const bool waits = d->deferredNames.contains(c.info.name) && !needed.count(c.info.name)
                           && std::none_of(d->deferred.begin(), d->deferred.end(), [&](const Candidate& other) { return other.info.name == c.info.name; });
        if (waits) {
            byName.erase(c.info.name);
            d->deferred.push_back(std::move(c));
        }
    }
    for (Candidate& c : candidates)
        if (byName.count(c.info.name) && byName[c.info.name] == &c)
            d->visit(c, byName, core);

    QVector<PluginInfo> failed;
    for (std::size_t i = before; i < d->entries.size(); ++i)
        if (!d->entries[i].info.loaded)
            failed << d->entries[i].info;
    return failed;
}

void PluginManager::defer(const QString& name)
{
    d->deferredNames << name;
}

std::optional<PluginInfo> PluginManager::loadDeferred(const QString& name, Core* core)
{
    const auto it = std::find_if(d->deferred.begin(), d->deferred.end(), [&](const Candidate& c) { return c.info.name == name; });
    if (it == d->deferred.end())
        return std::nullopt;
    Candidate c = std::move(*it);
    d->deferred.erase(it);
    std::map<QString, Candidate*> byName{{c.info.name, &c}};
    d->visit(c, byName, core);
    return d->entries.back().info;
}

QStringList PluginManager::deferredPlugins() const
{
    QStringList names;
    for (const Candidate& c : d->deferred)
        names << c.info.name;
    return names;
}

void PluginManager::unload(Core* core)
{
    for (auto it = d->entries.rbegin(); it != d->entries.rend(); ++it) {
        if (!it->info.loaded)
            continue;
        try {
            it->plugin->unload(core);
        } catch (const std::exception& e) {
            qCWarning(logging::core()).noquote() << QStringLiteral("plug-in %1 failed to unload: %2").arg(it->info.name, describe(e));
        }
        it->info.loaded = false;
        qCInfo(logging::core()) << "plug-in unloaded:" << it->info.name;
    }
}

QVector<PluginInfo> PluginManager::plugins() const
{
    QVector<PluginInfo> result;
    for (const auto& e : d->entries)
        result << e.info;
    return result;
}

QStringList PluginManager::defaultSearchPath()
{
    QStringList path = qEnvironmentVariable("TESSERA_PLUGIN_PATH").split(QDir::listSeparator(), Qt::SkipEmptyParts);
    if (QCoreApplication::instance()) {
        const QString program = QCoreApplication::applicationDirPath();
        path << QDir::cleanPath(program + QStringLiteral("/plugins"))
             << QDir::cleanPath(program + QLatin1Char('/') + QStringLiteral(TESSERA_PLUGINDIR_FROM_BINDIR));
    }
    path.removeDuplicates();
    path.erase(std::remove_if(path.begin(), path.end(), [](const QString& dir) { return !QFileInfo(dir).isDir(); }),
               path.end());
    return path;
}

} // namespace tessera::plugin
