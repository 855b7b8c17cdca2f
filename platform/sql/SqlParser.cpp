#include "platform/sql/SqlParser.h"

#include "platform/sql/FunctionName.h"
#include "platform/sql/Lexer.h"
#include "platform/sql/SqlRuntime.h"
#include "platform/sql/SqlStrings.h"

#include <QString>

#include <unordered_set>

namespace tessera::sql {

using namespace ast;

namespace {

// Words that never name a column or an alias without quotes.
const std::unordered_set<std::wstring>& reservedWords()
{
    static const std::unordered_set<std::wstring> words = {
        L"all", L"and", L"as", L"asc", L"between", L"by", L"case", L"cast", L"collate", L"contains",
        L"cross", L"delete", L"desc", L"distinct", L"div", L"else", L"end", L"entirely", L"escape",
        L"except", L"exists", L"false", L"from", L"glob", L"group", L"having", L"in", L"inner",
        L"insert", L"intersect", L"intersects", L"into", L"is", L"join", L"like", L"limit", L"mod",
        L"not", L"null", L"offset", L"on", L"or", L"order", L"overlaps", L"partly", L"regexp",
        L"select", L"set", L"similar", L"then", L"true", L"union", L"unknown", L"update",
        L"values", L"when", L"where", L"within", L"xor",
    };
    return words;
}

// Words that may name a column but cannot be an alias written without As,
// because they continue a From clause.
const std::unordered_set<std::wstring>& joinWords()
{
    static const std::unordered_set<std::wstring> words = {L"left", L"right", L"full", L"natural", L"outer", L"using"};
    return words;
}

class Parser {
public:
    Parser(const ParseContext* context, std::vector<Token> tokens) : ctx(context), toks(std::move(tokens)) {}

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
                parser.fail("less nesting (at most " + std::to_string(SqlParser::maxNesting) + " levels)");
        }
        ~Nesting() { --parser.depth; }
        Nesting(const Nesting&) = delete;
        Nesting& operator=(const Nesting&) = delete;

    private:
        Parser& parser;
    };

    // ---- tokens -------------------------------------------------------------

    const Token& peek(std::size_t ahead = 0) const
    {
        const std::size_t i = std::min(pos + ahead, toks.size() - 1);
        return toks[i];
    }
    const Token& next()
    {
        const Token& t = toks[pos];
        if (pos + 1 < toks.size())
            ++pos;
        return t;
    }

    static std::wstring lower(const Token& t) { return toLowercase(t.text); }

    bool isWord(const wchar_t* word, std::size_t ahead = 0) const
    {
        const Token& t = peek(ahead);
        return t.kind == TokenKind::Word && lower(t) == word;
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
            fail("'" + QString::fromWCharArray(word).toStdString() + "'");
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
            fail("'" + QString::fromWCharArray(symbol).toStdString() + "'");
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

    [[noreturn]] void fail(const std::string& expected) const
    {
        const Token& t = peek();
        throw ParseError("line " + std::to_string(t.line) + ", column " + std::to_string(t.column) + ": expected " + expected + ", found " + describe(t),
                         t.offset, t.line, t.column, expected);
    }

    template <class N, class... Args>
    std::shared_ptr<N> make(Args&&... args)
    {
        auto node = std::make_shared<N>(std::forward<Args>(args)...);
        if (node->height() > SqlParser::maxHeight)
            fail("a shallower expression (at most " + std::to_string(SqlParser::maxHeight) + " levels)");
        return node;
    }

    // A name: a plain identifier that is not reserved, or a quoted one.
    bool atName() const
    {
        const Token& t = peek();
        return t.kind == TokenKind::QuotedIdentifier || (t.kind == TokenKind::Word && !reservedWords().count(lower(t)));
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
            if (t.kind == TokenKind::Word || t.kind == TokenKind::QuotedIdentifier || t.kind == TokenKind::String)
                return next().text;
            fail("an alias");
        }
        const Token& t = peek();
        if (t.kind == TokenKind::QuotedIdentifier)
            return next().text;
        if (t.kind == TokenKind::Word && !reservedWords().count(lower(t)) && !joinWords().count(lower(t)))
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

    // ---- expressions, loosest first -----------------------------------------

    NodePtr expression()
    {
        Nesting guard(*this);
        return disjunction();
    }

    NodePtr disjunction()
    {
        NodePtr left = conjunction();
        while (acceptWord(L"or"))
            left = make<Operation>(OperationCode::Or, left, conjunction());
        return left;
    }

    NodePtr conjunction()
    {
        NodePtr left = negation();
        for (;;) {
            if (acceptWord(L"and"))
                left = make<Operation>(OperationCode::And, left, negation());
            else if (acceptWord(L"xor"))
                left = make<Operation>(OperationCode::Xor, left, negation());
            else
                return left;
        }
    }

    NodePtr negation()
    {
        if (isWord(L"not")) {
            next();
            Nesting guard(*this);
            return make<Operation>(OperationCode::Not, negation());
        }
        return comparison();
    }

    NodePtr comparison()
    {
        NodePtr left = spatial();
        for (;;) {
            const Token& t = peek();
            if (t.kind == TokenKind::Symbol) {
                static const std::pair<const wchar_t*, OperationCode> symbols[] = {
                    {L"=", OperationCode::Equal}, {L"==", OperationCode::Equal}, {L"<>", OperationCode::NotEqual},
                    {L"!=", OperationCode::NotEqual}, {L"<", OperationCode::Less}, {L">", OperationCode::Greater},
                    {L"<=", OperationCode::LessOrEqual}, {L">=", OperationCode::GreaterOrEqual},
                };
                bool found = false;
                for (const auto& [symbol, code] : symbols) {
                    if (t.text == symbol) {
                        next();
                        left = make<Operation>(code, left, spatial());
                        found = true;
                        break;
                    }
                }
                if (found)
                    continue;
                return left;
            }
            if (acceptWord(L"is")) {
                const bool negated = acceptWord(L"not");
                if (acceptWord(L"null"))
                    left = make<Operation>(negated ? OperationCode::IsNotNull : OperationCode::IsNull, left);
                else
                    left = make<Operation>(negated ? OperationCode::IsNot : OperationCode::Is, left, spatial());
                continue;
            }
            std::size_t ahead = isWord(L"not") ? 1 : 0;
            const bool negated = ahead == 1;
            if (isWord(L"like", ahead) || isWord(L"glob", ahead) || isWord(L"regexp", ahead)) {
                const std::wstring word = lower(peek(ahead));
                pos += ahead;
                next();
                NodePtr pattern = spatial();
                if (word == L"like") {
                    NodePtr escapeChar;
                    if (acceptWord(L"escape"))
                        escapeChar = spatial();
                    left = make<Operation>(negated ? OperationCode::NotLike : OperationCode::Like, left, pattern, escapeChar);
                } else if (word == L"glob") {
                    left = make<Operation>(negated ? OperationCode::NotGlob : OperationCode::Glob, left, pattern);
                } else {
                    left = make<Operation>(negated ? OperationCode::NotRegexp : OperationCode::Regexp, left, pattern);
                }
                continue;
            }
            if (isWord(L"between", ahead)) {
                pos += ahead + 1;
                NodePtr low = spatial();
                expectWord(L"and");
                NodePtr high = spatial();
                left = make<Operation>(negated ? OperationCode::NotBetween : OperationCode::Between, left, make<Range>(low, high));
                continue;
            }
            if (isWord(L"in", ahead)) {
                pos += ahead + 1;
                left = make<Operation>(negated ? OperationCode::NotIn : OperationCode::In, left, inList());
                continue;
            }
            if (!negated && acceptWord(L"similar")) {
                expectWord(L"to");
                left = make<Operation>(OperationCode::SimilarTo, left, spatial());
                continue;
            }
            if (!negated && acceptWord(L"overlaps")) {
                left = make<Operation>(OperationCode::Overlaps, left, spatial());
                continue;
            }
            return left;
        }
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

    NodePtr spatial()
    {
        NodePtr left = concatenation();
        for (;;) {
            OperationCode code;
            if (acceptWord(L"contains")) {
                if (acceptWord(L"part"))
                    code = OperationCode::ContainsPart;
                else if (acceptWord(L"entire"))
                    code = OperationCode::ContainsEntire;
                else
                    code = OperationCode::Contains;
            } else if (acceptWord(L"intersects")) {
                code = OperationCode::Intersects;
            } else if (acceptWord(L"within")) {
                code = OperationCode::Within;
            } else if (acceptWord(L"partly")) {
                expectWord(L"within");
                code = OperationCode::PartlyWithin;
            } else if (acceptWord(L"entirely")) {
                expectWord(L"within");
                code = OperationCode::EntirelyWithin;
            } else {
                return left;
            }
            left = make<Operation>(code, left, concatenation());
        }
    }

    NodePtr concatenation()
    {
        NodePtr left = additive();
        while (acceptSymbol(L"&") || acceptSymbol(L"||"))
            left = make<Operation>(OperationCode::Concat, left, additive());
        return left;
    }

    NodePtr additive()
    {
        NodePtr left = multiplicative();
        for (;;) {
            if (acceptSymbol(L"+"))
                left = make<Operation>(OperationCode::Plus, left, multiplicative());
            else if (acceptSymbol(L"-"))
                left = make<Operation>(OperationCode::Minus, left, multiplicative());
            else
                return left;
        }
    }

    NodePtr multiplicative()
    {
        NodePtr left = power();
        for (;;) {
            OperationCode code;
            if (acceptSymbol(L"*"))
                code = OperationCode::Multiply;
            else if (acceptSymbol(L"/"))
                code = OperationCode::Divide;
            else if (acceptSymbol(L"\\") || acceptWord(L"div"))
                code = OperationCode::IntDivide;
            else if (acceptSymbol(L"%") || acceptWord(L"mod"))
                code = OperationCode::Mod;
            else
                return left;
            left = make<Operation>(code, left, power());
        }
    }

    NodePtr power()
    {
        NodePtr left = unary();
        while (acceptSymbol(L"^"))
            left = make<Operation>(OperationCode::Power, left, unary());
        return left;
    }

    NodePtr unary()
    {
        if (peek().isSymbol(L"-") || peek().isSymbol(L"+")) {
            const OperationCode code = next().text == L"-" ? OperationCode::Negate : OperationCode::UnaryPlus;
            Nesting guard(*this);
            return make<Operation>(code, unary());
        }
        NodePtr operand = primary();
        while (acceptWord(L"collate")) {
            if (peek().kind != TokenKind::Word && peek().kind != TokenKind::QuotedIdentifier && peek().kind != TokenKind::String)
                fail("a collation name");
            operand = make<Operation>(OperationCode::Collate, operand, make<CollationName>(next().text));
        }
        return operand;
    }

    NodePtr primary()
    {
        const Token& t = peek();
        switch (t.kind) {
        case TokenKind::Integer:
            return make<Number>(Number::Integer, next().text);
        case TokenKind::Real:
            return make<Number>(Number::Real, next().text);
        case TokenKind::String:
            return make<String>(next().text);
        case TokenKind::QuotedIdentifier:
            return nameExpression();
        case TokenKind::Symbol:
            if (t.isSymbol(L"("))
                return parenthesised();
            fail("an expression");
        case TokenKind::End:
            fail("an expression");
        case TokenKind::Word:
            break;
        }
        const std::wstring word = lower(t);
        if (word == L"null") {
            next();
            return make<NullValue>();
        }
        if (word == L"true" || word == L"false" || word == L"unknown") {
            next();
            return make<TruthValue>(word == L"true" ? TernaryLogic::True : word == L"false" ? TernaryLogic::False : TernaryLogic::Unknown);
        }
        if (word == L"case")
            return caseExpression();
        if (word == L"cast")
            return castExpression();
        if (word == L"exists") {
            next();
            Nesting guard(*this);
            expectSymbol(L"(");
            if (!isWord(L"select"))
                fail("Select");
            NodePtr q = query();
            expectSymbol(L")");
            return make<Operation>(OperationCode::Exists, make<SubQuery>(q));
        }
        // Some reserved words are also function names (Like(a, b), Mod(a, b)).
        if (reservedWords().count(word) && !(peek(1).isSymbol(L"(") && word != L"not" && word != L"select" && word != L"in"))
            fail("an expression");
        return nameExpression();
    }

    NodePtr nameExpression()
    {
        const Token first = next();
        if (peek().isSymbol(L"("))
            return functionCall(first.text);
        if (peek().isSymbol(L".")) {
            next();
            if (peek().kind != TokenKind::Word && peek().kind != TokenKind::QuotedIdentifier)
                fail("a column name");
            return make<ColumnReference>(first.text, next().text);
        }
        if (first.kind == TokenKind::Word && lower(first) == L"rownum")
            return make<Function>(first.text, Function::NoParentheses, attribute(first.text), NodeList());
        return make<ColumnReference>(std::wstring(), first.text);
    }

    std::int32_t attribute(const std::wstring& functionName) const
    {
        const FunctionName value = ctx ? ctx->functionName(functionName) : FunctionNameInfo::find(QString::fromStdWString(functionName));
        return static_cast<std::int32_t>(value);
    }

    NodePtr functionCall(const std::wstring& functionName)
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
        std::wstring type;
        while (peek().kind == TokenKind::Word || peek().kind == TokenKind::QuotedIdentifier) {
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
    std::vector<Token> toks;
    std::size_t pos = 0;
    int depth = 0;
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
        Parser parser(context, Lexer::tokenize(text));
        tree = parser.statement();
        return true;
    } catch (const ParseError& error) {
        problems.push_back(std::make_shared<ParseError>(error));
    } catch (const std::bad_alloc&) {
        problems.push_back(std::make_shared<GeneralSyntaxError>(std::string("text too large to parse")));
    }
    return false;
}

} // namespace tessera::sql
