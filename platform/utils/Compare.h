#pragma once

#include <QVariant>

namespace tessera::utils {

// Negative, zero or positive. Numbers (any integer or floating type, and
// QDecNumber) compare by value, texts by code units, dates and times in time
// order; values of unrelated kinds compare by their text forms. An invalid
// variant comes after every valid one.
int compare(const QVariant& a, const QVariant& b);

} // namespace tessera::utils
