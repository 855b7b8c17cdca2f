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

// The tree of `text`, or "error: <what>" when the parser refuses it; a
// verdict must agree with the root and the error list.
std::string tree(const std::string& text, const ParseContext* context = nullptr)
{
    SqlParser parser(context);
    const bool ok = parser.parse(text);
    EXPECT_EQ(ok, parser.root() != nullptr) << text;
    EXPECT_EQ(ok ? 0u : 1u, parser.errors().size()) << text;
    if (!ok)
        return parser.errors().empty() ? "error" : std::string("error: ") + parser.errors().front()->what();
    return TreeText::of(parser.root());
}

bool refused(const std::string& text) { return tree(text).rfind("error: ", 0) == 0; }

std::string repeat(const std::string& s, int n)
{
    std::string r;
    for (int i = 0; i < n; ++i)
        r += s;
    return r;
}

// The stack of the deep-text worker: 1 MB, the smallest main thread stack of
// a desktop system; sanitizers and unoptimised builds inflate frames.
#if TESSERA_SANITIZED || (defined(__GNUC__) && !defined(__OPTIMIZE__))
constexpr unsigned stackForDeepTexts = 8 * 1024 * 1024;
#else
constexpr unsigned stackForDeepTexts = 1024 * 1024;
#endif

// Each row is named by its text: the input says which case failed.
struct Row {
    const char* text;
    const char* tree;
};

void expectTrees(const std::vector<Row>& rows)
{
    for (const Row& row : rows)
        EXPECT_EQ(tree(row.text), row.tree) << row.text;
}

} // namespace

TEST(SqlParser, BinaryOperatorsCarryTheirCodes)
{
    const std::pair<const char*, int> rows[] = {
        {"a Or b", 1}, {"a Xor b", 2}, {"a And b", 3}, {"a = b", 5}, {"a == b", 5}, {"a <> b", 6}, {"a != b", 6},
        {"a < b", 7}, {"a > b", 8}, {"a Similar To b", 10}, {"a - b", 12}, {"a * b", 13}, {"a <= b", 17},
        {"a >= b", 18}, {"a Regexp b", 20}, {"a Glob b", 26}, {"a & b", 27}, {"a || b", 27}, {"a Is b", 28},
        {"a Is Not b", 29}, {"a Not Regexp b", 30}, {"a Overlaps b", 31}, {"a + b", 32}, {"a Not Glob b", 33},
        {"a / b", 35}, {"a \\ b", 36}, {"a Div b", 36}, {"a Mod b", 37}, {"a % b", 37}, {"a ^ b", 38},
        {"a Contains b", 39}, {"a Contains Part b", 40}, {"a Contains Entire b", 41}, {"a Intersects b", 42},
        {"a Within b", 43}, {"a Partly Within b", 44}, {"a Entirely Within b", 45},
        // Keywords in any case.
        {"a oR b", 1}, {"a CONTAINS part b", 40}, {"a mod b", 37},
    };
    for (const auto& [text, code] : rows)
        EXPECT_EQ(tree(text), "(a #" + std::to_string(code) + " b)") << text;
}

TEST(SqlParser, PredicatesUnaryOperatorsAndPrecedence)
{
    expectTrees({
        {"Not a", "(#4 a)"}, {"a Is Null", "(#9 a)"}, {"a Is Not Null", "(#11 a)"}, {"-a", "(#14 a)"},
        {"+a", "(#15 a)"}, {"Not Exists (Select 1)", "(#4 (#16 sub{select 1}))"},
        {"a Like 'x!%' Escape '!'", "(a #19 'x!%' esc '!')"}, {"a Not Like 'x' Escape '\\'", "(a #21 'x' esc '\\')"},
        {"a Not Between 1 + 1 And 2 * 3", "(a #23 [(1 #32 1)..(2 #13 3)])"}, {"a In ()", "(a #24 list())"},
        {"a Not In (Select b From t)", "(a #25 sub{select b from table t})"},
        {"a Collate [Locale] = b", "((a #34 coll:Locale) #5 b)"},
        // A Between's And is not the logical And.
        {"a Between 1 And 2 And b", "((a #22 [1..2]) #3 b)"}, {"a Or b And c", "(a #1 (b #3 c))"},
        // Xor and And share a level, left to right, below Or.
        {"a Xor b And c", "((a #2 b) #3 c)"}, {"a And b Xor c", "((a #3 b) #2 c)"}, {"a Or b Xor c", "(a #1 (b #2 c))"},
        {"Not a And b", "((#4 a) #3 b)"}, {"Not a = b", "(#4 (a #5 b))"}, {"a = b Contains c", "(a #5 (b #39 c))"},
        {"a Intersects b & c", "(a #42 (b #27 c))"},
        // & binds looser than +, unlike SQLite's ||.
        {"a & b + c", "(a #27 (b #32 c))"}, {"a + b & c", "((a #32 b) #27 c)"}, {"a + b * c", "(a #32 (b #13 c))"},
        {"a - b - c", "((a #12 b) #12 c)"}, {"a / b \\ c Mod d", "(((a #35 b) #36 c) #37 d)"},
        {"a * b ^ c", "(a #13 (b #38 c))"}, {"-a ^ b", "((#14 a) #38 b)"}, {"a ^ -b", "(a #38 (#14 b))"},
        {"(a + b) * c", "((a #32 b) #13 c)"}, {"a Like b Or c Is Null", "((a #19 b) #1 (#9 c))"},
        {"a < b = c", "((a #7 b) #5 c)"}, {"a + b Between c - 1 And c + 1", "((a #32 b) #22 [(c #12 1)..(c #32 1)])"},
    });
}

TEST(SqlParser, LiteralsNamesAndCalls)
{
    expectTrees({
        {"4.2", "r:4.2"}, {".5", "r:.5"}, {"1.5E+3", "r:1.5E+3"}, {"Name&Height + &H10", "(Name #27 (Height #32 16))"},
        {"\"say \"\"hi\"\"\"", "'say \"hi\"'"}, {"'it''s'", "'it's'"}, {"True", "truth2"}, {"false", "truth0"},
        {"UNKNOWN", "truth1"}, {"Null", "null"}, {"[my table].`my col`", "my table.my col"}, {"t.[from]", "t.from"},
        {"t.From", "t.From"}, {"Area(obj, \"sq km\") > 10", "(Area(obj, 'sq km') #8 10)"}, {"Count(*)", "Count{2}()"},
        {"count(Distinct a)", "count{1}(a)"}, {"Sum(All a)", "Sum(a)"}, {"CurDate()", "CurDate()"},
        {"Left$(a, 2) & Str$(b)", "(Left$(a, 2) #27 Str$(b))"},
        // Reserved words that are also functions read as calls before "(".
        {"Like(a, b)", "Like(a, b)"}, {"Xor(a, b)", "Xor(a, b)"}, {"a Like (b)", "(a #19 b)"},
        {"rownum + 1", "(rownum{4} #32 1)"}, {"RowNum()", "RowNum()"}, {"[rownum]", "rownum"}, {"t.rownum", "t.rownum"},
        {"Case When a > 1 Then 'x' When a < 0 Then 'y' Else 'z' End",
         "case when (a #8 1) then 'x' when (a #7 0) then 'y' else 'z' end"},
        {"Case a When 1 Then 2 End", "case a when 1 then 2 end"},
        {"Cast(a As Decimal(10, 2))", "cast(a as Decimal(10, 2))"},
        {"Cast(a As Double Precision)", "cast(a as Double Precision)"},
        {"(Select Max(a) From t) + 1", "(sub{select Max(a) from table t} #32 1)"}, {"(a, b)", "list(a, b)"},
        // Comments, layout and non-ASCII text.
        {"Select a -- the column\nFrom t /* the table */ Where /* multi\nline */ a = 1 --",
         "select a from table t where (a #5 1)"},
        {"  \t\n a\n+\n1  ", "(a #32 1)"},
        // "--" always opens a comment, so a double negation needs a blank.
        {"1 --1", "1"}, {"1 - -1", "(1 #12 (#14 1))"}, {"'-- /* \"x\" */'", "'-- /* \"x\" */'"},
        {"Select Имя From Города Where Имя = \"Москва\"", "select Имя from table Города where (Имя #5 'Москва')"},
    });
}

// What the builder tests (SqlStringBuilderTest) turn back into text is left to them.
TEST(SqlParser, Statements)
{
    expectTrees({
        {"select a, t.* , b + 1 As c, d e From t", "select a, t.*, (b #32 1) as c, d as e from table t"},
        {"Select All a From t", "select a from table t"},
        {"Select a As \"quoted alias\" From t;", "select a as quoted alias from table t"},
        {"Select a From t Order By a, b Desc, c Asc Nulls First, d Desc Nulls Last Limit 10 Offset 5",
         "select a from table t order a, b desc, c nulls1, d desc nulls2 limit 10 offset 5"},
        {"Select a, rownum From t Order By rownum", "select a, rownum{4} from table t order rownum{4}"},
        // The join words never become aliases.
        {"Select * From a x Inner Join b y On x.id = y.id Left Outer Join c On 1 Left Join d On 2",
         "select * from (((table a as x join table b as y on (x.id #5 y.id)) left join table c on 1) left join table d on 2)"},
        {"Select * From a Left Join b On 1, c", "select * from (table a left join table b on 1), table c"},
        {"Select Left From t", "select Left from table t"},
        {"Select s.a From (Select a From t) s", "select s.a from derived{select a from table t} as s"},
        {"Select * From (Select 1 Union Select 2) As u", "select * from derived{(select 1 union select 2)} as u"},
        {"Select obj, Object, style, rowid From Selection", "select obj, Object, style, rowid from table Selection"},
        // Order By and Limit after the last query belong to the compound.
        {"Select a From t Union Select a From u Order By 1 Desc Limit 3",
         "(select a from table t union select a from table u) order 1 desc limit 3"},
        {"insert into t (a, [b c]) values (1, 2), (3, 4 + 5)", "insert table t (a, b c) values(1, 2) values(3, (4 #32 5))"},
        {"Update t Set a = 1, b = b * 2 Where c Is Null", "update table t set a=1 b=(b #13 2) where (#9 c)"},
        {"Delete From t", "delete table t"},
    });

    // Statements are no expressions, whatever they hold.
    const std::pair<const char*, bool> kinds[] = {
        {"Insert Into t Values (1)", false}, {"Update t Set a = 1", false}, {"Delete From t", false},
        {"Select 1", false}, {"a + 1", true}, {"(Select 1)", true}, {"rownum", true}, {"Not a", true},
    };
    for (const auto& [text, expression] : kinds) {
        SqlParser parser(nullptr);
        ASSERT_TRUE(parser.parse(text)) << text;
        EXPECT_EQ(parser.root()->isExpression(), expression) << text;
    }
}

TEST(SqlParser, NodesKnowTheirCatalogueValueAndKind)
{
    const ParseContext context;
    SqlParser parser(&context);
    ASSERT_TRUE(parser.parse("round(TransformToTesGeo(g), 2) + NoSuchFunction(1) + rownum"));
    const auto* top = ast::nodeAs<ast::Operation>(parser.root());
    ASSERT_NE(top, nullptr);
    const auto* sum = ast::nodeAs<ast::Operation>(top->left());
    ASSERT_NE(sum, nullptr);
    const auto* round = ast::nodeAs<ast::Function>(sum->left());
    const auto* unknown = ast::nodeAs<ast::Function>(sum->right());
    const auto* rownum = ast::nodeAs<ast::Function>(top->right());
    ASSERT_TRUE(round && unknown && rownum);
    EXPECT_EQ(round->attribute(), int(FunctionNameInfo::find("Round")));
    EXPECT_EQ(ast::nodeAs<ast::Function>(round->args().at(0))->attribute(), 68);
    EXPECT_EQ(unknown->attribute(), 0);
    EXPECT_TRUE(rownum->isRowNumber());
    EXPECT_FALSE(round->isRowNumber());

    // A renamed copy keeps flags, attribute and the very same argument nodes.
    const ast::Function copy = round->renamed(L"roundTo");
    EXPECT_EQ(copy.name(), L"roundTo");
    EXPECT_EQ(copy.attribute(), round->attribute());
    ASSERT_EQ(copy.args().size(), 2u);
    EXPECT_EQ(copy.args()[0].get(), round->args()[0].get());

    // Single-type visitors recognise one kind of node and nothing inside it.
    ASSERT_TRUE(parser.parse("Select *, t.*, a x, 2 From t Order By 2 Limit 1"));
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
    EXPECT_EQ(ast::nodeAs<ast::QualifiedAsterisk>(items[1])->qualifier(), L"t");
    EXPECT_EQ(ast::nodeAs<ast::DerivedColumn>(items[2])->alias(), L"x");
    EXPECT_EQ(ast::nodeAs<ast::Number>(items[3]), nullptr);
    const auto* position = ast::nodeAs<ast::Number>(query->orderBy().at(0)->key());
    ASSERT_NE(position, nullptr);
    EXPECT_EQ(position->kind(), ast::Number::Integer);
    EXPECT_NE(query->limit(), nullptr);
    EXPECT_EQ(query->offset(), nullptr);
    EXPECT_EQ(ast::nodeAs<ast::Number>(nullptr), nullptr);
}

TEST(SqlParser, ParsersCopyMoveAndAreReusable)
{
    SqlParser first(nullptr);
    ASSERT_TRUE(first.parse("a + 1"));
    SqlParser copy = first;
    EXPECT_EQ(copy.root(), first.root());
    SqlParser moved = std::move(copy);
    // A new parse of the original, failed or not, leaves the copy's tree alone.
    ASSERT_FALSE(first.parse("a +"));
    EXPECT_EQ(first.root(), nullptr);
    EXPECT_EQ(TreeText::of(moved.root()), "(a #32 1)");
    EXPECT_TRUE(first.parse("a + 2"));
    EXPECT_TRUE(first.errors().empty());
}

TEST(SqlParser, ErrorsTellWhereAndWhat)
{
    const struct {
        const char* text;
        int line, column;
        const char* expected;
    } rows[] = {
        {"Select a From", 1, 14, "a table name"}, {"Select a,\n  From t", 2, 3, "an expression"},
        {"(a + b", 1, 7, "')'"}, {"a + b)", 1, 6, "an operator or the end of the text"},
        {"Select a From t Where", 1, 22, "an expression"}, {"Select a From t Order a", 1, 23, "'by'"},
        {"Select a From t Order By a Nulls Sometimes", 1, 34, "First or Last"},
        {"Select a From t; Select b From t", 1, 18, "the end of the statement"}, {"Case When a Then b", 1, 19, "'end'"},
        {"Case a Else 1 End", 1, 8, "When"}, {"a Not b", 1, 3, "an operator or the end of the text"},
        {"Select a As From t", 1, 13, "an alias"}, {"Insert Into t (a) Set a = 1", 1, 19, "Values or Select"},
        // Multi-byte characters count as one column each.
        {"\"Ёж\" + ?", 1, 8, nullptr},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        SqlParser parser(nullptr);
        ASSERT_FALSE(parser.parse(row.text));
        ASSERT_EQ(parser.errors().size(), 1u);
        const auto error = std::dynamic_pointer_cast<ParseError>(parser.errors().front());
        ASSERT_NE(error, nullptr);
        EXPECT_EQ(error->line(), row.line);
        EXPECT_EQ(error->column(), row.column);
        if (row.expected) {
            EXPECT_EQ(error->expected(), row.expected);
        }
    }
    EXPECT_EQ(tree("Select a,\n  From t"), "error: line 2, column 3: expected an expression, found 'From'");
    // Offsets count characters, not bytes.
    SqlParser parser(nullptr);
    ASSERT_FALSE(parser.parse("\"Ёж\" + ?"));
    EXPECT_EQ(std::dynamic_pointer_cast<ParseError>(parser.errors().front())->offset(), 7u);
    EXPECT_NE(tree("Select a From").find("the end of the text"), std::string::npos);
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
        "Cast(a As [Integer); Drop Table t; --])", "Cast(a As 'Text')", "Count(Distinct)", "f(a,)", "f(,a)",
        "Exists a", "Exists (1)", "a Contains", "a Partly b", "a Collate",
        "'unterminated", "\"unterminated", "[unterminated", "`unterminated", "/* unterminated", "[]", "``",
        "1.2.3", "12abc", "1e", "1e+", "&H", "0x", "&HFFFFFFFFFFFFFFFFFF", "a ! b", "a | b", "a ? b", "a : b",
        "a @ b", "a # b", "a ~ b", "a { b", "((((((((", "))))))))", "Select a From t Order By",
        "Select a From t Limit", "Select a From t Union", "Select a Union Select b Union",
        "Select a From t Group a", "Select a From t Having", "Select Case End", "Case When 1 Then 2 Else End",
    };
    for (const char* text : texts)
        EXPECT_TRUE(refused(text)) << "accepted: [" << text << "]";
    // A NUL byte inside the text, not just at its end.
    EXPECT_TRUE(refused(std::string("a \0 b", 5)));

    // Broken UTF-8 is refused as such.
    for (const char* bad : {"'\xff'", "a\xc3", "'\xc3\x28'", "\xe0\x80\x80", "\xed\xa0\x80", "\xf4\x90\x80\x80", "\xc0\xaf"})
        EXPECT_NE(tree(bad).find("UTF-8"), std::string::npos) << tree(bad);
    EXPECT_EQ(tree("ab\n cd \x80").rfind("error: line 2, column 5:", 0), 0u);

    // Every prefix of valid statements either parses or is refused cleanly.
    for (const std::string full : {"Select Distinct t.a, Count(*) As n From t Left Join u On t.id = u.id "
                                   "Where t.b Not Between 1 And 2 And t.c Like 'x%' Escape '!' Group By t.a "
                                   "Having Count(*) > 1 Order By 2 Desc Nulls Last Limit 5 Offset 1",
                                   "Insert Into t (a, b) Values (Case When x Then 1 Else 2 End, Cast(y As Real))",
                                   "Update [t t] Set a = \"q\"\"q\" Where b In (Select c From d) /* c */"}) {
        ASSERT_FALSE(refused(full)) << full;
        for (std::size_t n = 0; n < full.size(); ++n)
            tree(full.substr(0, n));
    }
}

TEST(SqlParser, DeepNestingIsRefusedWithItsOwnError)
{
    const int limit = SqlParser::maxNesting;
    auto depthError = [](const std::string& text) {
        SqlParser parser(nullptr);
        return !parser.parse(text) && parser.errors().size() == 1
            && std::dynamic_pointer_cast<NestingTooDeep>(parser.errors().front()) != nullptr;
    };
    // Up to the limit is fine, one more is not.
    EXPECT_EQ(tree(repeat("(", limit) + "1" + repeat(")", limit)), "1");
    EXPECT_TRUE(depthError(repeat("(", limit + 1) + "1" + repeat(")", limit + 1)));
    EXPECT_TRUE(SqlParser(nullptr).parse(repeat("f(", limit) + "1" + repeat(")", limit)));
    EXPECT_TRUE(depthError(repeat("f(", limit + 1) + "1" + repeat(")", limit + 1)));
    EXPECT_TRUE(SqlParser(nullptr).parse("1" + repeat(" + 1", SqlParser::maxHeight - 2)));

    // Hostile depths of every recursive construct, and long flat chains
    // (which build deep trees).
    const int huge = 100000;
    const std::pair<const char*, std::string> rows[] = {
        {"parentheses", repeat("(", huge) + "1" + repeat(")", huge)}, {"open parentheses", repeat("(", huge)},
        {"Not", repeat("Not ", huge) + "a"}, {"minus", repeat("- ", huge) + "a"}, {"plus", repeat("+", huge) + "a"},
        {"calls", repeat("f(", huge) + "1"}, {"In lists", repeat("a In (", huge) + "1"},
        {"Case", repeat("Case When ", huge) + "1"}, {"Cast", repeat("Cast(", huge) + "1"},
        {"Exists", repeat("Exists (Select ", huge) + "1"}, {"derived tables", repeat("Select * From (", huge) + "t"},
        {"+ chain", "1" + repeat(" + 1", huge)}, {"Or chain", "a" + repeat(" Or a", huge)},
        {"Collate chain", "a" + repeat(" Collate x", huge)},
    };
    for (const auto& [name, text] : rows)
        EXPECT_TRUE(depthError(text)) << name;

    SqlParser parser(nullptr);
    ASSERT_FALSE(parser.parse("x = " + repeat("(", limit + 10) + "1"));
    const auto error = std::dynamic_pointer_cast<NestingTooDeep>(parser.errors().front());
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->limit(), limit);
    EXPECT_GT(error->column(), 4);
    EXPECT_NE(std::string(error->what()).find(std::to_string(limit)), std::string::npos);
}

TEST(SqlParser, DeepestAcceptedTextsFitASmallStack)
{
    // A worker thread with a modest stack must still parse (and free)
    // whatever the depth limit lets through.
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
        "1" + repeat(" + 1", SqlParser::maxHeight - 2),
    };
    std::vector<int> results(texts.size(), -1);
    QThread* worker = QThread::create([&] {
        for (std::size_t i = 0; i < texts.size(); ++i)
            results[i] = SqlParser(nullptr).parse(texts[i]) ? 1 : 0;
    });
    worker->setStackSize(stackForDeepTexts);
    worker->start();
    ASSERT_TRUE(worker->wait(60000));
    delete worker;
    for (std::size_t i = 0; i < texts.size(); ++i)
        EXPECT_EQ(results[i], 1) << texts[i].substr(0, 40);
}

TEST(SqlParser, HugeTextIsRefusedLargeTextIsNot)
{
    std::string text = "a";
    text.append(17 * 1024 * 1024, ' ');
    EXPECT_NE(tree(text).find("too long"), std::string::npos);

    std::string wide = "Select c0", in = "a In (0";
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
    EXPECT_EQ(tree("x = 1 And a Overlaps b", &runtime), "error: line 1, column 13: the operator Overlaps is not available");
    EXPECT_EQ(tree("a Contains Part b And a Partly Within b", &runtime), "((a #40 b) #3 (a #44 b))");
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
    std::uniform_int_distribution<int> length(1, 30), byte(1, 255);
    int accepted = 0;
    for (int round = 0; round < 25000; ++round) {
        std::string text;
        for (int n = length(random); n > 0; --n)
            text += round < 20000 ? vocabulary[pick(random)] + " " : std::string(1, char(byte(random)));
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
}
