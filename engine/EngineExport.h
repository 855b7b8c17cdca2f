#pragma once
// TESSERA_ENGINE_EXPORT marks the engine's external interfaces: the only
// symbols that the engine's shared library exports. Put it on a class
// (`class TESSERA_ENGINE_EXPORT EngineExpression : public QObject`, needed for
// a Q_OBJECT class so that its meta-object is shared) or on a free function's
// declaration. Everything unmarked stays inside the library.
//
// TESSERA_ENGINE_LIBRARY is defined while the engine's own sources compile;
// TESSERA_ENGINE_STATIC when code links the engine's internal static parts
// directly (the unit tests) instead of the shared library.

#include <QtGlobal>

#if defined(TESSERA_ENGINE_LIBRARY)
#define TESSERA_ENGINE_EXPORT Q_DECL_EXPORT
#elif defined(TESSERA_ENGINE_STATIC)
#define TESSERA_ENGINE_EXPORT
#else
#define TESSERA_ENGINE_EXPORT Q_DECL_IMPORT
#endif
