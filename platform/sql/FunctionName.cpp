#include "platform/sql/FunctionName.h"

#include "platform/sql/SqlStrings.h"

#include <QHash>

#include <unordered_map>

namespace tessera::sql {

namespace {

struct Entry {
    int value;
    const char* name;
    int mask;
};

constexpr Entry catalogue[] = {
#define TESSERA_SQL_FUNCTION_ENTRY(value, id, name, mask) {value, name, mask},
    TESSERA_SQL_FUNCTION_CATALOGUE(TESSERA_SQL_FUNCTION_ENTRY)
#undef TESSERA_SQL_FUNCTION_ENTRY
};

constexpr int entryCount = static_cast<int>(sizeof(catalogue) / sizeof(catalogue[0]));

// The table is written in value order from 1 on, so a value is its index + 1.
constexpr bool isDense()
{
    for (int i = 0; i < entryCount; ++i)
        if (catalogue[i].value != i + 1)
            return false;
    return true;
}
static_assert(isDense(), "function values must run 1..N in order");

const Entry* entry(FunctionName value)
{
    const int v = static_cast<int>(value);
    return v >= 1 && v <= entryCount ? &catalogue[v - 1] : nullptr;
}

const QHash<QString, FunctionName>& byLowerName()
{
    static const QHash<QString, FunctionName> map = [] {
        QHash<QString, FunctionName> m;
        for (const Entry& e : catalogue)
            m.insert(QString::fromUtf8(e.name).toLower(), static_cast<FunctionName>(e.value));
        return m;
    }();
    return map;
}

// The same by the UTF-8 of the lower-case name, for the ASCII names that the
// parser meets on every function call (no QString on the way).
const std::unordered_map<std::string, FunctionName>& byLowerUtf8()
{
    static const std::unordered_map<std::string, FunctionName> map = [] {
        std::unordered_map<std::string, FunctionName> m;
        for (const Entry& e : catalogue)
            m.emplace(QString::fromUtf8(e.name).toLower().toStdString(), static_cast<FunctionName>(e.value));
        return m;
    }();
    return map;
}

} // namespace

const char* FunctionNameInfo::name(FunctionName value)
{
    const Entry* e = entry(value);
    return e ? e->name : "";
}

FunctionInfo::TypeMasks FunctionNameInfo::mask(FunctionName value)
{
    const Entry* e = entry(value);
    return e ? FunctionInfo::TypeMasks(QFlag(e->mask)) : FunctionInfo::TypeMasks();
}

FunctionName FunctionNameInfo::find(const QString& name)
{
    return byLowerName().value(name.toLower(), FunctionName::None);
}

FunctionName FunctionNameInfo::find(const std::wstring& name)
{
    std::string lower;
    lower.reserve(name.size());
    for (const wchar_t c : name) {
        if (static_cast<unsigned long>(c) > 0x7f)
            return find(fromSqlString(name));
        lower += static_cast<char>(c >= L'A' && c <= L'Z' ? c - L'A' + L'a' : c);
    }
    const auto& map = byLowerUtf8();
    const auto it = map.find(lower);
    return it == map.end() ? FunctionName::None : it->second;
}

int FunctionNameInfo::count()
{
    return entryCount;
}

} // namespace tessera::sql
