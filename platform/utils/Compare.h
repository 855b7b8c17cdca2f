#pragma once

#include "platform/utils/UtilsExport.h"

#include <QVariant>

namespace tessera::utils {

// Negative, zero or positive; a total order, usable as a map key order.
// Numbers (any integer or floating type, and QDecNumber or another registered
// type that converts to double) compare exactly by value, NaN after every
// other number; texts by UTF-16 code units; byte arrays by bytes; dates and
// date-times in time order; times in time order. Values of different kinds
// sort by kind: numbers, texts, byte arrays, dates, times, then every other
// type, which compares by its text form (then by type id). An invalid
// variant comes after every valid one.
TESSERA_UTILS_EXPORT int compare(const QVariant& a, const QVariant& b);

} // namespace tessera::utils
