#include "engine/functions/ValueConversions.h"

#include "platform/core/QDecNumber.h"
#include "platform/dp/GeometryAttributeDefinition.h"
#include "platform/dp/RenditionAttributeDefinition.h"
#include "platform/dp/SimpleAttributeDefinition.h"
#include "tests/support/EngineApplication.h"
#include "tests/support/SqlHarness.h"

#include <QSqlDatabase>
#include <QSqlQuery>
#include <algorithm>
#include <clocale>
#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <string>

namespace tessera::engine {
namespace {

// Runs "Select probe(<expression>)" on an in-memory database; the probe SQL
// function hands its argument to a test callback while the statement runs,
// so conversions see the very values SQLite gives SQL functions.
class ValueProbe {
public:
    ValueProbe() { db.scalar("probe", 1, &ValueProbe::call, &callback); }

    template <class F>
    auto apply(const std::string& expression, F f) -> decltype(f(nullptr))
    {
        decltype(f(nullptr)) result{};
        callback = [&](sqlite3_value* v) { result = f(v); };
        run(expression);
        return result;
    }

    // The value seen through both numeric conversions, with their ok flags.
    struct Numbers {
        qint64 integer;
        bool integerOk;
        double real;
        bool realOk;
    };
    Numbers numbers(const std::string& expression)
    {
        Numbers n{};
        callback = [&](sqlite3_value* v) {
            n.integerOk = true;   // must be reset by the conversion
            n.integer = toInt64(v, &n.integerOk);
            n.realOk = true;
            n.real = toDouble(v, &n.realOk);
        };
        run(expression);
        return n;
    }

private:
    static void call(sqlite3_context* context, int, sqlite3_value** argv)
    {
        (*static_cast<std::function<void(sqlite3_value*)>*>(sqlite3_user_data(context)))(argv[0]);
        sqlite3_result_null(context);
    }

    void run(const std::string& expression) { db.exec("Select probe(" + expression + ")"); }

    test::SqlHarness db;
    std::function<void(sqlite3_value*)> callback;
};

constexpr qint64 int64Max = std::numeric_limits<qint64>::max();
constexpr qint64 int64Min = std::numeric_limits<qint64>::min();
// Ticks of 100 ns from 1601-01-01 to 1970-01-01.
constexpr long long fileTimeEpoch = 116444736000000000LL;

// The local time of an instant given in ms since 1970. Checked on the local
// fields: Qt's way back from local time to ms is unreliable before 1970 in
// zones whose offset has changed since.
::testing::AssertionResult isLocalInstant(const QDateTime& actual, qint64 msecs)
{
    const QDateTime expected = QDateTime::fromMSecsSinceEpoch(msecs);
    if (actual.timeSpec() == Qt::LocalTime && actual.date() == expected.date() && actual.time() == expected.time())
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << actual.toString(Qt::ISODateWithMs).toStdString() << " is not "
                                         << expected.toString(Qt::ISODateWithMs).toStdString();
}

TEST(ValueConversions, TextOutOfSqlite)
{
    ValueProbe p;
    EXPECT_EQ(p.apply("'h\xc3\xa9llo'", [](sqlite3_value* v) { return toString(v); }), "h\xc3\xa9llo");
    EXPECT_EQ(p.apply("12", [](sqlite3_value* v) { return toString(v); }), "12");
    // Bytes stop at the first zero byte.
    EXPECT_EQ(p.apply("Cast(X'610062' As Text)", [](sqlite3_value* v) { return toString(v); }), "a");
    EXPECT_TRUE(p.apply("Null", [](sqlite3_value* v) {
        try {
            toString(v);
        } catch (const std::logic_error&) {
            return true;
        }
        return false;
    }));

    EXPECT_EQ(p.apply("'h\xc3\xa9llo'", [](sqlite3_value* v) { return toQString(v); }), QStringLiteral("h\u00e9llo"));
    EXPECT_EQ(p.apply("'h\xc3\xa9llo'", [](sqlite3_value* v) { return toQStringUTF8(v); }), QStringLiteral("h\u00e9llo"));
    EXPECT_TRUE(p.apply("Null", [](sqlite3_value* v) { return toQString(v); }).isNull());
    EXPECT_TRUE(p.apply("Null", [](sqlite3_value* v) { return toQStringUTF8(v); }).isNull());
    // A character outside the basic plane is two UTF-16 code units.
    EXPECT_EQ(p.apply("'\xf0\x9f\x98\x80'", [](sqlite3_value* v) { return toQString(v); }).size(), 2);
    // A leading byte-order mark is text like any other.
    const QString withMark = p.apply("char(65279) || 'a'", [](sqlite3_value* v) { return toQString(v); });
    ASSERT_EQ(withMark.size(), 2);
    EXPECT_EQ(withMark.at(0).unicode(), 0xfeff);
}

TEST(ValueConversions, IntegersFromValues)
{
    ValueProbe p;
    struct Case {
        const char* expression;
        qint64 value;
        bool ok;
    };
    const Case cases[] = {
        {"42", 42, true},
        {"12.9", 12, true},
        {"-12.9", -12, true},
        {"' 42'", 42, true},
        {"'+7'", 7, true},
        {"'-7'", -7, true},
        {"'12abc'", 12, true},
        {"'12.9'", 12, true},
        {"'0x10'", 0, true},           // decimal digits only: reads the 0
        {"'1.5e3'", 1500, true},
        {"'12.9e0'", 12, true},
        {"'2e3'", 2000, true},
        {"'-2.5E1'", -25, true},
        {"' 3e2xyz'", 300, true},
        {"'9223372036854775807'", int64Max, true},
        {"'-9223372036854775808'", int64Min, true},
        {"'9223372036854775808'", 0, false},
        {"'-9223372036854775809'", 0, false},
        {"'1e19'", 0, false},
        {"'-1e19'", 0, false},
        {"'1e400'", 0, false},
        {"'1e-400'", 0, false},
        {"'abc'", 0, false},
        {"'e'", 0, false},
        {"''", 0, false},
        {"'   '", 0, false},
        {"X'3432'", 0, false},
        {"Null", 0, false},
    };
    for (const Case& c : cases) {
        const auto n = p.numbers(c.expression);
        EXPECT_EQ(n.integer, c.value) << c.expression;
        EXPECT_EQ(n.integerOk, c.ok) << c.expression;
    }
    // The flag is optional.
    EXPECT_EQ(p.apply("'17'", [](sqlite3_value* v) { return toInt64(v); }), 17);
    EXPECT_EQ(p.apply("'x'", [](sqlite3_value* v) { return toInt64(v, nullptr); }), 0);
}

TEST(ValueConversions, RealsFromValues)
{
    ValueProbe p;
    struct Case {
        const char* expression;
        double value;
        bool ok;
    };
    const Case cases[] = {
        {"7", 7.0, true},
        {"-0.125", -0.125, true},
        {"' 2.5'", 2.5, true},
        {"'3.5xyz'", 3.5, true},
        {"'-1.5e-3'", -0.0015, true},
        {"'0x10'", 16.0, true},
        {"'1e308'", 1e308, true},
        {"'1e309'", 0.0, false},
        {"'1e-400'", 0.0, false},
        {"'abc'", 0.0, false},
        {"''", 0.0, false},
        {"X'3432'", 0.0, false},
        {"Null", 0.0, false},
    };
    for (const Case& c : cases) {
        const auto n = p.numbers(c.expression);
        EXPECT_DOUBLE_EQ(n.real, c.value) << c.expression;
        EXPECT_EQ(n.realOk, c.ok) << c.expression;
    }
    EXPECT_TRUE(std::isinf(p.apply("'inf'", [](sqlite3_value* v) { return toDouble(v); })));
}

TEST(ValueConversions, NumberTextIgnoresTheProcessLocale)
{
    const std::string saved = std::setlocale(LC_ALL, nullptr);
    if (!std::setlocale(LC_ALL, "de_DE.UTF-8") && !std::setlocale(LC_ALL, "de_DE.utf8"))
        GTEST_SKIP() << "no German locale installed";
    ValueProbe p;
    const auto n = p.numbers("'1.5'");
    const auto e = p.numbers("'2.5e1'");
    std::setlocale(LC_ALL, saved.c_str());
    EXPECT_DOUBLE_EQ(n.real, 1.5);
    EXPECT_EQ(n.integer, 1);
    EXPECT_EQ(e.integer, 25);
}

TEST(ValueConversions, CanonicalTexts)
{
    EXPECT_EQ(toString(QDate(2024, 5, 6)), QStringLiteral("2024-05-06"));
    EXPECT_EQ(toString(QTime(1, 2, 3)), QStringLiteral("01:02:03.000"));
    EXPECT_EQ(toString(QTime(23, 59, 59, 7)), QStringLiteral("23:59:59.007"));
    EXPECT_EQ(toString(QDateTime(QDate(2024, 5, 6), QTime(10, 20, 30, 45))),
              QStringLiteral("2024-05-06 10:20:30.045"));
    EXPECT_TRUE(toString(QDate()).isEmpty());
}

TEST(ValueConversions, DatesAndTimesFromText)
{
    ValueProbe p;
    const auto date = [&](const char* e) { return p.apply(e, [](sqlite3_value* v) { return toDate(v); }); };
    const auto time = [&](const char* e) { return p.apply(e, [](sqlite3_value* v) { return toTime(v); }); };
    const auto dateTime = [&](const char* e) { return p.apply(e, [](sqlite3_value* v) { return toDateTime(v); }); };

    EXPECT_EQ(date("'2024-05-06T10:00:00'"), QDate(2024, 5, 6));
    EXPECT_EQ(date("'2024-05-06'"), QDate(2024, 5, 6));
    EXPECT_FALSE(date("20240506").isValid());   // numbers are not dates here
    EXPECT_FALSE(date("'2024-02-30'").isValid());
    EXPECT_FALSE(date("'yesterday'").isValid());
    EXPECT_TRUE(date("Null").isNull());

    EXPECT_EQ(time("'2024-05-06T10:20:30.123'"), QTime(10, 20, 30, 123));
    EXPECT_EQ(time("'10:20:30'"), QTime(10, 20, 30));
    EXPECT_EQ(time("'10:20'"), QTime(10, 20));
    EXPECT_EQ(time("'10:20:30.456'"), QTime(10, 20, 30, 456));
    EXPECT_FALSE(time("'25:00:00'").isValid());
    EXPECT_FALSE(time("Null").isValid());

    EXPECT_EQ(dateTime("'2024-05-06T10:20:30'"), QDateTime(QDate(2024, 5, 6), QTime(10, 20, 30)));
    EXPECT_EQ(dateTime("'2024-05-06T10:20:30Z'").toUTC(),
              QDateTime(QDate(2024, 5, 6), QTime(10, 20, 30), Qt::UTC));
    EXPECT_FALSE(dateTime("'10:20:30'").isValid());
    EXPECT_TRUE(dateTime("Null").isNull());
}

TEST(ValueConversions, YearMonthDayNumbers)
{
    EXPECT_EQ(yymmdd2Date(20240229), QDate(2024, 2, 29));
    EXPECT_EQ(yymmdd2Date(991231), QDate(99, 12, 31));   // no century completion
    EXPECT_FALSE(yymmdd2Date(20230229).isValid());

    const QDateTime leap = int2Date(20240229);
    EXPECT_EQ(leap, QDateTime(QDate(2024, 2, 29), QTime(0, 0), Qt::LocalTime));
    EXPECT_EQ(leap.timeSpec(), Qt::LocalTime);
    EXPECT_EQ(int2Date(10000101).date(), QDate(1000, 1, 1));
    EXPECT_EQ(int2Date(99991231).date(), QDate(9999, 12, 31));
    EXPECT_FALSE(int2Date(20210230).isValid());
    EXPECT_FALSE(int2Date(20211301).isValid());

    EXPECT_EQ(real2Date(20240101.0), int2Date(20240101));
    EXPECT_EQ(real2Date(99991231.0).date(), QDate(9999, 12, 31));
    EXPECT_FALSE(real2Date(20210230.0).isValid());
}

TEST(ValueConversions, DayStartsEvenWhenMidnightIsSkipped)
{
    // Where clocks jump from 00:00 to 01:00 (some zones at the start of
    // summer time), the day still has a first instant.
    const QDateTime d = int2Date(20181104);
    ASSERT_TRUE(d.isValid());
    EXPECT_EQ(d.date(), QDate(2018, 11, 4));
    EXPECT_LE(d.time(), QTime(1, 0));
    EXPECT_EQ(d.addMSecs(-1).date(), QDate(2018, 11, 3));
}

TEST(ValueConversions, UnixSecondsAndFileTimes)
{
    // Just outside the YYYYMMDD range, and below 2^34: seconds since 1970.
    EXPECT_EQ(int2Date(99991232).toSecsSinceEpoch(), 99991232);
    EXPECT_EQ(int2Date(10000100).toSecsSinceEpoch(), 10000100);
    EXPECT_EQ(int2Date(0).toMSecsSinceEpoch(), 0);
    EXPECT_EQ(int2Date(86400).toUTC(), QDateTime(QDate(1970, 1, 2), QTime(0, 0), Qt::UTC));
    EXPECT_EQ(int2Date(86400).timeSpec(), Qt::LocalTime);
    EXPECT_EQ(int2Date((1LL << 34) - 1).toSecsSinceEpoch(), (1LL << 34) - 1);

    // From 2^34 on, and for negative numbers: 100 ns ticks since 1601.
    const long long newYear2024 = 1704067200000LL;   // ms of 2024-01-01T00:00Z
    const long long ticks = newYear2024 * 10000 + fileTimeEpoch;
    EXPECT_EQ(int2Date(ticks).toUTC(), QDateTime(QDate(2024, 1, 1), QTime(0, 0), Qt::UTC));
    EXPECT_EQ(int2Date(ticks).timeSpec(), Qt::LocalTime);
    // Rounded to the nearest millisecond, halves upward.
    EXPECT_EQ(int2Date(ticks + 4999).toMSecsSinceEpoch(), newYear2024);
    EXPECT_EQ(int2Date(ticks + 5000).toMSecsSinceEpoch(), newYear2024 + 1);
    EXPECT_EQ(int2Date(ticks + 14999).toMSecsSinceEpoch(), newYear2024 + 1);
    EXPECT_EQ(int2Date(ticks + 15000).toMSecsSinceEpoch(), newYear2024 + 2);
    EXPECT_EQ(int2Date(fileTimeEpoch).toMSecsSinceEpoch(), 0);
    // Before 1970 the division truncates toward zero.
    EXPECT_TRUE(isLocalInstant(int2Date(fileTimeEpoch - 14999), 0));
    EXPECT_TRUE(isLocalInstant(int2Date(fileTimeEpoch - 15000), -1));
    EXPECT_TRUE(isLocalInstant(int2Date(fileTimeEpoch - 25001), -2));
    EXPECT_TRUE(isLocalInstant(int2Date(1LL << 34), -11644471882012LL));
    EXPECT_TRUE(isLocalInstant(int2Date(-1), -11644473599999LL));
    // The extremes neither overflow nor crash.
    EXPECT_NO_THROW(int2Date(int64Min));
    EXPECT_NO_THROW(int2Date(int64Max));
    EXPECT_EQ(int2Date(int64Max).toMSecsSinceEpoch(), (int64Max - fileTimeEpoch + 5000) / 10000);
}

TEST(ValueConversions, OleAutomationDates)
{
    EXPECT_EQ(real2Date(25569.0).toMSecsSinceEpoch(), 0);
    EXPECT_EQ(real2Date(25569.5).toUTC(), QDateTime(QDate(1970, 1, 1), QTime(12, 0), Qt::UTC));
    EXPECT_EQ(real2Date(25569.5).timeSpec(), Qt::LocalTime);
    EXPECT_EQ(real2Date(45292.75).toUTC(), QDateTime(QDate(2024, 1, 1), QTime(18, 0), Qt::UTC));
    EXPECT_TRUE(isLocalInstant(real2Date(0.0), -25569LL * 86400000));
    // Negative numbers count whole days down and the fraction up.
    EXPECT_TRUE(isLocalInstant(real2Date(-0.25), -25570LL * 86400000 + 18 * 3600000));
    // Milliseconds rounded half away from zero.
    EXPECT_TRUE(isLocalInstant(real2Date(2.5 / 86400000.0), -25569LL * 86400000 + 3));
    EXPECT_TRUE(isLocalInstant(real2Date(1.4 / 86400000.0), -25569LL * 86400000 + 1));
    // Integral but outside YYYYMMDD, and non-integral inside: OLE dates.
    EXPECT_EQ(real2Date(99991232.0).toMSecsSinceEpoch(), (99991232LL - 25569) * 86400000);
    EXPECT_EQ(real2Date(20240101.5).toMSecsSinceEpoch(), (20240101LL - 25569) * 86400000 + 43200000);
    EXPECT_GT(real2Date(20240101.5).date().year(), 50000);

    EXPECT_FALSE(real2Date(std::nan("")).isValid());
    EXPECT_FALSE(real2Date(std::numeric_limits<double>::infinity()).isValid());
    EXPECT_FALSE(real2Date(1e300).isValid());
}

TEST(ValueConversions, EscapingAndAttributeKinds)
{
    EXPECT_EQ(escapeString(QStringLiteral("it's"), '\''), QStringLiteral("'it''s'"));
    EXPECT_EQ(escapeString(QString(), '\''), QStringLiteral("''"));
    EXPECT_EQ(escapeString(QStringLiteral("a\"b'c"), '"'), QStringLiteral("\"a\"\"b'c\""));
    EXPECT_EQ(escapeString(QStringLiteral("Aa"), 'a'), QStringLiteral("aAaaa"));   // case-sensitive

    using namespace tessera::dp;
    const AttributeDefinitionPtr none;
    const AttributeDefinitionPtr geometry(new GeometryAttributeDefinition(QStringLiteral("obj")));
    const AttributeDefinitionPtr style(new RenditionAttributeDefinition(QStringLiteral("style")));
    const AttributeDefinitionPtr text(new SimpleAttributeDefinition(QStringLiteral("name"), QMetaType::QString, 20));
    EXPECT_FALSE(isGeometry(none));
    EXPECT_FALSE(isStyle(none));
    EXPECT_TRUE(isGeometry(geometry));
    EXPECT_FALSE(isStyle(geometry));
    EXPECT_TRUE(isStyle(style));
    EXPECT_FALSE(isGeometry(style));
    // A style is text, but not every text attribute is a style.
    EXPECT_FALSE(isStyle(text));
    EXPECT_FALSE(isGeometry(text));
}

TEST(ValueConversions, VariantOrdering)
{
    // Same kind: by value, integers of any width alike.
    EXPECT_TRUE(variantCompare(QVariant(5), QVariant(7LL)));
    EXPECT_FALSE(variantCompare(QVariant(7LL), QVariant(5)));
    EXPECT_FALSE(variantCompare(QVariant(5), QVariant(5LL)));
    EXPECT_FALSE(variantCompare(QVariant(5LL), QVariant(5)));
    EXPECT_TRUE(variantCompare(QVariant(-1), QVariant(0u)));
    EXPECT_FALSE(variantCompare(QVariant(), QVariant()));

    const QVariant decimal = QVariant::fromValue(QDecNumber::fromString(QStringLiteral("1.25")));
    QList<QVariant> values = {
        QVariant(),
        QVariant(QStringLiteral("b")),
        QVariant(7LL),
        decimal,
        QVariant(QDate(2024, 1, 1)),
        QVariant(5),
        QVariant(2.5),
        QVariant(QStringLiteral("a")),
        QVariant(QByteArray("x")),
        QVariant(true),
        QVariant(),
        QVariant(3u),
        QVariant(-1.5),
        QVariant(QDate(2023, 1, 1)),
    };
    // A strict weak ordering: irreflexive, asymmetric, transitive, and
    // incomparability transitive too.
    for (const QVariant& a : values) {
        EXPECT_FALSE(variantCompare(a, a)) << a.typeName();
        for (const QVariant& b : values) {
            if (variantCompare(a, b)) {
                EXPECT_FALSE(variantCompare(b, a)) << a.typeName() << " " << b.typeName();
            }
            for (const QVariant& c : values) {
                if (variantCompare(a, b) && variantCompare(b, c)) {
                    EXPECT_TRUE(variantCompare(a, c));
                }
                const bool abEqual = !variantCompare(a, b) && !variantCompare(b, a);
                const bool bcEqual = !variantCompare(b, c) && !variantCompare(c, b);
                if (abEqual && bcEqual) {
                    EXPECT_TRUE(!variantCompare(a, c) && !variantCompare(c, a));
                }
            }
        }
    }
    std::sort(values.begin(), values.end(), variantCompare);
    const QList<QVariant> expected = {
        QVariant(true),   QVariant(3u),          QVariant(5),           QVariant(7LL),
        QVariant(-1.5),   QVariant(2.5),         QVariant(QStringLiteral("a")), QVariant(QStringLiteral("b")),
        QVariant(QByteArray("x")), QVariant(QDate(2023, 1, 1)), QVariant(QDate(2024, 1, 1)), decimal,
    };
    ASSERT_EQ(values.size(), expected.size() + 2);
    for (int i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(values.at(i).userType(), expected.at(i).userType()) << i;
        EXPECT_EQ(values.at(i), expected.at(i)) << i;
    }
    EXPECT_FALSE(values.at(values.size() - 2).isValid());
    EXPECT_FALSE(values.last().isValid());
}

TEST(ValueConversions, StatementBehindAQuery)
{
    EXPECT_EQ(handle(QSqlQuery()), nullptr);

    const QString connection = QStringLiteral("ValueConversionsTest");
    {
        QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), connection);
        if (!db.isValid())
            GTEST_SKIP() << "Qt's SQLite driver is not installed";
        db.setDatabaseName(QStringLiteral(":memory:"));
        ASSERT_TRUE(db.open());
        QSqlQuery query(db);
        EXPECT_EQ(handle(query), nullptr);   // nothing prepared yet
        ASSERT_TRUE(query.prepare(QStringLiteral("Select 1 As one, 'two' As two")));
        sqlite3_stmt* stmt = handle(query);
        ASSERT_NE(stmt, nullptr);
        EXPECT_EQ(sqlite3_column_count(stmt), 2);
        EXPECT_STREQ(sqlite3_column_name(stmt, 1), "two");
    }
    QSqlDatabase::removeDatabase(connection);
}

} // namespace
} // namespace tessera::engine
