#include "platform/utils/Patterns.h"

#include <QVector>

namespace tessera::utils {

namespace {

// Expressions are anchored on the whole subject, and '.' must also match a
// line break since LIKE and GLOB wildcards do.
const QString head = QStringLiteral("(?s)\\A(?:");
const QString tail = QStringLiteral(")\\z");
const QString anyRun = QStringLiteral(".*");
const QChar anyOne = QLatin1Char('.');
// An expression that cannot match anything.
const QString nothing = QStringLiteral("(?!)");

bool isAsciiAlnum(char32_t c)
{
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

void appendHex(QString& out, char32_t c)
{
    out += QLatin1String("\\x{");
    out += QString::number(static_cast<uint>(c), 16);
    out += QLatin1Char('}');
}

// One character taken literally. Letters, digits and characters beyond ASCII
// stand for themselves; ASCII punctuation is escaped and control characters
// (NUL among them) are written as code points.
void appendLiteral(QString& out, char32_t c)
{
    if (isAsciiAlnum(c) || c >= 0x80) {
        if (QChar::requiresSurrogates(c)) {
            out += QChar(QChar::highSurrogate(c));
            out += QChar(QChar::lowSurrogate(c));
        } else {
            out += QChar(static_cast<char16_t>(c));
        }
    } else if (c < 0x20 || c == 0x7f) {
        appendHex(out, c);
    } else {
        out += QLatin1Char('\\');
        out += QChar(static_cast<char16_t>(c));
    }
}

// Whole code points, so that a character outside the BMP counts as one, as
// it does for SQLite's LIKE and GLOB.
QVector<char32_t> codePoints(const QString& text)
{
    QVector<char32_t> result;
    result.reserve(text.size());
    for (int i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        if (c.isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate()) {
            result.append(QChar::surrogateToUcs4(c, text.at(i + 1)));
            ++i;
        } else {
            result.append(c.unicode());
        }
    }
    return result;
}

// Appends the '[...]' class that starts at `start` (just after '[') and
// returns the index after its ']', or -1 if the class is not closed.
int appendGlobClass(QString& out, const QVector<char32_t>& p, int start)
{
    struct Range {
        char32_t low;
        char32_t high;
    };
    QVector<Range> ranges;
    int i = start;
    const bool negated = i < p.size() && p[i] == '^';
    if (negated)
        ++i;
    // ']' right after '[' or '[^' is a member, not the end.
    if (i < p.size() && p[i] == ']') {
        ranges.append({']', ']'});
        ++i;
    }
    char32_t prior = 0;
    for (; i < p.size() && p[i] != ']'; ++i) {
        const char32_t c = p[i];
        // '-' between two members is a range; first, last or right after a
        // range it is itself a member.
        if (c == '-' && prior != 0 && i + 1 < p.size() && p[i + 1] != ']') {
            const char32_t high = p[++i];
            ranges.removeLast();
            // A reversed range holds nothing (as in SQLite); the expression
            // syntax would reject it.
            if (prior <= high)
                ranges.append({prior, high});
            prior = 0;
        } else {
            ranges.append({c, c});
            prior = c;
        }
    }
    if (i >= p.size())
        return -1;
    if (ranges.isEmpty()) {
        out += negated ? QString(anyOne) : nothing;
        return i + 1;
    }
    out += negated ? QLatin1String("[^") : QLatin1String("[");
    for (const Range& range : qAsConst(ranges)) {
        appendHex(out, range.low);
        if (range.high != range.low) {
            out += QLatin1Char('-');
            appendHex(out, range.high);
        }
    }
    out += QLatin1Char(']');
    return i + 1;
}

} // namespace

QString likeToRegular(const QString& pattern, QChar escape)
{
    const QVector<char32_t> p = codePoints(pattern);
    const char32_t escapeCode = escape.unicode();
    QString body;
    body.reserve(pattern.size() + 8);
    bool lastWasRun = false;
    for (int i = 0; i < p.size(); ++i) {
        char32_t c = p[i];
        if (c == '%') {
            // Consecutive runs add nothing but backtracking.
            if (!lastWasRun)
                body += anyRun;
            lastWasRun = true;
            continue;
        }
        lastWasRun = false;
        if (escapeCode != 0 && c == escapeCode) {
            // An escape at the very end escapes nothing, and then nothing
            // matches (as in SQLite).
            if (++i >= p.size())
                return head + nothing + tail;
            appendLiteral(body, p[i]);
        } else if (c == '_') {
            body += anyOne;
        } else {
            appendLiteral(body, c);
        }
    }
    return head + body + tail;
}

QString globToRegular(const QString& pattern)
{
    const QVector<char32_t> p = codePoints(pattern);
    QString body;
    body.reserve(pattern.size() + 8);
    bool lastWasRun = false;
    for (int i = 0; i < p.size(); ++i) {
        const char32_t c = p[i];
        if (c == '*') {
            if (!lastWasRun)
                body += anyRun;
            lastWasRun = true;
            continue;
        }
        lastWasRun = false;
        if (c == '?') {
            body += anyOne;
        } else if (c == '[') {
            const int next = appendGlobClass(body, p, i + 1);
            // No character satisfies a class that is never closed (as in
            // SQLite), so the pattern matches nothing.
            if (next < 0)
                return head + nothing + tail;
            i = next - 1;
        } else {
            appendLiteral(body, c);
        }
    }
    return head + body + tail;
}

} // namespace tessera::utils
