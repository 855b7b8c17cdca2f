#include "engine/functions/LikeMatcher.h"

#include "platform/utils/Patterns.h"

#include <gtest/gtest.h>

#include <QRegularExpression>

#include <random>
#include <vector>
#include <string>

namespace tessera::engine {
namespace {

std::optional<int> matchAscii(const LikeMatcher& matcher, const std::string& text)
{
    return matcher.match(reinterpret_cast<const unsigned char*>(text.data()), int(text.size()));
}

int matchRegular(const QString& pattern, QChar escape, const std::string& text)
{
    const QRegularExpression expression(utils::likeToRegular(pattern, escape), QRegularExpression::CaseInsensitiveOption);
    return expression.match(QString::fromStdString(text)).hasMatch() ? 1 : 0;
}

TEST(LikeMatcher, AgreesWithTheRegularExpression)
{
    // Small alphabets make matches and near misses frequent.
    const std::string patternAlphabet = "aAbB%_!.*[\n";
    const std::vector<std::string> textAlphabet = {"a", "A", "b", "B", "!", ".", "_", "%", "\n", "я", "Ä", "😀", "\xC3\x9F"};
    std::mt19937 random(7);
    std::uniform_int_distribution<int> patternLength(0, 7), textLength(0, 9);
    int matched = 0;
    for (int round = 0; round < 20000; ++round) {
        std::string pattern;
        for (int i = 0, n = patternLength(random); i < n; ++i)
            pattern += patternAlphabet[random() % patternAlphabet.size()];
        std::string text;
        for (int i = 0, n = textLength(random); i < n; ++i)
            text += textAlphabet[random() % textAlphabet.size()];
        const QChar escape = round % 2 ? QChar('!') : QChar();
        const QString qPattern = QString::fromStdString(pattern);
        const auto matcher = LikeMatcher::compile(qPattern, escape);
        ASSERT_TRUE(matcher.has_value()) << pattern;
        const auto result = matchAscii(*matcher, text);
        ASSERT_TRUE(result.has_value());
        const int expected = matchRegular(qPattern, escape, text);
        ASSERT_EQ(*result, expected) << "pattern '" << pattern << "' text '" << text << "' escape " << (round % 2);
        matched += expected;
    }
    EXPECT_GT(matched, 300);  // the comparison saw both answers often
}

TEST(LikeMatcher, TextBeyondAscii)
{
    EXPECT_FALSE(LikeMatcher::compile(QString::fromUtf8("ä%"), QChar()).has_value());
    EXPECT_FALSE(LikeMatcher::compile(QString::fromUtf8("a!ä"), QChar('!')).has_value());
    // A non-ASCII escape that does not occur leaves an ASCII pattern.
    EXPECT_TRUE(LikeMatcher::compile("a%", QChar(0x20AC)).has_value());

    const auto matcher = LikeMatcher::compile("k%", QChar());
    ASSERT_TRUE(matcher.has_value());
    // The Kelvin sign folds onto k: only the expression may decide.
    const std::string kelvin = "\xE2\x84\xAA" "elvin";
    EXPECT_FALSE(matchAscii(*matcher, kelvin).has_value());
    EXPECT_EQ(matchRegular("k%", QChar(), kelvin), 1);
    EXPECT_FALSE(matchAscii(*matcher, "\xC5\xBF").has_value());   // long s
    EXPECT_FALSE(matchAscii(*matcher, "k\xC3").has_value());        // cut short
    EXPECT_FALSE(matchAscii(*matcher, "k\xC0\x80").has_value());   // overlong
    EXPECT_FALSE(matchAscii(*matcher, "k\xED\xA0\x80").has_value()); // a surrogate
    EXPECT_FALSE(matchAscii(*matcher, "k\x80").has_value());        // a stray continuation byte
    EXPECT_EQ(matchAscii(*matcher, "Kb\xC3\xA4"), 1);
    // A mismatch before the bad bytes settles the answer without them.
    EXPECT_EQ(matchAscii(*matcher, "x\xC3"), 0);
    EXPECT_EQ(matchAscii(*matcher, "\xC3\xA4k"), 0);
    // `_` takes a whole character, however many bytes it has.
    const auto one = LikeMatcher::compile("_x", QChar());
    EXPECT_EQ(matchAscii(*one, "\xF0\x9F\x98\x80x"), 1);
    EXPECT_EQ(matchAscii(*one, "\xD1\x8Fx"), 1);
    EXPECT_EQ(matchAscii(*one, "\xD1\x8F\xD1\x8Fx"), 0);
}

TEST(LikeMatcher, Basics)
{
    const auto exact = LikeMatcher::compile("Abc", QChar());
    EXPECT_EQ(matchAscii(*exact, "aBC"), 1);
    EXPECT_EQ(matchAscii(*exact, "abcd"), 0);
    EXPECT_EQ(matchAscii(*exact, ""), 0);
    const auto runs = LikeMatcher::compile("%a%%b_", QChar());
    EXPECT_EQ(matchAscii(*runs, "xxAyyBz"), 1);
    EXPECT_EQ(matchAscii(*runs, "xxAyyB"), 0);
    const auto empty = LikeMatcher::compile("", QChar());
    EXPECT_EQ(matchAscii(*empty, ""), 1);
    EXPECT_EQ(matchAscii(*empty, "a"), 0);
    // An escape at the very end: nothing matches.
    const auto dangling = LikeMatcher::compile("a!", QChar('!'));
    EXPECT_EQ(matchAscii(*dangling, "a!"), 0);
    EXPECT_EQ(matchAscii(*dangling, "a"), 0);
    // Embedded NUL bytes are ordinary characters.
    const auto nul = LikeMatcher::compile(QString("a") + QChar(0) + "_", QChar());
    EXPECT_EQ(matchAscii(*nul, std::string("a\0b", 3)), 1);
}

} // namespace
} // namespace tessera::engine
