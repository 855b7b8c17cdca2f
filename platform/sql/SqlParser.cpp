#include "platform/sql/SqlParser.h"

#include "platform/sql/FunctionName.h"
#include "platform/sql/Keywords.h"
#include "platform/sql/Lexer.h"
#include "platform/sql/SqlRuntime.h"
#include "platform/sql/SqlStrings.h"

#include <QLoggingCategory>
#include <QString>

#include <algorithm>
#include <array>
#include <unordered_set>

namespace tessera::sql {

using namespace ast;

namespace {

Q_LOGGING_CATEGORY(lcParser, "tessera.sql")

// Error paths stay out of line so that the recursive functions keep small
// frames: the stack per nesting level bounds how deep a text may nest.
#if defined(__GNUC__)
#define TESSERA_SQL_COLD __attribute__((noinline, cold))
#else
#define TESSERA_SQL_COLD
#endif

// Words that may name a column but cannot be an alias written without As,
// because they continue a From clause.
const std::unordered_set<std::wstring>& joinWords()
{
    static const std::unordered_set<std::wstring> words = {L"left", L"right", L"full", L"natural", L"outer", L"using"};
    return words;
}

class Parser {
public:
    Parser(const ParseContext* context, const std::string& text) : ctx(context), lexer(text) {}

    NodePtr statement()
    {
        NodePtr result;
        if (isWord(L"select"))
            result = query();
        else if (isWord(L"insert"))
            result = insert();
        else if (isWord(L"update"))
            result = update();
        else if (isWord(L"delete"))
            result = remove();
        else
            result = expression();
        if (peek().isSymbol(L";"))
            next();
        if (peek().kind != TokenKind::End)
            fail(result->isExpression() ? "an operator or the end of the text" : "the end of the statement");
        return result;
    }

private:
    // Keeps the recursion depth bounded.
    class Nesting {
    public:
        explicit Nesting(Parser& p) : parser(p)
        {
            if (++parser.depth > SqlParser::maxNesting)
                parser.tooDeep(SqlParser::maxNesting);
        }
        ~Nesting() { --parser.depth; }
        Nesting(const Nesting&) = delete;
        Nesting& operator=(const Nesting&) = delete;

    private:
        Parser& parser;
    };

    // ---- tokens -------------------------------------------------------------

    // Tokens are read on demand into a small ring: the grammar looks at most
    // two tokens ahead, and a slot is written again only after its token was
    // taken, so references to the buffered ones stay valid while more are
    // read behind them.
    const Token& peek(std::size_t ahead = 0)
    {
        while (buffered <= ahead) {
            ring[(head + buffered) % ring.size()] = lexer.next();
            ++buffered;
        }
        return ring[(head + ahead) % ring.size()];
    }
    Token next()
    {
        peek();
        infixKnown = false;
        Token t = std::move(ring[head]);
        head = (head + 1) % ring.size();
        --buffered;
        return t;
    }
    void skip(std::size_t count)
    {
        for (std::size_t k = 0; k < count; ++k)
            next();
    }

    static const std::wstring& lower(const Token& t) { return t.folded; }

    bool isWord(const wchar_t* word, std::size_t ahead = 0)
    {
        const Token& t = peek(ahead);
        return t.kind == TokenKind::Word && sameText(lower(t), word);
    }
    bool acceptWord(const wchar_t* word)
    {
        if (!isWord(word))
            return false;
        next();
        return true;
    }
    void expectWord(const wchar_t* word)
    {
        if (!acceptWord(word))
            failQuoted(word);
    }
    bool acceptSymbol(const wchar_t* symbol)
    {
        if (!peek().isSymbol(symbol))
            return false;
        next();
        return true;
    }
    void expectSymbol(const wchar_t* symbol)
    {
        if (!acceptSymbol(symbol))
            failQuoted(symbol);
    }

    static std::string describe(const Token& t)
    {
        const std::string text = QString::fromStdWString(t.text).left(40).toStdString();
        switch (t.kind) {
        case TokenKind::End: return "the end of the text";
        case TokenKind::String: return "the string \"" + text + "\"";
        case TokenKind::Integer:
        case TokenKind::Real: return "the number " + text;
        case TokenKind::QuotedIdentifier: return "the name [" + text + "]";
        default: return "'" + text + "'";
        }
    }

    [[noreturn]] TESSERA_SQL_COLD void fail(const char* expected)
    {
        const Token& t = peek();
        throw ParseError("line " + std::to_string(t.line) + ", column " + std::to_string(t.column) + ": expected " + expected + ", found "
                             + describe(t),
                         t.offset, t.line, t.column, expected);
    }

    [[noreturn]] TESSERA_SQL_COLD void failQuoted(const wchar_t* expected)
    {
        fail(("'" + QString::fromWCharArray(expected).toStdString() + "'").c_str());
    }

    [[noreturn]] TESSERA_SQL_COLD void tooDeep(int limit)
    {
        const Token& t = peek();
        throw NestingTooDeep(t.offset, t.line, t.column, limit);
    }

    // Where an operator was written, for its error.
    struct Place {
        std::size_t offset;
        int line;
        int column;
    };
    Place here()
    {
        const Token& t = peek();
        return {t.offset, t.line, t.column};
    }

    // Refuses an operator that the context does not offer, at its place.
    void offered(OperationCode code, const Place& at, const char* spelling)
    {
        if (ctx && !ctx->hasOperator(code))
            unavailable(at, spelling);
    }

    [[noreturn]] TESSERA_SQL_COLD static void unavailable(const Place& at, const char* spelling)
    {
        throw ParseError("line " + std::to_string(at.line) + ", column " + std::to_string(at.column) + ": the operator " + spelling
                             + " is not available",
                         at.offset, at.line, at.column, "an available operator");
    }

    template <class N, class... Args>
    std::shared_ptr<N> make(Args&&... args)
    {
        auto node = std::make_shared<N>(std::forward<Args>(args)...);
        if (node->height() > SqlParser::maxHeight)
            tooDeep(SqlParser::maxHeight);
        return node;
    }

    // A name: a plain identifier that is not reserved, or a quoted one.
    bool atName()
    {
        const Token& t = peek();
        return t.kind == TokenKind::QuotedIdentifier || (t.kind == TokenKind::Word && !t.reserved);
    }
    std::wstring name(const char* what)
    {
        if (!atName())
            fail(what);
        return next().text;
    }

    // `[As] alias`; empty when there is none.
    std::wstring alias()
    {
        if (acceptWord(L"as")) {
            const Token& t = peek();
            if (t.kind == TokenKind::QuotedIdentifier || t.kind == TokenKind::String
                || (t.kind == TokenKind::Word && !t.reserved))
                return next().text;
            fail("an alias");
        }
        const Token& t = peek();
        if (t.kind == TokenKind::QuotedIdentifier)
            return next().text;
        if (t.kind == TokenKind::Word && !t.reserved && !joinWords().count(lower(t)))
            return next().text;
        return {};
    }

    // ---- statements ---------------------------------------------------------

    NodePtr query()
    {
        Nesting guard(*this);
        NodePtr left;
        QuerySpecification::Clauses first = selectCore();
        bool compound = false;
        for (;;) {
            CompoundQuery::Kind kind;
            if (acceptWord(L"union"))
                kind = acceptWord(L"all") ? CompoundQuery::UnionAll : CompoundQuery::Union;
            else if (acceptWord(L"intersect"))
                kind = CompoundQuery::Intersect;
            else if (acceptWord(L"except"))
                kind = CompoundQuery::Except;
            else
                break;
            if (!compound) {
                left = make<QuerySpecification>(std::move(first));
                compound = true;
            }
            NodePtr right = make<QuerySpecification>(selectCore());
            left = make<CompoundQuery>(kind, left, right, QueryTail{});
        }
        QueryTail tail = queryTail();
        if (!compound) {
            first.tail = std::move(tail);
            return make<QuerySpecification>(std::move(first));
        }
        const auto* c = static_cast<const CompoundQuery*>(left.get());
        return make<CompoundQuery>(c->kind(), c->left(), c->right(), std::move(tail));
    }

    QuerySpecification::Clauses selectCore()
    {
        QuerySpecification::Clauses c;
        expectWord(L"select");
        if (acceptWord(L"distinct"))
            c.distinct = true;
        else
            acceptWord(L"all");
        do
            c.selectList.push_back(selectItem());
        while (acceptSymbol(L","));
        if (acceptWord(L"from")) {
            do
                c.from.push_back(joinedTable());
            while (acceptSymbol(L","));
        }
        if (acceptWord(L"where"))
            c.where = expression();
        if (acceptWord(L"group")) {
            expectWord(L"by");
            do
                c.groupBy.push_back(expression());
            while (acceptSymbol(L","));
        }
        if (acceptWord(L"having"))
            c.having = expression();
        return c;
    }

    NodePtr selectItem()
    {
        if (acceptSymbol(L"*"))
            return make<QualifiedAsterisk>(std::wstring());
        if (atName() && peek(1).isSymbol(L".") && peek(2).isSymbol(L"*")) {
            std::wstring qualifier = next().text;
            next();
            next();
            return make<QualifiedAsterisk>(std::move(qualifier));
        }
        NodePtr e = expression();
        return make<DerivedColumn>(e, alias());
    }

    QueryTail queryTail()
    {
        QueryTail tail;
        if (acceptWord(L"order")) {
            expectWord(L"by");
            do
                tail.orderBy.push_back(sortSpecification());
            while (acceptSymbol(L","));
        }
        if (acceptWord(L"limit")) {
            tail.limit = expression();
            if (acceptWord(L"offset"))
                tail.offset = expression();
        }
        return tail;
    }

    std::shared_ptr<SortSpecification> sortSpecification()
    {
        NodePtr key = expression();
        bool ascending = true;
        if (acceptWord(L"desc"))
            ascending = false;
        else
            acceptWord(L"asc");
        int nulls = SortSpecification::NullsDefault;
        if (acceptWord(L"nulls")) {
            if (acceptWord(L"first"))
                nulls = SortSpecification::NullsFirst;
            else if (acceptWord(L"last"))
                nulls = SortSpecification::NullsLast;
            else
                fail("First or Last");
        }
        return make<SortSpecification>(key, ascending, nulls);
    }

    NodePtr joinedTable()
    {
        NodePtr left = tableFactor();
        for (;;) {
            Join::Kind kind;
            if (acceptWord(L"join")) {
                kind = Join::Inner;
            } else if (isWord(L"inner")) {
                next();
                expectWord(L"join");
                kind = Join::Inner;
            } else if (isWord(L"left") && (isWord(L"join", 1) || isWord(L"outer", 1))) {
                next();
                acceptWord(L"outer");
                expectWord(L"join");
                kind = Join::LeftOuter;
            } else if (acceptWord(L"cross")) {
                expectWord(L"join");
                kind = Join::Cross;
            } else {
                return left;
            }
            NodePtr right = tableFactor();
            NodePtr condition;
            if (kind != Join::Cross && acceptWord(L"on"))
                condition = expression();
            left = make<Join>(kind, left, right, condition);
        }
    }

    NodePtr tableFactor()
    {
        if (peek().isSymbol(L"(") && isWord(L"select", 1)) {
            next();
            NodePtr q = query();
            expectSymbol(L")");
            return make<DerivedTable>(q, alias());
        }
        std::wstring table = name("a table name");
        return make<TablePrimary>(std::move(table), alias());
    }

    std::shared_ptr<TablePrimary> targetTable()
    {
        std::wstring table = name("a table name");
        return make<TablePrimary>(std::move(table), std::wstring());
    }

    NodePtr insert()
    {
        expectWord(L"insert");
        expectWord(L"into");
        auto table = targetTable();
        std::vector<std::wstring> columns;
        if (acceptSymbol(L"(")) {
            do
                columns.push_back(name("a column name"));
            while (acceptSymbol(L","));
            expectSymbol(L")");
        }
        std::vector<NodeList> rows;
        NodePtr source;
        if (acceptWord(L"values")) {
            do {
                expectSymbol(L"(");
                NodeList row;
                do
                    row.push_back(expression());
                while (acceptSymbol(L","));
                expectSymbol(L")");
                rows.push_back(std::move(row));
            } while (acceptSymbol(L","));
        } else if (isWord(L"select")) {
            source = query();
        } else {
            fail("Values or Select");
        }
        return make<Insert>(table, std::move(columns), std::move(rows), source);
    }

    NodePtr update()
    {
        expectWord(L"update");
        auto table = targetTable();
        expectWord(L"set");
        std::vector<Update::Assignment> sets;
        do {
            std::wstring column = name("a column name");
            expectSymbol(L"=");
            sets.emplace_back(std::move(column), expression());
        } while (acceptSymbol(L","));
        NodePtr where;
        if (acceptWord(L"where"))
            where = expression();
        return make<Update>(table, std::move(sets), where);
    }

    NodePtr remove()
    {
        expectWord(L"delete");
        expectWord(L"from");
        auto table = targetTable();
        NodePtr where;
        if (acceptWord(L"where"))
            where = expression();
        return make<Delete>(table, where);
    }

    // ---- expressions --------------------------------------------------------
    //
    // Binary operators are read by precedence climbing over these levels, so
    // that one level of parentheses costs a handful of small stack frames.
    // Every cycle of the recursion passes a Nesting guard: parentheses,
    // function calls, sub-queries, Case, Cast and prefix operators each count
    // one level.
    enum Level : int {
        OrLevel = 0,
        AndLevel = 1,        // And, Xor
        NotLevel = 2,        // prefix Not
        ComparisonLevel = 3, // comparisons and predicates
        SpatialLevel = 4,
        ConcatLevel = 5,     // & ||
        AdditiveLevel = 6,
        MultiplicativeLevel = 7,
        PowerLevel = 8,
    };

    // What follows an operand. `words` is how many tokens spell it.
    struct Infix {
        enum Shape { None, Plain, Is, Like, Between, In, SimilarTo } shape = None;
        int level = -1;
        OperationCode code = OperationCode::None;
        std::size_t words = 1;
        const char* spelling = "";
    };

    // What follows the operand: asked once per precedence level that the
    // operand climbs through, read once per token.
    Infix infix()
    {
        if (!infixKnown) {
            nextInfix = readInfix();
            infixKnown = true;
        }
        return nextInfix;
    }

    Infix readInfix()
    {
        const Token& t = peek();
        auto plain = [](int level, OperationCode code, const char* spelling, std::size_t words = 1) {
            Infix op;
            op.shape = Infix::Plain;
            op.level = level;
            op.code = code;
            op.spelling = spelling;
            op.words = words;
            return op;
        };
        if (t.kind == TokenKind::Symbol) {
            static const struct {
                const wchar_t* symbol;
                int level;
                OperationCode code;
                const char* spelling;
            } symbols[] = {
                {L"=", ComparisonLevel, OperationCode::Equal, "="},
                {L"==", ComparisonLevel, OperationCode::Equal, "=="},
                {L"<>", ComparisonLevel, OperationCode::NotEqual, "<>"},
                {L"!=", ComparisonLevel, OperationCode::NotEqual, "!="},
                {L"<", ComparisonLevel, OperationCode::Less, "<"},
                {L">", ComparisonLevel, OperationCode::Greater, ">"},
                {L"<=", ComparisonLevel, OperationCode::LessOrEqual, "<="},
                {L">=", ComparisonLevel, OperationCode::GreaterOrEqual, ">="},
                {L"&", ConcatLevel, OperationCode::Concat, "&"},
                {L"||", ConcatLevel, OperationCode::Concat, "||"},
                {L"+", AdditiveLevel, OperationCode::Plus, "+"},
                {L"-", AdditiveLevel, OperationCode::Minus, "-"},
                {L"*", MultiplicativeLevel, OperationCode::Multiply, "*"},
                {L"/", MultiplicativeLevel, OperationCode::Divide, "/"},
                {L"\\", MultiplicativeLevel, OperationCode::IntDivide, "\\"},
                {L"%", MultiplicativeLevel, OperationCode::Mod, "%"},
                {L"^", PowerLevel, OperationCode::Power, "^"},
            };
            for (const auto& s : symbols)
                if (sameText(t.text, s.symbol))
                    return plain(s.level, s.code, s.spelling);
            return {};
        }
        if (t.kind != TokenKind::Word)
            return {};
        const std::wstring& word = lower(t);
        // Operators spelt as one word.
        static const struct {
            const wchar_t* word;
            int level;
            OperationCode code;
            const char* spelling;
        } words[] = {
            {L"or", OrLevel, OperationCode::Or, "Or"},
            {L"and", AndLevel, OperationCode::And, "And"},
            {L"xor", AndLevel, OperationCode::Xor, "Xor"},
            {L"div", MultiplicativeLevel, OperationCode::IntDivide, "Div"},
            {L"mod", MultiplicativeLevel, OperationCode::Mod, "Mod"},
            {L"overlaps", ComparisonLevel, OperationCode::Overlaps, "Overlaps"},
            {L"intersects", SpatialLevel, OperationCode::Intersects, "Intersects"},
            {L"within", SpatialLevel, OperationCode::Within, "Within"},
        };
        for (const auto& w : words)
            if (sameText(word, w.word))
                return plain(w.level, w.code, w.spelling);
        if (sameText(word, L"partly") && isWord(L"within", 1))
            return plain(SpatialLevel, OperationCode::PartlyWithin, "Partly Within", 2);
        if (sameText(word, L"entirely") && isWord(L"within", 1))
            return plain(SpatialLevel, OperationCode::EntirelyWithin, "Entirely Within", 2);
        if (sameText(word, L"contains")) {
            if (isWord(L"part", 1))
                return plain(SpatialLevel, OperationCode::ContainsPart, "Contains Part", 2);
            if (isWord(L"entire", 1))
                return plain(SpatialLevel, OperationCode::ContainsEntire, "Contains Entire", 2);
            return plain(SpatialLevel, OperationCode::Contains, "Contains");
        }
        Infix op;
        op.level = ComparisonLevel;
        if (sameText(word, L"is")) {
            op.shape = Infix::Is;
            return op;
        }
        if (sameText(word, L"similar")) {
            op.shape = Infix::SimilarTo;
            op.code = OperationCode::SimilarTo;
            op.spelling = "Similar To";
            return op;
        }
        // The predicates that "Not" may precede.
        static const struct {
            const wchar_t* word;
            Infix::Shape shape;
            OperationCode code;
            OperationCode negatedCode;
            const char* spelling;
            const char* negatedSpelling;
        } predicates[] = {
            {L"like", Infix::Like, OperationCode::Like, OperationCode::NotLike, "Like", "Not Like"},
            {L"glob", Infix::Like, OperationCode::Glob, OperationCode::NotGlob, "Glob", "Not Glob"},
            {L"regexp", Infix::Like, OperationCode::Regexp, OperationCode::NotRegexp, "Regexp", "Not Regexp"},
            {L"between", Infix::Between, OperationCode::Between, OperationCode::NotBetween, "Between", "Not Between"},
            {L"in", Infix::In, OperationCode::In, OperationCode::NotIn, "In", "Not In"},
        };
        const bool negated = sameText(word, L"not");
        const std::wstring predicate = negated ? (peek(1).kind == TokenKind::Word ? lower(peek(1)) : std::wstring()) : word;
        for (const auto& p : predicates) {
            if (!sameText(predicate, p.word))
                continue;
            op.words = negated ? 2 : 1;
            op.shape = p.shape;
            op.code = negated ? p.negatedCode : p.code;
            op.spelling = negated ? p.negatedSpelling : p.spelling;
            return op;
        }
        return {};
    }

    NodePtr expression() { return climb(OrLevel); }

    // An expression whose binary operators all bind at least as tightly as
    // `minLevel`.
    NodePtr climb(int minLevel)
    {
        NodePtr left = prefixed(minLevel);
        for (;;) {
            const Infix op = infix();
            if (op.shape == Infix::None || op.level < minLevel)
                return left;
            const Place at = here();
            skip(op.words);
            switch (op.shape) {
            case Infix::None:
            case Infix::Plain:
                offered(op.code, at, op.spelling);
                left = make<Operation>(op.code, left, climb(op.level + 1));
                break;
            case Infix::Is:
                left = isOperation(left, at);
                break;
            case Infix::SimilarTo:
                expectWord(L"to");
                offered(op.code, at, op.spelling);
                left = make<Operation>(op.code, left, climb(SpatialLevel));
                break;
            case Infix::Like: {
                offered(op.code, at, op.spelling);
                NodePtr pattern = climb(SpatialLevel);
                NodePtr escapeChar;
                if ((op.code == OperationCode::Like || op.code == OperationCode::NotLike) && acceptWord(L"escape"))
                    escapeChar = climb(SpatialLevel);
                left = make<Operation>(op.code, left, pattern, escapeChar);
                break;
            }
            case Infix::Between: {
                offered(op.code, at, op.spelling);
                NodePtr low = climb(SpatialLevel);
                expectWord(L"and");
                NodePtr high = climb(SpatialLevel);
                left = make<Operation>(op.code, left, make<Range>(low, high));
                break;
            }
            case Infix::In:
                offered(op.code, at, op.spelling);
                left = make<Operation>(op.code, left, inList());
                break;
            }
        }
    }

    // `Is [Not] Null` (postfix) or `Is [Not] b`, after the word Is.
    NodePtr isOperation(const NodePtr& left, const Place& at)
    {
        const bool negated = acceptWord(L"not");
        if (acceptWord(L"null")) {
            const OperationCode code = negated ? OperationCode::IsNotNull : OperationCode::IsNull;
            offered(code, at, negated ? "Is Not Null" : "Is Null");
            return make<Operation>(code, left);
        }
        const OperationCode code = negated ? OperationCode::IsNot : OperationCode::Is;
        offered(code, at, negated ? "Is Not" : "Is");
        return make<Operation>(code, left, climb(SpatialLevel));
    }

    // An operand with its prefix operators: Not where the level allows it,
    // then signs.
    NodePtr prefixed(int minLevel)
    {
        if (minLevel <= NotLevel && isWord(L"not")) {
            const Place at = here();
            next();
            Nesting guard(*this);
            offered(OperationCode::Not, at, "Not");
            return make<Operation>(OperationCode::Not, climb(NotLevel));
        }
        return signed_();
    }

    NodePtr signed_()
    {
        if (peek().isSymbol(L"-") || peek().isSymbol(L"+")) {
            const Place at = here();
            const bool minus = sameText(next().text, L"-");
            Nesting guard(*this);
            const OperationCode code = minus ? OperationCode::Negate : OperationCode::UnaryPlus;
            offered(code, at, minus ? "-" : "+");
            return make<Operation>(code, signed_());
        }
        NodePtr operand = primary();
        while (isWord(L"collate")) {
            const Place at = here();
            next();
            const TokenKind kind = peek().kind;
            if (kind != TokenKind::Word && kind != TokenKind::QuotedIdentifier && kind != TokenKind::String)
                fail("a collation name");
            offered(OperationCode::Collate, at, "Collate");
            operand = make<Operation>(OperationCode::Collate, operand, make<CollationName>(next().text));
        }
        return operand;
    }

    NodePtr inList()
    {
        Nesting guard(*this);
        expectSymbol(L"(");
        NodePtr result;
        if (isWord(L"select")) {
            result = make<SubQuery>(query());
        } else {
            NodeList items;
            if (!peek().isSymbol(L")")) {
                do
                    items.push_back(expression());
                while (acceptSymbol(L","));
            }
            result = make<ExpressionList>(std::move(items));
        }
        expectSymbol(L")");
        return result;
    }

    NodePtr primary()
    {
        const TokenKind kind = peek().kind;
        switch (kind) {
        case TokenKind::Integer:
            return make<Number>(Number::Integer, next().text);
        case TokenKind::Real:
            return make<Number>(Number::Real, next().text);
        case TokenKind::String:
            return make<String>(next().text);
        case TokenKind::QuotedIdentifier:
            return nameExpression();
        case TokenKind::Symbol:
            if (peek().isSymbol(L"("))
                return parenthesised();
            fail("an expression");
        case TokenKind::End:
            fail("an expression");
        case TokenKind::Word:
            break;
        }
        const std::wstring word = lower(peek());
        if (sameText(word, L"null")) {
            next();
            return make<NullValue>();
        }
        if (sameText(word, L"true") || sameText(word, L"false") || sameText(word, L"unknown")) {
            next();
            return make<TruthValue>(sameText(word, L"true") ? TernaryLogic::True : sameText(word, L"false") ? TernaryLogic::False : TernaryLogic::Unknown);
        }
        if (sameText(word, L"case"))
            return caseExpression();
        if (sameText(word, L"cast"))
            return castExpression();
        if (sameText(word, L"exists"))
            return existsExpression();
        // A few reserved words also name functions (Asc(c), Like(a, b),
        // Mod(a, b)); only a call of a catalogued function reads as one.
        if (peek().reserved
            && !(peek(1).isSymbol(L"(") && FunctionNameInfo::find(QString::fromStdWString(word)) != FunctionName::None))
            fail("an expression");
        return nameExpression();
    }

    NodePtr existsExpression()
    {
        const Place at = here();
        next();
        Nesting guard(*this);
        offered(OperationCode::Exists, at, "Exists");
        expectSymbol(L"(");
        if (!isWord(L"select"))
            fail("Select");
        NodePtr q = query();
        expectSymbol(L")");
        return make<Operation>(OperationCode::Exists, make<SubQuery>(q));
    }

    NodePtr nameExpression()
    {
        const Token first = next();
        if (peek().isSymbol(L"(")) {
            auto call = functionCall(first.text);
            call->setPosition(first.line, first.column);
            return call;
        }
        if (peek().isSymbol(L".")) {
            next();
            if (peek().kind != TokenKind::Word && peek().kind != TokenKind::QuotedIdentifier)
                fail("a column name");
            return make<ColumnReference>(first.text, next().text);
        }
        if (first.kind == TokenKind::Word && sameText(lower(first), L"rownum")) {
            auto call = make<Function>(first.text, Function::NoParentheses, attribute(first.text), NodeList());
            call->setPosition(first.line, first.column);
            return call;
        }
        return make<ColumnReference>(std::wstring(), first.text);
    }

    std::int32_t attribute(const std::wstring& functionName) const
    {
        const FunctionName value = ctx ? ctx->functionName(functionName) : FunctionNameInfo::find(functionName);
        return static_cast<std::int32_t>(value);
    }

    std::shared_ptr<Function> functionCall(const std::wstring& functionName)
    {
        Nesting guard(*this);
        expectSymbol(L"(");
        std::uint8_t flags = 0;
        NodeList args;
        if (acceptSymbol(L"*")) {
            flags |= Function::Asterisk;
        } else if (!peek().isSymbol(L")")) {
            if (acceptWord(L"distinct"))
                flags |= Function::Distinct;
            else
                acceptWord(L"all");
            do
                args.push_back(expression());
            while (acceptSymbol(L","));
        }
        expectSymbol(L")");
        return make<Function>(functionName, flags, attribute(functionName), std::move(args));
    }

    NodePtr parenthesised()
    {
        Nesting guard(*this);
        expectSymbol(L"(");
        NodePtr result;
        if (isWord(L"select")) {
            result = make<SubQuery>(query());
        } else {
            result = expression();
            if (peek().isSymbol(L",")) {
                NodeList items{result};
                while (acceptSymbol(L","))
                    items.push_back(expression());
                result = make<ExpressionList>(std::move(items));
            }
        }
        expectSymbol(L")");
        return result;
    }

    NodePtr caseExpression()
    {
        expectWord(L"case");
        Nesting guard(*this);
        NodePtr operand;
        if (!isWord(L"when"))
            operand = expression();
        std::vector<Case::When> whens;
        while (acceptWord(L"when")) {
            NodePtr condition = expression();
            expectWord(L"then");
            whens.emplace_back(condition, expression());
        }
        if (whens.empty())
            fail("When");
        NodePtr otherwise;
        if (acceptWord(L"else"))
            otherwise = expression();
        expectWord(L"end");
        return make<Case>(operand, std::move(whens), otherwise);
    }

    NodePtr castExpression()
    {
        expectWord(L"cast");
        Nesting guard(*this);
        expectSymbol(L"(");
        NodePtr operand = expression();
        expectWord(L"as");
        // Plain words only: a type name is written out as it stands.
        std::wstring type;
        while (peek().kind == TokenKind::Word) {
            if (!type.empty())
                type += L' ';
            type += next().text;
        }
        if (type.empty())
            fail("a type name");
        if (acceptSymbol(L"(")) {
            type += L'(';
            for (bool more = true; more; more = acceptSymbol(L",")) {
                if (type.back() != L'(')
                    type += L", ";
                if (peek().kind != TokenKind::Integer)
                    fail("a size");
                type += next().text;
            }
            expectSymbol(L")");
            type += L')';
        }
        expectSymbol(L")");
        return make<Cast>(operand, std::move(type));
    }

    const ParseContext* ctx;
    Lexer lexer;
    std::array<Token, 4> ring;
    std::size_t head = 0;       // the front token's slot
    std::size_t buffered = 0;   // tokens read and not yet taken
    int depth = 0;
    Infix nextInfix;          // infix() of the front token, when infixKnown
    bool infixKnown = false;
};

} // namespace

SqlParser::SqlParser(const ParseContext* parseContext) : context(parseContext)
{
}

SqlParser::~SqlParser() = default;

bool SqlParser::parse(const std::string& text)
{
    tree.reset();
    problems.clear();
    try {
        Parser parser(context, text);
        tree = parser.statement();
        return true;
    } catch (const NestingTooDeep& error) {
        problems.push_back(std::make_shared<NestingTooDeep>(error));
    } catch (const ParseError& error) {
        problems.push_back(std::make_shared<ParseError>(error));
    } catch (const std::bad_alloc&) {
        problems.push_back(std::make_shared<GeneralSyntaxError>(std::string("text too large to parse")));
    }
    qCDebug(lcParser) << "parse failed:" << problems.front()->what();
    return false;
}

} // namespace tessera::sql
