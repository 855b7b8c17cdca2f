#include "engine/indices/EngineIndicesSetup.h"

namespace tessera::engine {

QVariant EngineIndicesSetup::value(const std::string& key, QVariant defaultValue) const
{
    const auto it = values.find(key);
    return it == values.end() ? std::move(defaultValue) : it->second;
}

} // namespace tessera::engine
