#include "engine/functions/MatchingFunctions.h"

#include "tests/support/EngineTestCache.h"
#include "tests/support/SqlHarness.h"

#include <gtest/gtest.h>

#include <QLocale>

namespace tessera::engine {
namespace {

int collate(void* collator, int length1, const void* data1, int length2, const void* data2)
{
    return collatorCompare(*static_cast<const QCollator*>(collator), length1, data1, length2, data2);
}

void registerMatching(test::SqlHarness& db, void* userData)
{
    db.scalar("like", 2, caseInsensitiveLike, userData);
    db.scalar("like", 3, caseInsensitiveLikeEscape, userData);
    db.scalar("glob", 2, caseInsensitiveGlob, userData);
    db.scalar("regexp", 2, regular, userData);
    db.scalar("casesensitivecompare", 2, caseSensitiveCompare, userData);
    db.scalar("localecompare", 2, caseSensitiveLocaleCompare, userData);
}

// Every matching test runs with the engine cache as user data and without.
class MatchingFunctions : public ::testing::TestWithParam<bool> {
protected:
    MatchingFunctions() { registerMatching(db, GetParam() ? &cache : nullptr); }

    test::TestCache cache;
    test::SqlHarness db;
};

TEST_P(MatchingFunctions, Like)
{
    db.expectAll({
        {"'ABC' LIKE 'ab%'", "1"}, {"like('ab%', 'ABC')", "1"}, {"'abbc' LIKE 'a_c'", "0"},
        {"'abc' NOT LIKE 'a_c'", "0"}, {"'Äpfel' LIKE 'ä%'", "1"}, // SQLite's own LIKE folds ASCII only
        {"'ЁЛКА' LIKE '%лк_'", "1"}, {"'a😀b' LIKE 'a_b'", "1"}, {"'a.b' LIKE 'a.b'", "1"}, {"'axb' LIKE 'a.b'", "0"},
        {"'line1' || char(10) || 'line2' LIKE 'line1%2'", "1"}, {"123 LIKE '1_3'", "1"},
        {"'x' LIKE 'x%' ESCAPE NULL", "1"}, {"like('', x'')", "1"}, // an empty blob is an empty text
        {"NULL LIKE 'a'", "NULL"}, {"'a' LIKE NULL", "NULL"},

        {"'10%' LIKE '10!%' ESCAPE '!'", "1"}, {"'100' LIKE '10!%' ESCAPE '!'", "0"},
        {"like('10!%', '10!00', NULL)", "1"}, // a NULL escape is none
        {"like('10!%', '10!00', '')", "1"}, {"like('a#_', 'a_', '#xyz')", "1"}, // the first character escapes
        {"like('a#_', 'ab', '#xyz')", "0"},
    });
}

TEST_P(MatchingFunctions, GlobAndRegular)
{
    db.expectAll({
        {"'a.txt' GLOB '*.TXT'", "1"}, {"'a.txt' GLOB '*.doc'", "0"}, {"'Жук' GLOB '[а-я]у?'", "1"},
        {"'[x' GLOB '[x'", "0"}, // a class never closed matches nothing
        {"glob('a[', 'a[')", "0"}, {"NULL GLOB '*'", "NULL"},
        {"'Abc' REGEXP '^a'", "0"}, {"'abc' REGEXP 'b'", "1"}, {"'abc' REGEXP '('", "0"},
        {"'Straße 5' REGEXP '\\d$'", "1"}, {"'x😀y' REGEXP '^x.y$'", "1"}, {"'abc' REGEXP NULL", "NULL"},
        // Beyond the matching limits there is no answer: an error, never 0.
        {"regexp('(a+)+$', '" + std::string(40, 'a') + "!')",
         "error: REGEXP: the expression exceeds the matching limits on this text"},
    });
}

// Patterns on which a backtracking expression gives up still get their
// answer; the text ends at an embedded NUL as the UTF-16 conversion reads it.
// A lone surrogate (only UTF-16 text can hold one) is no reason for an error.
TEST_P(MatchingFunctions, RegularOnLoneSurrogate)
{
    db.exec("PRAGMA encoding = 'UTF-16le'");
    db.expectAll({
        {"regexp('^a.b$', CAST(x'610000D86200' AS TEXT))", "1"}, {"regexp('c', CAST(x'610000D86200' AS TEXT))", "0"},
    });
}

// Patterns on which a backtracking matcher gives up are WildcardPattern's
// concern. Here: the text ends at an embedded NUL, malformed UTF-8 is read as
// SQLite reads it, and patterns are bounded as SQLite bounds its own.
TEST_P(MatchingFunctions, TextsAndPatternLimits)
{
    db.expectAll({
        {"like('ab', 'ab' || char(0) || 'c')", "1"}, {"glob('ab*', CAST(x'61628063' AS TEXT))", "1"},
    });
    sqlite3_limit(db.handle(), SQLITE_LIMIT_LIKE_PATTERN_LENGTH, 10);
    db.expectAll({
        {"like('%aaaaaaaa%', 'xaaaaaaaax')", "1"},
        {"like('%aaaaaaaaa%', 'x')", "error: LIKE or GLOB pattern too complex"},
        {"glob('*aaaaaaaaa*', 'x')", "error: LIKE or GLOB pattern too complex"},
    });
}

// Patterns that change from row to row, and an escape that changes under a
// constant pattern: no compiled pattern may outlive the value it came from.
TEST_P(MatchingFunctions, PatternsPerRow)
{
    db.exec("CREATE TABLE p(pattern, text, esc, expected);"
            "INSERT INTO p VALUES ('a%', 'ABC', NULL, 1), ('b%', 'ABC', NULL, 0), ('%c', 'ABC', NULL, 1),"
            " ('a!%', 'a%', '!', 1), ('a!%', 'a!x', NULL, 1), ('a!%', 'ax', '!', 0), ('a!%', 'a%', '#', 0),"
            " ('(', 'x', NULL, 0), ('_', 'я', NULL, 1), (NULL, 'x', NULL, NULL);");
    db.expectAll({
        {"count(*) FROM p WHERE like(pattern, text, esc) IS NOT expected", "0"},
        {"count(*) FROM p WHERE like('a!%', text, esc) IS NOT (text = 'a%' AND esc = '!'"
         " OR text LIKE 'a!%' AND esc IS NULL)", "0"},
        {"count(*) FROM p WHERE text LIKE 'a%'", "7"},
        // A constant ASCII pattern over ASCII and non-ASCII rows alike.
        {"count(*) FROM p WHERE like('_', text)", "3"}, {"count(*) FROM p WHERE like('%C', text)", "3"},
        {"like('k%', char(8490) || 'elvin')", "1"}, // the Kelvin sign folds onto k
        {"sum(text GLOB replace(pattern, '%', '*')) FROM p WHERE pattern NOT LIKE '%!%%' ESCAPE '#'", "2"},
        {"count(*) FROM p WHERE text REGEXP pattern", "0"},
    });
}

TEST_P(MatchingFunctions, CaseSensitiveCompare)
{
    db.expectAll({
        {"casesensitivecompare('a', 'B') > 0", "1"}, {"casesensitivecompare('B', 'a') < 0", "1"},
        {"casesensitivecompare('Ärger', 'Ärger')", "0"}, {"casesensitivecompare('a', 'A') <> 0", "1"},
        {"casesensitivecompare('ё', 'я') > 0", "1"}, // U+0451 after U+044F
        {"casesensitivecompare(NULL, 'a')", "NULL"}, {"localecompare('a', NULL)", "NULL"},
    });
}

INSTANTIATE_TEST_SUITE_P(WithAndWithoutCache, MatchingFunctions, ::testing::Bool());

class LocaleGuard {
public:
    explicit LocaleGuard(const QString& name) { QLocale::setDefault(QLocale(name)); }
    ~LocaleGuard() { QLocale::setDefault(previous); }

private:
    QLocale previous;
};

std::vector<std::string> localeOrder(test::SqlHarness& db)
{
    std::vector<std::string> order;
    sqlite3_stmt* stmt = nullptr;
    EXPECT_EQ(sqlite3_prepare_v2(db.handle(), "SELECT w FROM words ORDER BY w COLLATE Locale, rowid", -1, &stmt,
                                 nullptr),
              SQLITE_OK);
    while (sqlite3_step(stmt) == SQLITE_ROW)
        order.emplace_back(reinterpret_cast<const char*>(sqlite3_column_text(stmt, 0)));
    sqlite3_finalize(stmt);
    return order;
}

TEST(LocaleComparison, FollowsTheDefaultLocale)
{
    for (const char* name : {"en_US", "ru_RU"}) {
        SCOPED_TRACE(name);
        LocaleGuard guard(name);
        test::SqlHarness db;
        registerMatching(db, nullptr);
        // Letters before case; 'ё' next to 'е', not after 'я' as in code units.
        db.expectAll({
            {"localecompare('a', 'B') < 0", "1"}, {"localecompare('ё', 'я') < 0", "1"},
            {"localecompare('b', 'A') > 0", "1"}, {"localecompare('Öl', 'Öl')", "0"},
        });

        const QCollator collator = engine::collator();
        EXPECT_EQ(collator.caseSensitivity(), Qt::CaseInsensitive);
        EXPECT_FALSE(collator.ignorePunctuation());
        EXPECT_EQ(collator.locale(), QLocale());
        QCollator* kept = new QCollator(collator);
        ASSERT_EQ(sqlite3_create_collation_v2(db.handle(), "Locale", SQLITE_UTF16_ALIGNED, kept, collate,
                                              [](void* p) { delete static_cast<QCollator*>(p); }),
                  SQLITE_OK);
        db.expectAll({
            {"'apple' = 'APPLE' COLLATE Locale", "1"}, {"'straße' = 'STRASSE' COLLATE Locale", "0"},
            {"'a-b' = 'ab' COLLATE Locale", "0"}, // punctuation counts
        });
        db.exec("CREATE TABLE words(w);"
                "INSERT INTO words VALUES ('я'), ('Ёж'), ('е'), ('ж'), ('b'), ('A'), ('𝒜'), ('ä');");
        const std::vector<std::string> order = localeOrder(db);
        ASSERT_EQ(order.size(), 8u);
        // Latin before Cyrillic in English, Cyrillic first in Russian.
        const bool russian = QLocale().language() == QLocale::Russian;
        const std::vector<std::string> cyrillic{"е", "Ёж", "ж", "я"};
        const std::vector<std::string> latin{"A", "𝒜", "ä", "b"};
        std::vector<std::string> expected = russian ? cyrillic : latin;
        const std::vector<std::string>& second = russian ? latin : cyrillic;
        expected.insert(expected.end(), second.begin(), second.end());
        EXPECT_EQ(order, expected);
    }
}

TEST(LocaleComparison, CollatorCompareHalvesByteLengths)
{
    LocaleGuard guard("de_DE");
    const QCollator collator = engine::collator();
    const QString a = QStringLiteral("Äpfel und Birnen");
    const QString b = QStringLiteral("äpfel");
    // Only the first five characters of `a` take part.
    EXPECT_EQ(collatorCompare(collator, 10, a.utf16(), b.size() * 2, b.utf16()), 0);
    EXPECT_GT(collatorCompare(collator, a.size() * 2, a.utf16(), b.size() * 2, b.utf16()), 0);
    EXPECT_LT(collatorCompare(collator, 0, nullptr, 2, b.utf16()), 0);
    EXPECT_EQ(collatorCompare(collator, 0, nullptr, 0, nullptr), 0);
}

} // namespace
} // namespace tessera::engine
