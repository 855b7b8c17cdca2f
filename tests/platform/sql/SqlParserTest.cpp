#include "platform/sql/SqlParser.h"

#include "platform/sql/SingleTypeVisitor.h"
#include "platform/sql/SqlRuntime.h"
#include "tests/platform/sql/TreeText.h"
#include "tests/Sanitizers.h"

#include <QThread>

#include <random>

#include <gtest/gtest.h>

using namespace tessera::sql;
using tessera::sql::test::TreeText;

namespace {

// The tree of `text`, or "error: <what>" when the parser refuses it.
std::string tree(const std::string& text, const ParseContext* context = nullptr)
{
    SqlParser parser(context);
    if (!parser.parse(text)) {
        EXPECT_FALSE(parser.errors().empty()) << text;
        EXPECT_EQ(parser.root(), nullptr) << text;
        return parser.errors().empty() ? "error" : std::string("error: ") + parser.errors().front()->what();
    }
    EXPECT_TRUE(parser.errors().empty()) << text;
    EXPECT_NE(parser.root(), nullptr) << text;
    return TreeText::of(parser.root());
}

// The parser's report for text that it must refuse.
std::shared_ptr<ParseError> refusal(const std::string& text)
{
    SqlParser parser(nullptr);
    EXPECT_FALSE(parser.parse(text)) << text;
    if (parser.errors().size() != 1) {
        ADD_FAILURE() << "one error expected for " << text;
        return nullptr;
    }
    auto error = std::dynamic_pointer_cast<ParseError>(parser.errors().front());
    EXPECT_NE(error, nullptr) << text;
    return error;
}

// The stack of the worker in the deep-nesting test: 1 MB, the smallest main
// thread stack of a desktop system; sanitizers inflate frames severalfold.
#if TESSERA_SANITIZED
constexpr unsigned stackForDeepTexts = 8 * 1024 * 1024;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
constexpr unsigned stackForDeepTexts = 8 * 1024 * 1024;
#else
constexpr unsigned stackForDeepTexts = 1024 * 1024;
#endif
#else
constexpr unsigned stackForDeepTexts = 1024 * 1024;
#endif

std::string repeat(const std::string& s, int n)
{
    std::string r;
    for (int i = 0; i < n; ++i)
        r += s;
    return r;
}

} // namespace

TEST(SqlParser, BinaryOperatorsCarryTheirCodes)
{
    const std::pair<const char*, int> cases[] = {
        {"a Or b", 1},          {"a Xor b", 2},        {"a And b", 3},           {"a = b", 5},
        {"a == b", 5},          {"a <> b", 6},         {"a != b", 6},            {"a < b", 7},
        {"a > b", 8},           {"a Similar To b", 10}, {"a - b", 12},           {"a * b", 13},
        {"a <= b", 17},         {"a >= b", 18},        {"a Regexp b", 20},       {"a Glob b", 26},
        {"a & b", 27},          {"a || b", 27},        {"a Is b", 28},           {"a Is Not b", 29},
        {"a Not Regexp b", 30}, {"a Overlaps b", 31},  {"a + b", 32},            {"a Not Glob b", 33},
        {"a / b", 35},          {"a \\ b", 36},        {"a Div b", 36},          {"a Mod b", 37},
        {"a % b", 37},          {"a ^ b", 38},         {"a Contains b", 39},     {"a Contains Part b", 40},
        {"a Contains Entire b", 41}, {"a Intersects b", 42}, {"a Within b", 43}, {"a Partly Within b", 44},
        {"a Entirely Within b", 45},
    };
    for (const auto& [text, code] : cases)
        EXPECT_EQ(tree(text), "(a #" + std::to_string(code) + " b)") << text;

    // Keywords in any case.
    EXPECT_EQ(tree("a oR b"), "(a #1 b)");
    EXPECT_EQ(tree("a CONTAINS part b"), "(a #40 b)");
    EXPECT_EQ(tree("a mod b"), "(a #37 b)");
}

TEST(SqlParser, PredicatesAndUnaryOperators)
{
    EXPECT_EQ(tree("Not a"), "(#4 a)");
    EXPECT_EQ(tree("a Is Null"), "(#9 a)");
    EXPECT_EQ(tree("a Is Not Null"), "(#11 a)");
    EXPECT_EQ(tree("-a"), "(#14 a)");
    EXPECT_EQ(tree("+a"), "(#15 a)");
    EXPECT_EQ(tree("Exists (Select 1)"), "(#16 sub{select 1})");
    EXPECT_EQ(tree("Not Exists (Select 1)"), "(#4 (#16 sub{select 1}))");
    EXPECT_EQ(tree("a Like 'x%'"), "(a #19 'x%')");
    EXPECT_EQ(tree("a Like 'x!%' Escape '!'"), "(a #19 'x!%' esc '!')");
    EXPECT_EQ(tree("a Not Like 'x' Escape '\\'"), "(a #21 'x' esc '\\')");
    EXPECT_EQ(tree("a Between 1 And 2"), "(a #22 [1..2])");
    EXPECT_EQ(tree("a Not Between 1 + 1 And 2 * 3"), "(a #23 [(1 #32 1)..(2 #13 3)])");
    EXPECT_EQ(tree("a In (1, 2, 3)"), "(a #24 list(1, 2, 3))");
    EXPECT_EQ(tree("a In ()"), "(a #24 list())");
    EXPECT_EQ(tree("a Not In (Select b From t)"), "(a #25 sub{select b from table t})");
    EXPECT_EQ(tree("a Collate nocase"), "(a #34 coll:nocase)");
    EXPECT_EQ(tree("a Collate [Locale] = b"), "((a #34 coll:Locale) #5 b)");
    // A Between's And is not the logical And.
    EXPECT_EQ(tree("a Between 1 And 2 And b"), "((a #22 [1..2]) #3 b)");
}

TEST(SqlParser, PrecedenceFromLoosestToTightest)
{
    EXPECT_EQ(tree("a Or b And c"), "(a #1 (b #3 c))");
    EXPECT_EQ(tree("a And b Or c"), "((a #3 b) #1 c)");
    // Xor and And share a level, left to right.
    EXPECT_EQ(tree("a Xor b And c"), "((a #2 b) #3 c)");
    EXPECT_EQ(tree("a And b Xor c"), "((a #3 b) #2 c)");
    EXPECT_EQ(tree("a Or b Xor c"), "(a #1 (b #2 c))");
    EXPECT_EQ(tree("Not a And b"), "((#4 a) #3 b)");
    EXPECT_EQ(tree("Not a = b"), "(#4 (a #5 b))");
    EXPECT_EQ(tree("a = b Contains c"), "(a #5 (b #39 c))");
    EXPECT_EQ(tree("a Intersects b & c"), "(a #42 (b #27 c))");
    EXPECT_EQ(tree("a & b + c"), "(a #27 (b #32 c))");
    EXPECT_EQ(tree("a + b & c"), "((a #32 b) #27 c)");
    EXPECT_EQ(tree("a + b * c"), "(a #32 (b #13 c))");
    EXPECT_EQ(tree("a - b - c"), "((a #12 b) #12 c)");
    EXPECT_EQ(tree("a / b \\ c Mod d"), "(((a #35 b) #36 c) #37 d)");
    EXPECT_EQ(tree("a * b ^ c"), "(a #13 (b #38 c))");
    EXPECT_EQ(tree("-a ^ b"), "((#14 a) #38 b)");
    EXPECT_EQ(tree("a ^ -b"), "(a #38 (#14 b))");
    EXPECT_EQ(tree("- -a"), "(#14 (#14 a))");
    EXPECT_EQ(tree("(a + b) * c"), "((a #32 b) #13 c)");
    EXPECT_EQ(tree("a Like b Or c Is Null"), "((a #19 b) #1 (#9 c))");
    EXPECT_EQ(tree("a < b = c"), "((a #7 b) #5 c)");
    EXPECT_EQ(tree("a + b Between c - 1 And c + 1"), "((a #32 b) #22 [(c #12 1)..(c #32 1)])");
}

TEST(SqlParser, LiteralsNamesAndCalls)
{
    EXPECT_EQ(tree("42"), "42");
    EXPECT_EQ(tree("4.2"), "r:4.2");
    EXPECT_EQ(tree(".5"), "r:.5");
    EXPECT_EQ(tree("1.5E+3"), "r:1.5E+3");
    EXPECT_EQ(tree("&H1F"), "31");
    EXPECT_EQ(tree("0x1f"), "31");
    EXPECT_EQ(tree("Name&Height + &H10"), "(Name #27 (Height #32 16))");
    EXPECT_EQ(tree("\"say \"\"hi\"\"\""), "'say \"hi\"'");
    EXPECT_EQ(tree("'it''s'"), "'it's'");
    EXPECT_EQ(tree("''"), "''");
    EXPECT_EQ(tree("True"), "truth2");
    EXPECT_EQ(tree("false"), "truth0");
    EXPECT_EQ(tree("UNKNOWN"), "truth1");
    EXPECT_EQ(tree("Null"), "null");
    EXPECT_EQ(tree("t.a"), "t.a");
    EXPECT_EQ(tree("[my table].`my col`"), "my table.my col");
    EXPECT_EQ(tree("tr$$_rendition"), "tr$$_rendition");
    EXPECT_EQ(tree("t.[from]"), "t.from");
    EXPECT_EQ(tree("t.From"), "t.From");

    EXPECT_EQ(tree("Area(obj, \"sq km\") > 10"), "(Area(obj, 'sq km') #8 10)");
    EXPECT_EQ(tree("Count(*)"), "Count{2}()");
    EXPECT_EQ(tree("count(Distinct a)"), "count{1}(a)");
    EXPECT_EQ(tree("Sum(All a)"), "Sum(a)");
    EXPECT_EQ(tree("CurDate()"), "CurDate()");
    EXPECT_EQ(tree("Left$(a, 2) & Str$(b)"), "(Left$(a, 2) #27 Str$(b))");
    EXPECT_EQ(tree("Left(a, 2)"), "Left(a, 2)");
    // Reserved words that are also functions read as calls before "(".
    EXPECT_EQ(tree("Asc(\"A\")"), "Asc('A')");
    EXPECT_EQ(tree("Like(a, b)"), "Like(a, b)");
    EXPECT_EQ(tree("Xor(a, b)"), "Xor(a, b)");
    EXPECT_EQ(tree("a Like (b)"), "(a #19 b)");

    EXPECT_EQ(tree("rownum"), "rownum{4}");
    EXPECT_EQ(tree("RowNum()"), "RowNum()");
    EXPECT_EQ(tree("rownum + 1"), "(rownum{4} #32 1)");
    EXPECT_EQ(tree("[rownum]"), "rownum");
    EXPECT_EQ(tree("t.rownum"), "t.rownum");

    EXPECT_EQ(tree("Case When a > 1 Then 'x' When a < 0 Then 'y' Else 'z' End"),
              "case when (a #8 1) then 'x' when (a #7 0) then 'y' else 'z' end");
    EXPECT_EQ(tree("Case a When 1 Then 2 End"), "case a when 1 then 2 end");
    EXPECT_EQ(tree("Cast(a As Integer)"), "cast(a as Integer)");
    EXPECT_EQ(tree("Cast(a As Decimal(10, 2))"), "cast(a as Decimal(10, 2))");
    EXPECT_EQ(tree("Cast(a As Double Precision)"), "cast(a as Double Precision)");
    EXPECT_EQ(tree("(Select Max(a) From t) + 1"), "(sub{select Max(a) from table t} #32 1)");
    EXPECT_EQ(tree("(a, b)"), "list(a, b)");
}

TEST(SqlParser, FunctionNodesKnowTheirCatalogueValue)
{
    const ParseContext context;
    SqlParser parser(&context);
    ASSERT_TRUE(parser.parse("round(TransformToTesGeo(g), 2) + NoSuchFunction(1) + rownum"));
    // ((round + NoSuch) + rownum)
    const auto* top = ast::nodeAs<ast::Operation>(parser.root());
    ASSERT_NE(top, nullptr);
    const auto* sum = ast::nodeAs<ast::Operation>(top->left());
    ASSERT_NE(sum, nullptr);
    const auto* round = ast::nodeAs<ast::Function>(sum->left());
    const auto* unknown = ast::nodeAs<ast::Function>(sum->right());
    const auto* rownum = ast::nodeAs<ast::Function>(top->right());
    ASSERT_TRUE(round && unknown && rownum);
    EXPECT_EQ(round->attribute(), int(FunctionNameInfo::find("Round")));
    EXPECT_NE(round->attribute(), 0);
    const auto* transform = ast::nodeAs<ast::Function>(round->args().at(0));
    ASSERT_NE(transform, nullptr);
    EXPECT_EQ(transform->attribute(), 68);
    EXPECT_EQ(unknown->attribute(), 0);
    EXPECT_TRUE(rownum->isRowNumber());
    EXPECT_FALSE(round->isRowNumber());
    EXPECT_EQ(rownum->attribute(), int(FunctionNameInfo::find("rownum")));

    // A renamed copy keeps flags, attribute and the very same argument nodes.
    const ast::Function copy = round->renamed(L"roundTo");
    EXPECT_EQ(copy.name(), L"roundTo");
    EXPECT_EQ(copy.attribute(), round->attribute());
    EXPECT_EQ(copy.flags(), round->flags());
    ASSERT_EQ(copy.args().size(), 2u);
    EXPECT_EQ(copy.args()[0].get(), round->args()[0].get());
}

TEST(SqlParser, SelectStatements)
{
    EXPECT_EQ(tree("Select * From t"), "select * from table t");
    EXPECT_EQ(tree("select a, t.* , b + 1 As c, d e From t"), "select a, t.*, (b #32 1) as c, d as e from table t");
    EXPECT_EQ(tree("Select Distinct a From t"), "select distinct a from table t");
    EXPECT_EQ(tree("Select All a From t"), "select a from table t");
    EXPECT_EQ(tree("Select 1"), "select 1");
    EXPECT_EQ(tree("Select a As \"quoted alias\" From t;"), "select a as quoted alias from table t");
    EXPECT_EQ(tree("Select a From t1 x, t2 As y Where x.id = y.id"), "select a from table t1 as x, table t2 as y where (x.id #5 y.id)");
    EXPECT_EQ(tree("Select a From t Where a > 1 Group By a, b Having Count(*) > 2"),
              "select a from table t where (a #8 1) group a, b having (Count{2}() #8 2)");
    EXPECT_EQ(tree("Select a From t Order By a, b Desc, c Asc Nulls First, d Desc Nulls Last Limit 10 Offset 5"),
              "select a from table t order a, b desc, c nulls1, d desc nulls2 limit 10 offset 5");
    EXPECT_EQ(tree("Select a From t Order By 2"), "select a from table t order 2");
    EXPECT_EQ(tree("Select a, rownum From t Order By rownum"), "select a, rownum{4} from table t order rownum{4}");

    // Joins: the join words never become aliases.
    EXPECT_EQ(tree("Select * From a Join b On a.id = b.id"), "select * from (table a join table b on (a.id #5 b.id))");
    EXPECT_EQ(tree("Select * From a x Inner Join b y On x.id = y.id Left Outer Join c On 1 Left Join d On 2"),
              "select * from (((table a as x join table b as y on (x.id #5 y.id)) left join table c on 1) left join table d on 2)");
    EXPECT_EQ(tree("Select * From a Cross Join b"), "select * from (table a cross join table b)");
    EXPECT_EQ(tree("Select * From a Left Join b On 1, c"), "select * from (table a left join table b on 1), table c");
    EXPECT_EQ(tree("Select Left From t"), "select Left from table t");

    // Sub-queries.
    EXPECT_EQ(tree("Select s.a From (Select a From t) s"), "select s.a from derived{select a from table t} as s");
    EXPECT_EQ(tree("Select * From (Select 1 Union Select 2) As u"), "select * from derived{(select 1 union select 2)} as u");
    EXPECT_EQ(tree("Select a From t Where Exists (Select 1 From u Where u.a = t.a)"),
              "select a from table t where (#16 sub{select 1 from table u where (u.a #5 t.a)})");

    // Special names stay plain names for the translator.
    EXPECT_EQ(tree("Select obj, Object, style, rowid From Selection"), "select obj, Object, style, rowid from table Selection");
}

TEST(SqlParser, ParsersCopyAndMove)
{
    SqlParser first(nullptr);
    ASSERT_TRUE(first.parse("a + 1"));
    SqlParser copy = first;
    EXPECT_EQ(copy.root(), first.root());
    SqlParser moved = std::move(copy);
    EXPECT_EQ(TreeText::of(moved.root()), "(a #32 1)");
    // A new parse of the original leaves the copy's tree alone.
    ASSERT_FALSE(first.parse("a +"));
    EXPECT_EQ(TreeText::of(moved.root()), "(a #32 1)");
}

TEST(SqlParser, CompoundQueries)
{
    EXPECT_EQ(tree("Select a From t Union Select b From u"), "(select a from table t union select b from table u)");
    EXPECT_EQ(tree("Select 1 Union All Select 2 Intersect Select 3 Except Select 4"),
              "(((select 1 union all select 2) intersect select 3) except select 4)");
    // Order By and Limit after the last query belong to the compound.
    EXPECT_EQ(tree("Select a From t Union Select a From u Order By 1 Desc Limit 3"),
              "(select a from table t union select a from table u) order 1 desc limit 3");
    // A simple query keeps them itself.
    SqlParser parser(nullptr);
    ASSERT_TRUE(parser.parse("Select a From t Order By a Limit 1"));
    const auto* query = ast::nodeAs<ast::QuerySpecification>(parser.root());
    ASSERT_NE(query, nullptr);
    ASSERT_EQ(query->orderBy().size(), 1u);
    EXPECT_NE(query->limit(), nullptr);
    EXPECT_EQ(query->offset(), nullptr);
    EXPECT_FALSE(query->isExpression());
}

TEST(SqlParser, DataChangingStatements)
{
    EXPECT_EQ(tree("Insert Into t Values (1, 'a')"), "insert table t values(1, 'a')");
    EXPECT_EQ(tree("insert into t (a, [b c]) values (1, 2), (3, 4 + 5)"), "insert table t (a, b c) values(1, 2) values(3, (4 #32 5))");
    EXPECT_EQ(tree("Insert Into t (a) Select b From u Where b > 0"), "insert table t (a) select b from table u where (b #8 0)");
    EXPECT_EQ(tree("Update t Set a = 1, b = b * 2 Where c Is Null"), "update table t set a=1 b=(b #13 2) where (#9 c)");
    EXPECT_EQ(tree("Update t Set a = 1"), "update table t set a=1");
    EXPECT_EQ(tree("Delete From t Where a In (1, 2)"), "delete table t where (a #24 list(1, 2))");
    EXPECT_EQ(tree("Delete From t"), "delete table t");

    for (const char* text : {"Insert Into t Values (1)", "Update t Set a = 1", "Delete From t", "Select 1"}) {
        SqlParser parser(nullptr);
        ASSERT_TRUE(parser.parse(text)) << text;
        EXPECT_FALSE(parser.root()->isExpression()) << text;
    }
    for (const char* text : {"a + 1", "(Select 1)", "Count(*)", "rownum", "'x'", "Not a", "Area(obj, \"sq km\") > 10"}) {
        SqlParser parser(nullptr);
        ASSERT_TRUE(parser.parse(text)) << text;
        EXPECT_TRUE(parser.root()->isExpression()) << text;
    }
}

TEST(SqlParser, CommentsAndLayout)
{
    EXPECT_EQ(tree("Select a -- the column\nFrom t /* the table */ Where /* multi\nline */ a = 1 --"),
              "select a from table t where (a #5 1)");
    EXPECT_EQ(tree("  \t\n a\n+\n1  "), "(a #32 1)");
    EXPECT_EQ(tree("a -- comment at the end"), "a");
    // "--" always opens a comment, so a double negation needs a blank.
    EXPECT_EQ(tree("1 --1"), "1");
    EXPECT_EQ(tree("1 - -1"), "(1 #12 (#14 1))");
    // A string may hold comment markers and quotes of the other kind.
    EXPECT_EQ(tree("'-- /* \"x\" */'"), "'-- /* \"x\" */'");
    // Non-ASCII names and strings keep their characters.
    EXPECT_EQ(tree("Select Имя From Города Where Имя = \"Москва\""), "select Имя from table Города where (Имя #5 'Москва')");
}

TEST(SqlParser, ErrorsTellWhereAndWhat)
{
    auto e = refusal("Select a From");
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(e->line(), 1);
    EXPECT_EQ(e->column(), 14);
    EXPECT_EQ(e->offset(), 13u);
    EXPECT_EQ(e->expected(), "a table name");
    EXPECT_NE(std::string(e->what()).find("the end of the text"), std::string::npos) << e->what();

    e = refusal("Select a,\n  From t");
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(e->line(), 2);
    EXPECT_EQ(e->column(), 3);
    EXPECT_EQ(e->expected(), "an expression");
    EXPECT_EQ(std::string(e->what()), "line 2, column 3: expected an expression, found 'From'");

    e = refusal("(a + b");
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(e->expected(), "')'");
    EXPECT_EQ(e->column(), 7);

    e = refusal("a + b)");
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(e->column(), 6);
    EXPECT_EQ(e->expected(), "an operator or the end of the text");

    e = refusal("Select a From t Where");
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(e->expected(), "an expression");

    e = refusal("Select a From t Order a");
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(e->expected(), "'by'");
    EXPECT_EQ(e->column(), 23);

    e = refusal("Select a From t Order By a Nulls Sometimes");
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(e->expected(), "First or Last");

    e = refusal("Select a From t; Select b From t");
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(e->expected(), "the end of the statement");
    EXPECT_EQ(e->column(), 18);

    e = refusal("Case When a Then b");
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(e->expected(), "'end'");

    e = refusal("Case a Else 1 End");
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(e->expected(), "When");

    e = refusal("a Not b");
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(e->column(), 3);
    EXPECT_EQ(e->expected(), "an operator or the end of the text");

    e = refusal("Select a As From t");
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(e->expected(), "an alias");
    EXPECT_EQ(e->column(), 13);

    e = refusal("Insert Into t (a) Set a = 1");
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(e->expected(), "Values or Select");

    // Multi-byte characters count as one column each.
    e = refusal("\"Ёж\" + ?");
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(e->column(), 8);
    EXPECT_EQ(e->offset(), 7u);
}

TEST(SqlParser, MalformedTextIsRefusedWithoutHarm)
{
    const char* const texts[] = {
        "", "   ", ";", "-- only a comment", "/* only a comment */",
        "Select", "Select From t", "Select a From", "Select a From t Where (a", "Select a From t Where a)",
        "Select * From (Select a From t", "Select * From t Join", "Select a b c From t", "Select a, From t",
        "Insert Into", "Insert Into t Values", "Insert Into t Values (1,", "Update t", "Update t Set", "Update t Set a",
        "Delete t", "Delete From", "a +", "* a", "a = = b", "a Between 1", "a Between 1 And", "a In", "a In (1,",
        "a Like", "a Like b Escape", "a Is", "a Is Not", "Cast(a)", "Cast(a As)", "Cast(a As Decimal(1,)",
        "Cast(a As [Integer); Drop Table t; --])", "Cast(a As 'Text')", "Count(Distinct)", "f(a,)", "f(,a)", "Exists a", "Exists (1)", "a Contains", "a Partly b", "a Collate",
        "'unterminated", "\"unterminated", "[unterminated", "`unterminated", "/* unterminated", "[]", "``",
        "1.2.3", "12abc", "1e", "1e+", "&H", "0x", "&HFFFFFFFFFFFFFFFFFF", "a ! b", "a | b", "a ? b", "a : b",
        "a @ b", "a # b", "a ~ b", "a { b", "((((((((", "))))))))", "Select a From t Order By",
        "Select a From t Limit", "Select a From t Union", "Select a Union Select b Union",
        "Select a From t Group a", "Select a From t Having", "Select Case End", "Case When 1 Then 2 Else End",
    };
    for (const char* text : texts)
        EXPECT_EQ(tree(text).rfind("error: ", 0), 0u) << "accepted: [" << text << "]";

    // A NUL byte inside the text, not just at its end.
    EXPECT_EQ(tree(std::string("a \0 b", 5)).rfind("error: ", 0), 0u);

    // Broken UTF-8 is refused with the place where it breaks.
    for (const std::string& bad : {std::string("'\xff'"), std::string("a\xc3"), std::string("'\xc3\x28'"),
                                   std::string("\xe0\x80\x80"), std::string("\xed\xa0\x80"), std::string("\xf4\x90\x80\x80"),
                                   std::string("\xc0\xaf"), std::string("ab\n cd \x80")}) {
        SqlParser parser(nullptr);
        EXPECT_FALSE(parser.parse(bad));
        ASSERT_EQ(parser.errors().size(), 1u);
        EXPECT_NE(std::string(parser.errors().front()->what()).find("UTF-8"), std::string::npos) << parser.errors().front()->what();
    }
    auto e = refusal("ab\n cd \x80");
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(e->line(), 2);
    EXPECT_EQ(e->column(), 5);

    // Every prefix of valid statements either parses or is refused cleanly.
    for (const std::string& full : {std::string("Select Distinct t.a, Count(*) As n From t Left Join u On t.id = u.id "
                                               "Where t.b Not Between 1 And 2 And t.c Like 'x%' Escape '!' Group By t.a "
                                               "Having Count(*) > 1 Order By 2 Desc Nulls Last Limit 5 Offset 1"),
                                   std::string("Insert Into t (a, b) Values (Case When x Then 1 Else 2 End, Cast(y As Real))"),
                                   std::string("Update [t t] Set a = \"q\"\"q\" Where b In (Select c From d) /* c */")}) {
        ASSERT_TRUE(SqlParser(nullptr).parse(full)) << full;
        for (std::size_t n = 0; n < full.size(); ++n) {
            SqlParser parser(nullptr);
            const bool ok = parser.parse(full.substr(0, n));
            EXPECT_EQ(ok, parser.root() != nullptr);
            EXPECT_EQ(ok, parser.errors().empty());
        }
    }

    // A parser is reusable after a failure.
    SqlParser parser(nullptr);
    EXPECT_FALSE(parser.parse("a +"));
    EXPECT_TRUE(parser.parse("a + 1"));
    EXPECT_TRUE(parser.errors().empty());
    EXPECT_FALSE(parser.parse("a +"));
    EXPECT_EQ(parser.root(), nullptr);
    EXPECT_EQ(parser.errors().size(), 1u);
}

TEST(SqlParser, DeepNestingIsRefusedWithItsOwnError)
{
    const int limit = SqlParser::maxNesting;
    auto depthError = [](const std::string& text) {
        SqlParser parser(nullptr);
        if (parser.parse(text))
            return false;
        return parser.errors().size() == 1 && std::dynamic_pointer_cast<NestingTooDeep>(parser.errors().front()) != nullptr;
    };

    // Up to the limit is fine, one more is not.
    EXPECT_EQ(tree(repeat("(", limit) + "1" + repeat(")", limit)), "1");
    EXPECT_TRUE(depthError(repeat("(", limit + 1) + "1" + repeat(")", limit + 1)));
    EXPECT_TRUE(SqlParser(nullptr).parse(repeat("f(", limit) + "1" + repeat(")", limit)));
    EXPECT_TRUE(depthError(repeat("f(", limit + 1) + "1" + repeat(")", limit + 1)));

    // Hostile depths of every recursive construct.
    const int huge = 100000;
    EXPECT_TRUE(depthError(repeat("(", huge)));
    EXPECT_TRUE(depthError(repeat("(", huge) + "1" + repeat(")", huge)));
    EXPECT_TRUE(depthError(repeat("Not ", huge) + "a"));
    EXPECT_TRUE(depthError(repeat("- ", huge) + "a"));
    EXPECT_TRUE(depthError(repeat("+", huge) + "a"));
    EXPECT_TRUE(depthError(repeat("f(", huge) + "1"));
    EXPECT_TRUE(depthError(repeat("a In (", huge) + "1"));
    EXPECT_TRUE(depthError(repeat("Case When ", huge) + "1"));
    EXPECT_TRUE(depthError(repeat("Cast(", huge) + "1"));
    EXPECT_TRUE(depthError(repeat("Exists (Select ", huge) + "1"));
    EXPECT_TRUE(depthError(repeat("Select * From (", huge) + "t"));

    // Long flat chains build deep trees; they are bounded too.
    EXPECT_TRUE(SqlParser(nullptr).parse("1" + repeat(" + 1", SqlParser::maxHeight - 2)));
    EXPECT_TRUE(depthError("1" + repeat(" + 1", huge)));
    EXPECT_TRUE(depthError("a" + repeat(" Or a", huge)));
    EXPECT_TRUE(depthError("a" + repeat(" Collate x", huge)));

    SqlParser parser(nullptr);
    ASSERT_FALSE(parser.parse("x = " + repeat("(", limit + 10) + "1"));
    const auto error = std::dynamic_pointer_cast<NestingTooDeep>(parser.errors().front());
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->limit(), limit);
    EXPECT_EQ(error->line(), 1);
    EXPECT_GT(error->column(), 4);
    EXPECT_NE(std::string(error->what()).find(std::to_string(limit)), std::string::npos);
}

TEST(SqlParser, DeepestAcceptedTextsFitASmallStack)
{
    // A worker thread with a modest stack must still parse whatever the
    // depth limit lets through.
    const int limit = SqlParser::maxNesting;
    const std::vector<std::string> texts = {
        repeat("(", limit) + "1" + repeat(")", limit),
        repeat("f(", limit) + "1" + repeat(")", limit),
        repeat("Not ", limit) + "a",
        repeat("- ", limit) + "a",
        repeat("Select * From (", limit - 1) + "Select 1" + repeat(") t", limit - 1),
        repeat("a In (", limit) + "1" + repeat(")", limit),
        repeat("Case When (", limit / 2) + "1" + repeat(") Then 1 End", limit / 2),
        repeat("Exists (Select ", limit / 2) + "1" + repeat(")", limit / 2),
        // The tallest tree, which is also freed on that thread.
        "1" + repeat(" + 1", SqlParser::maxHeight - 2),
    };
    std::vector<int> results(texts.size(), -1);
    QThread* worker = QThread::create([&] {
        for (std::size_t i = 0; i < texts.size(); ++i) {
            SqlParser parser(nullptr);
            results[i] = parser.parse(texts[i]) ? 1 : 0;
        }
    });
    worker->setStackSize(stackForDeepTexts);
    worker->start();
    ASSERT_TRUE(worker->wait(60000));
    delete worker;
    for (std::size_t i = 0; i < texts.size(); ++i)
        EXPECT_EQ(results[i], 1) << texts[i].substr(0, 40);
}

TEST(SqlParser, HugeTextIsRefused)
{
    std::string text = "a";
    text.append(17 * 1024 * 1024, ' ');
    SqlParser parser(nullptr);
    EXPECT_FALSE(parser.parse(text));
    ASSERT_EQ(parser.errors().size(), 1u);
    EXPECT_NE(std::string(parser.errors().front()->what()).find("too long"), std::string::npos);

    // Large but acceptable texts parse: a wide select list, a long In list.
    std::string wide = "Select c0";
    std::string in = "a In (0";
    for (int i = 1; i < 20000; ++i) {
        wide += ", c" + std::to_string(i);
        in += ", " + std::to_string(i);
    }
    EXPECT_TRUE(SqlParser(nullptr).parse(wide + " From t"));
    EXPECT_TRUE(SqlParser(nullptr).parse(in + ")"));
}

TEST(SqlParser, RuntimeRefusesOperatorsItDoesNotOffer)
{
    const SqlRuntime runtime;
    EXPECT_EQ(tree("a Similar To b", &runtime), "error: line 1, column 3: the operator Similar To is not available");
    const auto refused = tree("x = 1 And a Overlaps b", &runtime);
    EXPECT_EQ(refused, "error: line 1, column 13: the operator Overlaps is not available");
    EXPECT_EQ(tree("a Contains Part b And a Partly Within b", &runtime), "((a #40 b) #3 (a #44 b))");
    // The plain parse context accepts every operator.
    const ParseContext context;
    EXPECT_EQ(tree("a Similar To b", &context), "(a #10 b)");

    // A runtime told to offer less refuses more.
    SqlRuntime narrow;
    QBitArray bits(operationCodeCount, true);
    bits.clearBit(int(OperationCode::Power));
    narrow.setOperators(OperatorSet(bits));
    EXPECT_EQ(tree("2 ^ 3", &narrow).rfind("error: line 1, column 3: the operator ^", 0), 0u);
    EXPECT_EQ(tree("2 * 3", &narrow), "(2 #13 3)");
}

TEST(SqlParser, RandomTextNeverBreaksTheParser)
{
    // Random sequences of dialect tokens reach every corner of the grammar;
    // whatever the verdict, it must be consistent and the tree bounded.
    const std::vector<std::string> vocabulary = {
        "Select", "Distinct", "*", "t.*", "From", "Where", "Group", "By", "Having", "Order", "Asc", "Desc", "Nulls", "First",
        "Last", "Limit", "Offset", "Union", "All", "Intersect", "Except", "Join", "Left", "Inner", "Cross", "Outer", "On", "As",
        "Insert", "Into", "Values", "Update", "Set", "Delete", "(", ")", ",", ".", ";", "+", "-", "/", "\\", "%", "^", "&", "||",
        "=", "<>", "<", ">=", "Not", "And", "Or", "Xor", "Is", "Null", "Like", "Escape", "Glob", "Regexp", "Between", "In",
        "Exists", "Case", "When", "Then", "Else", "End", "Cast", "Collate", "Contains", "Part", "Entire", "Within", "Partly",
        "Entirely", "Intersects", "Similar", "To", "Overlaps", "Div", "Mod", "True", "Unknown", "rownum", "Count", "f", "a",
        "t", "obj", "1", "2.5", "&H1F", "'s'", "\"d\"", "[q n]", "`b`", "-- c\n", "/* c */", "Integer",
    };
    std::mt19937 random(20261123);
    std::uniform_int_distribution<std::size_t> pick(0, vocabulary.size() - 1);
    std::uniform_int_distribution<int> length(1, 30);
    int accepted = 0;
    for (int round = 0; round < 20000; ++round) {
        std::string text;
        for (int n = length(random); n > 0; --n)
            text += vocabulary[pick(random)] + " ";
        SqlParser parser(nullptr);
        const bool ok = parser.parse(text);
        ASSERT_EQ(ok, parser.root() != nullptr) << text;
        ASSERT_EQ(ok ? 0u : 1u, parser.errors().size()) << text;
        if (ok) {
            ++accepted;
            EXPECT_LE(parser.root()->height(), SqlParser::maxHeight);
        } else {
            EXPECT_STRNE(parser.errors().front()->what(), "") << text;
        }
    }
    EXPECT_GT(accepted, 0);

    // Raw bytes, valid UTF-8 or not.
    std::uniform_int_distribution<int> byte(1, 255);
    for (int round = 0; round < 5000; ++round) {
        std::string text;
        for (int n = length(random); n > 0; --n)
            text += char(byte(random));
        SqlParser parser(nullptr);
        const bool ok = parser.parse(text);
        ASSERT_EQ(ok, parser.errors().empty());
    }
}

TEST(SqlParser, SingleTypeVisitorsRecogniseOneKind)
{
    SqlParser parser(nullptr);
    ASSERT_TRUE(parser.parse("Select *, t.*, a x, 2 From t Order By 2, x"));
    const auto* query = ast::nodeAs<ast::QuerySpecification>(parser.root());
    ASSERT_NE(query, nullptr);
    EXPECT_EQ(ast::nodeAs<ast::CompoundQuery>(parser.root()), nullptr);

    const ast::NodeList& items = query->selectList();
    ASSERT_EQ(items.size(), 4u);
    ast::SingleTypeVisitor<ast::QualifiedAsterisk, bool> star;
    star.doVisit(*items[0]);
    EXPECT_TRUE(star.result);
    EXPECT_EQ(star.node->qualifier(), L"");
    ast::SingleTypeVisitor<ast::QualifiedAsterisk, bool> notStar;
    notStar.doVisit(*items[2]);
    EXPECT_FALSE(notStar.result);
    EXPECT_EQ(notStar.node, nullptr);
    EXPECT_EQ(ast::nodeAs<ast::QualifiedAsterisk>(items[1])->qualifier(), L"t");

    const auto* aliased = ast::nodeAs<ast::DerivedColumn>(items[2]);
    ASSERT_NE(aliased, nullptr);
    EXPECT_EQ(aliased->alias(), L"x");
    EXPECT_NE(ast::nodeAs<ast::ColumnReference>(aliased->expression()), nullptr);
    // The select item is a DerivedColumn, not the number inside it.
    EXPECT_EQ(ast::nodeAs<ast::Number>(items[3]), nullptr);

    ASSERT_EQ(query->orderBy().size(), 2u);
    const auto* position = ast::nodeAs<ast::Number>(query->orderBy()[0]->key());
    ASSERT_NE(position, nullptr);
    EXPECT_EQ(position->kind(), ast::Number::Integer);
    EXPECT_EQ(position->text(), L"2");
    const auto* byAlias = ast::nodeAs<ast::ColumnReference>(query->orderBy()[1]->key());
    ASSERT_NE(byAlias, nullptr);
    EXPECT_TRUE(byAlias->qualifier().empty());
    EXPECT_EQ(byAlias->name(), L"x");
    EXPECT_EQ(ast::nodeAs<ast::Number>(nullptr), nullptr);
}
