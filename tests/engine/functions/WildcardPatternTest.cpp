#include "engine/functions/WildcardPattern.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cstring>
#include <random>
#include <string>

namespace tessera::engine {
namespace {

enum Syntax { Like, Glob };

WildcardPattern compile(Syntax syntax, const QString& pattern, char32_t escape, Qt::CaseSensitivity sensitivity)
{
    return syntax == Like ? WildcardPattern::like(pattern, escape, sensitivity)
                          : WildcardPattern::glob(pattern, sensitivity);
}

// The UTF-16 and the UTF-8 walk must agree on every text.
int matchBoth(const WildcardPattern& pattern, const QString& text)
{
    const QByteArray utf8 = text.toUtf8();
    const auto fromUtf8 = pattern.matchesUtf8(reinterpret_cast<const unsigned char*>(utf8.constData()), utf8.size());
    const bool fromUtf16 = pattern.matches(text);
    EXPECT_EQ(fromUtf8, std::optional<bool>(fromUtf16)) << text.toStdString();
    return fromUtf16 ? 1 : 0;
}

TEST(WildcardPattern, Table)
{
    const QString e = QString::fromUtf8("é");
    const QString E = QString::fromUtf8("É");
    struct Row {
        const char* name;
        Syntax syntax;
        QString pattern;
        QString text;
        char32_t escape;
        Qt::CaseSensitivity sensitivity;
        int expected;
    };
    const auto ci = Qt::CaseInsensitive;
    const auto cs = Qt::CaseSensitive;
    const Row rows[] = {
        // Patterns on which a backtracking regular expression gives up.
        {"glob with many runs", Glob, "*a*a*a*a*b*c", "aaaab" + QString(194, 'a') + "c", 0, ci, 1},
        {"glob with many runs, no match", Glob, "*a*a*a*a*b*c", "aaaabc" + QString(194, 'a'), 0, ci, 0},
        {"18 runs of é", Like, QString("%" + e).repeated(18), e.repeated(17) + QString(100, 'x') + E, 0, ci, 1},
        {"18 runs of é, open end", Like, QString("%" + e).repeated(18) + "%", QString("x" + E).repeated(100), 0, ci, 1},
        {"18 runs of é, 17 present", Like, QString("%" + e).repeated(18), QString("x" + E).repeated(17), 0, ci, 0},
        // LIKE
        {"like prefix", Like, "ab%", "ABC", 0, ci, 1},
        {"like one", Like, "a_c", "abbc", 0, ci, 0},
        {"like empty", Like, "", "", 0, ci, 1},
        {"like run over nothing", Like, "a%%b", "ab", 0, ci, 1},
        {"like escape", Like, "10!%", "10%", '!', ci, 1},
        {"like escape, no match", Like, "10!%", "100", '!', ci, 0},
        {"like escaped escape", Like, "a!!", "a!", '!', ci, 1},
        {"like escape at the end", Like, "a!", "a!", '!', ci, 0},
        {"like escape is %", Like, "a%%", "a%", '%', ci, 1},
        {"like escape is %, no run", Like, "a%%", "a%b", '%', ci, 0},
        {"like line break", Like, "a%b", "a\nb", 0, ci, 1},
        {"like one outside the BMP", Like, "a_b", QString::fromUtf8("a😀b"), 0, ci, 1},
        {"like escape outside the BMP", Like, QString::fromUtf8("😀_"), "_", U'😀', ci, 1},
        {"like case sensitive", Like, "Ab%", "abc", 0, cs, 0},
        // Unicode case folding
        {"fold ä", Like, QString::fromUtf8("ä%"), QString::fromUtf8("Äpfel"), 0, ci, 1},
        {"fold Cyrillic", Like, QString::fromUtf8("%лк_"), QString::fromUtf8("ЁЛКА"), 0, ci, 1},
        {"fold Kelvin sign", Like, "k%", QString::fromUtf8("\u212Aelvin"), 0, ci, 1},
        {"fold Kelvin sign after a run", Like, "%kel%", QString::fromUtf8("ab\u212AELx"), 0, ci, 1},
        {"fold long s", Like, "S", QString::fromUtf8("\u017F"), 0, ci, 1},
        {"fold final sigma", Like, QString::fromUtf8("Σ"), QString::fromUtf8("ς"), 0, ci, 1},
        {"no fold ß onto ss", Like, "ss", QString::fromUtf8("ß"), 0, ci, 0},
        // GLOB
        {"glob case ignored", Glob, "*.TXT", "a.txt", 0, ci, 1},
        {"glob case kept", Glob, "*.TXT", "a.txt", 0, cs, 0},
        {"glob class", Glob, "[a-c]x", "bx", 0, cs, 1},
        {"glob class miss", Glob, "[a-c]x", "dx", 0, cs, 0},
        {"glob negated class", Glob, "[^a-c]x", "dx", 0, cs, 1},
        {"glob ] first", Glob, "[]a]", "]", 0, cs, 1},
        {"glob ] first after ^", Glob, "[^]a]", "]", 0, cs, 0},
        {"glob - last", Glob, "[a-]", "-", 0, cs, 1},
        {"glob - after a range", Glob, "[a-c-e]", "-", 0, cs, 1},
        {"glob reversed range", Glob, "[c-a]", "b", 0, cs, 0},
        {"glob class ignoring case", Glob, "[a-c]", "B", 0, ci, 1},
        {"glob class Kelvin sign", Glob, "[j-l]", QString::fromUtf8("\u212A"), 0, ci, 1},
        {"glob Cyrillic range", Glob, QString::fromUtf8("[а-я]у?"), QString::fromUtf8("Жук"), 0, ci, 1},
        {"glob unclosed class", Glob, "a[", "a[", 0, ci, 0},
        {"glob unclosed class after a run", Glob, "*[", "x[", 0, ci, 0},
        {"glob empty unclosed class", Glob, "[]", "[]", 0, ci, 0},
        {"glob % is literal", Glob, "a%", "ab", 0, ci, 0},
        {"glob ? outside the BMP", Glob, "?", QString::fromUtf8("😀"), 0, ci, 1},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(matchBoth(compile(row.syntax, row.pattern, row.escape, row.sensitivity), row.text), row.expected);
    }
}

TEST(WildcardPattern, MalformedUtf8IsLeftToTheConversion)
{
    const auto pattern = WildcardPattern::like("k%x", 0, Qt::CaseInsensitive);
    const auto utf8 = [&](const char* text) {
        return pattern.matchesUtf8(reinterpret_cast<const unsigned char*>(text), int(std::strlen(text)));
    };
    EXPECT_EQ(utf8("k\xC3"), std::nullopt);     // cut short
    EXPECT_EQ(utf8("k\xC0\x80x"), std::nullopt); // overlong
    EXPECT_EQ(utf8("k\x80x"), std::nullopt);     // a stray continuation byte
    // A mismatch before the bad bytes settles the answer without them.
    EXPECT_EQ(utf8("y\xC3"), false);
}

// Our matcher against SQLite's own LIKE (ASCII case folding) and GLOB (case
// kept) on random ASCII: small alphabets make matches and near misses common.
TEST(WildcardPattern, AgreesWithSqlite)
{
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(":memory:", &db), SQLITE_OK);
    sqlite3_stmt* like = nullptr;
    sqlite3_stmt* likeEscape = nullptr;
    sqlite3_stmt* glob = nullptr;
    ASSERT_EQ(sqlite3_prepare_v2(db, "SELECT ?2 LIKE ?1", -1, &like, nullptr), SQLITE_OK);
    ASSERT_EQ(sqlite3_prepare_v2(db, "SELECT ?2 LIKE ?1 ESCAPE '!'", -1, &likeEscape, nullptr), SQLITE_OK);
    ASSERT_EQ(sqlite3_prepare_v2(db, "SELECT ?2 GLOB ?1", -1, &glob, nullptr), SQLITE_OK);

    const std::string patternAlphabet = "aAb%%_!**?[]^-";
    const std::string textAlphabet = "aAbB%_!*?[]^-";
    std::mt19937 random(14);
    std::uniform_int_distribution<int> patternLength(0, 6), textLength(0, 6);
    const auto randomText = [&](const std::string& alphabet, int length) {
        std::string text;
        for (int i = 0; i < length; ++i)
            text += alphabet[random() % alphabet.size()];
        return text;
    };
    int matched[3] = {0, 0, 0};
    for (int round = 0; round < 9000; ++round) {
        const int kind = round % 3;
        const std::string pattern = randomText(patternAlphabet, patternLength(random));
        const std::string text = randomText(textAlphabet, textLength(random));
        sqlite3_stmt* stmt = kind == 0 ? like : kind == 1 ? likeEscape : glob;
        sqlite3_bind_text(stmt, 1, pattern.data(), int(pattern.size()), SQLITE_TRANSIENT);
        sqlite3_bind_text(stmt, 2, text.data(), int(text.size()), SQLITE_TRANSIENT);
        ASSERT_EQ(sqlite3_step(stmt), SQLITE_ROW);
        const int expected = sqlite3_column_int(stmt, 0);
        sqlite3_reset(stmt);

        const QString qPattern = QString::fromStdString(pattern);
        const WildcardPattern ours = kind == 2 ? WildcardPattern::glob(qPattern, Qt::CaseSensitive)
                                               : WildcardPattern::like(qPattern, kind == 1 ? '!' : 0, Qt::CaseInsensitive);
        ASSERT_EQ(matchBoth(ours, QString::fromStdString(text)), expected)
            << "kind " << kind << " pattern '" << pattern << "' text '" << text << "'";
        matched[kind] += expected;
    }
    sqlite3_finalize(like);
    sqlite3_finalize(likeEscape);
    sqlite3_finalize(glob);
    sqlite3_close(db);
    // The comparison saw both answers often in every kind.
    for (int count : matched)
        EXPECT_GT(count, 100);
}

} // namespace
} // namespace tessera::engine
