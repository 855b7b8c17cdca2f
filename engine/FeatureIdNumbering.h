#pragma once
// The engine's numbering of feature identifiers: every feature id a virtual
// table shows gets an integer row id (0, 1, 2, ... in order of first use)
// that the id maps back to. Bounded by `limit` entries in two generations of
// limit / 2 each: a new id goes into the current generation; when that is
// full it becomes the previous one and the old previous one is forgotten
// (`epoch` counts these turns). Any look-up of an id or a number of the
// previous generation brings it back into the current one, so what is in
// use keeps its number. A forgotten id gets a new number when it comes back;
// numbers are never handed out twice, so a forgotten number names no feature
// rather than another one. Safe for concurrent callers.

#include "engine/EngineExport.h"
#include "platform/dp/FeatureId.h"

#include <QReadWriteLock>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <map>
#include <unordered_map>

namespace tessera::engine {

class TESSERA_ENGINE_EXPORT FeatureIdNumbering {
public:
    explicit FeatureIdNumbering(std::size_t limit);

    std::int64_t assign(const dp::FeatureId& id);
    std::int64_t number(const dp::FeatureId& id, std::int64_t defaultValue);
    // Invalid for a number never handed out or forgotten.
    dp::FeatureId id(std::int64_t n);
    // The next number to be handed out (every number below it was).
    std::int64_t next() const;

    // At least 2; applies at once (generations over the new half are turned).
    void setLimit(std::size_t limit);
    // Ids kept, over both generations.
    std::size_t size() const;
    std::uint64_t epoch() const { return turns.load(std::memory_order_acquire); }

private:
    struct Less {
        bool operator()(const dp::FeatureId& a, const dp::FeatureId& b) const;
    };
    struct Generation {
        std::map<dp::FeatureId, std::int64_t, Less> numbers;
        std::unordered_map<std::int64_t, dp::FeatureId> ids;
    };

    // Under the write lock.
    void keep(const dp::FeatureId& id, std::int64_t n);
    bool revive(const dp::FeatureId& id, std::int64_t& n);
    bool revive(std::int64_t n, dp::FeatureId& id);

    Generation current;
    Generation previous;
    std::int64_t following = 0;
    std::size_t half = 1;
    std::atomic<std::uint64_t> turns{0};
    mutable QReadWriteLock lock;
};

} // namespace tessera::engine
