#pragma once
// Symbols of the coordinate-system library seen from outside its shared
// library: exported while the library itself is compiled, imported everywhere
// else.

#include <QtGlobal>

#if defined(TESSERA_CS_LIBRARY)
#define TESSERA_CS_EXPORT Q_DECL_EXPORT
#else
#define TESSERA_CS_EXPORT Q_DECL_IMPORT
#endif
