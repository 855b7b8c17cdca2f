#pragma once
// The names of SpatiaLite's own SQL functions, so that the translator can
// convert the engine's geometry on its way into them.

#include <set>
#include <string>

namespace tessera::engine {

// Lower-case names of the functions that SpatiaLite defines on a connection
// (found once per process on a connection of its own, without the engine's
// functions). Empty when SpatiaLite cannot be set up there.
const std::set<std::wstring>& spatiaLiteFunctionNames();

} // namespace tessera::engine
