#include "platform/dp/GeometryValue.h"

#include <QMetaType>

namespace tessera::dp {

int geometryMetaTypeId()
{
    // The name is the one Q_DECLARE_METATYPE would give the type, so a later
    // declaration elsewhere resolves to the same id.
    static const int id = qRegisterMetaType<ConstGeometryPtr>("std::shared_ptr<const tessera::geometry::Geometry>");
    return id;
}

QVariant geometryToVariant(ConstGeometryPtr geometry)
{
    return QVariant(geometryMetaTypeId(), &geometry);
}

ConstGeometryPtr geometryFromVariant(const QVariant& value)
{
    if (!holdsGeometry(value))
        return {};
    return *static_cast<const ConstGeometryPtr*>(value.constData());
}

bool holdsGeometry(const QVariant& value)
{
    return value.isValid() && value.userType() == geometryMetaTypeId();
}

} // namespace tessera::dp
