#include "engine/FeatureIdNumbering.h"

#include "platform/utils/Compare.h"

#include <algorithm>
#include <utility>

namespace tessera::engine {

bool FeatureIdNumbering::Less::operator()(const dp::FeatureId& a, const dp::FeatureId& b) const
{
    return utils::compare(a.toVariant(), b.toVariant()) < 0;
}

FeatureIdNumbering::FeatureIdNumbering(std::size_t limit)
{
    setLimit(limit);
}

std::int64_t FeatureIdNumbering::assign(const dp::FeatureId& id)
{
    {
        QReadLocker locker(&lock);
        if (auto it = current.numbers.find(id); it != current.numbers.end())
            return it->second;
    }
    QWriteLocker locker(&lock);
    if (auto it = current.numbers.find(id); it != current.numbers.end())
        return it->second;
    std::int64_t n = 0;
    if (revive(id, n))
        return n;
    n = following++;
    keep(id, n);
    return n;
}

std::int64_t FeatureIdNumbering::number(const dp::FeatureId& id, std::int64_t defaultValue)
{
    {
        QReadLocker locker(&lock);
        if (auto it = current.numbers.find(id); it != current.numbers.end())
            return it->second;
        if (previous.numbers.find(id) == previous.numbers.end())
            return defaultValue;
    }
    QWriteLocker locker(&lock);
    if (auto it = current.numbers.find(id); it != current.numbers.end())
        return it->second;
    std::int64_t n = 0;
    return revive(id, n) ? n : defaultValue;
}

dp::FeatureId FeatureIdNumbering::id(std::int64_t n)
{
    {
        QReadLocker locker(&lock);
        if (auto it = current.ids.find(n); it != current.ids.end())
            return it->second;
        if (previous.ids.find(n) == previous.ids.end())
            return dp::FeatureId();
    }
    QWriteLocker locker(&lock);
    if (auto it = current.ids.find(n); it != current.ids.end())
        return it->second;
    dp::FeatureId id;
    revive(n, id);
    return id;
}

std::int64_t FeatureIdNumbering::next() const
{
    QReadLocker locker(&lock);
    return following;
}

void FeatureIdNumbering::setLimit(std::size_t limit)
{
    QWriteLocker locker(&lock);
    half = std::max<std::size_t>(limit, 2) / 2;
    if (previous.numbers.size() > half || current.numbers.size() > half) {
        previous = Generation();
        current = Generation();
        turns.fetch_add(1, std::memory_order_acq_rel);
    }
}

std::size_t FeatureIdNumbering::size() const
{
    QReadLocker locker(&lock);
    return current.numbers.size() + previous.numbers.size();
}

void FeatureIdNumbering::keep(const dp::FeatureId& id, std::int64_t n)
{
    if (current.numbers.size() >= half) {
        previous = std::move(current);
        current = Generation();
        turns.fetch_add(1, std::memory_order_acq_rel);
    }
    current.numbers.emplace(id, n);
    current.ids.emplace(n, id);
}

bool FeatureIdNumbering::revive(const dp::FeatureId& id, std::int64_t& n)
{
    const auto it = previous.numbers.find(id);
    if (it == previous.numbers.end())
        return false;
    n = it->second;
    previous.ids.erase(n);
    previous.numbers.erase(it);
    keep(id, n);
    return true;
}

bool FeatureIdNumbering::revive(std::int64_t n, dp::FeatureId& id)
{
    const auto it = previous.ids.find(n);
    if (it == previous.ids.end())
        return false;
    id = it->second;
    previous.numbers.erase(id);
    previous.ids.erase(it);
    keep(id, n);
    return true;
}

} // namespace tessera::engine
