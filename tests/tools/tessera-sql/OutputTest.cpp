// Statement splitting, the output formats and the cutting of wide cells.

#include "tools/tessera-sql/CellAbbreviation.h"
#include "tools/tessera-sql/ResultPrinter.h"
#include "tools/tessera-sql/StatementSplitter.h"

#include <QTextStream>
#include <gtest/gtest.h>
#include <cmath>

using namespace tessera::shell;

namespace {

QString print(const ResultSet& result, OutputFormat format)
{
    QString text;
    QTextStream out(&text);
    printResult(out, result, format);
    out.flush();
    return text;
}

TEST(StatementSplitter, SplitsOnlyAtTopLevelSemicolons)
{
    const struct {
        const char* name;
        const char* script;
        QStringList statements;
    } cases[] = {
        {"two statements", "Select 1; Select 2;", {"Select 1", "Select 2"}},
        // Comments are dropped.
        {"quotes, brackets and comments",
         "Select \"a;b\", 'c;''d' From [x;y] -- e;f\n; Select `g;h` /* ; */",
         {"Select \"a;b\", 'c;''d' From [x;y]", "Select `g;h`"}},
        {"nothing but separators", " ; ;\n", {}},
        {"an unterminated literal keeps the rest", "Select \"x; y", {"Select \"x; y"}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(splitStatements(QString::fromUtf8(c.script)), c.statements) << c.name;
}

TEST(ResultPrinter, Formats)
{
    ResultSet r;
    r.columns << QStringLiteral("name") << QStringLiteral("number");
    r.rows << QVector<QVariant>{QStringLiteral("Москва"), 12.5} << QVector<QVariant>{QStringLiteral("a,\"b\""), QVariant()};
    const struct {
        OutputFormat format;
        const char* text;
    } cases[] = {
        // Columns as wide as their widest cell or header, numbers right-aligned,
        // Cyrillic counted as one character each.
        {OutputFormat::Table, "name   | number\n-------+-------\nМосква |   12.5\na,\"b\"  | NULL  \n(2 rows)\n"},
        // RFC 4180 quoting, LF line ends.
        {OutputFormat::Csv, "name,number\nМосква,12.5\n\"a,\"\"b\"\"\",\n"},
        {OutputFormat::Json, "[\n {\"name\": \"Москва\", \"number\": 12.5},\n {\"name\": \"a,\\\"b\\\"\", \"number\": null}\n]\n"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(print(r, c.format).toStdString(), c.text) << int(c.format);

    OutputFormat format = OutputFormat::Table;
    EXPECT_TRUE(parseOutputFormat(QStringLiteral("CSV"), format));
    EXPECT_EQ(format, OutputFormat::Csv);
    EXPECT_FALSE(parseOutputFormat(QStringLiteral("xml"), format));
}

// Reals print with 15 significant digits, as sqlite3 prints them (the last
// digit rounded); integers whole.
TEST(ResultPrinter, RealsWithFifteenSignificantDigits)
{
    const struct {
        QVariant value;
        const char* text;
    } cases[] = {
        {2.0 / 3.0, "0.666666666666667"},
        {4.0 * std::atan(1.0), "3.14159265358979"},            // pi = 3.14159265358979|32...
        {0.1 + 0.2, "0.3"},                                   // 0.30000000000000004 to 15 digits
        {6378137.0 * 1.000001, "6378143.378137"},
        {123456789.123456789, "123456789.123457"},
        {1e-7, "1e-07"},
        {1e20, "1e+20"},
        {-0.5, "-0.5"},
        {QVariant(qint64(9007199254740993)), "9007199254740993"},   // 2^53 + 1, not rounded
    };
    for (const auto& c : cases) {
        ResultSet r;
        r.columns << QStringLiteral("x");
        r.rows << QVector<QVariant>{c.value};
        EXPECT_EQ(print(r, OutputFormat::Csv).toStdString(), std::string("x\n") + c.text + '\n') << c.text;
    }
}

TEST(CellAbbreviation, GeometryTextsFitTheTerminal)
{
    const QString wkt = QStringLiteral("POLYGON((") + QString(200, QLatin1Char('1')) + QStringLiteral("))");
    const struct {
        const char* name;
        int width;
        int expected;   // length of the geometry cell afterwards
    } cases[] = {
        // "name" is 7 wide ("Germany"), plus " | ": 80 - 10 = 70 for the geometry.
        {"fits 80 columns", 80, 70},
        {"never below 16", 20, 16},
        {"no terminal: whole", 0, 211},
        {"wide terminal: whole", 300, 211},
    };
    for (const auto& c : cases) {
        ResultSet result;
        result.columns = QStringList{QStringLiteral("name"), QStringLiteral("obj")};
        result.rows = {{QStringLiteral("Germany"), wkt}, {QStringLiteral("Chad"), QVariant()}};
        abbreviateWideCells(result, {false, true}, c.width);
        const QString cell = result.rows[0][1].toString();
        EXPECT_EQ(cell.size(), c.expected) << c.name;
        EXPECT_EQ(cell.endsWith(QChar(0x2026)), c.expected < wkt.size()) << c.name;
        EXPECT_TRUE(result.rows[1][1].isNull()) << c.name;
        EXPECT_EQ(result.rows[0][0].toString(), QStringLiteral("Germany")) << c.name;
    }
}

} // namespace
