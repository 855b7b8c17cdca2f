#pragma once
// Symbols of the geometry algorithms (also Algorithms.h and MifService.h) seen
// from outside its shared library: exported while the library itself is
// compiled, imported everywhere else.

#include <QtGlobal>

#if defined(TESSERA_GEOMETRY_ALGORITHMS_LIBRARY)
#define TESSERA_GEOMETRY_ALGORITHMS_EXPORT Q_DECL_EXPORT
#else
#define TESSERA_GEOMETRY_ALGORITHMS_EXPORT Q_DECL_IMPORT
#endif
