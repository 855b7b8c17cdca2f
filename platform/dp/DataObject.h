#pragma once
// Something the user has open: a table, a raster, ... It has a name (unique in
// its catalog, ignoring case), a fixed id, and a description of its table
// source that tells SQL integration which virtual-table module serves it.
// Data objects are shared as DataObjectPtr and must not have a Qt parent.

#include "platform/dp/DpExport.h"

#include <QMetaType>
#include <QObject>
#include <QString>
#include <QUuid>
#include <memory>

namespace tessera::dp {

class TESSERA_DP_EXPORT DataObject : public QObject {
    Q_OBJECT
public:
    explicit DataObject(const QString& name, QUuid id = QUuid::createUuid());
    ~DataObject() override;

    const QString& name() const { return objectName_; }
    // Emits nameChanged when the name really changes.
    void setName(const QString& name);

    const QUuid& id() const { return objectId; }
    // The same id, under the name the catalog integration uses.
    const QUuid& dataObjectId() const { return objectId; }

    // The description of the table source, for example "memory" or
    // "ogr:/data/roads.shp". Empty when the object is not a table.
    virtual QString tableSourceDescription() const { return sourceDescription; }
    void setTableSourceDescription(const QString& text) { sourceDescription = text; }

    // Asks everyone who keeps something of this object to let it go; the
    // catalog emits it right before it removes the object.
    void requestClose() { emit closeRequested(); }

    // `name` turned into a valid object name: an identifier that SQL reads
    // without quotes. Blanks around it are dropped, every character that is
    // not a letter, digit, "_" or "$" becomes "_", and a name that does not
    // start with a letter or "_" gets a "_" in front. An empty name gives "_".
    static QString makeValidObjectName(QString name);

signals:
    void closeRequested();
    void nameChanged(const QString& oldName, const QString& newName);

private:
    QString objectName_;
    QUuid objectId;
    QString sourceDescription;
};

using DataObjectPtr = std::shared_ptr<DataObject>;

} // namespace tessera::dp

Q_DECLARE_METATYPE(tessera::dp::DataObjectPtr)
