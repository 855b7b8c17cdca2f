#pragma once
// The data objects the user has open, in the order they were added, found by
// id or by name. Names are unique ignoring case (as SQL table names are):
// an object added under a name in use is renamed with a numeric suffix.

#include "platform/dp/DpExport.h"
#include "platform/dp/DataObject.h"

#include <QList>
#include <QObject>
#include <QUuid>

namespace tessera::dp {

class TESSERA_DP_EXPORT DataCatalog : public QObject {
    Q_OBJECT
public:
    explicit DataCatalog(QObject* parent = nullptr);
    ~DataCatalog() override;

    // Adds the object and emits dataObjectAdded. False for a null object or
    // one whose id is already in the catalog.
    bool addDataObject(const DataObjectPtr& object);
    // Emits the object's closeRequested while it is still in the catalog (so
    // that whoever follows it can still find it), then removes it and emits
    // dataObjectRemoved. False when the id is unknown.
    bool closeDataObject(const QUuid& id);

    DataObjectPtr findById(const QUuid& id) const;
    // Exact name first, then ignoring case; empty if none.
    DataObjectPtr findByName(const QString& name) const;
    QList<DataObjectPtr> dataObjects() const { return objects; }
    int count() const { return objects.size(); }

    // A name not used in the catalog (ignoring case): `name` itself or
    // `name` with "_2", "_3", ... appended.
    QString uniqueName(const QString& name) const;

signals:
    void dataObjectAdded(tessera::dp::DataObjectPtr object);
    void dataObjectRemoved(tessera::dp::DataObjectPtr object);
    // A catalog object changed its name.
    void dataObjectRenamed(const QString& oldName, const QString& newName);

private:
    QList<DataObjectPtr> objects;
};

} // namespace tessera::dp
