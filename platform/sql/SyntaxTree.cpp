#include "platform/sql/SyntaxTree.h"

#include "platform/sql/NodeVisitor.h"

#include <algorithm>

namespace tessera::sql::ast {

Node::~Node() = default;

void Node::grow(const NodePtr& child)
{
    if (child)
        levels = std::max(levels, child->height() + 1);
}

void Node::grow(const NodeList& children)
{
    for (const NodePtr& child : children)
        grow(child);
}

#define TESSERA_AST_ACCEPT(Class) \
    void Class::accept(NodeVisitor& visitor) const { visitor.visit(*this); }

TESSERA_AST_ACCEPT(Operation)
TESSERA_AST_ACCEPT(Range)
TESSERA_AST_ACCEPT(Function)
TESSERA_AST_ACCEPT(ColumnReference)
TESSERA_AST_ACCEPT(Number)
TESSERA_AST_ACCEPT(String)
TESSERA_AST_ACCEPT(TruthValue)
TESSERA_AST_ACCEPT(NullValue)
TESSERA_AST_ACCEPT(CollationName)
TESSERA_AST_ACCEPT(Case)
TESSERA_AST_ACCEPT(Cast)
TESSERA_AST_ACCEPT(ExpressionList)
TESSERA_AST_ACCEPT(SubQuery)
TESSERA_AST_ACCEPT(SortSpecification)
TESSERA_AST_ACCEPT(DerivedColumn)
TESSERA_AST_ACCEPT(QualifiedAsterisk)
TESSERA_AST_ACCEPT(TablePrimary)
TESSERA_AST_ACCEPT(DerivedTable)
TESSERA_AST_ACCEPT(Join)
TESSERA_AST_ACCEPT(QuerySpecification)
TESSERA_AST_ACCEPT(CompoundQuery)
TESSERA_AST_ACCEPT(Insert)
TESSERA_AST_ACCEPT(Update)
TESSERA_AST_ACCEPT(Delete)

#undef TESSERA_AST_ACCEPT

Operation::Operation(OperationCode code, NodePtr operand) : op(code), isUnary(true), lhs(std::move(operand))
{
    grow(lhs);
}

Operation::Operation(OperationCode code, NodePtr left, NodePtr right, NodePtr escape)
    : op(code), isUnary(false), lhs(std::move(left)), rhs(std::move(right)), esc(std::move(escape))
{
    grow(lhs);
    grow(rhs);
    grow(esc);
}

Range::Range(NodePtr low, NodePtr high) : lo(std::move(low)), hi(std::move(high))
{
    grow(lo);
    grow(hi);
}

Function::Function(std::wstring name, std::uint8_t flags, std::int32_t attribute, NodeList args)
    : fname(std::move(name)), fflags(flags), attr(attribute), arguments(std::move(args))
{
    grow(arguments);
}

bool Function::isRowNumber() const
{
    if (fname.size() != 6)
        return false;
    static const wchar_t lower[] = L"rownum";
    for (std::size_t i = 0; i < 6; ++i)
        if (fname[i] != lower[i] && fname[i] != lower[i] - (L'a' - L'A'))
            return false;
    return true;
}

Case::Case(NodePtr operand, std::vector<When> whens, NodePtr otherwise)
    : subject(std::move(operand)), branches(std::move(whens)), elseValue(std::move(otherwise))
{
    grow(subject);
    for (const When& w : branches) {
        grow(w.first);
        grow(w.second);
    }
    grow(elseValue);
}

Cast::Cast(NodePtr operand, std::wstring typeName) : value(std::move(operand)), type(std::move(typeName))
{
    grow(value);
}

ExpressionList::ExpressionList(NodeList items) : list(std::move(items))
{
    grow(list);
}

SubQuery::SubQuery(NodePtr query) : q(std::move(query))
{
    grow(q);
}

SortSpecification::SortSpecification(NodePtr key, bool ascending, int nullsOrdering)
    : k(std::move(key)), asc(ascending), nulls(nullsOrdering)
{
    grow(k);
}

DerivedColumn::DerivedColumn(NodePtr expression, std::wstring alias) : expr(std::move(expression)), name(std::move(alias))
{
    grow(expr);
}

DerivedTable::DerivedTable(NodePtr query, std::wstring alias) : q(std::move(query)), correlation(std::move(alias))
{
    grow(q);
}

Join::Join(Kind kind, NodePtr left, NodePtr right, NodePtr condition)
    : k(kind), lhs(std::move(left)), rhs(std::move(right)), on(std::move(condition))
{
    grow(lhs);
    grow(rhs);
    grow(on);
}

QuerySpecification::QuerySpecification(Clauses clauses) : c(std::move(clauses))
{
    grow(c.selectList);
    grow(c.from);
    grow(c.where);
    grow(c.groupBy);
    grow(c.having);
    for (const auto& s : c.tail.orderBy)
        grow(s);
    grow(c.tail.limit);
    grow(c.tail.offset);
}

CompoundQuery::CompoundQuery(Kind kind, NodePtr left, NodePtr right, QueryTail tail)
    : k(kind), lhs(std::move(left)), rhs(std::move(right)), t(std::move(tail))
{
    grow(lhs);
    grow(rhs);
    for (const auto& s : t.orderBy)
        grow(s);
    grow(t.limit);
    grow(t.offset);
}

Insert::Insert(std::shared_ptr<TablePrimary> table, std::vector<std::wstring> columns, std::vector<NodeList> rows, NodePtr query)
    : target(std::move(table)), names(std::move(columns)), values(std::move(rows)), source(std::move(query))
{
    for (const NodeList& row : values)
        grow(row);
    grow(source);
}

Update::Update(std::shared_ptr<TablePrimary> table, std::vector<Assignment> assignments, NodePtr where)
    : target(std::move(table)), sets(std::move(assignments)), condition(std::move(where))
{
    for (const Assignment& a : sets)
        grow(a.second);
    grow(condition);
}

Delete::Delete(std::shared_ptr<TablePrimary> table, NodePtr where) : target(std::move(table)), condition(std::move(where))
{
    grow(condition);
}

} // namespace tessera::sql::ast
