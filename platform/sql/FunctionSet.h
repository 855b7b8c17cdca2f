#pragma once
// A set of dialect functions, each with the kinds under which it is available.

#include "platform/sql/SqlExport.h"
#include "platform/sql/FunctionName.h"

#include <map>
#include <vector>

namespace tessera::sql {

class TESSERA_SQL_EXPORT FunctionSet {
public:
    // Adds `mask` to the kinds of `name` (adding the same again is harmless).
    void addMask(FunctionName name, FunctionInfo::TypeMasks mask);
    void addMask(int name, int mask) { addMask(static_cast<FunctionName>(name), FunctionInfo::TypeMasks(QFlag(mask))); }

    bool contains(FunctionName name) const { return functions.count(name) != 0; }
    // The kinds of `name`; empty when it is not in the set.
    FunctionInfo::TypeMasks mask(FunctionName name) const;
    bool empty() const { return functions.empty(); }
    std::size_t size() const { return functions.size(); }
    // The members in value order.
    std::vector<FunctionName> names() const;

private:
    std::map<FunctionName, FunctionInfo::TypeMasks> functions;
};

} // namespace tessera::sql
