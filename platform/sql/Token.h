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

struct TESSERA_SQL_EXPORT Token {
    TokenKind kind = TokenKind::End;
    std::wstring text;       // words as written, literals without quotes, numbers in decimal
    std::wstring folded;     // words in lower case (keywords are compared so), else empty
    std::size_t offset = 0;  // in characters from the start of the text
    int line = 1;
    int column = 1;

    bool isSymbol(const wchar_t* s) const { return kind == TokenKind::Symbol && text == s; }
};

} // namespace tessera::sql
