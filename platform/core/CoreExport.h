#pragma once
// Symbols of the host core (service registry, extensions, plug-ins, settings)
// seen from outside its shared library: exported while the library itself is
// compiled, imported everywhere else.

#include <QtGlobal>

#if defined(TESSERA_CORE_LIBRARY)
#define TESSERA_CORE_EXPORT Q_DECL_EXPORT
#else
#define TESSERA_CORE_EXPORT Q_DECL_IMPORT
#endif
