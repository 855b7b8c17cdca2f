#pragma once
// Symbols of the data-provider model seen from outside its shared library:
// exported while the library itself is compiled, imported everywhere else.

#include <QtGlobal>

#if defined(TESSERA_DP_LIBRARY)
#define TESSERA_DP_EXPORT Q_DECL_EXPORT
#else
#define TESSERA_DP_EXPORT Q_DECL_IMPORT
#endif
