#include "platform/dp/DataCatalog.h"

#include "platform/dp/Logging.h"

namespace tessera::dp {

DataCatalog::DataCatalog(QObject* parent) : QObject(parent) {}

DataCatalog::~DataCatalog()
{
    // The objects outlive the catalog when others hold them: stop listening.
    for (const DataObjectPtr& o : objects)
        disconnect(o.get(), nullptr, this, nullptr);
}

bool DataCatalog::addDataObject(const DataObjectPtr& object)
{
    if (!object || findById(object->id()))
        return false;
    if (object->parent())
        qCWarning(lcDp) << "Data object" << object->name() << "has a Qt parent; the catalog shares its ownership";
    const QString name = uniqueName(object->name());
    if (name != object->name())
        object->setName(name);
    objects.append(object);
    connect(object.get(), &DataObject::nameChanged, this, &DataCatalog::dataObjectRenamed);
    qCDebug(lcDp) << "Added" << object->name() << object->id();
    emit dataObjectAdded(object);
    return true;
}

bool DataCatalog::closeDataObject(const QUuid& id)
{
    const DataObjectPtr object = findById(id);
    if (!object)
        return false;
    object->requestClose();
    objects.removeOne(object);
    disconnect(object.get(), nullptr, this, nullptr);
    qCDebug(lcDp) << "Removed" << object->name() << object->id();
    emit dataObjectRemoved(object);
    return true;
}

DataObjectPtr DataCatalog::findById(const QUuid& id) const
{
    for (const DataObjectPtr& o : objects) {
        if (o->id() == id)
            return o;
    }
    return {};
}

DataObjectPtr DataCatalog::findByName(const QString& name) const
{
    for (const DataObjectPtr& o : objects) {
        if (o->name() == name)
            return o;
    }
    for (const DataObjectPtr& o : objects) {
        if (o->name().compare(name, Qt::CaseInsensitive) == 0)
            return o;
    }
    return {};
}

QString DataCatalog::uniqueName(const QString& name) const
{
    if (!findByName(name))
        return name;
    for (int n = 2;; ++n) {
        const QString candidate = name + QLatin1Char('_') + QString::number(n);
        if (!findByName(candidate))
            return candidate;
    }
}

} // namespace tessera::dp
