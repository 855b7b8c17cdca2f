#include "platform/sql/FunctionSet.h"

namespace tessera::sql {

void FunctionSet::addMask(FunctionName name, FunctionInfo::TypeMasks mask)
{
    functions[name] |= mask;
}

FunctionInfo::TypeMasks FunctionSet::mask(FunctionName name) const
{
    const auto it = functions.find(name);
    return it == functions.end() ? FunctionInfo::TypeMasks() : it->second;
}

std::vector<FunctionName> FunctionSet::names() const
{
    std::vector<FunctionName> result;
    result.reserve(functions.size());
    for (const auto& [name, mask] : functions)
        result.push_back(name);
    return result;
}

} // namespace tessera::sql
