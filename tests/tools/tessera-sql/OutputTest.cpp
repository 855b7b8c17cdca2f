// Statement splitting and the three output formats.

#include "tools/tessera-sql/ResultPrinter.h"
#include "tools/tessera-sql/StatementSplitter.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTextStream>
#include <gtest/gtest.h>

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

ResultSet sample()
{
    ResultSet r;
    r.columns << QStringLiteral("name") << QStringLiteral("n");
    r.rows << QVector<QVariant>{QStringLiteral("Москва"), 12.5}
           << QVector<QVariant>{QStringLiteral("a,\"b\""), QVariant()};
    return r;
}

} // namespace

TEST(StatementSplitter, SplitsOnlyAtTopLevelSemicolons)
{
    EXPECT_EQ(splitStatements(QStringLiteral("Select 1; Select 2;")),
              (QStringList{QStringLiteral("Select 1"), QStringLiteral("Select 2")}));
    // Semicolons inside literals, quoted names and comments do not end a statement;
    // comments are dropped.
    EXPECT_EQ(splitStatements(QStringLiteral("Select \"a;b\", 'c;''d' From [x;y] -- e;f\n; Select `g;h` /* ; */")),
              (QStringList{QStringLiteral("Select \"a;b\", 'c;''d' From [x;y]"), QStringLiteral("Select `g;h`")}));
    EXPECT_TRUE(splitStatements(QStringLiteral(" ; ;\n")).isEmpty());
    // An unterminated literal keeps the rest of the text in one statement.
    EXPECT_EQ(splitStatements(QStringLiteral("Select \"x; y")).size(), 1);
}

TEST(ResultPrinter, FormatsTableCsvAndJson)
{
    OutputFormat format;
    EXPECT_TRUE(parseOutputFormat(QStringLiteral("csv"), format));
    EXPECT_EQ(format, OutputFormat::Csv);
    EXPECT_FALSE(parseOutputFormat(QStringLiteral("xml"), format));

    const QString table = print(sample(), OutputFormat::Table);
    const QStringList lines = table.split('\n', Qt::SkipEmptyParts);
    ASSERT_GE(lines.size(), 3);
    EXPECT_TRUE(lines[0].contains(QStringLiteral("name")));
    EXPECT_TRUE(table.contains(QStringLiteral("NULL")));
    EXPECT_TRUE(table.contains(QStringLiteral("12.5")));
    // Columns line up: every data line is as wide as the header (Cyrillic counted as characters).
    for (const QString& line : lines.mid(2, 2))
        EXPECT_EQ(line.trimmed().isEmpty() ? 0 : line.size(), lines[0].size()) << line.toStdString();

    // RFC 4180: CRLF line ends, quoted fields with doubled quotes.
    const QString csv = print(sample(), OutputFormat::Csv);
    EXPECT_EQ(csv, QStringLiteral("name,n\nМосква,12.5\n\"a,\"\"b\"\"\",\n"));

    const QJsonDocument json = QJsonDocument::fromJson(print(sample(), OutputFormat::Json).toUtf8());
    ASSERT_TRUE(json.isArray());
    const QJsonArray rows = json.array();
    ASSERT_EQ(rows.size(), 2);
    EXPECT_EQ(rows[0].toObject()[QStringLiteral("name")].toString(), QStringLiteral("Москва"));
    EXPECT_DOUBLE_EQ(rows[0].toObject()[QStringLiteral("n")].toDouble(), 12.5);
    EXPECT_TRUE(rows[1].toObject()[QStringLiteral("n")].isNull());
}
