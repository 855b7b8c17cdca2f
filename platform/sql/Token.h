#pragma once
// One lexical token of the dialect.

#include "platform/sql/SqlExport.h"

#include <cstddef>
#include <string>

namespace tessera::sql {

enum class TokenKind {
    End,              // end of the text
    Word,             // keyword or plain identifier
    QuotedIdentifier, // `name` or [name]
    String,           // 'text' or "text"
    Integer,
    Real,
    Symbol,           // operator or punctuation
};

// `text` equals the NUL-terminated `s`, without measuring `s` first: the
// parser compares every token with many short keywords and symbols.
inline bool sameText(const std::wstring& text, const wchar_t* s)
{
    std::size_t i = 0;
    for (; i < text.size(); ++i)
        if (s[i] != text[i] || s[i] == L'\0')
            return false;
    return s[i] == L'\0';
}

struct TESSERA_SQL_EXPORT Token {
    TokenKind kind = TokenKind::End;
    std::wstring text;       // words as written, literals without quotes, numbers in decimal
    std::wstring folded;     // words in lower case (keywords are compared so), else empty
    std::size_t offset = 0;  // in characters from the start of the text
    int line = 1;
    int column = 1;
    bool reserved = false;   // a word that cannot be a plain name (Keywords.h)

    bool isSymbol(const wchar_t* s) const { return kind == TokenKind::Symbol && sameText(text, s); }
};

} // namespace tessera::sql
