#include "engine/functions/CaseMapping.h"

#include <gtest/gtest.h>

#include <QString>

#include <string>

namespace tessera::engine {
namespace {

// Every code point the one-to-one mapping takes must come out as Qt's full
// mapping says, and the common scripts must not be left to QString.
TEST(CaseMapping, AgreesWithQtOnEveryCodePoint)
{
    for (const bool upper : {false, true}) {
        int simple = 0;
        for (char32_t c = 0; c <= 0x10FFFF; ++c) {
            if (c >= 0xD800 && c <= 0xDFFF)
                continue;
            const long mapped = simpleCase(c, upper);
            if (mapped < 0)
                continue;
            ++simple;
            const QString source = QString::fromUcs4(&c, 1);
            const char32_t m = char32_t(mapped);
            ASSERT_EQ(upper ? source.toUpper() : source.toLower(), QString::fromUcs4(&m, 1))
                << std::hex << "U+" << uint(c) << (upper ? " upper" : " lower");
        }
        EXPECT_GT(simple, 1000000);
    }
    for (const char32_t c : {U'я', U'Ä', U'ё', U'ω', U'𐐨'}) {
        EXPECT_GE(simpleCase(c, true), 0);
        EXPECT_GE(simpleCase(c, false), 0);
    }
    EXPECT_EQ(simpleCase(U'ß', true), -1);
    EXPECT_EQ(simpleCase(U'İ', false), -1);
}

std::string map(const std::string& text, bool upper)
{
    std::string out(2 * text.size() + 4, '\0');
    const int n = mapCaseUtf8(reinterpret_cast<const unsigned char*>(text.data()), int(text.size()), upper,
                              out.data(), int(out.size()));
    return n < 0 ? std::string("<qt>") : out.substr(0, size_t(n));
}

TEST(CaseMapping, Utf8Text)
{
    EXPECT_EQ(map("Grüße, МИР 😀 𐐀", false), "grüße, мир 😀 𐐨");
    EXPECT_EQ(map("привет ёж", true), "ПРИВЕТ ЁЖ");
    // Lengths change: ı (2 bytes) upper-cases to I (1 byte), ɐ (2) to Ɐ (3).
    EXPECT_EQ(map("ıɐ", true), "IⱯ");
    EXPECT_EQ(map("", true), "");
    EXPECT_EQ(map("straße", true), "STRASSE");
    EXPECT_EQ(map("straße", false), "straße");
    EXPECT_EQ(map("ﬁ", true), "<qt>");
    EXPECT_EQ(map("\xC3", false), "<qt>");         // cut short
    EXPECT_EQ(map("a\xEF\xBF\xBF", false), "<qt>"); // U+FFFF
    EXPECT_EQ(map("\xC0\xAF", false), "<qt>");     // overlong
    std::string small(3, '\0');
    EXPECT_EQ(mapCaseUtf8(reinterpret_cast<const unsigned char*>("abcd"), 4, true, small.data(), 3), -1);
}

} // namespace
} // namespace tessera::engine
