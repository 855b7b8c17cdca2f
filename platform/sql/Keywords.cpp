#include "platform/sql/Keywords.h"

#include <string>
#include <vector>

namespace tessera::sql {

bool isReservedWord(const std::wstring& folded)
{
    // By length, so that a word is compared with a handful of candidates
    // (every word the lexer reads is looked up here).
    static const std::vector<std::vector<std::wstring>> byLength = [] {
        const wchar_t* const words[] = {
            L"all",    L"and",    L"as",     L"asc",       L"between", L"by",      L"case",     L"cast",   L"collate",
            L"contains", L"cross", L"delete", L"desc",     L"distinct", L"div",    L"else",     L"end",    L"entirely",
            L"escape", L"except", L"exists", L"false",     L"from",    L"glob",    L"group",    L"having", L"in",
            L"inner",  L"insert", L"intersect", L"intersects", L"into", L"is",     L"join",     L"like",   L"limit",
            L"mod",    L"not",    L"null",   L"offset",    L"on",      L"or",      L"order",    L"overlaps", L"partly",
            L"regexp", L"select", L"set",    L"similar",   L"then",    L"true",    L"union",    L"unknown", L"update",
            L"values", L"when",   L"where",  L"within",    L"xor",
        };
        std::vector<std::vector<std::wstring>> table;
        for (const wchar_t* word : words) {
            const std::wstring w(word);
            if (table.size() <= w.size())
                table.resize(w.size() + 1);
            table[w.size()].push_back(w);
        }
        return table;
    }();
    if (folded.size() >= byLength.size())
        return false;
    for (const std::wstring& word : byLength[folded.size()])
        if (word == folded)
            return true;
    return false;
}

} // namespace tessera::sql
