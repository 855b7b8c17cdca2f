#include "platform/core/Logging.h"

namespace tessera::logging {

Q_LOGGING_CATEGORY(lcCore, "tessera.core")
Q_LOGGING_CATEGORY(lcEngine, "tessera.engine")
Q_LOGGING_CATEGORY(lcCache, "tessera.cache")
Q_LOGGING_CATEGORY(lcBlob, "tessera.blob")
Q_LOGGING_CATEGORY(lcQtSqlite, "tessera.qtsqlite")

const QLoggingCategory& core() { return lcCore(); }
const QLoggingCategory& engine() { return lcEngine(); }
const QLoggingCategory& cache() { return lcCache(); }
const QLoggingCategory& blob() { return lcBlob(); }
const QLoggingCategory& qtsqlite() { return lcQtSqlite(); }

} // namespace tessera::logging
