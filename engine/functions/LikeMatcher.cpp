#include "engine/functions/LikeMatcher.h"

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

std::optional<int> LikeMatcher::match(const unsigned char* text, int length) const
{
    // One entry per character: lower-case ASCII, or `other` for any
    // character beyond ASCII, which only `_` and `%` can match. Two such
    // characters fold onto ASCII letters (the Kelvin sign onto k, the long s
    // onto s), and malformed UTF-8 reads differently in UTF-16: both are left
    // to the expression.
    constexpr short other = 0x100;
    QVarLengthArray<short, 256> characters;
    for (int i = 0; i < length;) {
        const unsigned char c = text[i];
        if (c < 0x80) {
            characters.append(lowerAscii(c));
            ++i;
            continue;
        }
        int extra = 0;
        char32_t code = 0;
        if (c >= 0xC2 && c <= 0xDF) {
            extra = 1;
            code = c & 0x1F;
        } else if (c >= 0xE0 && c <= 0xEF) {
            extra = 2;
            code = c & 0x0F;
        } else if (c >= 0xF0 && c <= 0xF4) {
            extra = 3;
            code = c & 0x07;
        } else {
            return std::nullopt;
        }
        if (i + extra >= length)
            return std::nullopt;
        for (int k = 1; k <= extra; ++k) {
            const unsigned char next = text[i + k];
            if ((next & 0xC0) != 0x80)
                return std::nullopt;
            code = (code << 6) | (next & 0x3F);
        }
        const char32_t lowest[] = {0, 0x80, 0x800, 0x10000};
        if (code < lowest[extra] || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF) || code == 0x212A
            || code == 0x017F)
            return std::nullopt;
        characters.append(other);
        i += extra + 1;
    }
    if (never)
        return 0;

    // Wildcard matching with one back-tracking point: on a mismatch the last
    // run takes one more character.
    const short* p = tokens.constData();
    const short* t = characters.constData();
    const int m = tokens.size();
    const int n = characters.size();
    int pi = 0;
    int ti = 0;
    int runAt = -1;
    int runText = 0;
    while (ti < n) {
        if (pi < m && (p[pi] == AnyOne || p[pi] == t[ti])) {
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
