#pragma once
// An ASCII LIKE pattern matched directly on UTF-8 text, ignoring case. It
// gives the same answer as the pattern's case-insensitive regular
// expression at a fraction of the cost; the rare texts where it cannot be
// sure are left to the expression.

#include <QChar>
#include <QString>
#include <QVector>
#include <optional>

namespace tessera::engine {

class LikeMatcher {
public:
    // The matcher of an ASCII pattern (`%` any run, `_` one character,
    // `escape` makes the next character literal); nothing for a pattern with
    // other characters.
    static std::optional<LikeMatcher> compile(const QString& pattern, QChar escape);

    // 1 or 0; nothing when the match reaches malformed UTF-8 or one of the
    // two characters beyond ASCII that fold onto ASCII letters (U+212A,
    // U+017F).
    std::optional<int> match(const unsigned char* text, int length) const;

private:
    enum : short { AnyOne = -1, AnyRun = -2 };
    // Lower-case ASCII literals, or AnyOne / AnyRun.
    QVector<short> tokens;
    bool never = false; // an escape at the very end: nothing matches
};

} // namespace tessera::engine
