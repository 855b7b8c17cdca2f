#pragma once
// The settings an index store is built from: values by key, keys compared
// byte by byte. Keys the SQLite store reads:
//   "Collate"                 collation of text keys: "Locale" (the engine's
//                             locale-aware, case-insensitive order) or one of
//                             SQLite's "BINARY", "NOCASE", "RTRIM"; default
//                             "BINARY"
//   "UseCaseInsensitiveLike"  LIKE look-ups ignore case (default false)
//   "UseCaseInsensitiveGlob"  GLOB look-ups ignore case (default false)
//   "Folder"                  where the store's SQLite file goes; by default
//                             a private temporary folder that goes with the
//                             store

#include "engine/EngineExport.h"

#include <QVariant>
#include <map>
#include <string>

namespace tessera::engine {

class TESSERA_ENGINE_EXPORT EngineIndicesSetup {
public:
    void set(const std::string& key, QVariant value) { values[key] = std::move(value); }
    bool contains(const std::string& key) const { return values.count(key) != 0; }
    // The value under exactly `key`, or `defaultValue` when there is none.
    QVariant value(const std::string& key, QVariant defaultValue = QVariant()) const;

private:
    std::map<std::string, QVariant> values;
};

} // namespace tessera::engine
