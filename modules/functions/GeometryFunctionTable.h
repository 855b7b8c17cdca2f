#pragma once
// The geometry SQL functions under their dialect names (lower case), with
// their arities and flags, for FunctionRegistrar.

#include "modules/functions/FunctionTable.h"

#include <vector>

namespace tessera::modules {

std::vector<FunctionEntry> geometryFunctions();

} // namespace tessera::modules
