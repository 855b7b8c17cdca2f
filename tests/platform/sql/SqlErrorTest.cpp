#include "platform/sql/SqlError.h"
#include "platform/sql/SqlStrings.h"

#include <gtest/gtest.h>

#include <memory>

using namespace tessera::sql;

TEST(SqlError, TextsAndTypes)
{
    const std::vector<std::pair<std::shared_ptr<SqlError>, std::string>> cases = {
        {std::make_shared<SqlError>(), "Sql error"},
        {std::make_shared<SqlSyntaxError>(), "Sql syntax error"},
        {std::make_shared<SqlSemanticError>(), "Sql semantic error"},
        {std::make_shared<GeneralSyntaxError>("bad text"), "bad text"},
        {std::make_shared<GeneralSyntaxError>(QStringLiteral("проверьте")), "проверьте"},
        {std::make_shared<UnexpectedParseResult>(QStringLiteral("Выражение")), "Выражение"},
        {std::make_shared<UnexpectedParseResult>("Expression"), "Expression"},
        {std::make_shared<UnknownFunction>(std::wstring(L"Нечто")), "Нечто"},
        {std::make_shared<UnknownFunction>(QStringLiteral("foo")), "foo"},
        {std::make_shared<SelectionTableIsAbsent>(), "Sql semantic error"},
        {std::make_shared<CustomSqlError<SqlSemanticError, 26>>(), "Sql semantic error"},
        {std::make_shared<CustomSqlError<SqlSyntaxError, 7>>(), "Sql syntax error"},
    };
    for (const auto& [error, text] : cases)
        EXPECT_EQ(std::string(error->what()), text);

    using OrderByRowNumber = CustomSqlError<SqlSemanticError, 26>;
    using Custom7 = CustomSqlError<SqlSyntaxError, 7>;
    EXPECT_EQ(OrderByRowNumber().errorType(), OrderByRowNumberType);
    EXPECT_EQ(Custom7().errorType(), 7);
    EXPECT_EQ(UnknownFunction(QStringLiteral("f")).errorType(), UnknownFunctionType);
    EXPECT_EQ(SelectionTableIsAbsent().errorType(), SelectionTableIsAbsentType);
    EXPECT_EQ(UnexpectedParseResult("x").errorType(), UnexpectedParseResultType);

    // The hierarchy that callers test with dynamic casts.
    const std::shared_ptr<SqlError> general = std::make_shared<GeneralSyntaxError>("x");
    EXPECT_NE(std::dynamic_pointer_cast<SqlSyntaxError>(general), nullptr);
    EXPECT_EQ(std::dynamic_pointer_cast<SqlSemanticError>(general), nullptr);
    const std::shared_ptr<SqlError> custom = std::make_shared<CustomSqlError<SqlSemanticError, 26>>();
    EXPECT_NE(std::dynamic_pointer_cast<SqlSemanticError>(custom), nullptr);
    const std::shared_ptr<SqlError> absent = std::make_shared<SelectionTableIsAbsent>();
    EXPECT_NE(std::dynamic_pointer_cast<SqlSemanticError>(absent), nullptr);

    const ParseError parse("line 3, column 4: expected x", 20, 3, 4, "x");
    EXPECT_EQ(std::string(parse.what()), "line 3, column 4: expected x");
    const SqlSyntaxError& asSyntax = parse;
    EXPECT_EQ(asSyntax.errorType(), SyntaxErrorType);
    const NestingTooDeep deep(7, 1, 8, 256);
    EXPECT_EQ(deep.limit(), 256);
    EXPECT_EQ(deep.column(), 8);
    EXPECT_EQ(std::string(deep.what()), "line 1, column 8: nesting deeper than 256 levels");
}

TEST(SqlStrings, EscapeLowercaseAndConversions)
{
    EXPECT_EQ(escape(L"text", L'"'), L"\"text\"");
    EXPECT_EQ(escape(L"say \"hi\"", L'"'), L"\"say \"\"hi\"\"\"");
    EXPECT_EQ(escape(L"it's \"x\"", L'\''), L"'it''s \"x\"'");
    EXPECT_EQ(escape(L"", L'"'), L"\"\"");
    EXPECT_EQ(escape(L"\"", L'"'), L"\"\"\"\"");
    EXPECT_EQ(escape(QStringLiteral("a\"b"), QLatin1Char('"')), QStringLiteral("\"a\"\"b\""));
    EXPECT_EQ(escape(QStringLiteral("a`b"), QLatin1Char('`')), QStringLiteral("`a``b`"));

    EXPECT_EQ(toLowercase(L"RowNum"), L"rownum");
    EXPECT_EQ(toLowercase(L"TR$$_Rendition1"), L"tr$$_rendition1");
    EXPECT_EQ(toLowercase(L"ОБЪЕКТ Ёж"), L"объект ёж");
    EXPECT_EQ(toLowercase(L""), L"");

    const QString text = QString::fromUtf8("Москва \xF0\x9F\x98\x80 \"q\"");
    EXPECT_EQ(fromSqlString(toSqlString(text)), text);
    EXPECT_EQ(toSqlString(QStringLiteral("abc")), L"abc");
    EXPECT_EQ(fromSqlString(L"Ёж"), QString::fromUtf8("Ёж"));
}
