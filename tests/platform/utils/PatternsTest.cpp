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

// SQLite's own answer for `text <op> pattern [ESCAPE '!']`.
bool sqliteMatches(sqlite3* db, const char* sql, const QString& pattern, const QString& text)
{
    sqlite3_stmt* stmt = nullptr;
    EXPECT_EQ(sqlite3_prepare_v2(db, sql, -1, &stmt, nullptr), SQLITE_OK);
    const QByteArray t = text.toUtf8(), p = pattern.toUtf8();
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

// What SQLite cannot check: Unicode case folding and whole characters, other
// escape characters, NUL, and classes that SQLite never closes.
TEST(Patterns, LikeAndGlobBeyondAscii)
{
    const struct {
        const char* name;
        bool glob;
        QString pattern, text;
        QChar escape;
        bool expected;
    } rows[] = {
        {"empty matches empty", false, "", "", {}, true}, {"empty matches nothing else", false, "", "a", {}, false},
        {"whole text, a line break after it", false, "abc", "abc\n", {}, false},
        {"_ crosses a line break", false, "a_b", "a\nb", {}, true},
        {"regular-expression characters are literal", false, "a.c*(x)?[y]{2}$^|+\\", "a.c*(x)?[y]{2}$^|+\\", {}, true},
        {"umlaut folds", false, "ä%", "Äpfel", {}, true}, {"sharp s", false, "straße", "STRAßE", {}, true},
        {"Cyrillic folds", false, "привет%", "ПРИВЕТ, мир", {}, true},
        {"_ is one whole character", false, "a_b", "a" + smiley + "b", {}, true},
        {"__ is two", false, "a__b", "a" + smiley + "b", {}, false},
        {"no escape character: ! is literal", false, "10!%", "10!xyz", {}, true},
        {"escape at the end matches nothing", false, "abc!", "abc!", '!', false},
        {"backslash as escape", false, "a\\%", "a%", '\\', true}, {"dot as escape", false, "a.%", "a%", '.', true},
        {"dot as escape is no wildcard", false, "a.%", "ab%", '.', false},
        {"NUL is a character", false, QString("a") + QChar(0) + "b", QString("a") + QChar(0) + "b", {}, true},
        {"? is one whole character", true, "?", smiley, {}, true},
        {"Cyrillic range folds", true, "[а-я]", "Ж", {}, true},
        {"a class of one astral character", true, "[" + smiley + "]", smiley, {}, true},
        {"a reversed range holds nothing", true, "[c-a]", "b", {}, false},
        {"a class never closed matches nothing", true, "a[", "a[", {}, false}, {"[ alone", true, "[", "[", {}, false},
        {"[] alone", true, "[]", "[]", {}, false}, {"[^ never closed", true, "*[^", "[^", {}, false},
    };
    for (const auto& row : rows)
        EXPECT_EQ(matches(row.glob ? globToRegular(row.pattern) : likeToRegular(row.pattern, row.escape), row.text),
                  row.expected)
            << row.name;
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
        const QString pattern = randomText(random, likePieces, 5), text = randomText(random, likeText, 5);
        ASSERT_EQ(matches(likeToRegular(pattern, '!'), text), sqliteMatches(db, "SELECT ?1 LIKE ?2 ESCAPE '!'", pattern, text))
            << pattern.toStdString() << " / " << text.toStdString();
    }
    const std::vector<QString> globPieces{"a", "b", "*", "?", "[ab]", "[^a]", "[a-c]", "[]a]", "[-a]", "[a-]", "[*?]", "[\\]",
                                          "[c-a]", "[^]]", "[.]", "[", "[^" + smiley + "]", ".", "+", "\\", "$", "я", smiley};
    const std::vector<QString> globText{"a", "b", "c", "]", "-", ".", "+", "*", "\n", "\\", "$", "я", smiley};
    for (int i = 0; i < 3000; ++i) {
        const QString pattern = randomText(random, globPieces, 5), text = randomText(random, globText, 5);
        ASSERT_EQ(matches(globToRegular(pattern), text, false), sqliteMatches(db, "SELECT ?1 GLOB ?2", pattern, text))
            << pattern.toStdString() << " / " << text.toStdString();
    }
    sqlite3_close(db);
}
