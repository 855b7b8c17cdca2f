#pragma once
// Symbols of the SQL dialect library seen from outside its shared library:
// exported while the library itself is compiled, imported everywhere else.

#include <QtGlobal>

#if defined(TESSERA_SQL_LIBRARY)
#define TESSERA_SQL_EXPORT Q_DECL_EXPORT
#else
#define TESSERA_SQL_EXPORT Q_DECL_IMPORT
#endif
