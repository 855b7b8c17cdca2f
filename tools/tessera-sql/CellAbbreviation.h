#pragma once
// Long geometry texts cut to fit a terminal, so that a table of countries
// stays readable; --full shows them whole.

#include "tools/tessera-sql/ResultPrinter.h"

#include <QVector>

namespace tessera::shell {

// Cuts the texts of the columns marked in `wide` so that a table row fits
// `width` characters (each cut text ends in "…"; none gets shorter than 16
// characters). A width of 0 or less leaves everything as it is.
void abbreviateWideCells(ResultSet& result, const QVector<bool>& wide, int width);

// The width of the terminal on standard output, or 0 when it is not one.
int terminalWidth();

} // namespace tessera::shell
