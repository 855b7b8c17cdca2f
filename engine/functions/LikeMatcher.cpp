#include "engine/functions/LikeMatcher.h"

#include "engine/functions/Utf8.h"

#include <QVarLengthArray>

namespace tessera::engine {

namespace {

short lowerAscii(ushort c)
{
    return static_cast<short>(c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c);
}

} // namespace

std::optional<LikeMatcher> LikeMatcher::compile(const QString& pattern, QChar escape)
{
    LikeMatcher matcher;
    matcher.tokens.reserve(pattern.size());
    const ushort escapeCode = escape.unicode();
    for (int i = 0; i < pattern.size(); ++i) {
        ushort c = pattern.at(i).unicode();
        if (c >= 0x80)
            return std::nullopt;
        if (escapeCode != 0 && c == escapeCode) {
            if (++i >= pattern.size()) {
                matcher.never = true;
                return matcher;
            }
            c = pattern.at(i).unicode();
            if (c >= 0x80)
                return std::nullopt;
            matcher.tokens.append(lowerAscii(c));
        } else if (c == '%') {
            if (matcher.tokens.isEmpty() || matcher.tokens.last() != AnyRun)
                matcher.tokens.append(AnyRun);
        } else if (c == '_') {
            matcher.tokens.append(AnyOne);
        } else {
            matcher.tokens.append(lowerAscii(c));
        }
    }
    return matcher;
}

namespace {

constexpr short other = 0x100;

// Decodes the character at `text[pos]` into `character` (lower-case ASCII,
// or `other` for any character beyond ASCII, which only `_` and `%` can
// match) and returns its byte count; 0 when only the expression can decide:
// malformed UTF-8 reads differently in UTF-16, and two characters fold onto
// ASCII letters (the Kelvin sign onto k, the long s onto s).
int decodeCharacter(const unsigned char* text, int length, int pos, short& character)
{
    const unsigned char c = text[pos];
    if (c < 0x80) {
        character = lowerAscii(c);
        return 1;
    }
    int size = 0;
    const long code = utf8::decode(text + pos, length - pos, size);
    if (code < 0 || code == 0x212A || code == 0x017F)
        return 0;
    character = other;
    return size;
}

} // namespace

std::optional<int> LikeMatcher::match(const unsigned char* text, int length) const
{
    if (never)
        return 0;
    // Wildcard matching with one back-tracking point: on a mismatch the last
    // run takes one more character. Characters are decoded as the match
    // reaches them, so a mismatch early in a long text ends the work early;
    // whatever lies beyond cannot change that answer.
    QVarLengthArray<short, 256> characters;
    int pos = 0;
    const short* p = tokens.constData();
    const int m = tokens.size();
    int pi = 0;
    int ti = 0;
    int runAt = -1;
    int runText = 0;
    for (;;) {
        if (ti == characters.size()) {
            if (pos >= length)
                break;
            short character = 0;
            const int size = decodeCharacter(text, length, pos, character);
            if (size == 0)
                return std::nullopt;
            characters.append(character);
            pos += size;
        }
        if (pi < m && (p[pi] == AnyOne || p[pi] == characters[ti])) {
            ++pi;
            ++ti;
        } else if (pi < m && p[pi] == AnyRun) {
            runAt = pi++;
            runText = ti;
        } else if (runAt >= 0) {
            pi = runAt + 1;
            ti = ++runText;
        } else {
            return 0;
        }
    }
    while (pi < m && p[pi] == AnyRun)
        ++pi;
    return pi == m ? 1 : 0;
}

} // namespace tessera::engine
