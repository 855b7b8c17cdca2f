// '%text%' with an ASCII text takes a plain byte scan on UTF-8 input; its
// answers must be the general matcher's (the UTF-16 walk), also where a
// character outside ASCII folds onto an ASCII letter.
#include "engine/functions/WildcardPattern.h"

#include <gtest/gtest.h>

namespace tessera::engine {
namespace {

TEST(WildcardInfix, AgreesWithTheGeneralMatcher)
{
    const struct {
        const char* name;
        bool like;   // else GLOB
        const char* pattern;
        const char* text;   // UTF-8
        Qt::CaseSensitivity sensitivity;
        bool matches;
    } cases[] = {
        {"inside, other case", true, "%abc%", "xxABCyy", Qt::CaseInsensitive, true},
        {"after a false start", true, "%abc%", "aababc", Qt::CaseInsensitive, true},
        {"at the very end", true, "%abc%", "zzzabc", Qt::CaseInsensitive, true},
        {"cut short by the end", true, "%abc%", "zzzab", Qt::CaseInsensitive, false},
        {"the whole text", true, "%abc%", "abc", Qt::CaseInsensitive, true},
        {"empty text", true, "%abc%", "", Qt::CaseInsensitive, false},
        {"case kept", true, "%abc%", "xABCx", Qt::CaseSensitive, false},
        {"case kept, found", true, "%aBc%", "xaBcx", Qt::CaseSensitive, true},
        {"after a non-ASCII letter", true, "%abc%", "\xc3\xa4 ABC", Qt::CaseInsensitive, true},
        {"Kelvin sign folds onto k", true, "%k%", "\xe2\x84\xaa", Qt::CaseInsensitive, true},
        {"Kelvin sign inside the text", true, "%oka%", "o\xe2\x84\xaa" "a", Qt::CaseInsensitive, true},
        {"long s folds onto s", true, "%as%", "a\xc5\xbf", Qt::CaseInsensitive, true},
        {"GLOB infix", false, "*abc*", "xABCx", Qt::CaseInsensitive, true},
        {"GLOB infix missing", false, "*abd*", "xABCx", Qt::CaseInsensitive, false},
    };
    for (const auto& c : cases) {
        const QString pattern = QString::fromUtf8(c.pattern);
        const WildcardPattern p = c.like ? WildcardPattern::like(pattern, 0, c.sensitivity)
                                         : WildcardPattern::glob(pattern, c.sensitivity);
        const QByteArray utf8(c.text);
        EXPECT_EQ(p.matchesUtf8(reinterpret_cast<const unsigned char*>(utf8.constData()), utf8.size()),
                  std::optional<bool>(c.matches))
            << c.name;
        EXPECT_EQ(p.matches(QString::fromUtf8(utf8)), c.matches) << c.name << ", UTF-16";
    }
}

} // namespace
} // namespace tessera::engine
