#!/usr/bin/env bash
# Checks the dynamic symbol table of the engine library: its external
# interfaces are exported, its internals are not.
# Usage: check-exports.sh path/to/libtessera_engine.so
set -euo pipefail
library="$1"
symbols="$(nm -DC --defined-only "$library")"
status=0

exported=(
    "tessera::Engine::load(tessera::Core*)"
    "tessera::Engine::unload(tessera::Core*)"
    "tessera::Engine::staticMetaObject"
    "tessera::EngineExtension::staticMetaObject"
    "tessera::Engine::tryToTranslate("
    "tessera::engine::SqliteStringBuilder::SqliteStringBuilder("
    "tessera::engine::EngineCache::"
    "tessera::engine::inStrUTF16(sqlite3_context*, int, sqlite3_value**)"
    "tessera::engine::toInt64(sqlite3_value*, bool*)"
    "typeinfo for tessera::Engine"
    "tessera::engine::EngineIndicesFactory::instance()"
)
internal=(
    "tessera::Engine::Internal"
    "tessera::engine::WildcardPattern"
    "tessera::engine::EngineIndicesSqlite"
    "tessera::engine::DateTextReader"
    "tessera::engine::mapCaseUtf8"
    "tessera::engine::toGaia(unsigned char const*, int)"
    "tessera::engine::translateQuery("
    "tessera::qtsqlite::registerQtSqliteDriver"
)

for symbol in "${exported[@]}"; do
    if ! grep -qF -- "$symbol" <<<"$symbols"; then
        echo "not exported: $symbol"
        status=1
    fi
done
for symbol in "${internal[@]}"; do
    if grep -qF -- "$symbol" <<<"$symbols"; then
        echo "exported but internal: $symbol"
        status=1
    fi
done
exit $status
