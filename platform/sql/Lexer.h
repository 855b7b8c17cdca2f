#pragma once
// Splits dialect text (UTF-8) into tokens. Rejects invalid UTF-8, stray
// characters, unterminated literals and comments with a ParseError.

#include "platform/sql/SqlError.h"
#include "platform/sql/Token.h"

#include <string>
#include <vector>

namespace tessera::sql {

class Lexer {
public:
    // Longer texts are refused rather than tokenised.
    static constexpr std::size_t maxTextSize = 16 * 1024 * 1024;

    // The tokens of `utf8`, ending with an End token. Throws ParseError.
    static std::vector<Token> tokenize(const std::string& utf8);
};

} // namespace tessera::sql
