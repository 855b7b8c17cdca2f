#pragma once
// The attributes of a table, in column order, with look-up by name and the
// attribute-plan cache.
//
// The plan cache keeps things derived from the attribute list (per-class
// attribute lists, name indices, ...) so that code running per feature does
// not rebuild them. Entries are keyed by a std::type_index chosen by the
// caller and hold an immutable value behind std::shared_ptr<void>. Any
// change of the attribute list starts an empty cache; copies of an unchanged
// schema share one cache. The cache may be used from several threads.

#include "platform/dp/DpExport.h"
#include "platform/dp/AttributeDefinition.h"

#include <QList>
#include <QString>
#include <memory>
#include <typeindex>

namespace tessera::dp {

class TESSERA_DP_EXPORT TableSchema {
public:
    TableSchema();
    explicit TableSchema(QList<AttributeDefinitionPtr> attributes);
    ~TableSchema();
    TableSchema(const TableSchema&);
    TableSchema& operator=(const TableSchema&);
    TableSchema(TableSchema&&) noexcept;
    TableSchema& operator=(TableSchema&&) noexcept;

    int count() const { return list.size(); }
    bool isEmpty() const { return list.isEmpty(); }
    const QList<AttributeDefinitionPtr>& attributes() const { return list; }
    // Position i, 0 <= i < count().
    const AttributeDefinitionPtr& attribute(int i) const { return list.at(i); }

    // The position of the attribute called `name`: an exact match first,
    // then one that differs only in case (SQL names ignore case). -1 if none.
    int indexOf(const QString& name) const;
    // The attribute called `name` (as indexOf), or a null pointer.
    AttributeDefinitionPtr find(const QString& name) const;

    // Every change clears the plan cache of this schema. Null attributes are
    // not taken.
    void append(AttributeDefinitionPtr attribute);
    void insert(int i, AttributeDefinitionPtr attribute);
    void replace(int i, AttributeDefinitionPtr attribute);
    void removeAt(int i);
    void clear();

    std::shared_ptr<void> cacheFindAttributePlan(std::type_index key) const;
    // Keeps the first plan stored under a key when two threads race.
    void cacheStoreAttributePlan(std::type_index key, std::shared_ptr<void> plan) const;

    // The plan stored under the type_index of an attribute class (for
    // example typeid(GeometryAttributeDefinition)) is always an
    // AttributePlan: the attributes of that class (or derived from it), in
    // column order. attributePlan<T>() finds or builds it.
    using AttributePlan = QList<AttributeDefinitionPtr>;
    template <class T>
    std::shared_ptr<const AttributePlan> attributePlan() const
    {
        return attributePlan(typeid(T), [](const AttributeDefinition* a) { return dynamic_cast<const T*>(a) != nullptr; });
    }

    // Same attributes in the same order.
    bool operator==(const TableSchema& other) const;
    bool operator!=(const TableSchema& other) const { return !(*this == other); }

private:
    std::shared_ptr<const AttributePlan> attributePlan(std::type_index key, bool (*isOfClass)(const AttributeDefinition*)) const;
    void invalidate();

    struct PlanCache;
    QList<AttributeDefinitionPtr> list;
    mutable std::shared_ptr<PlanCache> cache;
};

} // namespace tessera::dp
