// The base builder: dialect text in, SQLite text out. Texts are compared
// exactly where the form matters and otherwise evaluated by SQLite, so that a
// wrong parenthesisation shows up as a wrong value.

#include "platform/sql/SqlParser.h"
#include "platform/sql/SqlStringBuilder.h"
#include "tests/Sanitizers.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <QString>
#include <QThread>
#include <memory>
#include <string>
#include <vector>

using namespace tessera::sql;

namespace {

std::string utf8(const std::wstring& text)
{
    return QString::fromStdWString(text).toStdString();
}

ast::NodePtr parse(const std::string& text)
{
    SqlParser parser(nullptr);
    if (!parser.parse(text)) {
        ADD_FAILURE() << "cannot parse: " << text << ": " << parser.errors().front()->what();
        return {};
    }
    return parser.root();
}

std::string build(SqlStringBuilder& builder, const std::string& text)
{
    const ast::NodePtr root = parse(text);
    return root ? utf8(builder.buildString(*root)) : std::string();
}

std::string build(const std::string& text)
{
    SqlStringBuilder builder;
    return build(builder, text);
}

// An in-memory SQLite database with two small tables.
class Database {
public:
    Database()
    {
        sqlite3_open(":memory:", &db);
        exec("Create Table t(a, b, c, `my col`, `order`);"
             "Insert Into t Values (1, 'x', 2.5, 7, 8), (2, 'y', 3.5, 9, 10), (3, Null, 1.0, 11, 12);"
             "Create Table u(a, d);"
             "Insert Into u Values (1, 'one'), (3, 'three');");
    }
    ~Database() { sqlite3_close(db); }
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    void exec(const std::string& sql) { EXPECT_EQ(sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK) << sql; }

    // Empty when SQLite accepts `sql`, its message otherwise.
    std::string prepareError(const std::string& sql)
    {
        sqlite3_stmt* statement = nullptr;
        const int rc = sqlite3_prepare_v2(db, sql.c_str(), -1, &statement, nullptr);
        sqlite3_finalize(statement);
        return rc == SQLITE_OK ? std::string() : std::string(sqlite3_errmsg(db));
    }

    // The first column of every row, as text ("NULL" for null), joined by blanks.
    std::string column(const std::string& sql)
    {
        std::string values;
        sqlite3_stmt* statement = nullptr;
        EXPECT_EQ(sqlite3_prepare_v2(db, sql.c_str(), -1, &statement, nullptr), SQLITE_OK) << sql << ": " << sqlite3_errmsg(db);
        while (statement && sqlite3_step(statement) == SQLITE_ROW) {
            const unsigned char* text = sqlite3_column_text(statement, 0);
            values += (values.empty() ? "" : " ") + std::string(text ? reinterpret_cast<const char*>(text) : "NULL");
        }
        sqlite3_finalize(statement);
        return values;
    }

private:
    sqlite3* db = nullptr;
};

} // namespace

// The tree does not keep the user's parentheses: the builder must add those
// that SQLite's own precedences need, and the values prove it.
TEST(SqlStringBuilderTest, expressionsKeepTheirMeaningInSqlite)
{
    Database db;
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"2 * (3 + 4)", "14"}, {"10 - (4 - 3)", "9"}, {"10 - 4 - 3", "3"}, {"-(-5)", "5"}, {"-(2 + 3) * 2", "-10"},
        {"+(4)", "4"},
        // The dialect's & binds looser than +, SQLite's || tighter than *.
        {"(\"1\" & \"2\") * 2", "24"}, {"\"1\" & 2 + 3", "15"}, {"7 Mod 3 + 1", "2"}, {"7 % (3 + 1)", "3"},
        {"Not (1 = 2)", "1"}, {"Not 1 = 2", "1"}, {"(1 Or 0) And 0", "0"}, {"1 Or 0 And 0", "1"}, {"(1 = 2) < 3", "1"},
        {"1 = (2 < 3)", "1"}, {"(1 = 1) = (2 = 2)", "1"}, {"3 Between 1 + 1 And 5", "1"},
        {"3 Not Between 1 And 2", "1"}, {"(3 Between 1 And 5) = 1", "1"}, {"2 In (1, 2, 3)", "1"},
        {"2 Not In (1, 3)", "1"}, {"2 In (Select a From t)", "1"}, {"\"a_c\" Like \"a\\_c\" Escape \"\\\"", "1"},
        {"\"abc\" Like \"a\\_c\" Escape \"\\\"", "0"}, {"\"abc\" Not Like \"A%\"", "0"}, {"\"abc\" Glob \"a*\"", "1"},
        {"\"abc\" Not Glob \"b*\"", "1"}, {"(1 + Null) Is Null", "1"}, {"1 Is Not Null", "1"},
        {"Null Is Null = 1", "1"}, {"1 Is Not 2", "1"}, {"\"A\" = \"a\" Collate NoCase", "1"},
        {"(\"A\" & \"B\") Collate NoCase = \"ab\"", "1"}, {"Case When 1 > 2 Then \"a\" Else \"b\" End", "b"},
        {"Case 2 When 1 Then \"x\" When 2 Then \"y\" End", "y"}, {"Case When 0 Then 1 End Is Null", "1"},
        {"Cast(\"12\" As Integer) + 1", "13"}, {"Exists (Select 1 From t Where a = 3)", "1"},
        {"Not Exists (Select 1 From t Where a = 4)", "1"}, {"True And Not False", "1"}, {"Unknown Is Null", "1"},
        {"\"it's\" & 'say \"hi\"'", "it'ssay \"hi\""}, {"&H1F + 1", "32"}, {"Count(*) = 3 Or 1", "1"},
        {"Abs(-3) + Max(1, 2)", "5"},
    };
    for (const auto& [dialect, expected] : cases) {
        const std::string sql = build(dialect);
        EXPECT_EQ(db.column("Select " + sql), expected) << dialect << " -> " << sql;
    }
}

TEST(SqlStringBuilderTest, statementsComeOutInSqliteSyntax)
{
    Database db;
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"select a, b as x from t where a > 1 order by b desc nulls last limit 5 offset 2",
         "Select a, b As x From t Where a > 1 Order By b Desc Nulls Last Limit 5 Offset 2"},
        {"Select Distinct t.* From t", "Select Distinct t.* From t"},
        {"Select a, Count(*) From t Group By a Having Count(Distinct b) > 0",
         "Select a, Count(*) From t Group By a Having Count(Distinct b) > 0"},
        {"Select t.a, u.d From t Inner Join u On t.a = u.a Left Outer Join u v On v.a = t.a Cross Join u w",
         "Select t.a, u.d From t Inner Join u On t.a = u.a Left Join u As v On v.a = t.a Cross Join u As w"},
        {"Select x.a From (Select a From t) As x, u", "Select x.a From (Select a From t) As x, u"},
        {"Select a From t Union Select a From u Order By 1", "Select a From t Union Select a From u Order By 1"},
        {"Select a From t Union All Select a From u Intersect Select a From u Except Select 3",
         "Select a From t Union All Select a From u Intersect Select a From u Except Select 3"},
        {"Select [my col], [order], `a b` From t", "Select `my col`, `order`, `a b` From t"},
        {"Insert Into u (a, d) Values (5, \"five\"), (6, Null)", "Insert Into u (a, d) Values (5, 'five'), (6, Null)"},
        {"Insert Into u Select a, b From t", "Insert Into u Select a, b From t"},
        {"Update t Set b = \"z\", c = c * 2 Where a = 1", "Update t Set b = 'z', c = c * 2 Where a = 1"},
        {"Delete From u Where a In (Select a From t Where b Is Null)",
         "Delete From u Where a In (Select a From t Where b Is Null)"},
        {"Select 1 Where 0", "Select 1 Where 0"},
    };
    for (const auto& [dialect, expected] : cases) {
        const std::string sql = build(dialect);
        EXPECT_EQ(sql, expected) << dialect;
        // `a b` names no column; everything else must be accepted as is.
        if (dialect.find("`a b`") == std::string::npos) {
            EXPECT_EQ(db.prepareError(sql), "") << sql;
        }
    }
}

TEST(SqlStringBuilderTest, statementsRunWithTheDialectsMeaning)
{
    Database db;
    db.exec(utf8(SqlStringBuilder().buildString(*parse("Update t Set c = c * 2 Where a >= 2"))));
    EXPECT_EQ(db.column(build("Select c From t Order By a")), "2.5 7.0 2.0");
    db.exec(build("Delete From t Where b Is Null"));
    db.exec(build("Insert Into t (a, b) Values (4, \"w\")"));
    EXPECT_EQ(db.column(build("Select b From t Order By a Desc")), "w y x");
    EXPECT_EQ(db.column(build("Select d From t, u Where t.a = u.a")), "one");
}

// Operators without an SQLite counterpart become calls, which SQLite parses
// and rejects only for the missing function.
TEST(SqlStringBuilderTest, dialectOnlyOperatorsBecomeFunctionCalls)
{
    Database db;
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"a Xor b", "Xor(a, b)"}, {"a \\ b + 1", "Div(a, b) + 1"}, {"a ^ 2", "Power(a, 2)"},
        {"a Contains b", "Contains(a, b)"}, {"a Contains Part b", "ContainsPart(a, b)"},
        {"a Contains Entire b", "ContainsEntire(a, b)"}, {"a Intersects b", "Intersects(a, b)"},
        {"a Within b", "Within(a, b)"}, {"a Partly Within b", "PartlyWithin(a, b)"},
        {"a Entirely Within b", "EntirelyWithin(a, b)"}, {"a Similar To b", "SimilarTo(a, b)"},
        {"a Overlaps b", "Overlaps(a, b)"},
    };
    for (const auto& [dialect, expected] : cases) {
        const std::string sql = build(dialect);
        EXPECT_EQ(sql, expected) << dialect;
        // SQLite may have a math function power().
        const std::string error = db.prepareError("Select " + sql + " From t");
        EXPECT_TRUE(error.empty() || error.rfind("no such function", 0) == 0) << sql << ": " << error;
    }
}

TEST(SqlStringBuilderTest, identifiersAreQuotedOnlyWhenNeeded)
{
    const std::pair<const wchar_t*, const wchar_t*> rows[] = {
        {L"plain_name1", L"plain_name1"}, {L"tr$$_rendition", L"tr$$_rendition"}, {L"Улица", L"Улица"},
        {L"Order", L"`Order`"}, {L"1st", L"`1st`"}, {L"$x", L"`$x`"}, {L"a`b c", L"`a``b c`"}, {L"", L"``"},
    };
    for (const auto& [name, quoted] : rows)
        EXPECT_EQ(SqlStringBuilder::quoteIdentifier(name), quoted) << utf8(name);
    Database db;
    db.exec("Create Table `we``ird table`(`x y`);Insert Into `we``ird table` Values (42);");
    EXPECT_EQ(db.column(build("Select [x y] From [we`ird table]")), "42");

    EXPECT_EQ(SqlStringBuilder::sortSuffix(true, 0), L"");
    EXPECT_EQ(SqlStringBuilder::sortSuffix(false, 1), L" Desc Nulls First");
    EXPECT_EQ(SqlStringBuilder::sortSuffix(true, 2), L" Nulls Last");
}

namespace {

class UpperContext : public StringBuildContext {
public:
    std::wstring identifier(const std::wstring& name) const override
    {
        return L"[" + QString::fromStdWString(name).toUpper().toStdWString() + L"]";
    }
};

// Records the hooks' arguments and marks the compared text of comparisons.
class HookedBuilder : public SqlStringBuilder {
public:
    using SqlStringBuilder::SqlStringBuilder;
    std::vector<std::wstring> froms, wheres;
    std::vector<std::vector<std::wstring>> parts;

protected:
    void onFrom(std::wstring& text) override { froms.push_back(text); }
    void onWhere(std::wstring& text) override
    {
        wheres.push_back(text);
        text += L" /*filter*/";
    }
    std::wstring constructSelect(std::wstring a, std::wstring b, std::wstring c, std::wstring d) override
    {
        parts.push_back({a, b, c, d});
        return SqlStringBuilder::constructSelect(a, b, c, d);
    }
    void visit(const ast::Operation& node) override
    {
        if (node.code() == OperationCode::Equal || node.code() == OperationCode::In || node.code() == OperationCode::Between ||
            node.code() == OperationCode::Like)
            processOperation(node, [](std::wstring& text) -> std::wstring& { return text += L" Collate NoCase"; });
        else
            processOperation(node);
    }
};

} // namespace

TEST(SqlStringBuilderTest, hooksSeeTheQueryParts)
{
    HookedBuilder builder;
    const std::string sql = build(builder, "Select a From t Where b = 1 Group By a Having Count(*) > 1 Order By a Limit 3");
    EXPECT_EQ(sql, "Select a From t Where b = 1 Collate NoCase /*filter*/ Group By a Having Count(*) > 1 Order By a Limit 3");
    ASSERT_EQ(builder.parts.size(), 1u);
    EXPECT_EQ(builder.parts[0], (std::vector<std::wstring>{L"Select a", L" From t", L" Where b = 1 Collate NoCase /*filter*/",
                                                            L" Group By a Having Count(*) > 1 Order By a Limit 3"}));
    EXPECT_EQ(builder.froms, (std::vector<std::wstring>{L" From t"}));
    EXPECT_EQ(builder.wheres, (std::vector<std::wstring>{L" From t Where b = 1 Collate NoCase"}));

    // A sub-query is assembled (and hooked) before the query around it; a
    // query without Where still passes its From part through onWhere.
    HookedBuilder nested;
    build(nested, "Select (Select Max(a) From u) From t");
    ASSERT_EQ(nested.parts.size(), 2u);
    EXPECT_EQ(nested.parts[0][1], L" From u");
    EXPECT_EQ(nested.parts[1][0], L"Select (Select Max(a) From u /*filter*/)");
    EXPECT_EQ(nested.parts[1][2], L" /*filter*/");

    // Update and Delete pass their head and condition through the same hooks.
    HookedBuilder update;
    EXPECT_EQ(build(update, "Update t Set a = 1"), "Update t Set a = 1 /*filter*/");
    HookedBuilder remove;
    EXPECT_EQ(build(remove, "Delete From t Where a > 2"), "Delete From t Where a > 2 /*filter*/");
    EXPECT_EQ(remove.froms, (std::vector<std::wstring>{L"Delete From t"}));
}

TEST(SqlStringBuilderTest, transformerGetsTheComparedText)
{
    Database db;
    HookedBuilder builder;
    // The compared text of Between and In is the left operand (their right
    // side is a range or a list), of the other operators the right operand;
    // an operation there is parenthesised so that the collation covers it.
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"a = b & c", "a = (b || c) Collate NoCase"}, {"a Between 1 And 2", "a Collate NoCase Between 1 And 2"},
        {"a + 1 In (1, 2)", "(a + 1) Collate NoCase In (1, 2)"},
        {"b Like \"x%\" Escape \"!\"", "b Like 'x%' Collate NoCase Escape '!'"},
    };
    for (const auto& [dialect, expected] : cases) {
        const std::string sql = build(builder, dialect);
        EXPECT_EQ(sql, expected);
        EXPECT_EQ(db.prepareError("Select " + sql + " From t"), "") << sql;
    }
    EXPECT_EQ(db.column("Select " + build(builder, "\"X\" In (\"x\")")), "1");
    EXPECT_EQ(db.column("Select " + build(builder, "\"b\" Between \"A\" And \"C\"")), "1");
}

TEST(SqlStringBuilderTest, contextDecidesIdentifiersAndBuildsAreIndependent)
{
    UpperContext context;
    SqlStringBuilder builder(&context);
    EXPECT_EQ(build(builder, "Select a As x From t Where t.b = 1"), "Select [A] As [X] From [T] Where [T].[B] = 1");
    // Every build starts from an empty stack.
    EXPECT_EQ(build(builder, "a"), "[A]");
}

TEST(SqlStringBuilderTest, deepTreesAreBuilt)
{
    // A long operator chain is as deep as the parser allows, and is built
    // on a 1 MB stack (sanitizers and unoptimised builds inflate frames
    // severalfold).
    std::string chain = "1";
    for (int i = 0; i < SqlParser::maxHeight - 2; ++i)
        chain += " - 1";
    std::string sql;
    QThread* worker = QThread::create([&] { sql = build(chain); });
#if TESSERA_SANITIZED || (defined(__GNUC__) && !defined(__OPTIMIZE__))
    worker->setStackSize(16 * 1024 * 1024);
#else
    worker->setStackSize(1024 * 1024);
#endif
    worker->start();
    ASSERT_TRUE(worker->wait(60000));
    delete worker;
    EXPECT_EQ(sql.size(), chain.size());

    std::string nested = "1";
    for (int i = 0; i < 60; ++i)
        nested = "(" + nested + " + 1) * 1";
    Database db;
    EXPECT_EQ(db.column("Select " + build(nested)), "61");
}
