#pragma once
// A LIKE or GLOB pattern matched directly, character by character (code
// points, as SQLite counts them). The matcher keeps a single back-tracking
// point, so its time is bounded by the product of the pattern's and the
// text's lengths whatever the pattern: it never gives up.

#include <QByteArray>
#include <QChar>
#include <QString>
#include <QStringView>
#include <QVector>

#include <optional>

namespace tessera::engine {

class WildcardPattern {
public:
    // '%' any run, '_' one character; `escape` (0 for none) makes the next
    // character literal, even '%' and '_'. An escape at the very end matches
    // nothing.
    static WildcardPattern like(const QString& pattern, char32_t escape, Qt::CaseSensitivity sensitivity);
    // '*' any run, '?' one character, '[...]' a class ('^' first negates, ']'
    // first is a member, 'a-z' a range). A class left open matches nothing.
    static WildcardPattern glob(const QString& pattern, Qt::CaseSensitivity sensitivity);

    // Whether the whole text matches. A lone surrogate counts as a character.
    bool matches(QStringView text) const;
    // The same on UTF-8 bytes; nothing when the match reaches bytes that
    // SQLite's conversion to UTF-16 reads differently (malformed UTF-8).
    std::optional<bool> matchesUtf8(const unsigned char* text, int length) const;

private:
    struct Range {
        char32_t low;
        char32_t high;
    };
    struct Token {
        enum Kind : char { Literal, AnyOne, AnyRun, Class, NegatedClass } kind;
        // The character (case-folded when case is ignored), or for a class
        // the index of its first range and, in `count`, how many follow.
        char32_t code;
        int count;
    };

    template <class Text>
    std::optional<bool> run(const Text& text) const;
    std::optional<bool> containsInfix(const unsigned char* text, int length) const;
    void findInfix();
    bool accepts(const Token& token, char32_t c, char32_t folded) const;
    void append(Token::Kind kind, char32_t code = 0, int count = 0);

    QVector<Token> tokens;
    QVector<Range> ranges;
    QByteArray infix;   // the ASCII text of a '%text%' pattern (case-folded when case is ignored)
    bool ignoreCase = false;
    bool never = false;
};

} // namespace tessera::engine
