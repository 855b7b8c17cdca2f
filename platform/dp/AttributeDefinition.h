#pragma once
// One attribute (column) of a table schema: its name and its type as a Qt
// meta-type id. Definitions are shared by value through
// QSharedDataPointer<AttributeDefinition>; the kinds (simple, geometry,
// rendition) are subclasses, and the pointer copies them polymorphically on
// detach through clone().

#include "platform/dp/DpExport.h"

#include <QMetaType>
#include <QSharedData>
#include <QSharedDataPointer>
#include <QString>

namespace tessera::dp {

class TESSERA_DP_EXPORT AttributeDefinition : public QSharedData {
public:
    AttributeDefinition(QString name, int type);
    virtual ~AttributeDefinition();

    // A copy of the same dynamic type.
    virtual AttributeDefinition* clone() const = 0;

    const QString& name() const { return attributeName; }
    void setName(QString name) { attributeName = std::move(name); }

    // The Qt meta-type id of the attribute's values.
    int type() const { return typeId; }

    // A caption for people; the name when none was set.
    QString caption() const { return attributeCaption.isEmpty() ? attributeName : attributeCaption; }
    void setCaption(QString caption) { attributeCaption = std::move(caption); }

protected:
    AttributeDefinition(const AttributeDefinition&) = default;
    AttributeDefinition& operator=(const AttributeDefinition&) = delete;

private:
    QString attributeName;
    QString attributeCaption;
    int typeId;
};

using AttributeDefinitionPtr = QSharedDataPointer<AttributeDefinition>;

} // namespace tessera::dp

template <>
inline tessera::dp::AttributeDefinition* QSharedDataPointer<tessera::dp::AttributeDefinition>::clone()
{
    return d->clone();
}
