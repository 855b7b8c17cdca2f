#include "platform/sql/Lexer.h"
#include "platform/sql/SqlStrings.h"

#include <gtest/gtest.h>

using namespace tessera::sql;

namespace {

// "kind:text" for every token but the final End, separated by blanks.
std::string kinds(const std::string& text)
{
    static const char* const names[] = {"end", "word", "name", "str", "int", "real", "sym"};
    std::string result;
    for (const Token& t : Lexer::tokenize(text))
        if (t.kind != TokenKind::End)
            result += (result.empty() ? "" : " ") + std::string(names[int(t.kind)]) + ":" + fromSqlString(t.text).toStdString();
    return result;
}

} // namespace

TEST(Lexer, TokenKindsAndTexts)
{
    const std::pair<const char*, const char*> rows[] = {
        {"Select a1, _b, tr$$_rendition, Str$ From t",
         "word:Select word:a1 sym:, word:_b sym:, word:tr$$_rendition sym:, word:Str$ word:From word:t"},
        {"`my table` [my col] [a\"b] `a``b`", "name:my table name:my col name:a\"b name:a`b"},
        {"'a''b' \"c\"\"d\" 'x\"y' \"\"", "str:a'b str:c\"d str:x\"y str:"},
        {"42 4.2 .5 1. 1e-3 1.5E+3 007", "int:42 real:4.2 real:.5 real:1. real:1e-3 real:1.5E+3 int:007"},
        // Hexadecimal literals are given in decimal.
        {"&H1F, &hff, 0x1F 0X10, &H7FFFFFFFFFFFFFFF", "int:31 sym:, int:255 sym:, int:31 int:16 sym:, int:9223372036854775807"},
        // "&" before a name that is not all hexadecimal digits is the operator,
        // and after an operand even when a hexadecimal body follows.
        {"a &Height", "word:a sym:& word:Height"},
        {"a & H1", "word:a sym:& word:H1"},
        {"a&Hb", "word:a sym:& word:Hb"},
        {"(1)&H1 'x'&hA", "sym:( int:1 sym:) sym:& word:H1 str:x sym:& word:hA"},
        {"Select &H10 Where a = &HA And &H1", "word:Select int:16 word:Where word:a sym:= int:10 word:And int:1"},
        {"<> <= >= != == || < > = & ( ) , . ; * + - / \\ % ^",
         "sym:<> sym:<= sym:>= sym:!= sym:== sym:|| sym:< sym:> sym:= sym:& sym:( sym:) sym:, sym:. sym:; sym:* sym:+ sym:- "
         "sym:/ sym:\\ sym:% sym:^"},
        {"a<>b", "word:a sym:<> word:b"},
        {"t.a", "word:t sym:. word:a"},
        {"Город Ёлка_2", "word:Город word:Ёлка_2"},
        // A character outside the BMP survives the round through wide strings.
        {"'\xF0\x9F\x98\x80'", "str:\xF0\x9F\x98\x80"},
        // So does a leading U+FEFF (no byte-order mark there, but a character of the text).
        {"'\xEF\xBB\xBF" "a' [\xEF\xBB\xBF" "b] '\xEF\xBB\xBF'", "str:\xEF\xBB\xBF" "a name:\xEF\xBB\xBF" "b str:\xEF\xBB\xBF"},
        {"a -- b\nc /* d\ne */ f --", "word:a word:c word:f"},
        {"a/**/b", "word:a word:b"},
        {"a /* -- */ b", "word:a word:b"},
        {"-- all comment", ""},
        {"1-1", "int:1 sym:- int:1"},
    };
    for (const auto& [text, tokens] : rows)
        EXPECT_EQ(kinds(text), tokens) << text;
}

TEST(Lexer, Positions)
{
    const std::vector<Token> tokens = Lexer::tokenize("ab  'ж'\n\t cd\r\n/* x\n */ e");
    ASSERT_EQ(tokens.size(), 5u);
    EXPECT_EQ(tokens[0].offset, 0u);
    EXPECT_EQ(tokens[1].offset, 4u);
    EXPECT_EQ(tokens[1].column, 5);
    EXPECT_EQ(tokens[2].line, 2);
    EXPECT_EQ(tokens[2].column, 3);
    EXPECT_EQ(tokens[2].offset, 10u);
    EXPECT_EQ(tokens[3].line, 4);
    EXPECT_EQ(tokens[3].column, 5);
    EXPECT_EQ(tokens[4].kind, TokenKind::End);
    EXPECT_EQ(tokens[4].offset, 24u);

    // The lexer keeps answering End at the end.
    Lexer lexer("x");
    EXPECT_EQ(lexer.next().kind, TokenKind::Word);
    EXPECT_EQ(lexer.next().kind, TokenKind::End);
    EXPECT_EQ(lexer.next().kind, TokenKind::End);
}

TEST(Lexer, BadTextIsAParseErrorAtItsPlace)
{
    auto failure = [](const std::string& text) -> ParseError {
        try {
            Lexer::tokenize(text);
        } catch (const ParseError& e) {
            return e;
        }
        ADD_FAILURE() << "accepted: " << text;
        return ParseError("", 0, 0, 0, "");
    };

    ParseError e = failure("a\n  'abc");
    EXPECT_EQ(e.line(), 2);
    EXPECT_EQ(e.column(), 3);
    EXPECT_EQ(e.expected(), "closing quote");
    EXPECT_NE(std::string(e.what()).find("unterminated string"), std::string::npos);

    e = failure("x [abc");
    EXPECT_EQ(e.column(), 3);
    EXPECT_EQ(e.expected(), "closing bracket");
    e = failure("`abc");
    EXPECT_EQ(e.expected(), "closing back-tick");
    e = failure("a /* b");
    EXPECT_EQ(e.column(), 3);
    EXPECT_EQ(e.expected(), "*/");
    e = failure("a ? b");
    EXPECT_EQ(e.column(), 3);
    EXPECT_NE(std::string(e.what()).find("'?'"), std::string::npos);
    e = failure("a \xE2\x82\xAC b"); // a euro sign is no operator
    EXPECT_NE(std::string(e.what()).find("U+20AC"), std::string::npos);
    e = failure("12abc");
    EXPECT_EQ(e.column(), 1);
    failure("1.2.3");
    failure("1e+x");
    failure("&H10000000000000000");
    failure("0x1G");
    failure("[]");
    failure("'\xC3'");
    failure(std::string("a\0b", 3));
    e = failure("'\xE2\x82'");
    EXPECT_NE(std::string(e.what()).find("UTF-8"), std::string::npos);
    EXPECT_EQ(e.column(), 2);

    EXPECT_THROW(Lexer(std::string(Lexer::maxTextSize + 1, ' ')), ParseError);
    EXPECT_NO_THROW(Lexer::tokenize(std::string(1024 * 1024, ' ') + "a"));
}
