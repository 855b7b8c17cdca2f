#pragma once
// The base of plug-ins that make their data objects visible in the engine
// database: for every data object of the catalog it creates a virtual table of
// the plug-in's module, named after the object, and drops, renames and
// re-creates that table as the object is closed, renamed or reset. A subclass
// supplies only the module name and arguments for an object.

#include "engine/EngineExport.h"
#include "platform/core/DependencyManager.h"
#include "platform/core/Extensions.h"
#include "platform/dp/DataObject.h"

#include <QList>
#include <QObject>
#include <QSqlDatabase>
#include <QString>
#include <QVariant>
#include <memory>

class QSqlDriver;

namespace tessera {

class Core;
class Engine;
namespace dp {
class DataCatalog;
class Table;
}

class TESSERA_ENGINE_EXPORT EngineExtension : public QObject, public plugin::Extension, public di::HasDependencies {
    Q_OBJECT
public:
    explicit EngineExtension(QObject* parent = nullptr);
    ~EngineExtension() override;

    // The module that serves a data object, given the object's table-source
    // description, with its arguments in `args`. An empty name: no table.
    virtual QString moduleDescription(const QString& tableSource, QList<QVariant>& args) const = 0;
    virtual void connectDataObject(const dp::DataObject& object);
    virtual void connectCatalog(dp::DataCatalog& catalog);
    // True when the module renames its tables in place (xRename).
    virtual bool renameRealized() const;

    Engine* engineService() const;
    QSqlDatabase engineDatabase() const;
    dp::DataCatalog* dataCatalog() const;

    // Follows the catalog and creates the tables of the objects already in it.
    // Call once the dependencies are present.
    void linkDataCatalog();

    bool exec(QSqlDatabase db, const QString& sql);
    // Makes SQLite connect the virtual table, so that its module registers the
    // table's management.
    bool connectName(const QString& name);
    bool detachTable(const QString& name);
    // Drops the table and creates it again from its data object.
    void deepReset(const std::shared_ptr<dp::Table>& table);

    // Renames the virtual table in place when the module can, else drops it
    // and creates it under the new name.
    void renameImpl(const QString& oldName, QString newName);

    static bool moduleArgNeedsFormatting(const QString& arg);
    static QString formatArg(const QSqlDriver& driver, const QVariant& value);
    static QString formatArgs(const QSqlDriver& driver, const QList<QVariant>& values);

public slots:
    // Throws (nested exceptions) when the table cannot be created.
    void handleDataObject(tessera::dp::DataObjectPtr dobj);
    void unregisterName(QString name);
    void rename(QString oldName, QString newName);

protected:
    Core* core = nullptr;   // injected by the dependency manager

private:
    void closeRequested(const QUuid& id);
};

} // namespace tessera
