#pragma once
// A coordinate system in an archive: a tag (quint8: 0 none, 1 EPSG, 2 WKT)
// followed by the EPSG code (qint32) or the WKT text (QString).

#include "platform/cs/CoordSystem.h"
#include "platform/serialization/Archive.h"

namespace tessera::serialization {

void save(OutputArchive& archive, const std::shared_ptr<cs::CoordSystem>& coordSystem, quint32 version);
// Throws Error for malformed bytes or a system PROJ cannot make.
void load(InputArchive& archive, std::shared_ptr<cs::CoordSystem>& coordSystem, quint32 version);

} // namespace tessera::serialization
