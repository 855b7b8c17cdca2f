#pragma once
// Splits dialect text (UTF-8) into tokens on demand. Rejects invalid UTF-8,
// stray characters, unterminated literals and comments with a ParseError.

#include "platform/sql/SqlExport.h"
#include "platform/sql/SqlError.h"
#include "platform/sql/Token.h"

#include <memory>
#include <string>
#include <vector>

namespace tessera::sql {

class TESSERA_SQL_EXPORT Lexer {
public:
    // Longer texts are refused rather than tokenised.
    static constexpr std::size_t maxTextSize = 16 * 1024 * 1024;

    // Checks the size and the encoding of the whole text at once, so that a
    // broken byte is reported even behind the first syntax error. Throws
    // ParseError.
    explicit Lexer(const std::string& utf8);
    ~Lexer();
    Lexer(const Lexer&) = delete;
    Lexer& operator=(const Lexer&) = delete;

    // The next token; End at the end of the text, again on every later call.
    // Throws ParseError.
    Token next();

    // All tokens of `utf8`, ending with an End token. Throws ParseError.
    static std::vector<Token> tokenize(const std::string& utf8);

private:
    class Scanner;
    std::unique_ptr<Scanner> scanner;
};

} // namespace tessera::sql
