#include "engine/functions/FormattingFunctions.h"

#include "SqlHarness.h"

#include <gtest/gtest.h>

#include <QLocale>

namespace tessera::engine {
namespace {

const QString nbsp(QChar(0x00A0));

class FormattingFunctions : public ::testing::Test {
protected:
    FormattingFunctions()
    {
        db.scalar("formatdate", 1, formatDate);
        db.scalar("formattime", 1, formatTime);
        db.scalar("formattime", 2, formatTime);
        db.scalar("formatnumber", 1, formatNumber);
        db.scalar("deformat", 1, deformat);
        db.scalar("formatnumberbypattern", 2, formatNumberByPattern);
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
    }
    ~FormattingFunctions() override { QLocale::setDefault(QLocale::c()); }

    static void russian() { QLocale::setDefault(QLocale(QLocale::Russian, QLocale::Russia)); }

    test::SqlHarness db;
};

TEST_F(FormattingFunctions, FormatDate)
{
    db.expectText("SELECT formatdate('2024-05-06')", "5/6/24");
    db.expectText("SELECT formatdate('2024-05-06T23:10:00')", "5/6/24");
    db.expectNull("SELECT formatdate('x')");
    db.expectNull("SELECT formatdate('2024-02-30')");
    db.expectNull("SELECT formatdate(20240506)");
    db.expectNull("SELECT formatdate(NULL)");
    russian();
    db.expectText("SELECT formatdate('2024-05-06')", "06.05.2024");
}

TEST_F(FormattingFunctions, FormatTime)
{
    db.expectText("SELECT formattime('13:05:09.123')", "13:05:09.123");
    db.expectText("SELECT formattime('13:05:09.123', '')", "13:05:09.123");
    db.expectText("SELECT formattime('13:05:09.123', 'h:mm tt')", "1:05 PM");
    db.expectText("SELECT formattime('09:05:00', 'hh:mm t')", "09:05 A");
    db.expectText("SELECT formattime('12:00', 'hh')", "00"); // noon is 0 on the 12-hour clock
    db.expectText("SELECT formattime('00:30', 'h tt')", "0 AM");
    db.expectText("SELECT formattime('07:08:09', 'H.m.s')", "7.8.9");
    db.expectText("SELECT formattime('07:08:09', 'HHH')", "077"); // a pair, then a single
    db.expectText("SELECT formattime('10:00:00.045', 'ff')", "04");
    db.expectText("SELECT formattime('10:00:00.045', 'ffff')", "0450"); // a fourth f starts again
    db.expectText("SELECT formattime('2024-05-06T10:11:12', 'HH-mm-ss')", "10-11-12");
    // Literal characters keep their low eight bits: Latin-1 survives, the
    // rest does not.
    db.expectText("SELECT formattime('10:11:12', 'HHÄmm')", "10Ä11");
    db.expectText("SELECT formattime('10:11:12', 'HHЖmm')", QString("10") + QChar(0x16) + "11");
    db.expectNull("SELECT formattime('abc')");
    db.expectNull("SELECT formattime(NULL)");
    db.expectNull("SELECT formattime('25:00:00')");

    russian();
    db.expectText("SELECT formattime('13:05:09.123')", "13:05:09.123");
    db.expectText("SELECT formattime('13:05:09', 'H:mm tt')", "13:05 " + QLocale().pmText());
}

TEST_F(FormattingFunctions, FormatTimeWithLocaleDigits)
{
    const QLocale arabic(QLocale::Arabic, QLocale::Egypt);
    const QChar zero = arabic.zeroDigit();
    ASSERT_NE(zero, QLatin1Char('0'));
    auto digit = [zero](int d) { return QChar(ushort(zero.unicode() + d)); };
    const QString text = formatTimeByPattern(QTime(7, 5, 9, 120), "HH:mm:ss.ff", arabic);
    EXPECT_EQ(text, QString() + digit(0) + digit(7) + ':' + digit(0) + digit(5) + ':' + digit(0) + digit(9) + '.'
                        + digit(1) + digit(2));
    EXPECT_EQ(formatTimeByPattern(QTime(13, 0), "H", arabic), arabic.toString(13));
}

TEST_F(FormattingFunctions, FormatNumber)
{
    db.expectText("SELECT formatnumber(1234567.25)", "1,234,567.25");
    db.expectText("SELECT formatnumber(-1234567)", "-1,234,567");
    db.expectText("SELECT formatnumber(1.0 / 3)", "0.333333333333333");
    db.expectText("SELECT formatnumber('1234567.5')", "1,234,567.5");
    db.expectText("SELECT formatnumber('1,234.5')", "1,234.5");
    db.expectText("SELECT formatnumber('abc')", "abc");
    db.expectNull("SELECT formatnumber(NULL)");

    russian();
    db.expectText("SELECT formatnumber(1234567.25)", "1" + nbsp + "234" + nbsp + "567,25");
    db.expectText("SELECT formatnumber('1234,5')", "1" + nbsp + "234,5");
    db.expectText("SELECT formatnumber('1 234,5')", "1" + nbsp + "234,5");
    db.expectText("SELECT formatnumber('1.5')", "1.5"); // not a number in this locale
}

TEST_F(FormattingFunctions, Deformat)
{
    db.expectText("SELECT deformat('1,234.5')", "1234.5");
    db.expectText("SELECT deformat(1234.5)", "1234.5");
    db.expectNull("SELECT deformat(NULL)");

    russian();
    db.expectText("SELECT deformat('1 234,5')", "1234.5");
    db.expectText("SELECT deformat('1" + nbsp.toStdString() + "234" + nbsp.toStdString() + "567,25')", "1234567.25");
    db.expectText("SELECT deformat('-0,125')", "-0.125");
    db.expectText("SELECT deformat('1.5')", "1.5"); // returned as it is
    db.expectText("SELECT deformat('abc')", "abc");
}

TEST_F(FormattingFunctions, PatternBasics)
{
    db.expectText("SELECT formatnumberbypattern(1234.5, '#,##0.00')", "1,234.50");
    db.expectText("SELECT formatnumberbypattern(0.25, '0%')", "25%");
    db.expectText("SELECT formatnumberbypattern(0.125, '0.0‰')", "125.0‰");
    db.expectText("SELECT formatnumberbypattern(-5, '0;(0)')", "(5)");
    db.expectText("SELECT formatnumberbypattern(0, '0;-0;zero')", "zero");
    db.expectText("SELECT formatnumberbypattern(-1234.5, '#,##0.0')", "-1,234.5");
    db.expectText("SELECT formatnumberbypattern(-1234.5, '#,##0.00;[#,##0.00]')", "[1,234.50]");
    db.expectText("SELECT formatnumberbypattern('2.345', '0.00')", "2.35"); // numeric text, rounded as written
    db.expectText("SELECT formatnumberbypattern(0.999, '0.00')", "1.00");
    db.expectText("SELECT formatnumberbypattern(1234567, '#,##0,')", "1,235"); // scaled and grouped
    db.expectText("SELECT formatnumberbypattern(1234567890, '#,##0,,')", "1,235");
    db.expectText("SELECT formatnumberbypattern(1e20, '#,##0')", "100,000,000,000,000,000,000");

    db.expectNull("SELECT formatnumberbypattern(1, '0.0e')");
    db.expectNull("SELECT formatnumberbypattern(1, '0.0E5')");
    db.expectNull("SELECT formatnumberbypattern(1, '0e0')");
    db.expectText("SELECT formatnumberbypattern(3, 'each 0')", "each 3"); // no placeholder before: a letter
    db.expectNull("SELECT formatnumberbypattern('x', '0')");
    db.expectNull("SELECT formatnumberbypattern(NULL, '0')");
    db.expectNull("SELECT formatnumberbypattern(1, NULL)");
}

TEST_F(FormattingFunctions, PatternPlaceholdersAndLiterals)
{
    // Without a 0 placeholder a zero integer part is left out.
    db.expectText("SELECT formatnumberbypattern(0.5, '#.##')", ".5");
    // Trailing # fraction placeholders drop trailing zeros.
    db.expectText("SELECT formatnumberbypattern(2, '#.##')", "2");
    db.expectText("SELECT formatnumberbypattern(2.1, '0.0#')", "2.1");
    db.expectText("SELECT formatnumberbypattern(2.125, '0.0#')", "2.13");
    db.expectText("SELECT formatnumberbypattern(1234.5, '$#,##0.00')", "$1,234.50");
    db.expectText("SELECT formatnumberbypattern(12, '0 USD')", "12 USD");
    db.expectText("SELECT formatnumberbypattern(5, '\\#0')", "#5");
    db.expectText("SELECT formatnumberbypattern(5, '0\\%')", "5%"); // an escaped % does not scale
    db.expectText("SELECT formatnumberbypattern(1234567, '###-####')", "123-4567");
    db.expectText("SELECT formatnumberbypattern(42, '(###) ###-####')", "() -42"); // missing digits: pieces clamp
}

TEST_F(FormattingFunctions, PatternExponent)
{
    const QString e = QLocale().exponential();
    db.expectText("SELECT formatnumberbypattern(12345, '0.00E+00')", "1.23" + e + "+04");
    db.expectText("SELECT formatnumberbypattern(0.00012345, '0.00E-0')", "1.23" + e + "-4");
    db.expectText("SELECT formatnumberbypattern(0.00012345, '0.00E+0')", "1.23" + e + "-4");
    db.expectText("SELECT formatnumberbypattern(12345, '00.0E+0')", "12.3" + e + "+3");
    db.expectText("SELECT formatnumberbypattern(-12345, '0.0E+0')", "-1.2" + e + "+4");
}

TEST_F(FormattingFunctions, PatternInRussianLocale)
{
    russian();
    db.expectText("SELECT formatnumberbypattern(1234.5, '#,##0.00')", "1" + nbsp + "234,50");
    db.expectText("SELECT formatnumberbypattern(0.5, '0.0')", "0,5");
    db.expectText("SELECT formatnumberbypattern(-7, '0 ₽')", "-7 ₽");
    db.expectText("SELECT formatnumberbypattern(0, '0;-0;ноль')", "ноль");
}

} // namespace
} // namespace tessera::engine
