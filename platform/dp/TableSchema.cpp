#include "platform/dp/TableSchema.h"

#include <QHash>
#include <QMutex>
#include <map>

namespace tessera::dp {

struct TableSchema::PlanCache {
    QMutex mutex;
    std::map<std::type_index, std::shared_ptr<void>> plans;
};

namespace {

// Name indices: exact names and case-folded names to positions (first one
// wins for duplicates).
struct NameIndex {
    QHash<QString, int> exact;
    QHash<QString, int> folded;
};

} // namespace

TableSchema::TableSchema() : cache(std::make_shared<PlanCache>()) {}

TableSchema::TableSchema(QList<AttributeDefinitionPtr> attributes)
    : cache(std::make_shared<PlanCache>())
{
    for (AttributeDefinitionPtr& a : attributes) {
        if (a.constData())
            list.append(std::move(a));
    }
}

TableSchema::~TableSchema() = default;
TableSchema::TableSchema(const TableSchema&) = default;
TableSchema& TableSchema::operator=(const TableSchema&) = default;

// A moved-from schema is left empty with a cache of its own, so that it stays
// usable.
TableSchema::TableSchema(TableSchema&& other) noexcept
    : list(std::move(other.list)), cache(std::move(other.cache))
{
    other.list.clear();
    other.cache.reset();
}

TableSchema& TableSchema::operator=(TableSchema&& other) noexcept
{
    if (this != &other) {
        list = std::move(other.list);
        cache = std::move(other.cache);
        other.list.clear();
        other.cache.reset();
    }
    return *this;
}

void TableSchema::invalidate()
{
    cache = std::make_shared<PlanCache>();
}

std::shared_ptr<void> TableSchema::cacheFindAttributePlan(std::type_index key) const
{
    if (!cache)
        cache = std::make_shared<PlanCache>();
    QMutexLocker lock(&cache->mutex);
    const auto it = cache->plans.find(key);
    return it == cache->plans.end() ? nullptr : it->second;
}

void TableSchema::cacheStoreAttributePlan(std::type_index key, std::shared_ptr<void> plan) const
{
    if (!cache)
        cache = std::make_shared<PlanCache>();
    QMutexLocker lock(&cache->mutex);
    cache->plans.emplace(key, std::move(plan));
}

int TableSchema::indexOf(const QString& name) const
{
    auto plan = std::static_pointer_cast<const NameIndex>(cacheFindAttributePlan(typeid(NameIndex)));
    if (!plan) {
        auto index = std::make_shared<NameIndex>();
        for (int i = 0; i < list.size(); ++i) {
            const QString& n = list.at(i)->name();
            if (!index->exact.contains(n))
                index->exact.insert(n, i);
            const QString f = n.toCaseFolded();
            if (!index->folded.contains(f))
                index->folded.insert(f, i);
        }
        cacheStoreAttributePlan(typeid(NameIndex), index);
        plan = std::move(index);
    }
    const auto exact = plan->exact.constFind(name);
    if (exact != plan->exact.constEnd())
        return exact.value();
    return plan->folded.value(name.toCaseFolded(), -1);
}

AttributeDefinitionPtr TableSchema::find(const QString& name) const
{
    const int i = indexOf(name);
    return i < 0 ? AttributeDefinitionPtr() : list.at(i);
}

void TableSchema::append(AttributeDefinitionPtr attribute)
{
    if (!attribute)
        return;
    list.append(std::move(attribute));
    invalidate();
}

void TableSchema::insert(int i, AttributeDefinitionPtr attribute)
{
    if (!attribute)
        return;
    list.insert(qBound(0, i, list.size()), std::move(attribute));
    invalidate();
}

void TableSchema::replace(int i, AttributeDefinitionPtr attribute)
{
    if (!attribute || i < 0 || i >= list.size())
        return;
    list[i] = std::move(attribute);
    invalidate();
}

void TableSchema::removeAt(int i)
{
    if (i < 0 || i >= list.size())
        return;
    list.removeAt(i);
    invalidate();
}

void TableSchema::clear()
{
    list.clear();
    invalidate();
}

std::shared_ptr<const TableSchema::AttributePlan> TableSchema::attributePlan(std::type_index key,
                                                                              bool (*isOfClass)(const AttributeDefinition*)) const
{
    if (auto plan = cacheFindAttributePlan(key))
        return std::static_pointer_cast<const AttributePlan>(plan);
    auto attributes = std::make_shared<AttributePlan>();
    for (const AttributeDefinitionPtr& a : list) {
        if (isOfClass(a.constData()))
            attributes->append(a);
    }
    cacheStoreAttributePlan(key, attributes);
    // Another thread may have stored its list first: hand out the stored one.
    return std::static_pointer_cast<const AttributePlan>(cacheFindAttributePlan(key));
}

bool TableSchema::operator==(const TableSchema& other) const
{
    if (list.size() != other.list.size())
        return false;
    for (int i = 0; i < list.size(); ++i) {
        const AttributeDefinition* a = list.at(i).constData();
        const AttributeDefinition* b = other.list.at(i).constData();
        if (a == b)
            continue;
        if (!a || !b || a->name() != b->name() || a->type() != b->type() || typeid(*a) != typeid(*b))
            return false;
    }
    return true;
}

} // namespace tessera::dp
