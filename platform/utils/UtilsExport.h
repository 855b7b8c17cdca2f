#pragma once
// Symbols of the utilities library seen from outside its shared library:
// exported while the library itself is compiled, imported everywhere else.

#include <QtGlobal>

#if defined(TESSERA_UTILS_LIBRARY)
#define TESSERA_UTILS_EXPORT Q_DECL_EXPORT
#else
#define TESSERA_UTILS_EXPORT Q_DECL_IMPORT
#endif
