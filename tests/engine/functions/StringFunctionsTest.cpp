#include "engine/functions/StringFunctions.h"

#include "SqlHarness.h"
#include "engine/EngineCache.h"

#include <gtest/gtest.h>

#include <QLocale>

namespace tessera::engine {
namespace {

class TestCache : public EngineCache {
public:
    std::shared_ptr<cs::CoordSystem> tableCoordSystem(const QString&) const override { return {}; }
};

const QChar nbsp(0x00A0);

class StringFunctions : public ::testing::Test {
protected:
    StringFunctions()
    {
        db.scalar("chr", 1, charUTF16, &cache);
        db.scalar("asc", 1, ascUTF16, &cache);
        db.scalar("instr", -1, inStrUTF16, &cache);
        db.scalar("lcase", 1, loCaseUTF16, &cache);
        db.scalar("ucase", 1, upCaseUTF16, &cache);
        db.scalar("ltrim", 1, leftTrimUTF8, &cache);
        db.scalar("rtrim", 1, rightTrimUTF8, &cache);
        db.scalar("len", 1, len, &cache);
        db.scalar("left$", 2, left_utf16, &cache);
        db.scalar("right$", 2, right_utf16, &cache);
        db.scalar("mid", 3, midUTF16, &cache);
        db.scalar("val", 1, valUTF8, &cache);
        db.scalar("proper", 1, capitalizeUTF16, &cache);
        db.scalar("concat", 2, concatUTF16, &cache);
        db.scalar("space", 1, space, &cache);
        db.scalar("repeat", 2, repeat, &cache);
        db.scalar("str", 1, strUTF16, &cache);
    }
    ~StringFunctions() override { QLocale::setDefault(QLocale::c()); }

    TestCache cache;
    test::SqlHarness db;
};

TEST_F(StringFunctions, CharactersAndCase)
{
    db.expectText("SELECT chr(1071)", QString(QChar(0x042F)));
    db.expectText("SELECT chr(65536 + 65)", "A"); // only the low 16 bits count
    db.expectText("SELECT chr(0)", "");
    db.expectNull("SELECT chr(NULL)");

    db.expectInt("SELECT asc('Ärger')", 0xC4);
    db.expectInt("SELECT asc('😀')", 0xD83D); // the first UTF-16 unit only
    db.expectInt("SELECT asc('')", 0);
    db.expectNull("SELECT asc(NULL)");

    db.expectInt("SELECT len('Straße')", 6);
    db.expectInt("SELECT len('😀a')", 3); // outside the BMP: two units
    db.expectInt("SELECT len('')", 0);
    db.expectInt("SELECT len(NULL)", 0);

    db.expectText("SELECT lcase('ÄÖÜ ПРИВЕТ Abc')", "äöü привет abc");
    db.expectText("SELECT ucase('straße, ёж')", "STRASSE, ЁЖ"); // full case mapping
    db.expectText("SELECT ucase('𐐨')", "𐐀");                   // Deseret, outside the BMP
    for (const char* text : {"ΟΔΟΣ ΟΔΟΣ", "İstanbul", "ǅ ǆ", "ᾳ ﬁ ŉ", "Ⱥ ɐ ı"}) {
        db.expectText(std::string("SELECT lcase('") + text + "')", QString::fromUtf8(text).toLower());
        db.expectText(std::string("SELECT ucase('") + text + "')", QString::fromUtf8(text).toUpper());
    }
    db.expectText("SELECT lcase(42)", "42");
    // Malformed UTF-8 reads as SQLite reads it: U+FFFD for a broken sequence
    // and for U+FFFE.
    db.expectText("SELECT lcase(CAST(x'41C3' AS TEXT))", QString("a") + QChar(0xFFFD));
    db.expectText("SELECT ucase(CAST(x'61EFBFBE' AS TEXT))", QString("A") + QChar(0xFFFD));
    db.expectInt("SELECT len(CAST(x'41C3' AS TEXT))", 2);
    db.expectNull("SELECT lcase(NULL)");
}

TEST_F(StringFunctions, InStr)
{
    db.expectInt("SELECT instr('abcabc', 'c')", 3);
    db.expectInt("SELECT instr('abcabc', 'c', 4)", 6);
    db.expectInt("SELECT instr('abcabc', 'c', 1, 2)", 6);
    db.expectInt("SELECT instr('Grüße aus Köln', 'Köln')", 11);
    db.expectInt("SELECT instr('😀x😀x', 'x', 1, 2)", 6);
    db.expectInt("SELECT instr('abc', 'B')", 0); // case-sensitive
    // Each further search starts at the previous start plus the absolute
    // index found, so searches after the second run past matches.
    db.expectInt("SELECT instr('abcabcabc', 'c', 1, 3)", 0);
    db.expectInt("SELECT instr('xaxaxaxa', 'a', 3, 2)", 8);
    db.expectInt("SELECT instr('abc', 'c', 10)", 0);

    db.expectInt("SELECT instr(NULL, 'a')", 0);
    db.expectInt("SELECT instr(NULL, 'a', 0)", 0); // NULL wins before the checks

    const std::string usage = "Invalid argument count. Usage: inStr (str1,str2[,start_at[,occurrence]]).";
    db.expectError("SELECT instr('a')", usage);
    db.expectError("SELECT instr('a', 'b', 1, 1, 1)", usage);
    db.expectError("SELECT instr('abc', 'b', 0)", "start_at must be >= 1");
    db.expectError("SELECT instr('abc', 'b', 1, 0)", "occurence must be >= 1");
    db.expectError("SELECT instr('abc', 'b', 'x')", "start_at must be >= 1"); // 'x' reads as 0
    // An empty text is found where the search starts, which then stays put.
    db.expectInt("SELECT instr('abc', '', 1, 2000000000)", 1);
    db.expectInt("SELECT instr('abc', '', 2, 2000000000)", 0);
    db.expectInt("SELECT instr('abc', '', 2, 2)", 3);
}

TEST_F(StringFunctions, Trim)
{
    db.expectText("SELECT ltrim('   ')", "   "); // white space only: kept as it is
    db.expectText("SELECT rtrim('ab \t')", "ab");
    db.expectText("SELECT ltrim(char(9, 10, 11, 12, 13, 32) || 'ab ')", "ab ");
    db.expectText("SELECT rtrim(' ab' || char(9, 10, 11, 12, 13, 32))", " ab");
    db.expectText("SELECT ltrim('  привет')", "привет");
    db.expectText("SELECT ltrim(char(160) || 'a')", QString(nbsp) + "a"); // a no-break space is not white space
    db.expectNull("SELECT ltrim(NULL)");
}

TEST_F(StringFunctions, LeftRightMid)
{
    db.expectNull("SELECT left$('abc', 0)");
    db.expectNull("SELECT left$('abc', -1)");
    db.expectText("SELECT left$('abc', 10)", "abc");
    db.expectText("SELECT left$('Äpfel', 2)", "Äp");
    db.expectText("SELECT left$('abc', '2')", "ab");
    db.expectText("SELECT left$('😀b', 2)", "😀");
    db.expectNull("SELECT left$(NULL, 1)");
    db.expectNull("SELECT left$('abc', NULL)");

    db.expectText("SELECT right$('abc', 2)", "bc");
    db.expectText("SELECT right$('Äpfel', 3)", "fel");
    db.expectText("SELECT right$('a😀', 2)", "😀");
    db.expectNull("SELECT right$('abc', 0)");

    db.expectText("SELECT mid('abcdef', 3, 2)", "cd");
    db.expectText("SELECT mid('abc', 2, 10)", "bc");
    db.expectText("SELECT mid('Привет', 3, 2)", "ив");
    db.expectNull("SELECT mid('abc', 4, 1)");
    db.expectNull("SELECT mid('abc', 0, 1)");
    db.expectNull("SELECT mid('abc', 1, 0)");
    db.expectNull("SELECT mid(NULL, 1, 1)");
    db.expectNull("SELECT mid('abc', 1, NULL)");
}

TEST_F(StringFunctions, Val)
{
    db.expectInt("SELECT val('&HFF')", 255);
    db.expectInt("SELECT val('0x1G')", 1);
    db.expectInt("SELECT val('0xZ')", 0); // no hex digits
    db.expectReal("SELECT val('1.5e2')", 150.0);
    db.expectReal("SELECT val('  12abc')", 12.0);
    db.expectReal("SELECT val('abc')", 0.0);
    db.expectReal("SELECT val('1e999')", 0.0); // out of range
    db.expectReal("SELECT val('0x')", 0.0);    // too short for the hex form
    db.expectReal("SELECT val(NULL)", 0.0);
    db.expectReal("SELECT val(42)", 42.0);
}

TEST_F(StringFunctions, Proper)
{
    db.expectText("SELECT proper('hello  wORLD')", "Hello  WORLD");
    db.expectText("SELECT proper('(a)')", "(a)");
    db.expectText("SELECT proper('1st place')", "1st Place");
    db.expectText("SELECT proper('äpfel und élan')", "Äpfel Und Élan");
    db.expectText("SELECT proper('иван петров')", "Иван Петров");
    db.expectText("SELECT proper('a' || char(160) || 'b' || char(9) || 'c')",
                  QString("A") + nbsp + "B\tC");
    db.expectNull("SELECT proper(NULL)");
}

TEST_F(StringFunctions, Concat)
{
    db.expectInt("SELECT concat(1, 2)", 3);
    db.expectReal("SELECT concat(9223372036854775807, 1)", 9.223372036854776e18);
    db.expectReal("SELECT concat(-9223372036854775807 - 1, -1)", -9.223372036854776e18);
    db.expectInt("SELECT concat(9223372036854775806, 1)", 9223372036854775807LL);
    db.expectReal("SELECT concat(1.5, 2)", 3.5);
    db.expectText("SELECT concat('1', 2)", "12");
    db.expectText("SELECT concat(1, '2')", "12");
    db.expectText("SELECT concat('Grüß ', 'Gott 😀')", "Grüß Gott 😀");
    db.expectText("SELECT concat(x'41', 'b')", "Ab");
    db.expectError("SELECT concat(1e308, 1e308)", "Sum overflow.");
    db.expectNull("SELECT concat(NULL, 1)");
}

TEST_F(StringFunctions, SpaceAndRepeat)
{
    db.expectText("SELECT space(3)", "   ");
    db.expectText("SELECT space('2')", "  ");
    db.expectText("SELECT space(0)", "");
    db.expectText("SELECT space(-1)", "");
    db.expectNull("SELECT space('x')");
    db.expectNull("SELECT space(2147483648)");
    db.expectError("SELECT space(2147483647)", "string or blob too big");

    // The count is a byte length of UTF-16 text: n / 2 units are visible.
    db.expectText("SELECT repeat(4, 'xyz')", "xx");
    db.expectText("SELECT repeat(5, 'Жук')", "ЖЖ");
    db.expectText("SELECT repeat(3, '')", " ");
    db.expectText("SELECT repeat(4, NULL)", "  ");
    db.expectText("SELECT repeat(1, 'a')", "");
    db.expectText("SELECT repeat(-1, 'a')", "");
    db.expectNull("SELECT repeat('x', 'a')");
    db.expectNull("SELECT repeat(2147483648, 'a')");
}

// The UTF-16 functions read a text up to its first NUL, as toQString does.
TEST_F(StringFunctions, TextEndsAtNul)
{
    const std::string text = "('aB' || char(0) || 'Cd')";
    const struct {
        std::string sql;
        QString expected;
    } texts[] = {
        {"lcase" + text, "ab"}, {"ucase" + text, "AB"},          {"left$(" + text + ", 9)", "aB"},
        {"right$(" + text + ", 1)", "B"}, {"mid(" + text + ", 2, 9)", "B"}, {"proper" + text, "AB"},
        {"repeat(4, char(0) || 'x')", "  "},
    };
    for (const auto& row : texts)
        db.expectText("SELECT " + row.sql, row.expected);
    db.expectInt("SELECT len" + text, 2);
    db.expectInt("SELECT instr(" + text + ", 'C')", 0);
    db.expectInt("SELECT lcase('Ä' || char(0) || 'x') = 'ä'", 1);
}

// Texts built from a count are measured against the connection's length
// limit (in bytes, as SQLite stores them) before they are built.
TEST_F(StringFunctions, LengthLimit)
{
    sqlite3_limit(db.handle(), SQLITE_LIMIT_LENGTH, 100);
    const std::string tooBig = "string or blob too big";
    db.expectInt("SELECT length(space(100))", 100);
    db.expectError("SELECT space(101)", tooBig);
    db.expectInt("SELECT length(repeat(200, 'a'))", 100);
    db.expectError("SELECT repeat(202, 'a')", tooBig);
    db.expectInt("SELECT length(repeat(100, 'ж'))", 50); // 100 bytes of UTF-16
    db.expectError("SELECT repeat(102, 'ж')", tooBig);
}

TEST_F(StringFunctions, StrOfEveryKind)
{
    db.expectNull("SELECT str(NULL)");
    db.expectText("SELECT str(42)", "42");
    db.expectText("SELECT str(-9223372036854775807 - 1)", "-9223372036854775808");
    db.expectText("SELECT str(1.0 / 3)", "0.333333333333333");
    db.expectText("SELECT str(0.1 + 0.2)", "0.3");
    db.expectText("SELECT str(-1e20)", "-1e+20");
    db.expectText("SELECT str('hello')", "hello");
    db.expectText("SELECT str('10:11:12')", "10:11:12.000");
    db.expectText("SELECT str('2024-13-45')", "2024-13-45");
    db.expectText("SELECT str(x'00')", ""); // not a geometry
    // WKB of POINT(1 2) and of LINESTRING(0 0, 1 1).
    db.expectText("SELECT str(x'0101000000000000000000F03F0000000000000040')", "Point");
    db.expectText("SELECT str(x'010200000002000000000000000000000000000000000000000000000000"
                  "00F03F000000000000F03F')",
                  "LineString");

    QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
    db.expectText("SELECT str('2024-01-02')", "Tuesday, January 2, 2024");
    const QString dateTime = db.query("SELECT str('2024-01-02T10:11:12')").text;
    EXPECT_TRUE(dateTime.startsWith("Tuesday, January 2, 2024 10:11:12 AM")) << dateTime.toStdString();

    QLocale::setDefault(QLocale(QLocale::Russian, QLocale::Russia));
    db.expectText("SELECT str('2024-01-02')", "вторник, 2 января 2024 г.");
    const QString ruDateTime = db.query("SELECT str('2024-01-02T10:11:12')").text;
    EXPECT_TRUE(ruDateTime.startsWith("вторник, 2 января 2024 г. 10:11:12")) << ruDateTime.toStdString();
    db.expectText("SELECT str(1.0 / 3)", "0.333333333333333"); // numbers are not localised
}

} // namespace
} // namespace tessera::engine
