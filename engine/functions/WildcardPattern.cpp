#include "engine/functions/WildcardPattern.h"

#include "engine/functions/Utf8.h"

namespace tessera::engine {

namespace {

// Marks bytes that only SQLite's own conversion may read.
constexpr char32_t refused = 0xFFFFFFFF;

char32_t fold(char32_t c)
{
    if (c < 0x80)
        return c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c;
    return QChar::toCaseFolded(uint(c));
}

// The two kinds of text the matcher walks: the character at a position (and
// the position after it), and the step over a character already read.
struct Utf16Text {
    const char16_t* data;
    int size;

    char32_t at(int pos, int& next) const
    {
        const char16_t u = data[pos];
        if (QChar::isHighSurrogate(u) && pos + 1 < size && QChar::isLowSurrogate(data[pos + 1])) {
            next = pos + 2;
            return QChar::surrogateToUcs4(u, data[pos + 1]);
        }
        next = pos + 1;
        return u;
    }
    int skip(int pos) const
    {
        int next = 0;
        at(pos, next);
        return next;
    }
};

struct Utf8Text {
    const unsigned char* data;
    int size;

    char32_t at(int pos, int& next) const
    {
        if (data[pos] < 0x80) {
            next = pos + 1;
            return data[pos];
        }
        int bytes = 0;
        const long code = utf8::decode(data + pos, size - pos, bytes);
        if (code < 0)
            return refused;
        next = pos + bytes;
        return char32_t(code);
    }
    // Only over a character that `at` accepted, so the lead byte tells its size.
    int skip(int pos) const
    {
        const unsigned char c = data[pos];
        return pos + (c < 0x80 ? 1 : c < 0xE0 ? 2 : c < 0xF0 ? 3 : 4);
    }
};

// Whole code points, so that a character outside the BMP counts as one; a
// lone surrogate stands for itself.
QVector<char32_t> codePoints(const QString& text)
{
    const Utf16Text units{reinterpret_cast<const char16_t*>(text.utf16()), text.size()};
    QVector<char32_t> result;
    result.reserve(text.size());
    for (int pos = 0, next = 0; pos < units.size; pos = next)
        result.append(units.at(pos, next));
    return result;
}

} // namespace

void WildcardPattern::append(Token::Kind kind, char32_t code, int count)
{
    // Consecutive runs add nothing but work.
    if (kind == Token::AnyRun && !tokens.isEmpty() && tokens.last().kind == Token::AnyRun)
        return;
    if (kind == Token::Literal && ignoreCase)
        code = fold(code);
    tokens.append({kind, code, count});
}

WildcardPattern WildcardPattern::like(const QString& pattern, char32_t escape, Qt::CaseSensitivity sensitivity)
{
    WildcardPattern result;
    result.ignoreCase = sensitivity == Qt::CaseInsensitive;
    const QVector<char32_t> p = codePoints(pattern);
    result.tokens.reserve(p.size());
    for (int i = 0; i < p.size(); ++i) {
        const char32_t c = p[i];
        // The escape comes first: an escape of '%' or '_' makes that character
        // an ordinary one.
        if (escape != 0 && c == escape) {
            if (++i >= p.size()) {
                result.never = true;
                break;
            }
            result.append(Token::Literal, p[i]);
        } else if (c == '%') {
            result.append(Token::AnyRun);
        } else if (c == '_') {
            result.append(Token::AnyOne);
        } else {
            result.append(Token::Literal, c);
        }
    }
    result.findInfix();
    return result;
}

WildcardPattern WildcardPattern::glob(const QString& pattern, Qt::CaseSensitivity sensitivity)
{
    WildcardPattern result;
    result.ignoreCase = sensitivity == Qt::CaseInsensitive;
    const QVector<char32_t> p = codePoints(pattern);
    result.tokens.reserve(p.size());
    for (int i = 0; i < p.size(); ++i) {
        const char32_t c = p[i];
        if (c == '*') {
            result.append(Token::AnyRun);
        } else if (c == '?') {
            result.append(Token::AnyOne);
        } else if (c != '[') {
            result.append(Token::Literal, c);
        } else {
            const int first = result.ranges.size();
            ++i;
            const bool negated = i < p.size() && p[i] == '^';
            if (negated)
                ++i;
            // ']' right after '[' or '[^' is a member, not the end.
            if (i < p.size() && p[i] == ']')
                result.ranges.append({']', ']'});
            else
                --i;
            char32_t prior = 0;
            while (++i < p.size() && p[i] != ']') {
                // '-' between two members is a range; first, last or right
                // after a range it is itself a member. A reversed range holds
                // nothing.
                if (p[i] == '-' && prior != 0 && i + 1 < p.size() && p[i + 1] != ']') {
                    result.ranges.last().high = p[++i];
                    prior = 0;
                } else {
                    result.ranges.append({p[i], p[i]});
                    prior = p[i];
                }
            }
            if (i >= p.size()) {
                // No character can satisfy a class that is never closed.
                result.never = true;
                break;
            }
            result.append(negated ? Token::NegatedClass : Token::Class, char32_t(first), result.ranges.size() - first);
        }
    }
    result.findInfix();
    return result;
}

// '%text%' with an ASCII text, the common search, is a plain scan for the
// text in ASCII bytes. Other characters take the general way: case folding
// maps some of them onto ASCII letters (the Kelvin sign onto 'k').
void WildcardPattern::findInfix()
{
    const int m = tokens.size();
    if (never || m < 3 || tokens.first().kind != Token::AnyRun || tokens.last().kind != Token::AnyRun)
        return;
    QByteArray literal;
    for (int i = 1; i < m - 1; ++i) {
        if (tokens[i].kind != Token::Literal || tokens[i].code >= 0x80)
            return;
        literal.append(char(tokens[i].code));
    }
    infix = literal;
}

// Nothing when the text holds a byte outside ASCII.
std::optional<bool> WildcardPattern::containsInfix(const unsigned char* text, int length) const
{
    const auto* needle = reinterpret_cast<const unsigned char*>(infix.constData());
    const int m = infix.size();
    const unsigned char first = needle[0];
    const unsigned char firstUpper = ignoreCase && first >= 'a' && first <= 'z' ? first - ('a' - 'A') : first;
    for (int i = 0; i < length; ++i) {
        const unsigned char b = text[i];
        if (b >= 0x80)
            return std::nullopt;
        if ((b != first && b != firstUpper) || i + m > length)
            continue;
        int j = 1;
        while (j < m && text[i + j] < 0x80 && (ignoreCase ? fold(text[i + j]) : text[i + j]) == needle[j])
            ++j;
        if (j == m)
            return true;
    }
    return false;
}

bool WildcardPattern::accepts(const Token& token, char32_t c, char32_t folded) const
{
    switch (token.kind) {
    case Token::Literal:
        return token.code == folded;
    case Token::AnyOne:
        return true;
    case Token::AnyRun:
        return false;
    case Token::Class:
    case Token::NegatedClass:
        break;
    }
    // Ignoring case, a character is a member when one of its case forms is.
    const char32_t forms[] = {c, folded, ignoreCase ? char32_t(QChar::toUpper(uint(folded))) : c};
    const int formCount = ignoreCase ? 3 : 1;
    bool member = false;
    const Range* range = ranges.constData() + token.code;
    for (int r = 0; r < token.count && !member; ++r, ++range) {
        for (int f = 0; f < formCount && !member; ++f)
            member = forms[f] >= range->low && forms[f] <= range->high;
    }
    return member != (token.kind == Token::NegatedClass);
}

template <class Text>
std::optional<bool> WildcardPattern::run(const Text& text) const
{
    if (never)
        return false;
    // On a mismatch the last run takes one more character and the tokens
    // after it start again: every restart moves that run's end by one
    // character, so the work is at most the product of the two lengths.
    const Token* p = tokens.constData();
    const int m = tokens.size();
    int pi = 0;
    int pos = 0;
    int runAt = -1;
    int runEnd = 0;
    // A run followed by a literal can only end before a character equal to
    // that literal: skip straight to the next one (the common '%word%').
    // 1 when there is one, 0 when there is none (nothing can match), -1 when
    // the bytes on the way are refused.
    const auto seekLiteral = [&]() {
        if (p[runAt + 1].kind != Token::Literal)
            return 1;
        const char32_t literal = p[runAt + 1].code;
        // ASCII characters are folded onto ASCII only: a tight loop passes
        // over those that differ from both forms of the literal.
        const char32_t lower = literal < 0x80 ? literal : refused;
        const char32_t upper = ignoreCase && lower >= 'a' && lower <= 'z' ? lower - ('a' - 'A') : lower;
        while (runEnd < text.size) {
            while (runEnd < text.size && text.data[runEnd] < 0x80 && text.data[runEnd] != lower
                   && text.data[runEnd] != upper)
                ++runEnd;
            if (runEnd >= text.size)
                break;
            int next = 0;
            const char32_t c = text.at(runEnd, next);
            if (c == refused)
                return -1;
            if ((ignoreCase ? fold(c) : c) == literal) {
                pos = runEnd;
                return 1;
            }
            runEnd = next;
        }
        return 0;
    };
    while (pos < text.size) {
        if (pi < m && p[pi].kind == Token::AnyRun) {
            if (pi == m - 1)
                return true; // a final run takes whatever is left
            runAt = pi++;
            runEnd = pos;
        } else {
            int next = 0;
            const char32_t c = text.at(pos, next);
            if (c == refused)
                return std::nullopt;
            if (pi < m && accepts(p[pi], c, ignoreCase ? fold(c) : c)) {
                ++pi;
                pos = next;
                continue;
            }
            if (runAt < 0)
                return false;
            pi = runAt + 1;
            runEnd = text.skip(runEnd);
            pos = runEnd;
        }
        const int sought = seekLiteral();
        if (sought <= 0)
            return sought < 0 ? std::nullopt : std::optional<bool>(false);
    }
    while (pi < m && p[pi].kind == Token::AnyRun)
        ++pi;
    return pi == m;
}

bool WildcardPattern::matches(QStringView text) const
{
    return *run(Utf16Text{text.utf16(), int(text.size())});
}

std::optional<bool> WildcardPattern::matchesUtf8(const unsigned char* text, int length) const
{
    if (!infix.isEmpty()) {
        if (const std::optional<bool> found = containsInfix(text, length))
            return found;
    }
    return run(Utf8Text{text, length});
}

} // namespace tessera::engine
