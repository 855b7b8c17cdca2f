#include "engine/functions/FormattingFunctions.h"

#include "tests/support/SqlHarness.h"

#include <gtest/gtest.h>

#include <QLocale>

namespace tessera::engine {
namespace {

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

TEST_F(FormattingFunctions, FormatDateAndTime)
{
    db.expectAll({
        {"formatdate('2024-05-06')", "'5/6/24'"}, {"formatdate('2024-05-06T23:10:00')", "'5/6/24'"},
        {"formatdate('x')", "NULL"}, {"formatdate('2024-02-30')", "NULL"}, {"formatdate(20240506)", "NULL"},
        {"formatdate(NULL)", "NULL"},

        {"formattime('13:05:09.123')", "'13:05:09.123'"}, {"formattime('13:05:09.123', '')", "'13:05:09.123'"},
        {"formattime('13:05:09.123', 'h:mm tt')", "'1:05 PM'"}, {"formattime('09:05:00', 'hh:mm t')", "'09:05 A'"},
        // Noon and midnight are 0 on the 12-hour clock; from noon on it is PM.
        {"formattime('12:00', 'hh')", "'00'"}, {"formattime('12:30', 'h:mm tt')", "'0:30 PM'"},
        {"formattime('00:30', 'h tt')", "'0 AM'"}, {"formattime('11:59', 'h tt')", "'11 AM'"},
        {"formattime('12:00', 't')", "'P'"}, {"formattime('23:59', 'tt')", "'PM'"},
        {"formattime('07:08:09', 'H.m.s')", "'7.8.9'"}, {"formattime('07:08:09', 'HHH')", "'077'"}, // a pair, a single
        {"formattime('10:00:00.045', 'ff')", "'04'"},
        {"formattime('10:00:00.045', 'ffff')", "'0450'"}, // a fourth f starts again
        {"formattime('2024-05-06T10:11:12', 'HH-mm-ss')", "'10-11-12'"},
        // Literal characters keep their low eight bits: Latin-1 survives, the rest does not.
        {"formattime('10:11:12', 'HHÄmm')", "'10Ä11'"}, {"formattime('10:11:12', 'HHЖmm')", "'10\x16" "11'"},
        {"formattime('abc')", "NULL"}, {"formattime(NULL)", "NULL"}, {"formattime('25:00:00')", "NULL"},
    });
    russian();
    db.expectAll({
        {"formatdate('2024-05-06')", "'06.05.2024'"}, {"formattime('13:05:09.123')", "'13:05:09.123'"},
        {"formattime('13:05:09', 'H:mm tt')", "'13:05 " + QLocale().pmText().toStdString() + "'"},
    });
}

TEST_F(FormattingFunctions, FormatTimeWithLocaleDigits)
{
    const QLocale arabic(QLocale::Arabic, QLocale::Egypt);
    EXPECT_EQ(formatTimeByPattern(QTime(7, 5, 9, 120), "HH:mm:ss.ff", arabic), QString::fromUtf8("٠٧:٠٥:٠٩.١٢"));
    EXPECT_EQ(formatTimeByPattern(QTime(13, 0), "H", arabic), QString::fromUtf8("١٣"));
}

TEST_F(FormattingFunctions, FormatNumberAndDeformat)
{
    db.expectAll({
        {"formatnumber(1234567.25)", "'1,234,567.25'"}, {"formatnumber(-1234567)", "'-1,234,567'"},
        {"formatnumber(1.0 / 3)", "'0.333333333333333'"}, {"formatnumber('1234567.5')", "'1,234,567.5'"},
        {"formatnumber('1,234.5')", "'1,234.5'"}, {"formatnumber('abc')", "'abc'"}, {"formatnumber(NULL)", "NULL"},
        {"deformat('1,234.5')", "'1234.5'"}, {"deformat(1234.5)", "'1234.5'"}, {"deformat(NULL)", "NULL"},
    });
    russian();
    db.expectAll({
        {"formatnumber(1234567.25)", "'1\u00A0234\u00A0567,25'"}, {"formatnumber('1234,5')", "'1\u00A0234,5'"},
        {"formatnumber('1 234,5')", "'1\u00A0234,5'"}, {"formatnumber('1.5')", "'1.5'"}, // not a number here
        {"deformat('1 234,5')", "'1234.5'"}, {"deformat('1\u00A0234\u00A0567,25')", "'1234567.25'"},
        {"deformat('-0,125')", "'-0.125'"}, {"deformat('1.5')", "'1.5'"}, // returned as it is
        {"deformat('abc')", "'abc'"},
    });
}

TEST_F(FormattingFunctions, NumberPatterns)
{
    db.expectAll({
        {"formatnumberbypattern(1234.5, '#,##0.00')", "'1,234.50'"}, {"formatnumberbypattern(0.25, '0%')", "'25%'"},
        {"formatnumberbypattern(0.125, '0.0‰')", "'125.0‰'"}, {"formatnumberbypattern(-5, '0;(0)')", "'(5)'"},
        {"formatnumberbypattern(0, '0;-0;zero')", "'zero'"}, {"formatnumberbypattern(-1234.5, '#,##0.0')", "'-1,234.5'"},
        {"formatnumberbypattern(-1234.5, '#,##0.00;[#,##0.00]')", "'[1,234.50]'"},
        {"formatnumberbypattern('2.345', '0.00')", "'2.35'"}, // numeric text, rounded as written
        {"formatnumberbypattern(0.999, '0.00')", "'1.00'"},
        {"formatnumberbypattern(1234567, '#,##0,')", "'1,235'"}, // scaled and grouped
        {"formatnumberbypattern(1234567890, '#,##0,,')", "'1,235'"},
        {"formatnumberbypattern(1e20, '#,##0')", "'100,000,000,000,000,000,000'"},
        {"formatnumberbypattern(1, '0.0e')", "NULL"}, {"formatnumberbypattern(1, '0.0E5')", "NULL"},
        {"formatnumberbypattern(1, '0e0')", "NULL"},
        {"formatnumberbypattern(3, 'each 0')", "'each 3'"}, // no placeholder before: a letter
        {"formatnumberbypattern('x', '0')", "NULL"}, {"formatnumberbypattern(NULL, '0')", "NULL"},
        {"formatnumberbypattern(1, NULL)", "NULL"},
        // Without a 0 placeholder a zero integer part is left out; trailing #
        // fraction placeholders drop trailing zeros.
        {"formatnumberbypattern(0.5, '#.##')", "'.5'"}, {"formatnumberbypattern(2, '#.##')", "'2'"},
        {"formatnumberbypattern(2.1, '0.0#')", "'2.1'"}, {"formatnumberbypattern(2.125, '0.0#')", "'2.13'"},
        {"formatnumberbypattern(1234.5, '$#,##0.00')", "'$1,234.50'"}, {"formatnumberbypattern(12, '0 USD')", "'12 USD'"},
        {"formatnumberbypattern(5, '\\#0')", "'#5'"},
        {"formatnumberbypattern(5, '0\\%')", "'5%'"}, // an escaped % does not scale
        {"formatnumberbypattern(1234567, '###-####')", "'123-4567'"},
        {"formatnumberbypattern(42, '(###) ###-####')", "'() -42'"}, // missing digits: pieces clamp
        {"formatnumberbypattern(12345, '0.00E+00')", "'1.23e+04'"}, {"formatnumberbypattern(0.00012345, '0.00E-0')", "'1.23e-4'"},
        {"formatnumberbypattern(0.00012345, '0.00E+0')", "'1.23e-4'"}, {"formatnumberbypattern(12345, '00.0E+0')", "'12.3e+3'"},
        {"formatnumberbypattern(-12345, '0.0E+0')", "'-1.2e+4'"},
    });
    russian();
    db.expectAll({
        {"formatnumberbypattern(1234.5, '#,##0.00')", "'1\u00A0234,50'"}, {"formatnumberbypattern(0.5, '0.0')", "'0,5'"},
        {"formatnumberbypattern(-7, '0 ₽')", "'-7 ₽'"}, {"formatnumberbypattern(0, '0;-0;ноль')", "'ноль'"},
    });
}

} // namespace
} // namespace tessera::engine
