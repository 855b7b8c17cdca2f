#pragma once
// What a CoordSystem keeps: its definition text and the properties read once
// when it was made. No PROJ object is kept here: those are per thread
// (ProjThreadState), made again from `definition` where needed.

#include "platform/cs/CsExport.h"
#include "platform/cs/CoordSystem.h"

#include <atomic>
#include <mutex>

namespace tessera::cs {

struct TESSERA_CS_EXPORT CoordSystem::Private {
    // Unique for the process lifetime; keys the per-thread PROJ caches.
    quint64 serial = 0;
    // Text PROJ makes this system from ("EPSG:4326", a PROJ string, WKT).
    QString definition;
    QString name;
    QString wkt;
    bool geographic = false;
    bool projected = false;
    double semiMajor = 0.0;
    double semiMinor = 0.0;
    double inverseFlattening = 0.0;
    double unitFactor = 1.0;

    // The EPSG code: known at once when the definition carries an EPSG
    // identifier, else found by identification on first request.
    mutable std::once_flag epsgOnce;
    mutable int epsgCode = 0;
    bool epsgKnown = false;

    static quint64 nextSerial();
};

} // namespace tessera::cs
