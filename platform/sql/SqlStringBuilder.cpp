#include "platform/sql/SqlStringBuilder.h"

#include "platform/sql/SingleTypeVisitor.h"
#include "platform/sql/SqlStrings.h"

#include <QChar>

#include <algorithm>
#include <unordered_set>
#include <vector>

namespace tessera::sql {

using namespace ast;

namespace {

// SQLite's binding strengths, loosest first.
enum Level : int {
    OrLevel = 1,
    AndLevel = 2,
    NotLevel = 3,
    EqualityLevel = 4, // = <> Is In Like Glob Regexp Between Is Null
    RelationLevel = 5, // < > <= >=
    EscapeLevel = 6,
    AdditiveLevel = 8,
    MultiplicativeLevel = 9,
    ConcatLevel = 10,
    CollateLevel = 11,
    UnaryLevel = 12,
};

// Every word that SQLite's tokenizer treats as a keyword: a name spelled
// like one must be quoted to be read as a name everywhere.
const std::unordered_set<std::wstring>& sqliteKeywords()
{
    static const std::unordered_set<std::wstring> words = {
        L"abort", L"action", L"add", L"after", L"all", L"alter", L"always", L"analyze", L"and", L"as",
        L"asc", L"attach", L"autoincrement", L"before", L"begin", L"between", L"by", L"cascade",
        L"case", L"cast", L"check", L"collate", L"column", L"commit", L"conflict", L"constraint",
        L"create", L"cross", L"current", L"current_date", L"current_time", L"current_timestamp",
        L"database", L"default", L"deferrable", L"deferred", L"delete", L"desc", L"detach",
        L"distinct", L"do", L"drop", L"each", L"else", L"end", L"escape", L"except", L"exclude",
        L"exclusive", L"exists", L"explain", L"fail", L"filter", L"first", L"following", L"for",
        L"foreign", L"from", L"full", L"generated", L"glob", L"group", L"groups", L"having", L"if",
        L"ignore", L"immediate", L"in", L"index", L"indexed", L"initially", L"inner", L"insert",
        L"instead", L"intersect", L"into", L"is", L"isnull", L"join", L"key", L"last", L"left",
        L"like", L"limit", L"match", L"materialized", L"natural", L"no", L"not", L"nothing",
        L"notnull", L"null", L"nulls", L"of", L"offset", L"on", L"or", L"order", L"others", L"outer",
        L"over", L"partition", L"plan", L"pragma", L"preceding", L"primary", L"query", L"raise",
        L"range", L"recursive", L"references", L"regexp", L"reindex", L"release", L"rename",
        L"replace", L"restrict", L"returning", L"right", L"rollback", L"row", L"rows", L"savepoint",
        L"select", L"set", L"table", L"temp", L"temporary", L"then", L"ties", L"to", L"transaction",
        L"trigger", L"unbounded", L"union", L"unique", L"update", L"using", L"vacuum", L"values",
        L"view", L"virtual", L"when", L"where", L"window", L"with", L"without",
    };
    return words;
}

// sqliteKeywords().count(toLowercase(name)) without a lower-case copy for an
// ASCII name (every identifier of a translated statement passes here).
bool isSqliteKeyword(const std::wstring& name)
{
    static const std::vector<std::vector<std::wstring>> byLength = [] {
        std::vector<std::vector<std::wstring>> table;
        for (const std::wstring& word : sqliteKeywords()) {
            if (table.size() <= word.size())
                table.resize(word.size() + 1);
            table[word.size()].push_back(word);
        }
        return table;
    }();
    for (const wchar_t c : name)
        if (static_cast<unsigned long>(c) > 0x7f)
            return sqliteKeywords().count(toLowercase(name)) != 0;
    if (name.size() >= byLength.size())
        return false;
    for (const std::wstring& word : byLength[name.size()]) {
        std::size_t i = 0;
        while (i < name.size() && (name[i] >= L'A' && name[i] <= L'Z' ? name[i] - L'A' + L'a' : name[i]) == word[i])
            ++i;
        if (i == name.size())
            return true;
    }
    return false;
}

bool isPlainName(const std::wstring& name)
{
    if (name.empty())
        return false;
    for (std::size_t i = 0; i < name.size(); ++i) {
        const auto c = static_cast<uint>(name[i]);
        // ASCII without Qt's tables: the names of almost every statement.
        const bool letter = c == '_' || (c < 0x80 ? ((c | 0x20) >= 'a' && (c | 0x20) <= 'z') : QChar::isLetter(c));
        const bool more = (c < 0x80 ? (c >= '0' && c <= '9') : QChar::isDigit(c)) || c == '$';
        if (!(letter || (i > 0 && more)))
            return false;
    }
    return true;
}

// Operators without an SQLite spelling, written as function calls.
bool isFunctionForm(OperationCode code)
{
    switch (code) {
    case OperationCode::Xor:
    case OperationCode::SimilarTo:
    case OperationCode::Overlaps:
    case OperationCode::IntDivide:
    case OperationCode::Power:
    case OperationCode::Contains:
    case OperationCode::ContainsPart:
    case OperationCode::ContainsEntire:
    case OperationCode::Intersects:
    case OperationCode::Within:
    case OperationCode::PartlyWithin:
    case OperationCode::EntirelyWithin:
        return true;
    default:
        return false;
    }
}

int levelOf(OperationCode code)
{
    switch (code) {
    case OperationCode::Or: return OrLevel;
    case OperationCode::And: return AndLevel;
    case OperationCode::Not: return NotLevel;
    case OperationCode::Equal:
    case OperationCode::NotEqual:
    case OperationCode::IsNull:
    case OperationCode::IsNotNull:
    case OperationCode::Like:
    case OperationCode::NotLike:
    case OperationCode::Regexp:
    case OperationCode::NotRegexp:
    case OperationCode::Glob:
    case OperationCode::NotGlob:
    case OperationCode::Between:
    case OperationCode::NotBetween:
    case OperationCode::In:
    case OperationCode::NotIn:
    case OperationCode::Is:
    case OperationCode::IsNot:
        return EqualityLevel;
    case OperationCode::Less:
    case OperationCode::Greater:
    case OperationCode::LessOrEqual:
    case OperationCode::GreaterOrEqual:
        return RelationLevel;
    case OperationCode::Plus:
    case OperationCode::Minus:
        return AdditiveLevel;
    case OperationCode::Multiply:
    case OperationCode::Divide:
    case OperationCode::Mod:
        return MultiplicativeLevel;
    case OperationCode::Concat: return ConcatLevel;
    case OperationCode::Collate: return CollateLevel;
    case OperationCode::Negate:
    case OperationCode::UnaryPlus:
        return UnaryLevel;
    default:
        return -1; // function forms, Exists: atoms
    }
}

std::wstring parenthesised(const std::wstring& text)
{
    return L"(" + text + L")";
}

} // namespace

// ---- StringBuildContext -------------------------------------------------------

StringBuildContext::~StringBuildContext() = default;

std::wstring StringBuildContext::identifier(const std::wstring& name) const
{
    return SqlStringBuilder::quoteIdentifier(name);
}

// ---- SqlStringBuilder -----------------------------------------------------------

SqlStringBuilder::SqlStringBuilder(const StringBuildContext* buildContext) : context(buildContext)
{
}

SqlStringBuilder::~SqlStringBuilder() = default;

std::wstring SqlStringBuilder::quoteIdentifier(const std::wstring& name)
{
    if (isPlainName(name) && !isSqliteKeyword(name))
        return name;
    return escape(name, L'`');
}

std::wstring SqlStringBuilder::sortSuffix(bool ascending, int nullsOrdering)
{
    std::wstring suffix = ascending ? L"" : L" Desc";
    if (nullsOrdering != SortSpecification::NullsDefault)
        suffix += nullsOrdering == SortSpecification::NullsFirst ? L" Nulls First" : L" Nulls Last";
    return suffix;
}

std::wstring SqlStringBuilder::buildString(const Node& node)
{
    texts.clear();
    doVisit(node);
    std::wstring result;
    // A well-formed walk leaves exactly one text; join leftovers rather than
    // lose them.
    for (std::wstring& t : texts)
        result += t;
    texts.clear();
    return result;
}

std::wstring SqlStringBuilder::identifier(const std::wstring& name) const
{
    return context ? context->identifier(name) : quoteIdentifier(name);
}

void SqlStringBuilder::push(std::wstring text)
{
    texts.push_back(std::move(text));
}

std::wstring SqlStringBuilder::pop()
{
    if (texts.empty())
        return {};
    std::wstring text = std::move(texts.back());
    texts.pop_back();
    return text;
}

std::wstring& SqlStringBuilder::top()
{
    if (texts.empty())
        texts.emplace_back();
    return texts.back();
}

std::wstring SqlStringBuilder::textOf(const NodePtr& node)
{
    return node ? textOf(*node) : std::wstring();
}

std::wstring SqlStringBuilder::textOf(const Node& node)
{
    const std::size_t before = texts.size();
    doVisit(node);
    // A visit that pushed nothing (an unknown node kind) yields no text.
    return texts.size() > before ? pop() : std::wstring();
}

int SqlStringBuilder::precedence(const Node& node) const
{
    const Operation* operation = nodeAs<Operation>(&node);
    if (!operation)
        return atomPrecedence;
    const int level = levelOf(operation->code());
    return level < 0 ? atomPrecedence : level;
}

std::wstring SqlStringBuilder::operand(const NodePtr& node, bool wrap)
{
    std::wstring text = textOf(node);
    return wrap ? parenthesised(text) : text;
}

std::wstring SqlStringBuilder::joined(const NodeList& nodes)
{
    std::wstring text;
    for (const NodePtr& node : nodes) {
        if (!text.empty())
            text += L", ";
        text += textOf(node);
    }
    return text;
}

std::wstring SqlStringBuilder::tail(const SortList& orderBy, const NodePtr& limit, const NodePtr& offset)
{
    std::wstring text;
    for (const auto& spec : orderBy) {
        text += text.empty() ? L" Order By " : L", ";
        text += textOf(spec);
    }
    if (limit)
        text += L" Limit " + textOf(limit);
    if (offset) {
        // SQLite has no Offset without Limit; -1 means no limit.
        if (!limit)
            text += L" Limit -1";
        text += L" Offset " + textOf(offset);
    }
    return text;
}

// ---- operations -----------------------------------------------------------------

std::wstring SqlStringBuilder::operationToString(OperationCode code) const
{
    switch (code) {
    case OperationCode::None: return L"";
    case OperationCode::Or: return L"Or";
    case OperationCode::Xor: return L"Xor";
    case OperationCode::And: return L"And";
    case OperationCode::Not: return L"Not";
    case OperationCode::Equal: return L"=";
    case OperationCode::NotEqual: return L"<>";
    case OperationCode::Less: return L"<";
    case OperationCode::Greater: return L">";
    case OperationCode::IsNull: return L"Is Null";
    case OperationCode::SimilarTo: return L"SimilarTo";
    case OperationCode::IsNotNull: return L"Is Not Null";
    case OperationCode::Minus: return L"-";
    case OperationCode::Multiply: return L"*";
    case OperationCode::Negate: return L"-";
    case OperationCode::UnaryPlus: return L"+";
    case OperationCode::Exists: return L"Exists";
    case OperationCode::LessOrEqual: return L"<=";
    case OperationCode::GreaterOrEqual: return L">=";
    case OperationCode::Like: return L"Like";
    case OperationCode::Regexp: return L"Regexp";
    case OperationCode::NotLike: return L"Not Like";
    case OperationCode::Between: return L"Between";
    case OperationCode::NotBetween: return L"Not Between";
    case OperationCode::In: return L"In";
    case OperationCode::NotIn: return L"Not In";
    case OperationCode::Glob: return L"Glob";
    case OperationCode::Concat: return L"||";
    case OperationCode::Is: return L"Is";
    case OperationCode::IsNot: return L"Is Not";
    case OperationCode::NotRegexp: return L"Not Regexp";
    case OperationCode::Overlaps: return L"Overlaps";
    case OperationCode::Plus: return L"+";
    case OperationCode::NotGlob: return L"Not Glob";
    case OperationCode::Collate: return L"Collate";
    case OperationCode::Divide: return L"/";
    case OperationCode::IntDivide: return L"Div";
    case OperationCode::Mod: return L"%";
    case OperationCode::Power: return L"Power";
    case OperationCode::Contains: return L"Contains";
    case OperationCode::ContainsPart: return L"ContainsPart";
    case OperationCode::ContainsEntire: return L"ContainsEntire";
    case OperationCode::Intersects: return L"Intersects";
    case OperationCode::Within: return L"Within";
    case OperationCode::PartlyWithin: return L"PartlyWithin";
    case OperationCode::EntirelyWithin: return L"EntirelyWithin";
    }
    return L"";
}

std::wstring SqlStringBuilder::ternaryToString(TernaryLogic::Value value)
{
    switch (value) {
    case TernaryLogic::False: return L"False";
    case TernaryLogic::True: return L"True";
    case TernaryLogic::Unknown: break;
    }
    return L"NULL";
}

void SqlStringBuilder::visit(const Operation& node)
{
    processOperation(node);
}

void SqlStringBuilder::processOperation(const Operation& operation, const Transformer& transformer)
{
    const OperationCode code = operation.code();
    const std::wstring op = operationToString(code);
    const int level = precedence(operation);
    auto precedenceOf = [this](const NodePtr& node) { return node ? precedence(*node) : atomPrecedence; };
    // The compared text must bind tighter than the Collate it may receive.
    auto compared = [&](const NodePtr& node, bool wrap) {
        std::wstring text = operand(node, wrap || (transformer && precedenceOf(node) < CollateLevel));
        return transformer ? std::wstring(transformer(text)) : text;
    };

    if (operation.unary()) {
        const NodePtr& arg = operation.left();
        std::wstring text;
        switch (code) {
        case OperationCode::IsNull:
        case OperationCode::IsNotNull:
            text = compared(arg, precedenceOf(arg) < level) + L" " + op;
            break;
        case OperationCode::Negate:
        case OperationCode::UnaryPlus:
            // "- -a" would start a comment, so any operation is parenthesised.
            text = op + compared(arg, precedenceOf(arg) < atomPrecedence);
            break;
        case OperationCode::Exists: {
            std::wstring query = compared(arg, false);
            if (!nodeAs<SubQuery>(arg))
                query = parenthesised(query);
            text = op + L" " + query;
            break;
        }
        default:
            text = op + L" " + compared(arg, precedenceOf(arg) < level);
            break;
        }
        push(std::move(text));
        return;
    }

    if (isFunctionForm(code)) {
        std::wstring left = textOf(operation.left());
        std::wstring right = transformer ? compared(operation.right(), false) : textOf(operation.right());
        push(op + L"(" + left + L", " + right + L")");
        return;
    }

    switch (code) {
    case OperationCode::Between:
    case OperationCode::NotBetween: {
        std::wstring left = compared(operation.left(), precedenceOf(operation.left()) < level);
        std::wstring range;
        if (const Range* bounds = nodeAs<Range>(operation.right())) {
            const std::wstring low = operand(bounds->low(), precedenceOf(bounds->low()) <= level);
            const std::wstring high = operand(bounds->high(), precedenceOf(bounds->high()) <= level);
            range = low + L" And " + high;
        } else {
            range = textOf(operation.right());
        }
        push(left + L" " + op + L" " + range);
        return;
    }
    case OperationCode::In:
    case OperationCode::NotIn: {
        std::wstring left = compared(operation.left(), precedenceOf(operation.left()) < level);
        std::wstring list = textOf(operation.right());
        if (!nodeAs<ExpressionList>(operation.right()) && !nodeAs<SubQuery>(operation.right()))
            list = parenthesised(list);
        push(left + L" " + op + L" " + list);
        return;
    }
    case OperationCode::Collate: {
        std::wstring left = operand(operation.left(), precedenceOf(operation.left()) < level);
        std::wstring name = textOf(operation.right());
        std::wstring text = left + L" " + op + L" " + name;
        push(transformer ? std::wstring(transformer(text)) : text);
        return;
    }
    default:
        break;
    }

    const std::wstring left = operand(operation.left(), precedenceOf(operation.left()) < level);
    std::wstring text = left + L" " + op + L" " + compared(operation.right(), precedenceOf(operation.right()) <= level);
    if (operation.escape())
        text += L" Escape " + operand(operation.escape(), precedenceOf(operation.escape()) <= EscapeLevel);
    push(std::move(text));
}

void SqlStringBuilder::visit(const Range& node)
{
    std::wstring low = textOf(node.low());
    std::wstring high = textOf(node.high());
    push(low + L" And " + high);
}

// ---- values ---------------------------------------------------------------------

void SqlStringBuilder::visit(const Function& node)
{
    std::wstring text = isPlainName(node.name()) ? node.name() : escape(node.name(), L'`');
    text += L"(";
    if (node.flags() & Function::Asterisk) {
        text += L"*";
    } else {
        if (node.flags() & Function::Distinct)
            text += L"Distinct ";
        text += joined(node.args());
    }
    text += L")";
    push(std::move(text));
}

void SqlStringBuilder::visit(const ColumnReference& node)
{
    std::wstring text;
    if (!node.qualifier().empty())
        text = identifier(node.qualifier()) + L".";
    text += identifier(node.name());
    push(std::move(text));
}

void SqlStringBuilder::visit(const Number& node)
{
    push(node.text());
}

void SqlStringBuilder::visit(const String& node)
{
    push(escape(node.text(), L'\''));
}

void SqlStringBuilder::visit(const TruthValue& node)
{
    push(ternaryToString(node.value()));
}

void SqlStringBuilder::visit(const NullValue&)
{
    push(L"Null");
}

void SqlStringBuilder::visit(const CollationName& node)
{
    push(identifier(node.name()));
}

void SqlStringBuilder::visit(const Case& node)
{
    std::wstring text = L"Case";
    if (node.operand())
        text += L" " + textOf(node.operand());
    for (const Case::When& when : node.whens()) {
        text += L" When " + textOf(when.first);
        text += L" Then " + textOf(when.second);
    }
    if (node.otherwise())
        text += L" Else " + textOf(node.otherwise());
    text += L" End";
    push(std::move(text));
}

void SqlStringBuilder::visit(const Cast& node)
{
    std::wstring value = textOf(node.operand());
    push(L"Cast(" + value + L" As " + node.typeName() + L")");
}

void SqlStringBuilder::visit(const ExpressionList& node)
{
    push(parenthesised(joined(node.items())));
}

void SqlStringBuilder::visit(const SubQuery& node)
{
    push(parenthesised(textOf(node.query())));
}

// ---- queries --------------------------------------------------------------------

void SqlStringBuilder::visit(const SortSpecification& node)
{
    push(textOf(node.key()) + sortSuffix(node.ascending(), node.nullsOrdering()));
}

void SqlStringBuilder::visit(const DerivedColumn& node)
{
    std::wstring text = textOf(node.expression());
    if (!node.alias().empty())
        text += L" As " + identifier(node.alias());
    push(std::move(text));
}

void SqlStringBuilder::visit(const QualifiedAsterisk& node)
{
    push(node.qualifier().empty() ? std::wstring(L"*") : identifier(node.qualifier()) + L".*");
}

void SqlStringBuilder::visit(const TablePrimary& node)
{
    std::wstring text = identifier(node.name());
    if (!node.alias().empty())
        text += L" As " + identifier(node.alias());
    push(std::move(text));
}

void SqlStringBuilder::visit(const DerivedTable& node)
{
    std::wstring text = parenthesised(textOf(node.query()));
    if (!node.alias().empty())
        text += L" As " + identifier(node.alias());
    push(std::move(text));
}

void SqlStringBuilder::visit(const Join& node)
{
    std::wstring text = textOf(node.left());
    switch (node.kind()) {
    case Join::Inner: text += L" Inner Join "; break;
    case Join::LeftOuter: text += L" Left Join "; break;
    case Join::Cross: text += L" Cross Join "; break;
    }
    text += textOf(node.right());
    if (node.condition())
        text += L" On " + textOf(node.condition());
    push(std::move(text));
}

void SqlStringBuilder::visit(const QuerySpecification& node)
{
    // The From part is built first: names it introduces (aliases given by a
    // derived builder) are then known to the select list and the conditions.
    std::wstring fromWhere;
    if (!node.from().empty())
        fromWhere = L" From " + joined(node.from());
    onFrom(fromWhere);
    const std::size_t fromEnd = fromWhere.size();
    if (node.where())
        fromWhere += L" Where " + textOf(node.where());
    onWhere(fromWhere);
    const std::size_t split = std::min(fromEnd, fromWhere.size());

    std::wstring select = node.distinct() ? L"Select Distinct " : L"Select ";
    select += joined(node.selectList());

    std::wstring rest;
    if (!node.groupBy().empty())
        rest = L" Group By " + joined(node.groupBy());
    if (node.having())
        rest += L" Having " + textOf(node.having());
    rest += tail(node.orderBy(), node.limit(), node.offset());

    push(constructSelect(std::move(select), fromWhere.substr(0, split), fromWhere.substr(split), std::move(rest)));
}

std::wstring SqlStringBuilder::constructSelect(std::wstring a, std::wstring b, std::wstring c, std::wstring d)
{
    a.reserve(a.size() + b.size() + c.size() + d.size());
    a += b;
    a += c;
    a += d;
    return a;
}

void SqlStringBuilder::onFrom(std::wstring&)
{
}

void SqlStringBuilder::onWhere(std::wstring&)
{
}

void SqlStringBuilder::visit(const CompoundQuery& node)
{
    std::wstring text = textOf(node.left());
    switch (node.kind()) {
    case CompoundQuery::Union: text += L" Union "; break;
    case CompoundQuery::UnionAll: text += L" Union All "; break;
    case CompoundQuery::Intersect: text += L" Intersect "; break;
    case CompoundQuery::Except: text += L" Except "; break;
    }
    text += textOf(node.right());
    text += tail(node.orderBy(), node.limit(), node.offset());
    push(std::move(text));
}

std::wstring SqlStringBuilder::targetColumn(const std::wstring& name)
{
    return identifier(name);
}

void SqlStringBuilder::visit(const Insert& node)
{
    std::wstring text = L"Insert Into " + (node.table() ? textOf(*node.table()) : std::wstring());
    if (!node.columns().empty()) {
        text += L" (";
        for (std::size_t i = 0; i < node.columns().size(); ++i)
            text += (i ? L", " : L"") + targetColumn(node.columns()[i]);
        text += L")";
    }
    if (node.query()) {
        text += L" " + textOf(node.query());
    } else {
        text += L" Values ";
        for (std::size_t i = 0; i < node.rows().size(); ++i)
            text += (i ? L", " : L"") + parenthesised(joined(node.rows()[i]));
    }
    push(std::move(text));
}

void SqlStringBuilder::visit(const Update& node)
{
    std::wstring text = L"Update " + (node.table() ? textOf(*node.table()) : std::wstring()) + L" Set ";
    bool first = true;
    for (const Update::Assignment& assignment : node.assignments()) {
        if (!first)
            text += L", ";
        first = false;
        text += targetColumn(assignment.first) + L" = " + textOf(assignment.second);
    }
    onFrom(text);
    if (node.where())
        text += L" Where " + textOf(node.where());
    onWhere(text);
    push(std::move(text));
}

void SqlStringBuilder::visit(const Delete& node)
{
    std::wstring text = L"Delete From " + (node.table() ? textOf(*node.table()) : std::wstring());
    onFrom(text);
    if (node.where())
        text += L" Where " + textOf(node.where());
    onWhere(text);
    push(std::move(text));
}

} // namespace tessera::sql
