#pragma once
// Symbols of the serialisation archives seen from outside its shared library:
// exported while the library itself is compiled, imported everywhere else.

#include <QtGlobal>

#if defined(TESSERA_SERIALIZATION_LIBRARY)
#define TESSERA_SERIALIZATION_EXPORT Q_DECL_EXPORT
#else
#define TESSERA_SERIALIZATION_EXPORT Q_DECL_IMPORT
#endif
