#pragma once
// Geometry values inside QVariant. Feature attributes are QVariants; a
// geometry attribute holds a std::shared_ptr<const geometry::Geometry> under
// the meta-type geometryMetaTypeId(). The helpers below put a geometry in and
// take it out without requiring the geometry headers, so the data model does
// not depend on the geometry library.

#include "platform/dp/DpExport.h"

#include <QVariant>
#include <memory>

namespace tessera::geometry { class Geometry; }

namespace tessera::dp {

using ConstGeometryPtr = std::shared_ptr<const geometry::Geometry>;

// The meta-type of geometry values, registered on first use under the name
// "std::shared_ptr<const tessera::geometry::Geometry>".
TESSERA_DP_EXPORT int geometryMetaTypeId();

// A variant holding `geometry` (an empty pointer gives a variant of the
// geometry type holding an empty pointer, not an invalid variant).
TESSERA_DP_EXPORT QVariant geometryToVariant(ConstGeometryPtr geometry);

// The geometry in `value`, or an empty pointer when it holds none.
TESSERA_DP_EXPORT ConstGeometryPtr geometryFromVariant(const QVariant& value);

TESSERA_DP_EXPORT bool holdsGeometry(const QVariant& value);

} // namespace tessera::dp
