#include "platform/sql/Keywords.h"

#include <unordered_set>

namespace tessera::sql {

bool isReservedWord(const std::wstring& folded)
{
    static const std::unordered_set<std::wstring> words = {
        L"all",    L"and",    L"as",     L"asc",       L"between", L"by",      L"case",     L"cast",   L"collate",
        L"contains", L"cross", L"delete", L"desc",     L"distinct", L"div",    L"else",     L"end",    L"entirely",
        L"escape", L"except", L"exists", L"false",     L"from",    L"glob",    L"group",    L"having", L"in",
        L"inner",  L"insert", L"intersect", L"intersects", L"into", L"is",     L"join",     L"like",   L"limit",
        L"mod",    L"not",    L"null",   L"offset",    L"on",      L"or",      L"order",    L"overlaps", L"partly",
        L"regexp", L"select", L"set",    L"similar",   L"then",    L"true",    L"union",    L"unknown", L"update",
        L"values", L"when",   L"where",  L"within",    L"xor",
    };
    return words.count(folded) != 0;
}

} // namespace tessera::sql
