#pragma once
// Logging category of the coordinate-system library: "tessera.cs".

#include <QLoggingCategory>

namespace tessera::cs {
Q_DECLARE_LOGGING_CATEGORY(lcCs)
}
