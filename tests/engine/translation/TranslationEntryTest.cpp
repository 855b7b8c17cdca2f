// Parsing and translating a dialect text into a caller's builder, and the
// errors that the builder then reports.

#include "tests/support/SqlTableFixture.h"

#include "platform/sql/SqlParser.h"
#include "tests/Sanitizers.h"

#include <QThread>

using namespace tessera;
using namespace tessera::engine;
using namespace tessera::test;

namespace {

const char* const syntaxMessage = "проверьте корректность выражений в запросе";

} // namespace

class TranslationEntryTest : public SqlTableFixture {};

TEST_F(TranslationEntryTest, unparsableTextReplacesTheErrors)
{
    for (const char* text : {"Select From t", "Select a From t Where", "", "a +", "Select \"open", "Select a From t)",
                             "Update t Set", "(((a)", "Select a b c From t", "a Not b", "Cast(a As)"}) {
        SqliteStringBuilder builder = makeBuilder();
        builder.addError(std::make_shared<sql::SqlError>());
        EXPECT_FALSE(translateQuery(&runtime, text, builder, false)) << text;
        EXPECT_TRUE(builder.query().empty());
        ASSERT_EQ(builder.errors().size(), 1u) << text;
        EXPECT_NE(dynamic_cast<const sql::GeneralSyntaxError*>(builder.errors()[0].get()), nullptr);
        EXPECT_STREQ(builder.errors()[0]->what(), syntaxMessage);
    }
}

TEST_F(TranslationEntryTest, expressionOnlyRefusesStatements)
{
    SqliteStringBuilder builder = makeBuilder();
    builder.addError(std::make_shared<sql::SqlError>());
    EXPECT_FALSE(translateQuery(&runtime, "Select a From t", builder, true));
    ASSERT_EQ(builder.errors().size(), 2u);
    EXPECT_EQ(builder.errors()[1]->errorType(), sql::UnexpectedParseResultType);
    EXPECT_STREQ(builder.errors()[1]->what(), "Выражение");
    EXPECT_TRUE(builder.query().empty());

    SqliteStringBuilder expression = makeBuilder();
    EXPECT_TRUE(translateQuery(&runtime, "a * 2 + 1", expression, true));
    EXPECT_EQ(utf8(expression.query()), "concat(a * 2, 1)");
    EXPECT_TRUE(expression.errors().empty());
    // The same statement is accepted when any result will do.
    SqliteStringBuilder any = makeBuilder();
    EXPECT_TRUE(translateQuery(&runtime, "Select a From t", any, false));
}

TEST_F(TranslationEntryTest, theCollationIsAlwaysLocale)
{
    SqliteStringBuilder builder = makeBuilder(QStringLiteral("NoCase"));
    EXPECT_EQ(translate(builder, "Select a From t Where b = \"X\""), "Select a From t Where b = 'X' Collate Locale");
    EXPECT_EQ(builder.collate(), QStringLiteral("Locale"));
    EXPECT_EQ(rows(utf8(builder.query())), (std::vector<std::string>{"1"}));
}

TEST_F(TranslationEntryTest, aLeadingFeffStaysInLiteralsAndNames)
{
    const std::string feff = "\xEF\xBB\xBF";
    EXPECT_EQ(rows(translate("Select '" + feff + "a'")), (std::vector<std::string>{feff + "a"}));
    EXPECT_NE(translate("Select 1 As [" + feff + "b]").find(feff + "b"), std::string::npos);
}

TEST_F(TranslationEntryTest, anEarlierQueryIsKept)
{
    SqliteStringBuilder builder = makeBuilder();
    EXPECT_TRUE(translateQuery(&runtime, "Select a From t", builder, false));
    EXPECT_TRUE(translateQuery(&runtime, "Select From", builder, false));
    EXPECT_EQ(utf8(builder.query()), "Select a From t");
    ASSERT_EQ(builder.errors().size(), 1u);
    EXPECT_TRUE(builder.hasErrors());
}

TEST_F(TranslationEntryTest, deepTextsAreTranslatedOrRefused)
{
    // Nesting beyond the parser's limits is a syntax error, not a crash.
    std::string nested = "a";
    for (int i = 0; i < 400; ++i)
        nested = "(" + nested + ")";
    SqliteStringBuilder tooDeep = makeBuilder();
    EXPECT_FALSE(translateQuery(&runtime, nested, tooDeep, true));
    ASSERT_EQ(tooDeep.errors().size(), 1u);
    EXPECT_STREQ(tooDeep.errors()[0]->what(), syntaxMessage);

    std::string tooLong = "a";
    for (int i = 0; i < 2100; ++i)
        tooLong += " / a";
    SqliteStringBuilder tooTall = makeBuilder();
    EXPECT_FALSE(translateQuery(&runtime, tooLong, tooTall, true));

    // Just within them, every level is rewritten.
    // (on a 1 MB stack, as small as a desktop thread's; sanitizers need more).
    const int levels = sql::SqlParser::maxHeight - 2;
    std::string chain = "a";
    for (int i = 0; i < levels; ++i)
        chain += " / a";
    SqliteStringBuilder deep = makeBuilder();
    // The deepest nesting of sub-queries and calls goes through the same stack.
    std::string subqueries = "1";
    std::string calls = "1";
    // (a parenthesised sub-query takes two levels).
    for (int i = 0; i < sql::SqlParser::maxNesting / 2 - 5; ++i)
        subqueries = "(Select " + subqueries + ")";
    for (int i = 0; i < sql::SqlParser::maxNesting - 10; ++i)
        calls = "Abs(" + calls + ")";
    SqliteStringBuilder nestedQueries = makeBuilder();
    SqliteStringBuilder nestedCalls = makeBuilder();
    bool translated = false;
    bool nestedTranslated = false;
    QThread* worker = QThread::create([&] {
        translated = translateQuery(&runtime, chain, deep, true);
        nestedTranslated = translateQuery(&runtime, "Select " + subqueries, nestedQueries, false)
            && translateQuery(&runtime, calls, nestedCalls, true);
    });
#if TESSERA_SANITIZED
    worker->setStackSize(16 * 1024 * 1024);
#else
    worker->setStackSize(1024 * 1024);
#endif
    worker->start();
    ASSERT_TRUE(worker->wait(60000));
    delete worker;
    ASSERT_TRUE(translated);
    EXPECT_TRUE(nestedTranslated);
    const std::string sql = utf8(deep.query());
    // Every operand, in a few calls (SQLite limits a call's arguments).
    EXPECT_EQ(sql.rfind("divide(divide(", 0), 0u);
    std::size_t divides = 0;
    for (auto at = sql.find("divide("); at != std::string::npos; at = sql.find("divide(", at + 1))
        ++divides;
    EXPECT_LT(divides, 20u);
    std::size_t operands = 0;
    for (auto at = sql.find('a'); at != std::string::npos; at = sql.find('a', at + 1))
        ++operands;
    EXPECT_EQ(operands, std::size_t(levels) + 1);

    // A long but shallow query runs on SQLite.
    std::string sum = "Select a";
    for (int i = 0; i < 500; ++i)
        sum += " - 1";
    EXPECT_EQ(rows(translate(sum + " From t Where a = 4")), (std::vector<std::string>{"-496"}));
}
