#include "platform/dp/Logging.h"

namespace tessera::dp {

Q_LOGGING_CATEGORY(lcDp, "tessera.dp")

} // namespace tessera::dp
