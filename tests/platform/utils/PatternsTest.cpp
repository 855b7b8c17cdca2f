#include "platform/utils/Patterns.h"

#include <gtest/gtest.h>

#include <QRegularExpression>
#include <random>
#include <sqlite3.h>
#include <vector>

using tessera::utils::globToRegular;
using tessera::utils::likeToRegular;

namespace {

bool matches(const QString& expression, const QString& text, bool caseless = true)
{
    const QRegularExpression re(expression, caseless ? QRegularExpression::CaseInsensitiveOption
                                                     : QRegularExpression::NoPatternOption);
    EXPECT_TRUE(re.isValid()) << expression.toStdString() << ": " << re.errorString().toStdString();
    return re.match(text).hasMatch();
}

bool like(const QString& pattern, const QString& text, QChar escape = QChar())
{
    return matches(likeToRegular(pattern, escape), text);
}

bool glob(const QString& pattern, const QString& text)
{
    return matches(globToRegular(pattern), text);
}

// SQLite's own answer for `text <op> pattern [ESCAPE '!']`.
bool sqliteMatches(sqlite3* db, const char* sql, const QString& pattern, const QString& text)
{
    sqlite3_stmt* stmt = nullptr;
    EXPECT_EQ(sqlite3_prepare_v2(db, sql, -1, &stmt, nullptr), SQLITE_OK);
    const QByteArray t = text.toUtf8();
    const QByteArray p = pattern.toUtf8();
    sqlite3_bind_text(stmt, 1, t.constData(), t.size(), SQLITE_TRANSIENT);
    sqlite3_bind_text(stmt, 2, p.constData(), p.size(), SQLITE_TRANSIENT);
    EXPECT_EQ(sqlite3_step(stmt), SQLITE_ROW);
    const bool result = sqlite3_column_int(stmt, 0) != 0;
    sqlite3_finalize(stmt);
    return result;
}

QString randomText(std::mt19937& random, const std::vector<QString>& pieces, int maxLength)
{
    std::uniform_int_distribution<int> length(0, maxLength);
    std::uniform_int_distribution<size_t> piece(0, pieces.size() - 1);
    QString result;
    for (int n = length(random); n > 0; --n)
        result += pieces[piece(random)];
    return result;
}

const QString smiley = QString::fromUcs4(U"\U0001F600");

} // namespace

TEST(Patterns, LikeWildcardsEscapesAndLiterals)
{
    EXPECT_TRUE(like("ab%", "ABC"));
    EXPECT_TRUE(like("ab%", "ab"));
    EXPECT_FALSE(like("ab%", "xab"));
    EXPECT_FALSE(like("a_c", "abbc"));
    EXPECT_TRUE(like("a_c", "abc"));
    EXPECT_TRUE(like("%", ""));
    EXPECT_TRUE(like("", ""));
    EXPECT_FALSE(like("", "a"));
    // Whole-text match, wildcards cross line breaks.
    EXPECT_TRUE(like("a%b", "a\nline\nb"));
    EXPECT_TRUE(like("a_b", "a\nb"));
    EXPECT_FALSE(like("abc", "abc\n"));
    // Regular-expression characters are literal.
    EXPECT_TRUE(like("a.c*(x)?[y]{2}$^|+\\", "a.c*(x)?[y]{2}$^|+\\"));
    EXPECT_FALSE(like("a.c", "abc"));
    EXPECT_FALSE(like("x+", "xx"));
    // Full Unicode case folding and whole characters.
    EXPECT_TRUE(like("ä%", "Äpfel"));
    EXPECT_TRUE(like("straße", "STRAßE"));
    EXPECT_TRUE(like("привет%", "ПРИВЕТ, мир"));
    EXPECT_TRUE(like("a_b", "a" + smiley + "b"));
    EXPECT_FALSE(like("a__b", "a" + smiley + "b"));
    EXPECT_TRUE(like(smiley + "%", smiley + "x"));
    // Escapes.
    EXPECT_TRUE(like("10!%", "10%", '!'));
    EXPECT_FALSE(like("10!%", "100", '!'));
    EXPECT_TRUE(like("a!_b", "a_b", '!'));
    EXPECT_FALSE(like("a!_b", "axb", '!'));
    EXPECT_TRUE(like("a!!b", "a!b", '!'));
    EXPECT_TRUE(like("10!%", "10!xyz")); // no escape character: '!' is literal
    EXPECT_FALSE(like("abc!", "abc!", '!')); // an escape with nothing after it matches nothing
    EXPECT_FALSE(like("abc!", "abc", '!'));
    EXPECT_TRUE(like("a\\%", "a%", '\\'));
    EXPECT_TRUE(like("a.%", "a%", '.'));
    EXPECT_FALSE(like("a.%", "ab%", '.'));
    EXPECT_TRUE(like(QString("a") + QChar(0) + "b", QString("a") + QChar(0) + "b"));
}

TEST(Patterns, GlobClassesAndUnterminatedBrackets)
{
    EXPECT_TRUE(glob("*.TXT", "a.txt"));
    EXPECT_FALSE(glob("*.txt", "a_txt"));
    EXPECT_TRUE(glob("?", smiley));
    EXPECT_TRUE(glob("[a-c]x", "Bx"));
    EXPECT_FALSE(glob("[a-c]x", "dx"));
    EXPECT_TRUE(glob("[^a-c]x", "dx"));
    EXPECT_FALSE(glob("[^a-c]x", "bx"));
    EXPECT_TRUE(glob("[]]", "]"));
    EXPECT_TRUE(glob("[^]]", "a"));
    EXPECT_FALSE(glob("[^]]", "]"));
    EXPECT_TRUE(glob("[-a]", "-"));
    EXPECT_TRUE(glob("[a-]", "-"));
    EXPECT_TRUE(glob("[*?]", "*"));
    EXPECT_FALSE(glob("[*?]", "x"));
    EXPECT_TRUE(glob("[\\]", "\\"));
    EXPECT_TRUE(glob("[а-я]", "Ж"));
    EXPECT_TRUE(glob("[" + smiley + "]", smiley));
    EXPECT_FALSE(glob("[c-a]", "b")); // a reversed range holds nothing
    EXPECT_TRUE(glob("[^c-a]", "b"));
    EXPECT_TRUE(glob("*", "a\nb"));
    // A class never closed matches nothing, as in SQLite.
    EXPECT_FALSE(glob("a[", "a["));
    EXPECT_FALSE(glob("[", "["));
    EXPECT_FALSE(glob("[]", "[]"));
    EXPECT_FALSE(glob("*[^", "[^"));
}

// The translations agree with SQLite's own LIKE and GLOB on random patterns
// built from wildcards, escapes, classes and regular-expression characters.
TEST(Patterns, AgreeWithSqlite)
{
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(":memory:", &db), SQLITE_OK);
    std::mt19937 random(20240229);

    // SQLite folds only ASCII case; the texts keep other letters in one case.
    const std::vector<QString> likePieces{"a", "B", "%", "_", "!%", "!_", "!!", ".", "\\", "[", "(", "*", "я", smiley};
    const std::vector<QString> likeText{"a", "A", "b", "B", "%", "_", "!", ".", "\n", "\\", "[", "(", "я", smiley};
    for (int i = 0; i < 3000; ++i) {
        const QString pattern = randomText(random, likePieces, 5);
        const QString text = randomText(random, likeText, 5);
        const bool expected = sqliteMatches(db, "SELECT ?1 LIKE ?2 ESCAPE '!'", pattern, text);
        ASSERT_EQ(like(pattern, text, '!'), expected) << pattern.toStdString() << " / " << text.toStdString();
    }

    const std::vector<QString> globPieces{"a", "b", "*", "?", "[ab]", "[^a]", "[a-c]", "[]a]", "[-a]", "[a-]",
                                          "[c-a]", "[^]]", "[.]", "[", "[^" + smiley + "]", ".", "+", "\\", "$", "я", smiley};
    const std::vector<QString> globText{"a", "b", "c", "]", "-", ".", "+", "\n", "\\", "$", "я", smiley};
    for (int i = 0; i < 3000; ++i) {
        const QString pattern = randomText(random, globPieces, 5);
        const QString text = randomText(random, globText, 5);
        const bool expected = sqliteMatches(db, "SELECT ?1 GLOB ?2", pattern, text);
        ASSERT_EQ(matches(globToRegular(pattern), text, false), expected)
            << pattern.toStdString() << " / " << text.toStdString();
    }
    sqlite3_close(db);
}
