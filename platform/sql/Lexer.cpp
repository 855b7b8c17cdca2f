#include "platform/sql/Lexer.h"

#include "platform/sql/Keywords.h"
#include "platform/sql/SqlStrings.h"

#include <QChar>
#include <QString>

#include <cstddef>
#include <cstdint>

namespace tessera::sql {

namespace {

std::string positionText(int line, int column)
{
    return "line " + std::to_string(line) + ", column " + std::to_string(column);
}

// Decodes UTF-8 strictly: overlong forms, surrogates and values above
// U+10FFFF are refused, and so is NUL, which no dialect text contains.
std::u32string decodeUtf8(const std::string& text)
{
    std::u32string out;
    out.reserve(text.size());
    std::size_t i = 0;
    const std::size_t n = text.size();
    int line = 1;
    int column = 1;
    auto fail = [&](const char* what) {
        throw ParseError(positionText(line, column) + ": " + what + " (byte " + std::to_string(i) + ")", out.size(), line, column,
                         "UTF-8 text");
    };
    while (i < n) {
        const auto b = static_cast<unsigned char>(text[i]);
        char32_t cp = 0;
        int extra = 0;
        if (b < 0x80) {
            cp = b;
        } else if ((b & 0xe0) == 0xc0) {
            cp = b & 0x1f;
            extra = 1;
        } else if ((b & 0xf0) == 0xe0) {
            cp = b & 0x0f;
            extra = 2;
        } else if ((b & 0xf8) == 0xf0) {
            cp = b & 0x07;
            extra = 3;
        } else {
            fail("invalid UTF-8");
        }
        for (int k = 1; k <= extra; ++k) {
            if (i + k >= n)
                fail("truncated UTF-8 sequence");
            const auto c = static_cast<unsigned char>(text[i + k]);
            if ((c & 0xc0) != 0x80)
                fail("invalid UTF-8");
            cp = (cp << 6) | (c & 0x3f);
        }
        static const char32_t minimum[] = {0, 0x80, 0x800, 0x10000};
        if (cp < minimum[extra] || cp > 0x10ffff || (cp >= 0xd800 && cp <= 0xdfff))
            fail("invalid UTF-8");
        if (cp == 0)
            fail("NUL character");
        out += cp;
        i += extra + 1;
        if (cp == U'\n') {
            ++line;
            column = 1;
        } else {
            ++column;
        }
    }
    return out;
}

bool isWordStart(char32_t c)
{
    return c == U'_' || (c < 0x80 ? ((c | 0x20) >= U'a' && (c | 0x20) <= U'z') : QChar::isLetter(uint(c)));
}

bool isWordPart(char32_t c)
{
    if (c < 0x80)
        return ((c | 0x20) >= U'a' && (c | 0x20) <= U'z') || (c >= U'0' && c <= U'9') || c == U'_' || c == U'$';
    return QChar::isLetter(uint(c)) || QChar::isNumber(uint(c));
}

bool isDigit(char32_t c)
{
    return c >= U'0' && c <= U'9';
}

bool isHexDigit(char32_t c)
{
    return isDigit(c) || ((c | 0x20) >= U'a' && (c | 0x20) <= U'f');
}

bool isSpace(char32_t c)
{
    return c == U' ' || c == U'\t' || c == U'\n' || c == U'\r' || c == U'\f' || c == U'\v'
        || (c >= 0x80 && QChar::isSpace(uint(c)));
}

// Code points straight into wide characters (UTF-16 where wchar_t has 16
// bits); QString::fromUcs4 would drop a leading U+FEFF as a byte-order mark.
std::wstring toWide(const std::u32string& s, std::size_t from, std::size_t to)
{
    if constexpr (sizeof(wchar_t) == 4)
        return std::wstring(s.begin() + std::ptrdiff_t(from), s.begin() + std::ptrdiff_t(to));
    std::wstring out;
    out.reserve(to - from);
    for (std::size_t i = from; i < to; ++i) {
        const char32_t c = s[i];
        if (sizeof(wchar_t) == 2 && QChar::requiresSurrogates(uint(c))) {
            out += static_cast<wchar_t>(QChar::highSurrogate(uint(c)));
            out += static_cast<wchar_t>(QChar::lowSurrogate(uint(c)));
        } else {
            out += static_cast<wchar_t>(c);
        }
    }
    return out;
}

} // namespace

class Lexer::Scanner {
public:
    explicit Scanner(std::u32string text) : s(std::move(text)) {}

    Token next()
    {
        skipBlanks();
        Token t;
        t.offset = pos;
        t.line = line;
        t.column = column;
        if (pos < s.size())
            scan(t);
        endsOperand = t.kind == TokenKind::Integer || t.kind == TokenKind::Real || t.kind == TokenKind::String
            || t.kind == TokenKind::QuotedIdentifier || t.isSymbol(L")") || (t.kind == TokenKind::Word && !t.reserved);
        return t;
    }

private:
    char32_t at(std::size_t i) const { return i < s.size() ? s[i] : U'\0'; }

    void advance(std::size_t count = 1)
    {
        for (std::size_t k = 0; k < count && pos < s.size(); ++k) {
            if (s[pos] == U'\n') {
                ++line;
                column = 1;
            } else {
                ++column;
            }
            ++pos;
        }
    }

    [[noreturn]] void fail(const std::string& message, const Token& where, const std::string& expected = {}) const
    {
        throw ParseError(positionText(where.line, where.column) + ": " + message, where.offset, where.line, where.column, expected);
    }

    void skipBlanks()
    {
        for (;;) {
            while (pos < s.size() && isSpace(s[pos]))
                advance();
            if (at(pos) == U'-' && at(pos + 1) == U'-') {
                while (pos < s.size() && s[pos] != U'\n')
                    advance();
            } else if (at(pos) == U'/' && at(pos + 1) == U'*') {
                Token start;
                start.offset = pos;
                start.line = line;
                start.column = column;
                advance(2);
                while (pos < s.size() && !(s[pos] == U'*' && at(pos + 1) == U'/'))
                    advance();
                if (pos >= s.size())
                    fail("unterminated comment", start, "*/");
                advance(2);
            } else {
                return;
            }
        }
    }

    void scan(Token& t)
    {
        const char32_t c = s[pos];
        if (isWordStart(c)) {
            const std::size_t from = pos;
            // A word holds no line break: only the column moves.
            while (pos < s.size() && isWordPart(s[pos]))
                ++pos;
            column += static_cast<int>(pos - from);
            t.kind = TokenKind::Word;
            t.text = toWide(s, from, pos);
            t.folded = toLowercase(t.text);
            t.reserved = isReservedWord(t.folded);
        } else if (isDigit(c) || (c == U'.' && isDigit(at(pos + 1)))) {
            scanNumber(t);
        } else if (c == U'&' && !endsOperand && (at(pos + 1) | 0x20) == U'h' && isHexRun(pos + 2)) {
            advance(2);
            scanHex(t);
        } else if (c == U'\'' || c == U'"') {
            t.kind = TokenKind::String;
            t.text = quoted(c, c, t, "closing quote");
        } else if (c == U'`') {
            t.kind = TokenKind::QuotedIdentifier;
            t.text = quoted(U'`', U'`', t, "closing back-tick");
        } else if (c == U'[') {
            t.kind = TokenKind::QuotedIdentifier;
            t.text = quoted(U'[', U']', t, "closing bracket");
        } else {
            scanSymbol(t);
        }
    }

    // True when the characters from `from` form a hexadecimal literal body
    // (&H1F, not the operator & before a name such as Height). After an
    // operand "&" is always the operator, so that a&Hb joins a and Hb.
    bool isHexRun(std::size_t from) const
    {
        std::size_t i = from;
        while (i < s.size() && isWordPart(s[i])) {
            if (!isHexDigit(s[i]))
                return false;
            ++i;
        }
        return i > from;
    }

    void scanHex(Token& t)
    {
        std::uint64_t value = 0;
        const std::size_t from = pos;
        while (pos < s.size() && isHexDigit(s[pos])) {
            const char32_t d = s[pos];
            const unsigned digit = isDigit(d) ? unsigned(d - U'0') : unsigned((d | 0x20) - U'a' + 10);
            if (value > (0x7fffffffffffffffULL - digit) / 16)
                fail("hexadecimal number too large", t);
            value = value * 16 + digit;
            advance();
        }
        if (pos == from)
            fail("malformed hexadecimal number", t, "hexadecimal digits");
        if (pos < s.size() && isWordPart(s[pos]))
            fail("malformed number", t);
        t.kind = TokenKind::Integer;
        t.text = std::to_wstring(value);
    }

    void scanNumber(Token& t)
    {
        if (s[pos] == U'0' && (at(pos + 1) | 0x20) == U'x' && isHexDigit(at(pos + 2))) {
            advance(2);
            scanHex(t);
            return;
        }
        const std::size_t from = pos;
        bool real = false;
        while (isDigit(at(pos)))
            advance();
        if (at(pos) == U'.') {
            real = true;
            advance();
            while (isDigit(at(pos)))
                advance();
        }
        if ((at(pos) | 0x20) == U'e') {
            std::size_t k = pos + 1;
            if (at(k) == U'+' || at(k) == U'-')
                ++k;
            if (!isDigit(at(k)))
                fail("malformed number", t, "exponent digits");
            real = true;
            advance(k - pos);
            while (isDigit(at(pos)))
                advance();
        }
        if (pos < s.size() && (isWordPart(s[pos]) || s[pos] == U'.'))
            fail("malformed number", t);
        t.kind = real ? TokenKind::Real : TokenKind::Integer;
        t.text = toWide(s, from, pos);
    }

    std::wstring quoted(char32_t open, char32_t close, const Token& t, const char* expected)
    {
        advance(); // the opening quote
        std::u32string body;
        for (;;) {
            if (pos >= s.size())
                fail(std::string("unterminated ") + (open == U'[' || open == U'`' ? "identifier" : "string"), t, expected);
            const char32_t c = s[pos];
            if (c == close) {
                // A doubled quote stands for itself (not for brackets).
                if (open == close && at(pos + 1) == close) {
                    body += c;
                    advance(2);
                    continue;
                }
                advance();
                break;
            }
            body += c;
            advance();
        }
        if (open != U'\'' && open != U'"' && body.empty())
            fail("empty identifier", t, "a name");
        return toWide(body, 0, body.size());
    }

    void scanSymbol(Token& t)
    {
        static const char32_t* const twoChars[] = {U"<>", U"<=", U">=", U"!=", U"==", U"||"};
        for (const char32_t* two : twoChars) {
            if (s[pos] == two[0] && at(pos + 1) == two[1]) {
                t.kind = TokenKind::Symbol;
                t.text = toWide(s, pos, pos + 2);
                advance(2);
                return;
            }
        }
        static const std::u32string single = U"(),.;*+-/\\%^&=<>";
        if (single.find(s[pos]) == std::u32string::npos) {
            const char32_t c = s[pos];
            std::string shown = (c >= 0x20 && c < 0x7f) ? std::string("'") + char(c) + "'" : "U+" + QString::number(uint(c), 16).toUpper().rightJustified(4, '0').toStdString();
            fail("unexpected character " + shown, t);
        }
        t.kind = TokenKind::Symbol;
        t.text = toWide(s, pos, pos + 1);
        advance();
    }

    std::u32string s;
    std::size_t pos = 0;
    int line = 1;
    int column = 1;
    bool endsOperand = false; // the last token ends an operand
};

Lexer::Lexer(const std::string& utf8)
{
    if (utf8.size() > maxTextSize)
        throw ParseError("text too long (" + std::to_string(utf8.size()) + " bytes, at most " + std::to_string(maxTextSize) + ")", 0, 1, 1,
                         "a shorter text");
    scanner = std::make_unique<Scanner>(decodeUtf8(utf8));
}

Lexer::~Lexer() = default;

Token Lexer::next()
{
    return scanner->next();
}

std::vector<Token> Lexer::tokenize(const std::string& utf8)
{
    Lexer lexer(utf8);
    std::vector<Token> tokens;
    do
        tokens.push_back(lexer.next());
    while (tokens.back().kind != TokenKind::End);
    return tokens;
}

} // namespace tessera::sql
