#include "platform/qtsqlite/QtSqliteDriver.h"

#include <QDir>
#include <QLibraryInfo>
#include <QLoggingCategory>
#include <QMutex>
#include <QPluginLoader>
#include <QSqlDatabase>
#include <QSqlDriver>
#include <QSqlDriverCreatorBase>
#include <QSqlDriverPlugin>

namespace tessera::qtsqlite {

Q_LOGGING_CATEGORY(lc, "tessera.qtsqlite")

namespace {

const char* const driverName = "QTSQLITE";

QString pluginPath()
{
    return QDir(QLibraryInfo::location(QLibraryInfo::PluginsPath)).filePath(QStringLiteral("sqldrivers/libqsqlite.so"));
}

// The loaded plug-in's factory; the loader stays alive (and the library
// loaded) for the life of the process, as Qt's own plug-in loading does.
QSqlDriverPlugin* sqlitePlugin()
{
    static QPluginLoader* loader = nullptr;
    static QSqlDriverPlugin* plugin = nullptr;
    static QMutex mutex;
    QMutexLocker locker(&mutex);
    if (plugin)
        return plugin;
    if (!loader)
        loader = new QPluginLoader(pluginPath());
    plugin = qobject_cast<QSqlDriverPlugin*>(loader->instance());
    if (!plugin)
        qCWarning(lc) << "Qt SQLite driver plug-in not loaded from" << loader->fileName() << ":" << loader->errorString();
    return plugin;
}

class Creator final : public QSqlDriverCreatorBase {
public:
    QSqlDriver* createObject() const override {
        QSqlDriverPlugin* plugin = sqlitePlugin();
        return plugin ? plugin->create(QStringLiteral("QSQLITE")) : nullptr;
    }
};

} // namespace

bool registerQtSqliteDriver()
{
    if (!sqlitePlugin())
        return false;
    // Qt deletes a replaced creator, so the name is registered only when Qt
    // does not know it: once per application object, since Qt forgets its
    // registered drivers when the application object goes.
    static QMutex mutex;
    QMutexLocker locker(&mutex);
    if (!QSqlDatabase::drivers().contains(QString::fromLatin1(driverName)))
        QSqlDatabase::registerSqlDriver(QString::fromLatin1(driverName), new Creator);
    return true;
}

} // namespace tessera::qtsqlite
