#include "engine/functions/StringFunctions.h"

#include "tests/support/EngineTestCache.h"
#include "tests/support/SqlHarness.h"

#include <QLocale>
#include <gtest/gtest.h>

namespace tessera::engine {
namespace {

using test::SqlCase;

class StringFunctions : public ::testing::Test {
protected:
    StringFunctions()
    {
        const struct {
            const char* name;
            int argc;
            test::ScalarCallback f;
        } functions[] = {
            {"chr", 1, charUTF16},       {"asc", 1, ascUTF16},         {"instr", -1, inStrUTF16},
            {"lcase", 1, loCaseUTF16},   {"ucase", 1, upCaseUTF16},    {"ltrim", 1, leftTrimUTF8},
            {"rtrim", 1, rightTrimUTF8}, {"len", 1, len},              {"left$", 2, left_utf16},
            {"right$", 2, right_utf16},  {"mid", 3, midUTF16},         {"val", 1, valUTF8},
            {"proper", 1, capitalizeUTF16}, {"concat", 2, concatUTF16}, {"space", 1, space},
            {"repeat", 2, repeat},       {"str", 1, strUTF16},
        };
        for (const auto& f : functions)
            db.scalar(f.name, f.argc, f.f, &cache);
    }
    ~StringFunctions() override { QLocale::setDefault(QLocale::c()); }

    test::TestCache cache;
    test::SqlHarness db;
};

TEST_F(StringFunctions, CharactersLengthAndCase)
{
    db.expectAll({
        {"chr(1071)", "'Я'"}, {"chr(65536 + 65)", "'A'"}, // only the low 16 bits count
        {"chr(0)", "''"}, {"chr(NULL)", "NULL"},
        {"asc('Ärger')", "196"}, {"asc('😀')", "55357"}, // the first UTF-16 unit, 0xD83D
        {"asc('')", "0"}, {"asc(NULL)", "NULL"},
        {"len('Straße')", "6"}, {"len('😀a')", "3"}, {"len('')", "0"}, {"len(NULL)", "0"},
        {"lcase('ÄÖÜ ПРИВЕТ Abc')", "'äöü привет abc'"},
        {"ucase('straße, ёж')", "'STRASSE, ЁЖ'"}, // full case mapping
        {"ucase('𐐨')", "'𐐀'"},                   // Deseret, outside the BMP
        {"lcase('İ')", "'i̇'"}, {"ucase('ǆ ﬁ ŉ')", "'Ǆ FI ʼN'"}, {"lcase('ΟΔΟΣ')", "'οδοσ'"}, // no final sigma
        {"ucase('ɐ ı')", "'Ɐ I'"}, {"lcase('Ⱥ')", "'ⱥ'"}, {"lcase(42)", "'42'"}, {"lcase(NULL)", "NULL"},
        // Malformed UTF-8 reads as SQLite reads it: U+FFFD for a broken
        // sequence and for U+FFFE.
        {"lcase(CAST(x'41C3' AS TEXT))", "'a\xEF\xBF\xBD'"},
        {"ucase(CAST(x'61EFBFBE' AS TEXT))", "'A\xEF\xBF\xBD'"},
        {"len(CAST(x'41C3' AS TEXT))", "2"},
    });
}

TEST_F(StringFunctions, InStr)
{
    const std::string usage = "error: Invalid argument count. Usage: inStr (str1,str2[,start_at[,occurrence]]).";
    db.expectAll({
        {"instr('abcabc', 'c')", "3"}, {"instr('abcabc', 'c', 4)", "6"}, {"instr('abcabc', 'c', 1, 2)", "6"},
        {"instr('Grüße aus Köln', 'Köln')", "11"}, {"instr('😀x😀x', 'x', 1, 2)", "6"},
        {"instr('abc', 'B')", "0"}, // case-sensitive
        // Each further search starts at the previous start plus the absolute
        // index found, so searches after the second run past matches.
        {"instr('abcabcabc', 'c', 1, 3)", "0"}, {"instr('xaxaxaxa', 'a', 3, 2)", "8"},
        {"instr('abc', 'c', 10)", "0"},
        {"instr(NULL, 'a')", "0"}, {"instr(NULL, 'a', 0)", "0"}, // NULL wins before the checks
        {"instr('a')", usage}, {"instr('a', 'b', 1, 1, 1)", usage},
        {"instr('abc', 'b', 0)", "error: start_at must be >= 1"},
        {"instr('abc', 'b', 1, 0)", "error: occurence must be >= 1"},
        {"instr('abc', 'b', 'x')", "error: start_at must be >= 1"}, // 'x' reads as 0
        // An empty text is found where the search starts, which then stays put.
        {"instr('abc', '', 1, 2000000000)", "1"}, {"instr('abc', '', 2, 2000000000)", "0"},
        {"instr('abc', '', 2, 2)", "3"},
    });
}

TEST_F(StringFunctions, TrimLeftRightMid)
{
    db.expectAll({
        {"ltrim('   ')", "'   '"}, // white space only: kept as it is
        {"rtrim('ab \t')", "'ab'"}, {"ltrim(char(9, 10, 11, 12, 13, 32) || 'ab ')", "'ab '"},
        {"rtrim(' ab' || char(9, 10, 11, 12, 13, 32))", "' ab'"}, {"ltrim('  привет')", "'привет'"},
        {"ltrim(char(160) || 'a')", "'\u00A0a'"}, // a no-break space is not white space
        {"ltrim(NULL)", "NULL"},

        {"left$('abc', 0)", "NULL"}, {"left$('abc', -1)", "NULL"}, {"left$('abc', 10)", "'abc'"},
        {"left$('Äpfel', 2)", "'Äp'"}, {"left$('abc', '2')", "'ab'"}, {"left$('😀b', 2)", "'😀'"},
        {"left$(NULL, 1)", "NULL"}, {"left$('abc', NULL)", "NULL"},
        {"right$('abc', 2)", "'bc'"}, {"right$('Äpfel', 3)", "'fel'"}, {"right$('a😀', 2)", "'😀'"},
        {"right$('abc', 0)", "NULL"},

        {"mid('abcdef', 3, 2)", "'cd'"}, {"mid('Привет', 3, 2)", "'ив'"}, {"mid('abc', 1, 3)", "'abc'"},
        // At the end of the text: the last character, however many are asked.
        {"mid('abc', 3, 1)", "'c'"}, {"mid('abc', 3, 5)", "'c'"}, {"mid('abc', 2, 10)", "'bc'"},
        {"mid('abc', 4, 1)", "NULL"}, {"mid('abc', 0, 1)", "NULL"}, {"mid('abc', 1, 0)", "NULL"},
        {"mid(NULL, 1, 1)", "NULL"}, {"mid('abc', 1, NULL)", "NULL"},
    });
}

TEST_F(StringFunctions, ValProperConcat)
{
    db.expectAll({
        {"val('&HFF')", "255"}, {"val('0x1G')", "1"}, {"val('0xZ')", "0"}, // no hex digits
        {"val('1.5e2')", "150.0"}, {"val('  12abc')", "12.0"}, {"val('abc')", "0.0"},
        {"val('1e999')", "0.0"}, // out of range
        {"val('0x')", "0.0"},    // too short for the hex form
        {"val(NULL)", "0.0"}, {"val(42)", "42.0"},

        {"proper('hello  wORLD')", "'Hello  WORLD'"}, {"proper('(a)')", "'(a)'"},
        {"proper('1st place')", "'1st Place'"}, {"proper('äpfel und élan')", "'Äpfel Und Élan'"},
        {"proper('иван петров')", "'Иван Петров'"},
        {"proper('a' || char(160) || 'b' || char(9) || 'c')", "'A\u00A0B\tC'"}, {"proper(NULL)", "NULL"},

        {"concat(1, 2)", "3"}, {"concat(9223372036854775806, 1)", "9223372036854775807"},
        {"concat(9223372036854775807, 1)", "9.223372036854776e+18"}, // overflows into a real
        {"concat(-9223372036854775807 - 1, -1)", "-9.223372036854776e+18"},
        {"concat(1.5, 2)", "3.5"}, {"concat('1', 2)", "'12'"}, {"concat(1, '2')", "'12'"},
        {"concat('Grüß ', 'Gott 😀')", "'Grüß Gott 😀'"}, {"concat(x'41', 'b')", "'Ab'"},
        {"concat(1e308, 1e308)", "error: Sum overflow."}, {"concat(NULL, 1)", "NULL"},
    });
}

TEST_F(StringFunctions, SpaceAndRepeat)
{
    db.expectAll({
        {"space(3)", "'   '"}, {"space('2')", "'  '"}, {"space(0)", "''"}, {"space(-1)", "''"},
        {"space('x')", "NULL"}, {"space(2147483648)", "NULL"},
        {"space(2147483647)", "error: string or blob too big"},
        // The count is a byte length of UTF-16 text: n / 2 units are visible.
        {"repeat(4, 'xyz')", "'xx'"}, {"repeat(5, 'Жук')", "'ЖЖ'"}, {"repeat(3, '')", "' '"},
        {"repeat(4, NULL)", "'  '"}, {"repeat(1, 'a')", "''"}, {"repeat(-1, 'a')", "''"},
        {"repeat('x', 'a')", "NULL"}, {"repeat(2147483648, 'a')", "NULL"},
    });
}

// The UTF-16 functions read a text up to its first NUL, as toQString does.
TEST_F(StringFunctions, TextEndsAtNul)
{
    const std::string text = "('aB' || char(0) || 'Cd')";
    db.expectAll({
        {"lcase" + text, "'ab'"}, {"ucase" + text, "'AB'"}, {"left$(" + text + ", 9)", "'aB'"},
        {"right$(" + text + ", 1)", "'B'"}, {"mid(" + text + ", 2, 9)", "'B'"}, {"proper" + text, "'AB'"},
        {"repeat(4, char(0) || 'x')", "'  '"}, {"len" + text, "2"}, {"instr(" + text + ", 'C')", "0"},
        {"lcase('Ä' || char(0) || 'x') = 'ä'", "1"},
    });
}

// Texts built from a count are measured against the connection's length
// limit (in bytes, as SQLite stores them) before they are built.
TEST_F(StringFunctions, LengthLimit)
{
    sqlite3_limit(db.handle(), SQLITE_LIMIT_LENGTH, 100);
    const std::string tooBig = "error: string or blob too big";
    db.expectAll({
        {"length(space(100))", "100"}, {"space(101)", tooBig}, {"length(repeat(200, 'a'))", "100"},
        {"repeat(202, 'a')", tooBig}, {"length(repeat(100, 'ж'))", "50"}, // 100 bytes of UTF-16
        {"repeat(102, 'ж')", tooBig},
    });
}

TEST_F(StringFunctions, StrOfEveryKind)
{
    db.expectAll({
        {"str(NULL)", "NULL"}, {"str(42)", "'42'"}, {"str(-9223372036854775807 - 1)", "'-9223372036854775808'"},
        {"str(1.0 / 3)", "'0.333333333333333'"}, {"str(0.1 + 0.2)", "'0.3'"}, {"str(-1e20)", "'-1e+20'"},
        {"str('hello')", "'hello'"}, {"str('10:11:12')", "'10:11:12.000'"}, {"str('2024-13-45')", "'2024-13-45'"},
        {"str(x'00')", "''"}, // not a geometry
        // WKB of POINT(1 2) and of LINESTRING(0 0, 1 1).
        {"str(x'0101000000000000000000F03F0000000000000040')", "'Point'"},
        {"str(x'01020000000200000000000000000000000000000000000000000000000000F03F000000000000F03F')",
         "'LineString'"},
    });
    // Dates and date-times are written long, in the default locale; numbers
    // are not localised.
    QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
    db.expectAll({{"str('2024-01-02')", "'Tuesday, January 2, 2024'"}});
    EXPECT_EQ(db.text("Select str('2024-01-02T10:11:12')").rfind("Tuesday, January 2, 2024 10:11:12 AM", 0), 0u);
    QLocale::setDefault(QLocale(QLocale::Russian, QLocale::Russia));
    db.expectAll({{"str('2024-01-02')", "'вторник, 2 января 2024 г.'"}, {"str(1.0 / 3)", "'0.333333333333333'"}});
    EXPECT_EQ(db.text("Select str('2024-01-02T10:11:12')").rfind("вторник, 2 января 2024 г. 10:11:12", 0), 0u);
}

} // namespace
} // namespace tessera::engine
