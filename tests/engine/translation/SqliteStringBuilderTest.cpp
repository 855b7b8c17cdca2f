// The translator over whole queries: dialect text in, SQLite text out, and
// the text run against real tables where it needs none of the engine's SQL
// functions.

#include "tests/support/SqlTableFixture.h"

#include "platform/dp/MemoryTable.h"
#include "platform/dp/Selection.h"

#include <QRegularExpression>

#include <regex>
#include <stdexcept>

using namespace tessera;
using namespace tessera::engine;
using namespace tessera::test;

namespace {

using Rows = std::vector<std::string>;
using Pairs = std::vector<SqliteStringBuilder::NamePair>;

// The generated aliases of the selection in `sql`, in order of appearance.
std::vector<std::string> generatedAliases(const std::string& sql)
{
    std::vector<std::string> aliases;
    const std::regex alias("As (_[0-9a-f]{32})");
    for (auto it = std::sregex_iterator(sql.begin(), sql.end(), alias); it != std::sregex_iterator(); ++it)
        aliases.push_back((*it)[1]);
    return aliases;
}

} // namespace

class SqliteStringBuilderTest : public SqlTableFixture {
protected:
    void SetUp() override
    {
        SqlTableFixture::SetUp();
        // Row ids 0..4 for the features f0..f4, so f1 and f3 are rows 1 and 3.
        for (int i = 0; i < 5; ++i)
            cache.assignIdToInt(dp::FeatureId(QStringLiteral("f%1").arg(i)));
        table = std::make_shared<dp::MemoryTable>(QStringLiteral("t"), dp::TableSchema());
    }

    dp::Selection selectionOf(std::initializer_list<const char*> features) const
    {
        QVector<dp::FeatureId> ids;
        for (const char* id : features)
            ids << dp::FeatureId(QString::fromLatin1(id));
        return dp::Selection(table, ids);
    }

    std::shared_ptr<dp::Table> table;
};

TEST_F(SqliteStringBuilderTest, geometryAndStyleColumnsGetTheHiddenNames)
{
    SqliteStringBuilder builder = makeBuilder();
    builder.setNeedColumns(true);
    const std::string sql =
        translate(builder, "Select obj, OBJECT, Obj, objects, objid, style, TR$$_Rendition, t.obj, styles From t");
    EXPECT_EQ(sql, "Select " + geo + ", " + geo + ", " + geo + ", objects, objid, " + sty + ", " + sty + ", t." + geo +
                       ", styles From t");
    EXPECT_EQ(builder.columns(), (Pairs{{L"", wide(geo)}, {L"", wide(geo)}, {L"", wide(geo)}, {L"", L"objects"},
                                        {L"", L"objid"}, {L"", wide(sty)}, {L"", wide(sty)}, {L"t", wide(geo)},
                                        {L"", L"styles"}}));
    EXPECT_FALSE(builder.isIdUsed());

    EXPECT_EQ(rows(translate("Select a From t Where obj Is Not Null And Style = \"red\"")), (Rows{"1", "4"}));
    // Columns are not recorded unless asked for.
    SqliteStringBuilder quiet = makeBuilder();
    translate(quiet, "Select a From t");
    EXPECT_TRUE(quiet.columns().empty());

    // Insert and Update name the hidden columns too.
    exec(translate("Update t Set style = \"green\" Where a = 2"));
    exec(translate("Insert Into t (a, obj, tr$$_rendition) Values (5, Null, \"pink\")"));
    EXPECT_EQ(rows(translate("Select a, style From t Where a In (2, 5)")), (Rows{"2|green", "5|pink"}));

    // The single rewrites report whether they applied.
    SqliteStringBuilder single = makeBuilder();
    EXPECT_FALSE(single.visitGeo(sql::ast::ColumnReference(L"", L"style")));
    EXPECT_FALSE(single.visitStyle(sql::ast::ColumnReference(L"", L"object")));
    EXPECT_TRUE(single.visitStyle(sql::ast::ColumnReference(L"x", L"Style")));
}

TEST_F(SqliteStringBuilderTest, rowidUseIsNoticed)
{
    for (const char* text : {"Select ROWID From t", "Select a From t Where t.RowId > 2", "Select a From t Order By rowid"}) {
        SqliteStringBuilder builder = makeBuilder();
        translate(builder, text);
        EXPECT_TRUE(builder.isIdUsed()) << text;
    }
    SqliteStringBuilder builder = makeBuilder();
    translate(builder, "Select rowids, a As rowid From t");
    EXPECT_FALSE(builder.isIdUsed());
}

TEST_F(SqliteStringBuilderTest, selectionBecomesARowIdFilter)
{
    SqliteStringBuilder builder = makeBuilder();
    builder.setSelection(selectionOf({"f1", "f3", "f1"}), &cache);

    std::string sql = translate(builder, "Select a From Selection");
    std::vector<std::string> aliases = generatedAliases(sql);
    ASSERT_EQ(aliases.size(), 1u) << sql;
    EXPECT_EQ(sql, "Select a From t As " + aliases[0] + " Where " + aliases[0] + ".rowid In (1,3)");
    EXPECT_TRUE(builder.isIdUsed());
    EXPECT_EQ(rows(sql), (Rows{"1", "3"}));

    // An existing condition is followed by the filter.
    SqliteStringBuilder withWhere = makeBuilder();
    withWhere.setSelection(selectionOf({"f1", "f3"}), &cache);
    sql = translate(withWhere, "Select s.a From Selection s Where s.a > 1");
    EXPECT_EQ(sql, "Select s.a From t As s Where (s.a > 1 Collate Locale) And s.rowid In (1,3)");
    EXPECT_EQ(rows(sql), (Rows{"3"}));

    // Two unnamed references get two aliases, both filtered; a qualified
    // column goes to the alias that sorts first.
    SqliteStringBuilder twice = makeBuilder();
    twice.setSelection(selectionOf({"f1", "f3"}), &cache);
    sql = translate(twice, "Select Count(*), Max(Selection.a) From Selection, Selection");
    aliases = generatedAliases(sql);
    ASSERT_EQ(aliases.size(), 2u) << sql;
    EXPECT_NE(aliases[0], aliases[1]);
    const std::string first = std::min(aliases[0], aliases[1]);
    const std::string second = std::max(aliases[0], aliases[1]);
    EXPECT_NE(sql.find("Max(" + first + ".a)"), std::string::npos) << sql;
    EXPECT_NE(sql.find(" Where " + first + ".rowid In (1,3) And " + second + ".rowid In (1,3)"), std::string::npos) << sql;
    EXPECT_EQ(rows(sql), (Rows{"4|3"}));

    SqliteStringBuilder star = makeBuilder();
    star.setSelection(selectionOf({"f3"}), &cache);
    EXPECT_EQ(rows(translate(star, "Select Selection.*, u.d From Selection, u Where Selection.a = u.a")),
              (Rows{"3|z|Gamma|\x03|-|three"}));

    // Only the query that reads the selection is filtered.
    SqliteStringBuilder nested = makeBuilder();
    nested.setSelection(selectionOf({"f1", "f3"}), &cache);
    sql = translate(nested, "Select d From u Where a In (Select a From Selection) Order By d");
    EXPECT_EQ(sql.find("rowid"), sql.rfind("rowid"));
    EXPECT_EQ(rows(sql), (Rows{"one", "three"}));
    EXPECT_EQ(translate(nested, "Select a From t"), "Select a From t");
}

TEST_F(SqliteStringBuilderTest, selectionFilterKeepsTheConditionWhole)
{
    // Rows 3 and 7 are selected; rows 1 and 2 (a = 1, a = 2) are not.
    for (int i = 5; i < 8; ++i)
        cache.assignIdToInt(dp::FeatureId(QStringLiteral("f%1").arg(i)));
    SqliteStringBuilder select = makeBuilder();
    select.setSelection(selectionOf({"f3", "f7"}), &cache);
    const std::string sql = translate(select, "Select a From Selection s Where a = 1 Or a = 2");
    EXPECT_EQ(sql, "Select a From t As s Where (a = 1 Collate Locale Or a = 2 Collate Locale) And s.rowid In (3,7)");
    EXPECT_EQ(rows(sql), Rows{});

    SqliteStringBuilder remove = makeBuilder();
    remove.setSelection(selectionOf({"f3", "f7"}), &cache);
    exec(translate(remove, "Delete From Selection Where a = 1 Or a = 2"));
    EXPECT_EQ(rows("Select a From t"), (Rows{"1", "2", "3", "4"}));
}

TEST_F(SqliteStringBuilderTest, selectionInChangingStatements)
{
    SqliteStringBuilder update = makeBuilder();
    update.setSelection(selectionOf({"f1", "f3"}), &cache);
    exec(translate(update, "Update Selection Set b = \"sel\""));
    EXPECT_EQ(rows("Select rowid From t Where b = 'sel'"), (Rows{"1", "3"}));

    SqliteStringBuilder remove = makeBuilder();
    remove.setSelection(selectionOf({"f1", "f3"}), &cache);
    exec(translate(remove, "Delete From Selection Where a > 1"));
    EXPECT_EQ(rows("Select a From t"), (Rows{"1", "2", "4"}));

    SqliteStringBuilder insert = makeBuilder();
    insert.setSelection(selectionOf({"f1"}), &cache);
    EXPECT_EQ(translate(insert, "Insert Into Selection (a) Values (9)"), "Insert Into t (a) Values (9)");
}

TEST_F(SqliteStringBuilderTest, missingSelectionIsAnError)
{
    // No selection at all: one error per reference, the text is still built.
    SqliteStringBuilder none = makeBuilder();
    const std::string sql = build(none, "Select a From Selection, Selection x");
    EXPECT_NE(sql.find("From Selection As _"), std::string::npos) << sql;
    ASSERT_EQ(none.errors().size(), 2u);
    for (const auto& error : none.errors())
        EXPECT_EQ(error->errorType(), sql::SelectionTableIsAbsentType);
    EXPECT_TRUE(none.isIdUsed());

    // An empty selection, and a selection without a cache to number it.
    SqliteStringBuilder empty = makeBuilder();
    empty.setSelection(selectionOf({}), &cache);
    EXPECT_EQ(translate(empty, "Select a From Selection"), "");
    ASSERT_EQ(empty.errors().size(), 1u);
    EXPECT_EQ(empty.errors().front()->errorType(), sql::SelectionTableIsAbsentType);

    SqliteStringBuilder uncounted = makeBuilder();
    uncounted.setSelection(selectionOf({"f1"}), nullptr);
    EXPECT_EQ(translate(uncounted, "Select a From Selection"), "");

    // A selection that was set and then replaced by an empty one is gone.
    SqliteStringBuilder reset = makeBuilder();
    reset.setSelection(selectionOf({"f1"}), &cache);
    reset.setSelection(dp::Selection(), &cache);
    EXPECT_EQ(translate(reset, "Select a From Selection"), "");
}

TEST_F(SqliteStringBuilderTest, dependenciesAndPrimaries)
{
    SqliteStringBuilder builder = makeBuilder();
    builder.setNeedDependencies(true);
    builder.setSelection(selectionOf({"f1"}), &cache);
    const std::string sql =
        translate(builder, "Select x.a From t x, (Select a From u) y Where x.a In (Select a From Selection s)");
    EXPECT_EQ(builder.dependencies(), (Pairs{{L"t", L"x"}, {L"u", L""}, {L"t", L"s"}}));
    EXPECT_EQ(builder.primaries(), (Pairs{{L"t", L"x"}}));
    EXPECT_EQ(rows(sql), (Rows{"1", "1"}));

    SqliteStringBuilder quiet = makeBuilder();
    translate(quiet, "Select a From t Join u On t.a = u.a");
    EXPECT_TRUE(quiet.dependencies().empty());
    EXPECT_TRUE(quiet.primaries().empty());
}

TEST_F(SqliteStringBuilderTest, operatorsBecomeEngineFunctions)
{
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"a Xor b", "xor(a, b)"},
        {"(a Xor b) / c", "divide(xor(a, b), c)"},
        {"a + b * 2", "concat(a, b * 2)"},
        {"a \\ b", "quotient(a, b)"},
        {"a Div b", "quotient(a, b)"},
        {"a Mod b", "modulo(a, b)"},
        {"a ^ -b", "involution(a, -b)"},
        {"a Contains b", "ContainsCentroid(a, b)"},
        {"a Contains Part b", "GeometryIntersects(a, b)"},
        {"a Intersects b", "GeometryIntersects(a, b)"},
        {"a Partly Within b", "GeometryIntersects(a, b)"},
        {"a Contains Entire b", "GeometryContains(a, b)"},
        {"a Within b", "CentroidWithin(a, b)"},
        {"a Entirely Within b", "GeometryWithin(a, b)"},
        {"obj Intersects t.obj", "GeometryIntersects(" + geo + ", t." + geo + ")"},
        {"-(a + b)", "-concat(a, b)"},
        {"(a - b) * c", "(a - b) * c"},
        {"a & b & \"c\"", "a || b || 'c'"},
        {"Unknown", "NULL"},
        {"True Or False", "True Or False"},
        {"'it''s' & \"say \"\"hi\"\"\"", "'it''s' || 'say \"hi\"'"},
        {"a Regexp \"x\"", "a Regexp 'x'"},
        {"a Not Glob \"x\"", "a Not Glob 'x'"},
        {"a Is Not b", "a Is Not b"},
        {"a Is Null", "a Is Null"},
        {"a Collate NoCase", "a Collate NoCase"},
        // A left-leaning chain of one operator is one call; others nest.
        {"a + b + c - d + e", "concat(concat(a, b, c) - d, e)"},
        {"a / b / c * d", "divide(a, b, c) * d"},
        {"a ^ b ^ c", "involution(a, b, c)"},
        {"a ^ (b ^ c)", "involution(a, involution(b, c))"},
        {"a Mod b \\ c Mod d", "modulo(quotient(modulo(a, b), c), d)"},
        {"a Xor b Xor c And d", "xor(a, b, c) And d"},
        {"a Intersects b Intersects c", "GeometryIntersects(GeometryIntersects(a, b), c)"},
    };
    for (const auto& [dialect, expected] : cases)
        EXPECT_EQ(translate(dialect, true), expected) << dialect;
}

TEST_F(SqliteStringBuilderTest, textComparisonsTakeTheCollation)
{
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"b = name", "b = name Collate Locale"},
        {"b <> name", "b <> name Collate Locale"},
        {"b < name", "b < name Collate Locale"},
        {"b > name", "b > name Collate Locale"},
        {"b <= name", "b <= name Collate Locale"},
        {"b >= name", "b >= name Collate Locale"},
        {"b Like \"a%\"", "b Like 'a%' Collate Locale"},
        {"b Not Like \"a%\" Escape \"!\"", "b Not Like 'a%' Collate Locale Escape '!'"},
        {"b Between \"a\" And \"c\"", "b Collate Locale Between 'a' And 'c'"},
        {"b Not Between \"a\" And \"c\"", "b Collate Locale Not Between 'a' And 'c'"},
        {"b In (\"a\", \"c\")", "b Collate Locale In ('a', 'c')"},
        {"b Not In (Select d From u)", "b Collate Locale Not In (Select d From u)"},
        {"b Glob \"a*\"", "b Glob 'a*' Collate Locale"},
        {"a + 1 = b & \"\"", "concat(a, 1) = (b || '') Collate Locale"},
        // A collation the user wrote decides, on either side.
        {"b = name Collate Binary", "b = name Collate Binary"},
        {"b Collate Binary < name", "b Collate Binary < name"},
    };
    for (const auto& [dialect, expected] : cases)
        EXPECT_EQ(translate(dialect, true), expected) << dialect;

    // Without a collation name nothing is appended.
    SqliteStringBuilder plain = makeBuilder();
    EXPECT_EQ(build(plain, "b = name And b In (1)"), "b = name And b In (1)");

    // The collation decides the comparison that SQLite makes.
    // (The test collation ignores case.)
    EXPECT_EQ(rows(translate("Select a From t Where name < \"bz\" Order By a")), (Rows{"1", "2"}));
    EXPECT_EQ(rows(translate("Select a From t Where name In ('ALPHA', 'gamma') Order By a")), (Rows{"1", "3"}));
}

TEST_F(SqliteStringBuilderTest, functionsAreRenamed)
{
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"Round(a, 2)", "RoundTo(a, 2)"},
        {"ROUND(a)", "ROUNDTo(a)"},
        {"Left(b, 1) & right(b, 2)", "Left$(b, 1) || right$(b, 2)"},
        {"Area(obj, \"sq km\")", "ObjectArea(" + geo + ", 'sq km')"},
        {"perimeter(obj)", "Objectperimeter(" + geo + ")"},
        {"Distance(obj, t.obj, \"m\")", "ObjectDistance(" + geo + ", t." + geo + ", 'm')"},
        {"MakeValid(obj)", "MakeValidGeo(" + geo + ")"},
        {"Count(*)", "Count(*)"},
        {"Count(Distinct a)", "Count(Distinct a)"},
        {"Abs(Round(a))", "Abs(RoundTo(a))"},
        {"Areas(a)", "Areas(a)"},
    };
    for (const auto& [dialect, expected] : cases)
        EXPECT_EQ(translate(dialect, true), expected) << dialect;
}

TEST_F(SqliteStringBuilderTest, whiteListCollectsUnsupportedFunctions)
{
    SqliteStringBuilder open = makeBuilder();
    EXPECT_EQ(translate(open, "Foo(a)", true), "Foo(a)");
    EXPECT_TRUE(open.unsupportedList().empty());

    SqliteStringBuilder builder = makeBuilder();
    builder.setWhiteList({"Abs", "round"});
    EXPECT_EQ(build(builder, "Abs(a) - ROUND(a) - foo(a) - FOO(b) - Bar(Foo(a)) - rownum"),
              "Abs(a) - ROUNDTo(a) - foo(a) - FOO(b) - Bar(Foo(a)) - row_number() Over ()");
    const std::vector<QString> unsupported(builder.unsupportedList().begin(), builder.unsupportedList().end());
    EXPECT_EQ(unsupported, (std::vector<QString>{"Bar", "foo"}));
    EXPECT_TRUE(builder.errors().empty());
    EXPECT_TRUE(builder.hasErrors());

    builder.addTranslateErrors();
    ASSERT_EQ(builder.errors().size(), 2u);
    EXPECT_STREQ(builder.errors()[0]->what(), "Bar");
    EXPECT_STREQ(builder.errors()[1]->what(), "foo");
    EXPECT_EQ(builder.errors()[1]->errorType(), sql::UnknownFunctionType);
    EXPECT_EQ(builder.unsupportedList().size(), 2u);

    // A name that the translator renames is allowed when its new name is.
    SqliteStringBuilder renamed = makeBuilder();
    renamed.setWhiteList({"left$", "RoundTo"});
    EXPECT_EQ(build(renamed, "Left(b, 1) & Round(a) & Right(b, 1)"), "Left$(b, 1) || RoundTo(a) || Right$(b, 1)");
    EXPECT_EQ(std::vector<QString>(renamed.unsupportedList().begin(), renamed.unsupportedList().end()),
              std::vector<QString>{"Right"});

    // Through the translation entry the query is then not produced; the
    // error tells where the name was first written.
    SqliteStringBuilder entry = makeBuilder();
    entry.setWhiteList({"abs"});
    EXPECT_EQ(translate(entry, "Select Abs(a), Sum(a) From t"), "");
    EXPECT_TRUE(entry.query().empty());
    ASSERT_EQ(entry.errors().size(), 1u);
    EXPECT_STREQ(entry.errors()[0]->what(), "Sum");
    const auto* unknown = dynamic_cast<const sql::UnknownFunction*>(entry.errors()[0].get());
    ASSERT_NE(unknown, nullptr);
    EXPECT_EQ(unknown->line(), 1);
    EXPECT_EQ(unknown->column(), 16);
}

TEST_F(SqliteStringBuilderTest, rownumFollowsTheQueryOrder)
{
    EXPECT_EQ(translate("rownum", true), "row_number() Over ()");
    EXPECT_EQ(translate("rownum() + 1", true), "concat(row_number() Over (), 1)");

    std::string sql = translate("Select a, rownum From t Order By a Desc");
    EXPECT_EQ(sql, "Select a, row_number() Over (Order By a Desc) From t Order By a Desc");
    EXPECT_EQ(rows(sql), (Rows{"4|1", "3|2", "2|3", "1|4"}));

    // Positions and aliases stand for the selected expressions.
    sql = translate("Select a, b & \"!\" As x, rownum From t Order By x");
    EXPECT_EQ(sql, "Select a, b || '!' As x, row_number() Over (Order By b || '!') From t Order By x");
    EXPECT_EQ(rows(sql), (Rows{"4|w!|1", "1|x!|2", "2|y!|3", "3|z!|4"}));
    sql = translate("Select a, a * -2, rownum From t Order By 2 Desc, 1 Nulls First");
    EXPECT_EQ(sql, "Select a, a * -2, row_number() Over (Order By a * -2 Desc,a Nulls First) From t "
                   "Order By 2 Desc, 1 Nulls First");
    EXPECT_EQ(rows(sql), (Rows{"1|-2|1", "2|-4|2", "3|-6|3", "4|-8|4"}));

    // With an asterisk the position names a column of a source.
    sql = translate("Select *, rownum From t Order By 3 Desc");
    EXPECT_NE(sql.find("row_number() Over (Order By t.name Desc)"), std::string::npos) << sql;
    // Out of range: the term is kept as written and SQLite judges it.
    sql = translate("Select a, rownum From t Order By 7");
    EXPECT_NE(sql.find("Over (Order By 7)"), std::string::npos) << sql;

    // Every rownum of a query gets the query's ordering, a sub-query its own.
    sql = translate("Select x.r, rownum, rownum * 10 From (Select a, rownum As r From t Order By a Desc) x Order By x.a");
    EXPECT_EQ(sql, "Select x.r, row_number() Over (Order By x.a), row_number() Over (Order By x.a) * 10 From "
                   "(Select a, row_number() Over (Order By a Desc) As r From t Order By a Desc) As x Order By x.a");
    EXPECT_EQ(rows(sql), (Rows{"4|1|10", "3|2|20", "2|3|30", "1|4|40"}));

    // A query without rownum keeps its ordering untouched.
    EXPECT_EQ(translate("Select a From t Order By 1 Desc"), "Select a From t Order By 1 Desc");
}

// rownum counts the rows in the order of the sort, whichever item of the
// select list the ordering names, the last one included.
TEST_F(SqliteStringBuilderTest, rownumCountsInTheOrderOfTheSort)
{
    const struct {
        const char* name;
        const char* text;
        Rows expected;
    } cases[] = {
        // Binary order: capitals first.
        {"last of two positions", "Select rownum, name From t Order By 2", {"1|Alpha", "2|Gamma", "3|beta", "4|delta"}},
        {"last of two, descending", "Select rownum, name From t Order By 2 Desc",
         {"1|delta", "2|beta", "3|Gamma", "4|Alpha"}},
        {"first of two", "Select name, rownum From t Order By 1 Desc", {"delta|1", "beta|2", "Gamma|3", "Alpha|4"}},
        {"alias of the last", "Select rownum, b As x From t Order By x", {"1|w", "2|x", "3|y", "4|z"}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(rows(translate(c.text)), c.expected) << c.name;
}

TEST_F(SqliteStringBuilderTest, orderingByRownumIsAnError)
{
    SqliteStringBuilder builder = makeBuilder();
    EXPECT_EQ(translate(builder, "Select a, rownum From t Order By rownum"), "");
    ASSERT_EQ(builder.errors().size(), 1u);
    EXPECT_EQ(builder.errors()[0]->errorType(), 26);
    EXPECT_NE(dynamic_cast<const sql::SqlSemanticError*>(builder.errors()[0].get()), nullptr);
    EXPECT_STREQ(builder.errors()[0]->what(), "Sql semantic error");

    // The rest of the ordering is still built.
    SqliteStringBuilder rest = makeBuilder();
    EXPECT_EQ(build(rest, "Select rownum As n From t Order By n, rownum + 1, a"),
              "Select row_number() Over (Order By a) As n From t Order By n, concat(row_number() Over (Order By a), 1), a");
    EXPECT_EQ(rest.errors().size(), 2u);
}

TEST_F(SqliteStringBuilderTest, misplacedRownumIsATranslationError)
{
    const char* const misplaced = "rownum may stand only in the select list of a query";
    struct Case {
        const char* name;
        const char* text;
        const char* message; // null: translates
    };
    const Case cases[] = {
        {"where", "Select a From t Where rownum > 1", "line 1, column 23: "},
        {"group by", "Select a From t Group By rownum", "line 1, column 26: "},
        {"having", "Select a From t Group By a Having rownum > 1", "line 1, column 35: "},
        {"join condition", "Select t.a From t Join u On rownum = u.a", "line 1, column 29: "},
        {"update", "Update t Set a = rownum", "line 1, column 18: "},
        {"delete", "Delete From t Where rownum = 1", "line 1, column 21: "},
        {"position beyond int", "Select rownum From t Order By 99999999999",
         "the Order By position 99999999999 is out of range"},
        {"select list", "Select a, rownum + 1 From t", nullptr},
        {"sub-query's select list in a Where", "Select a From t Where a In (Select rownum From u)", nullptr},
        {"bare expression", "rownum * 2", nullptr},
    };
    for (const Case& c : cases) {
        SqliteStringBuilder builder = makeBuilder();
        const bool translated = translateQuery(&runtime, c.text, builder, false);
        if (!c.message) {
            EXPECT_TRUE(translated) << c.name;
            continue;
        }
        ASSERT_FALSE(translated) << c.name;
        ASSERT_EQ(builder.errors().size(), 1u) << c.name;
        EXPECT_EQ(builder.errors()[0]->errorType(), sql::TranslationErrorType) << c.name;
        const std::string what = builder.errors()[0]->what();
        EXPECT_EQ(what.rfind(c.message, 0), 0u) << c.name << ": " << what;
        if (std::string(c.name) != "position beyond int") {
            EXPECT_NE(what.find(misplaced), std::string::npos) << c.name << ": " << what;
        }
    }
    // The builder is usable again afterwards, and a position beyond int
    // without rownum is left to SQLite.
    SqliteStringBuilder builder = makeBuilder();
    EXPECT_EQ(build(builder, "Select a From t Order By 99999999999"), "Select a From t Order By 99999999999");
}

TEST_F(SqliteStringBuilderTest, insertOffsetMarksTheTailOfTheOutermostQuery)
{
    SqliteStringBuilder fresh = makeBuilder();
    EXPECT_EQ(fresh.insertOffset(), 0);
    EXPECT_FALSE(fresh.isAggregate());

    auto tailOf = [this](const std::string& text, bool* aggregate = nullptr) {
        SqliteStringBuilder builder = makeBuilder();
        builder.setSelection(selectionOf({"f1", "f3"}), &cache);
        const std::string sql = translate(builder, text);
        if (aggregate)
            *aggregate = builder.isAggregate();
        const auto offset = builder.insertOffset();
        EXPECT_GE(offset, 0);
        EXPECT_LE(offset, static_cast<std::int64_t>(sql.size()));
        return utf8(builder.query().substr(static_cast<std::size_t>(offset)));
    };
    bool aggregate = true;
    EXPECT_EQ(tailOf("Select a From t Where a > 1 Order By a", &aggregate), " Order By a");
    EXPECT_FALSE(aggregate);
    EXPECT_EQ(tailOf("Select a, Count(*) From t Group By a Having a > 1", &aggregate), " Group By a Having a > 1 Collate Locale");
    EXPECT_TRUE(aggregate);
    EXPECT_EQ(tailOf("Select a From Selection Order By a Limit 1"), " Order By a Limit 1");
    EXPECT_EQ(tailOf("Select rownum, a From t Where a > 1 Order By a Desc"), " Order By a Desc");
    EXPECT_EQ(tailOf("Select rownum, (Select Max(a) From u Group By d Order By 1) From t"), "");
    EXPECT_EQ(tailOf("Select a From (Select a From t Group By a) Order By 1", &aggregate), " Order By 1");
    EXPECT_FALSE(aggregate);
}
