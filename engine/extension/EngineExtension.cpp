#include "engine/extension/EngineExtension.h"

#include "engine/Engine.h"
#include "engine/TableManagement.h"
#include "platform/core/Core.h"
#include "platform/dp/DataCatalog.h"
#include "platform/dp/Table.h"

#include <QLoggingCategory>
#include <QRegularExpression>
#include <QSqlDriver>
#include <QSqlError>
#include <QSqlField>
#include <QSqlQuery>
#include <QThread>
#include <exception>
#include <stdexcept>

namespace tessera {
namespace {

Q_LOGGING_CATEGORY(lcExtension, "tessera.extension")

std::string utf8(const QString& text)
{
    return text.toUtf8().toStdString();
}

QString escapedTable(const QSqlDatabase& db, const QString& name)
{
    return db.driver() ? db.driver()->escapeIdentifier(name, QSqlDriver::TableName) : name;
}

} // namespace

EngineExtension::EngineExtension(QObject* parent)
    : QObject(parent)
{
    di::DependencyManager& manager = dependencyManager();
    manager.addDependency<Engine>();
    manager.addDependency<dp::DataCatalog>();
    manager.addDependency<Core>([this](QObject* object) { core = qobject_cast<Core*>(object); });
}

EngineExtension::~EngineExtension() = default;

bool EngineExtension::renameRealized() const
{
    return false;
}

Engine* EngineExtension::engineService() const
{
    return dependencyManager().getService<Engine>();
}

QSqlDatabase EngineExtension::engineDatabase() const
{
    const Engine* engine = engineService();
    return engine ? engine->engineDatabase() : QSqlDatabase();
}

dp::DataCatalog* EngineExtension::dataCatalog() const
{
    return dependencyManager().getService<dp::DataCatalog>();
}

void EngineExtension::linkDataCatalog()
{
    dp::DataCatalog* catalog = dataCatalog();
    if (!catalog)
        return;
    connectCatalog(*catalog);
    for (const dp::DataObjectPtr& object : catalog->dataObjects())
        handleDataObject(object);
}

void EngineExtension::connectCatalog(dp::DataCatalog& catalog)
{
    connect(&catalog, &dp::DataCatalog::dataObjectAdded, this, &EngineExtension::handleDataObject, Qt::DirectConnection);
}

void EngineExtension::connectDataObject(const dp::DataObject& object)
{
    const QUuid id = object.dataObjectId();
    connect(&object, &dp::DataObject::closeRequested, this, [this, id] { closeRequested(id); }, Qt::DirectConnection);
}

void EngineExtension::closeRequested(const QUuid& id)
{
    dp::DataCatalog* catalog = dataCatalog();
    const dp::DataObjectPtr object = catalog ? catalog->findById(id) : nullptr;
    if (!object)
        return;
    disconnect(object.get(), nullptr, this, nullptr);
    const QString name = object->name();
    connectName(name);
    Engine* engine = engineService();
    engine::TableManagement* management = engine ? engine->findManagement(name) : nullptr;
    if (management && management->table())
        unregisterName(name);
}

bool EngineExtension::exec(QSqlDatabase db, const QString& sql)
{
    QSqlQuery query(db);
    query.setForwardOnly(true);
    if (query.exec(sql))
        return true;
    qCWarning(lcExtension).noquote() << query.lastQuery() + QStringLiteral(": ") + query.lastError().text();
    return false;
}

bool EngineExtension::connectName(const QString& name)
{
    const QSqlDatabase db = engineDatabase();
    return exec(db, QStringLiteral("Select Count(1) From %0 Where 1=0;").arg(escapedTable(db, name)));
}

bool EngineExtension::detachTable(const QString& name)
{
    Engine* engine = engineService();
    if (!engine)
        return false;
    if (engine->detachTable(name))
        return true;
    connectName(name);
    return engine->detachTable(name);
}

void EngineExtension::handleDataObject(dp::DataObjectPtr dobj)
{
    if (!dobj) {
        qCCritical(lcExtension) << "Adding absent object";
        return;
    }
    const QString className = QString::fromLatin1(metaObject()->className());
    QSqlDatabase db = engineDatabase();
    QString module;
    QList<QVariant> args;
    try {
        module = moduleDescription(dobj->tableSourceDescription(), args);
    } catch (...) {
        std::throw_with_nested(std::logic_error(utf8(tr("Обработка расширения %0").arg(className))));
    }
    if (module.isEmpty())
        return;
    try {
        const QString sql = QStringLiteral("Create Virtual Table %0 Using %1(%2);")
                                .arg(escapedTable(db, dobj->name()), escapedTable(db, module),
                                     db.driver() ? formatArgs(*db.driver(), args) : QString());
        QSqlQuery query(db);
        query.setForwardOnly(true);
        query.exec(sql);
        if (!query.isActive()) {
            qCWarning(lcExtension).noquote() << sql + QStringLiteral(": ") + query.lastError().text();
            throw std::runtime_error(utf8(tr("Ошибка при создании виртуальной таблицы")));
        }
        connectDataObject(*dobj);
    } catch (...) {
        std::throw_with_nested(std::runtime_error(utf8(tr("Регистрация модуля базы данных: %0").arg(className))));
    }
}

void EngineExtension::unregisterName(QString name)
{
    QSqlDatabase db = engineDatabase();
    if (!exec(db, QStringLiteral("Drop Table If Exists %0;").arg(escapedTable(db, name)))) {
        if (Engine* engine = engineService(); engine && !engine->detachTable(name)) {
            connectName(name);
            engine->detachTable(name);
        }
    }
    qCDebug(lcExtension) << "ThreadId: " << QThread::currentThreadId() << " ObjectId: " << this
                         << " drop table in SQL engine: " << name;
}

void EngineExtension::rename(QString oldName, QString newName)
{
    if (oldName.isEmpty() || newName.isEmpty() || oldName.compare(newName, Qt::CaseInsensitive) == 0)
        return;
    renameImpl(oldName, newName);
}

void EngineExtension::renameImpl(const QString& oldName, QString newName)
{
    dp::DataCatalog* catalog = dataCatalog();
    dp::DataObjectPtr object = catalog ? catalog->findByName(newName) : nullptr;
    if (!object) {
        newName = dp::DataObject::makeValidObjectName(newName);
        object = catalog ? catalog->findByName(newName) : nullptr;
    }

    if (renameRealized()) {
        Engine* engine = engineService();
        if (engine::TableManagement* management = engine ? engine->findManagement(oldName) : nullptr) {
            management->setNewName(newName);
            QSqlDatabase db = engineDatabase();
            if (!exec(db, QStringLiteral("Alter Table %0 Rename To %1;")
                              .arg(escapedTable(db, oldName), escapedTable(db, newName))))
                handleDataObject(object);
        }
        return;
    }
    unregisterName(oldName);
    handleDataObject(object);
}

void EngineExtension::deepReset(const std::shared_ptr<dp::Table>& table)
{
    if (!table)
        return;
    const QString name = table->name();
    detachTable(name);
    unregisterName(name);
    dp::DataCatalog* catalog = dataCatalog();
    handleDataObject(catalog ? catalog->findByName(name) : nullptr);
}

bool EngineExtension::moduleArgNeedsFormatting(const QString& arg)
{
    static const QRegularExpression outsidePlain(QStringLiteral("[^[:alnum:]_\\.\\/[:space:]]"),
                                            QRegularExpression::UseUnicodePropertiesOption);
    return outsidePlain.match(arg).hasMatch();
}

QString EngineExtension::formatArg(const QSqlDriver& driver, const QVariant& value)
{
    if (value.userType() == QMetaType::QString && !moduleArgNeedsFormatting(value.toString()))
        return value.toString();
    QSqlField field(QString(), value.type());
    field.setValue(value);
    return driver.formatValue(field, false);
}

QString EngineExtension::formatArgs(const QSqlDriver& driver, const QList<QVariant>& values)
{
    QStringList texts;
    for (const QVariant& value : values)
        texts << formatArg(driver, value);
    return texts.join(QLatin1Char(','));
}

} // namespace tessera
