#include "engine/Engine.h"

#include "engine/EngineCacheSettings.h"
#include "engine/EngineInternal.h"
#include "engine/functions/MatchingFunctions.h"
#include "engine/indices/EngineIndicesFactory.h"
#include "engine/indices/EngineIndicesSetup.h"
#include "engine/translation/SpatiaLiteFunctions.h"
#include "engine/translation/SqliteStringBuilder.h"
#include "engine/translation/TranslationEntry.h"
#include "platform/core/Core.h"
#include "platform/core/Extensions.h"
#include "platform/core/Logging.h"
#include "platform/core/SqliteException.h"
#include "platform/dp/Table.h"
#include "platform/geometry/ResemblanceExtension.h"
#include "platform/qtsqlite/QtSqliteDriver.h"
#include "platform/sql/SqlError.h"
#include "platform/sql/SqlParser.h"
#include "platform/sql/SqlRuntime.h"
#include "platform/sql/SqlStrings.h"

#include <QCoreApplication>
#include <QDir>
#include <QMutex>
#include <QPointer>
#include <QSqlDriver>
#include <algorithm>
#include <spatialite.h>
#include <sqlite3.h>
#include <stdexcept>

namespace tessera {

namespace {

const char* const driverName = "QTSQLITE";
const char* const connectionName = "TESSERAENGINE";
// Where a packaged build keeps its Qt plug-ins, relative to the executable.
const char* const pluginDirectory = "/../../plugins";

int localeCollation(void* user, int length1, const void* data1, int length2, const void* data2)
{
    if (auto* internal = static_cast<Engine::Internal*>(user))
        return engine::collatorCompare(internal->collator, length1, data1, length2, data2);
    return engine::collatorCompare(engine::collator(), length1, data1, length2, data2);
}

std::string utf8(const QString& text)
{
    return text.toUtf8().toStdString();
}

} // namespace

// --- Internal ---------------------------------------------------------------

Engine::Internal::Internal(Engine* owner)
{
    openDatabase();
    collator = engine::collator();
    // QCollator sets itself up on first use; do it here, before query threads share it.
    collator.compare(QStringLiteral("a"), QStringLiteral("b"));
    spatialiteCache = nullptr;
    runtime = new sql::SqlRuntime(owner);
    prepareConnection();
}

Engine::Internal::~Internal()
{
    shutDown();
}

void Engine::Internal::openDatabase()
{
    QCoreApplication::addLibraryPath(QCoreApplication::applicationDirPath() + QLatin1String(pluginDirectory));
    if (!qtsqlite::registerQtSqliteDriver())
        qCWarning(logging::engine()) << "the" << driverName << "driver could not be registered";

    database = QSqlDatabase::addDatabase(QString::fromLatin1(driverName), QString::fromLatin1(connectionName));
    if (!database.isValid())
        throw std::runtime_error(utf8(Engine::tr("Не загружен драйвер %0").arg(QLatin1String(driverName))));

    database.setDatabaseName(QStringLiteral(":memory:"));
    if (!database.open())
        throw std::runtime_error(utf8(Engine::tr("Инициализация %0 в оперативной памяти").arg(QLatin1String(driverName))));
}

void Engine::Internal::prepareConnection()
{
    sqlite3* db = handle();
    if (!db || sqlite3_db_config(db, SQLITE_DBCONFIG_ENABLE_LOAD_EXTENSION, 1, nullptr) != SQLITE_OK)
        throw err::SqliteException(db, Engine::tr("Поддержка расширений %0").arg(QLatin1String("SQLITE")));

    try {
        spatialiteCache = spatialite_alloc_connection();
        if (!spatialiteCache)
            throw std::runtime_error("spatialite_alloc_connection");
        engine::initSpatiaLite(db, spatialiteCache);
    } catch (...) {
        if (spatialiteCache)
            spatialite_cleanup_ex(spatialiteCache);
        spatialiteCache = nullptr;
        throw err::SqliteException(db, Engine::tr("Инициализация %0").arg(QLatin1String("spatialite")));
    }

    setUseGaiaCache(engine::GaiaCacheNever);
    sqlite3_create_collation(db, "Locale", SQLITE_UTF16, this, localeCollation);
    QMutexLocker locker(&interruptLock);
    interruptible = db;
    qCInfo(logging::engine()) << "engine database ready:" << sqlite3_libversion() << "with SpatiaLite" << spatialite_version();
}

sqlite3* Engine::Internal::handle() const
{
    if (!database.isValid() || !database.driver())
        return nullptr;
    const QVariant v = database.driver()->handle();
    if (!v.isValid() || qstrcmp(v.typeName(), "sqlite3*") != 0)
        return nullptr;
    return *static_cast<sqlite3* const*>(v.constData());
}

void Engine::Internal::shutDown()
{
    {
        QMutexLocker locker(&interruptLock);
        interruptible = nullptr;
    }
    if (spatialiteCache) {
        spatialite_cleanup_ex(spatialiteCache);
        spatialiteCache = nullptr;
    }
    database.close();
}

std::shared_ptr<cs::CoordSystem> Engine::Internal::tableCoordSystem(const QString& table) const
{
    QReadLocker locker(&managementLock);
    auto it = managementByTable.find(table);
    if (it == managementByTable.end()) {
        it = std::find_if(managementByTable.begin(), managementByTable.end(), [&](const auto& entry) {
            return entry.first.compare(table, Qt::CaseInsensitive) == 0;
        });
    }
    if (it == managementByTable.end())
        return nullptr;
    return it->second->coordSystem();
}

// --- Engine -----------------------------------------------------------------

Engine* Engine::load(Core* core)
{
    if (!core)
        throw std::invalid_argument("Engine::load: no Core");
    const QString className = QString::fromLatin1(Engine::staticMetaObject.className());
    if (auto* engine = qobject_cast<Engine*>(core->findService(&Engine::staticMetaObject, className)))
        return engine;

    // One engine per process. It dies with its Core; a later Core then gets a
    // new one instead of a dangling pointer.
    static QMutex mutex;
    static QPointer<Engine> instance;
    Engine* engine = nullptr;
    {
        QMutexLocker locker(&mutex);
        if (!instance) {
            instance = new Engine(core);
            instance->cache()->setLimits(engine::cacheLimits(core->settings()));
        }
        engine = instance.data();
    }

    core->registerService(engine);
    core->extensionManager()->registerExtensionConsumer(
        new plugin::ExtensionConsumerAdapter<geometry::ResemblanceExtension, Engine>(QPointer<Engine>(engine)));
    return engine;
}

void Engine::unload(Core* core)
{
    if (!core)
        return;
    const QString className = QString::fromLatin1(Engine::staticMetaObject.className());
    if (auto* engine = qobject_cast<Engine*>(core->findService(&Engine::staticMetaObject, className)))
        engine->d->shutDown();
}

Engine::Engine(QObject* parent)
    : QObject(parent)
{
    holder = std::make_shared<Internal>(this);
    d = holder.get();
}

Engine::~Engine() = default;

QSqlDatabase Engine::engineDatabase() const
{
    return d->database;
}

engine::EngineCache* Engine::cache() const
{
    return d;
}

void Engine::loadDatabaseModule(const char* path)
{
    sqlite3* db = d->handle();
    if (!db)
        throw std::logic_error(utf8(tr("Не инициализировано")));
    char* errorMessage = nullptr;
    if (sqlite3_load_extension(db, path ? path : "", nullptr, &errorMessage) == SQLITE_OK)
        return;
    const QString message = tr("Загрузка расширения %0: %1").arg(QString::fromLatin1(path ? path : ""), QString::fromUtf8(errorMessage));
    err::SqliteException error(db, message);
    sqlite3_free(errorMessage);
    throw error;
}

void Engine::loadTableAdapterModule(Core* core, TableAdapterInit init)
{
    sqlite3* db = d->handle();
    if (!db)
        throw std::logic_error(utf8(tr("Не инициализировано")));
    if (!init)
        throw std::invalid_argument("Engine::loadTableAdapterModule: no initialiser");
    char* errorMessage = nullptr;
    if (init(db, &errorMessage, core, d) == SQLITE_OK)
        return;
    const QString message = tr("Загрузка расширения %0: %1").arg(QStringLiteral("tableAdaptor"), QString::fromUtf8(errorMessage));
    err::SqliteException error(db, message);
    sqlite3_free(errorMessage);
    throw error;
}

void Engine::clearCache()
{
    d->clear();
}

void Engine::registerExtension(geometry::ResemblanceExtension* extension)
{
    d->addResemblanceExtension(extension);
}

void Engine::cancelQuery()
{
    QMutexLocker locker(&d->interruptLock);
    if (d->interruptible)
        sqlite3_interrupt(d->interruptible);
}

sql::SqlParser Engine::sqlParser() const
{
    return sql::SqlParser(d->runtime);
}

bool Engine::tryToTranslate(const std::string& text, engine::SqliteStringBuilder& builder, CheckParseResults check) const
{
    return engine::translateQuery(d->runtime, text, builder, check == ExpressionOnly);
}

QString Engine::translate(const std::string& text) const
{
    engine::SqliteStringBuilder builder(d->database, QString(), nullptr);
    if (tryToTranslate(text, builder, AnyResult))
        return sql::fromSqlString(builder.query());
    // The text goes to SQLite as it is; SQLite's own error then tells the user.
    for (const auto& error : builder.errors())
        qCInfo(logging::engine()) << "not translated:" << (error ? QString::fromUtf8(error->what()) : QString());
    return QString::fromUtf8(text.data(), static_cast<int>(text.size()));
}

QString Engine::translate(const QString& text) const
{
    return translate(text.toUtf8().toStdString());
}

void Engine::registerManagement(std::unique_ptr<engine::TableManagement> management)
{
    if (!management)
        return;
    const QString key = management->tableName();
    if (key.isEmpty())
        return;   // nothing to find it by: destroyed here
    QWriteLocker locker(&d->managementLock);
    d->managementByTable[key] = std::move(management);
}

engine::TableManagement* Engine::findManagement(const QString& name) const
{
    QReadLocker locker(&d->managementLock);
    auto it = d->managementByTable.find(name);
    return it == d->managementByTable.end() ? nullptr : it->second.get();
}

void Engine::unRegisterManagement(const QString& name)
{
    // Destroyed outside the lock: a management may call back into the engine.
    std::unique_ptr<engine::TableManagement> gone;
    {
        QWriteLocker locker(&d->managementLock);
        auto it = d->managementByTable.find(name);
        if (it == d->managementByTable.end())
            return;
        gone = std::move(it->second);
        d->managementByTable.erase(it);
    }
}

bool Engine::detachTable(const QString& name)
{
    engine::TableManagement* management = findManagement(name);
    return management && management->detach();
}

engine::EngineIndices* Engine::indices(const std::shared_ptr<dp::Table>& table)
{
    if (!table)
        return nullptr;
    const QString name = table->name();
    QWriteLocker locker(&d->managementLock);
    auto it = d->indicesByTable.find(name);
    if (it != d->indicesByTable.end())
        return it->second.get();

    engine::EngineIndicesSetup setup;
    setup.set("Collate", QStringLiteral("Locale"));
    setup.set("UseCaseInsensitiveGlob", true);
    setup.set("UseCaseInsensitiveLike", true);
    auto store = engine::EngineIndicesFactory::instance().construct(setup, *d);
    return d->indicesByTable.emplace(name, std::move(store)).first->second.get();
}

void Engine::clearIndices(const std::shared_ptr<dp::Table>& table)
{
    if (!table)
        return;
    const QString name = table->name();
    if (engine::EngineIndices* store = findIndices(name))
        store->dropStorage();
    if (engine::TableManagement* management = findManagement(name))
        management->reset();
}

engine::EngineIndices* Engine::findIndices(const QString& name) const
{
    QReadLocker locker(&d->managementLock);
    const auto it = d->indicesByTable.find(name);
    return it == d->indicesByTable.end() ? nullptr : it->second.get();
}

void Engine::dropIndices(const QString& name)
{
    // Destroyed outside the lock: removing a store's files takes time.
    std::unique_ptr<engine::EngineIndices> gone;
    QWriteLocker locker(&d->managementLock);
    if (auto it = d->indicesByTable.find(name); it != d->indicesByTable.end()) {
        gone = std::move(it->second);
        d->indicesByTable.erase(it);
    }
}

sql::FunctionSet Engine::sqlFunctionSet(QFlags<sql::FunctionInfo::TypeMask> mask)
{
    return engine::availableFunctionSet(d->database, mask);
}

engine::FunctionNameSet Engine::functionSet(QFlags<sql::FunctionInfo::TypeMask> mask) const
{
    return engine::availableFunctionNames(d->database, mask);
}

QStringList Engine::functionList(QFlags<sql::FunctionInfo::TypeMask> mask) const
{
    const engine::FunctionNameSet names = functionSet(mask);
    return QStringList(names.begin(), names.end());
}

sql::OperatorSet Engine::operatorList() const
{
    return engine::offeredOperators();
}

} // namespace tessera
