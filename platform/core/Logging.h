#pragma once
// Logging categories of the platform and the engine, one per area. Enable
// them with QT_LOGGING_RULES, e.g. "tessera.engine.debug=true".

#include <QLoggingCategory>

namespace tessera::logging {

const QLoggingCategory& core();        // "tessera.core"
const QLoggingCategory& engine();      // "tessera.engine"
const QLoggingCategory& cache();       // "tessera.cache"
const QLoggingCategory& blob();        // "tessera.blob"
const QLoggingCategory& qtsqlite();    // "tessera.qtsqlite"

} // namespace tessera::logging
