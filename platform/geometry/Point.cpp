#include "platform/geometry/Geometry.h"

namespace tessera::geometry {

QRectF Point::boundingRect() const
{
    return empty ? QRectF() : QRectF(pos, QSizeF(0.0, 0.0));
}

} // namespace tessera::geometry
