#pragma once
// The logging category of the data model, "tessera.dp".

#include <QLoggingCategory>

namespace tessera::dp {

Q_DECLARE_LOGGING_CATEGORY(lcDp)

} // namespace tessera::dp
