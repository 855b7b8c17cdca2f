#include "platform/dp/DataObject.h"

namespace tessera::dp {

DataObject::DataObject(const QString& name, QUuid id)
    : objectName_(name), objectId(id)
{
    // Signals and invokable slots carry DataObjectPtr (queued connections,
    // invocation by name): register it under the name such signatures spell.
    static const int pointerType = qRegisterMetaType<DataObjectPtr>("tessera::dp::DataObjectPtr");
    Q_UNUSED(pointerType);
}

DataObject::~DataObject() = default;

void DataObject::setName(const QString& name)
{
    if (name == objectName_)
        return;
    const QString old = objectName_;
    objectName_ = name;
    emit nameChanged(old, name);
}

QString DataObject::makeValidObjectName(QString name)
{
    name = name.trimmed();
    for (QChar& c : name) {
        if (!c.isLetterOrNumber() && c != QLatin1Char('_') && c != QLatin1Char('$'))
            c = QLatin1Char('_');
    }
    if (name.isEmpty() || !(name.at(0).isLetter() || name.at(0) == QLatin1Char('_')))
        name.prepend(QLatin1Char('_'));
    return name;
}

} // namespace tessera::dp
