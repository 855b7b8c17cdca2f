#pragma once
// A coordinate system in an archive: a tag (quint8: 0 none, 1 EPSG, 2 WKT)
// followed by the EPSG code (qint32) or the WKT text (QString).

#include "platform/cs/CsExport.h"
#include "platform/cs/CoordSystem.h"
#include "platform/serialization/Archive.h"

namespace tessera::serialization {

TESSERA_CS_EXPORT void save(OutputArchive& archive, const std::shared_ptr<cs::CoordSystem>& coordSystem, quint32 version);
// Throws Error for malformed bytes or a system PROJ cannot make.
TESSERA_CS_EXPORT void load(InputArchive& archive, std::shared_ptr<cs::CoordSystem>& coordSystem, quint32 version);

// Whether `data` can be a version 0 followed by a saved coordinate system (a
// cheap look at the version and the tag). False means loading it would throw;
// readers of untrusted bytes ask first, since exceptions are slow.
TESSERA_CS_EXPORT bool mayHoldCoordSystem(const char* data, int size);

} // namespace tessera::serialization
