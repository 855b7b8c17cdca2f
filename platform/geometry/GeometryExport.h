#pragma once
// Symbols of the geometry model seen from outside its shared library: exported
// while the library itself is compiled, imported everywhere else.

#include <QtGlobal>

#if defined(TESSERA_GEOMETRY_LIBRARY)
#define TESSERA_GEOMETRY_EXPORT Q_DECL_EXPORT
#else
#define TESSERA_GEOMETRY_EXPORT Q_DECL_IMPORT
#endif
