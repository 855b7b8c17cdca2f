#include "platform/cs/Logging.h"

namespace tessera::cs {
Q_LOGGING_CATEGORY(lcCs, "tessera.cs", QtInfoMsg)
}
