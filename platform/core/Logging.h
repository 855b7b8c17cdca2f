#pragma once
// Logging categories of the platform and the engine, one per area. Enable
// them with QT_LOGGING_RULES, e.g. "tessera.engine.debug=true".

#include "platform/core/CoreExport.h"

#include <QLoggingCategory>

namespace tessera::logging {

TESSERA_CORE_EXPORT const QLoggingCategory& core();        // "tessera.core"
TESSERA_CORE_EXPORT const QLoggingCategory& engine();      // "tessera.engine"
TESSERA_CORE_EXPORT const QLoggingCategory& cache();       // "tessera.cache"
TESSERA_CORE_EXPORT const QLoggingCategory& blob();        // "tessera.blob"
TESSERA_CORE_EXPORT const QLoggingCategory& qtsqlite();    // "tessera.qtsqlite"

} // namespace tessera::logging
