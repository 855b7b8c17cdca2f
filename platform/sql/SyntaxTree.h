#pragma once
// The dialect's syntax tree. Nodes are immutable once built and shared
// (sub-trees may be reused by copies, as the translator does when it renames
// a function). Every node knows its height so that consumers can rely on a
// bounded recursion depth.

#include "platform/sql/SqlExport.h"
#include "platform/sql/OperationCode.h"

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace tessera::sql::ast {

class NodeVisitor;
class Node;
using NodePtr = std::shared_ptr<Node>;
using NodeList = std::vector<NodePtr>;

class TESSERA_SQL_EXPORT Node {
public:
    virtual ~Node();
    virtual void accept(NodeVisitor& visitor) const = 0;
    // True for a node that is a value expression (a bare expression text).
    virtual bool isExpression() const { return false; }
    // 1 for a leaf, otherwise one more than the highest child.
    int height() const { return levels; }

protected:
    void grow(const NodePtr& child);
    void grow(const NodeList& children);

private:
    int levels = 1;
};

class TESSERA_SQL_EXPORT Expression : public Node {
public:
    bool isExpression() const override { return true; }
};

// Unary operations keep their operand in left() and have no right().
// Between has a Range as right(); In has an ExpressionList or a SubQuery;
// Like and Not Like may carry an Escape expression; Collate has a
// CollationName as right().
class TESSERA_SQL_EXPORT Operation : public Expression {
public:
    Operation(OperationCode code, NodePtr operand);                              // unary
    Operation(OperationCode code, NodePtr left, NodePtr right, NodePtr escape = {}); // binary
    void accept(NodeVisitor& visitor) const override;

    OperationCode code() const { return op; }
    bool unary() const { return isUnary; }
    const NodePtr& left() const { return lhs; }
    const NodePtr& right() const { return rhs; }
    const NodePtr& escape() const { return esc; }

private:
    OperationCode op;
    bool isUnary;
    NodePtr lhs;
    NodePtr rhs;
    NodePtr esc;
};

// The two bounds of Between.
class TESSERA_SQL_EXPORT Range : public Expression {
public:
    Range(NodePtr low, NodePtr high);
    void accept(NodeVisitor& visitor) const override;
    const NodePtr& low() const { return lo; }
    const NodePtr& high() const { return hi; }

private:
    NodePtr lo;
    NodePtr hi;
};

class TESSERA_SQL_EXPORT Function : public Expression {
public:
    enum Flag : std::uint8_t {
        Distinct = 1,      // Count(Distinct x)
        Asterisk = 2,      // Count(*)
        NoParentheses = 4, // written without an argument list (rownum)
    };

    // `attribute` is the catalogue value of the function (0 when unknown).
    Function(std::wstring name, std::uint8_t flags, std::int32_t attribute, NodeList args);
    void accept(NodeVisitor& visitor) const override;

    const std::wstring& name() const { return fname; }
    std::uint8_t flags() const { return fflags; }
    std::int32_t attribute() const { return attr; }
    const NodeList& args() const { return arguments; }
    // The row-number pseudo function, written rownum or rownum().
    bool isRowNumber() const;
    // The same call under another name.
    Function renamed(std::wstring newName) const
    {
        Function copy(std::move(newName), fflags, attr, arguments);
        copy.setPosition(lineNo, columnNo);
        return copy;
    }
    // Where the parser read the name (1-based); 0 for a call made in code.
    int line() const { return lineNo; }
    int column() const { return columnNo; }
    void setPosition(int line, int column)
    {
        lineNo = line;
        columnNo = column;
    }

private:
    std::wstring fname;
    std::uint8_t fflags;
    std::int32_t attr;
    NodeList arguments;
    int lineNo = 0;
    int columnNo = 0;
};

class TESSERA_SQL_EXPORT ColumnReference : public Expression {
public:
    ColumnReference(std::wstring qualifier, std::wstring name) : qual(std::move(qualifier)), column(std::move(name)) {}
    void accept(NodeVisitor& visitor) const override;
    const std::wstring& qualifier() const { return qual; }
    const std::wstring& name() const { return column; }

private:
    std::wstring qual;
    std::wstring column;
};

class TESSERA_SQL_EXPORT Number : public Expression {
public:
    enum Kind { Integer, Real };
    Number(Kind kind, std::wstring text) : k(kind), digits(std::move(text)) {}
    void accept(NodeVisitor& visitor) const override;
    Kind kind() const { return k; }
    const std::wstring& text() const { return digits; } // decimal notation

private:
    Kind k;
    std::wstring digits;
};

class TESSERA_SQL_EXPORT String : public Expression {
public:
    explicit String(std::wstring text) : value(std::move(text)) {}
    void accept(NodeVisitor& visitor) const override;
    const std::wstring& text() const { return value; } // without quotes

private:
    std::wstring value;
};

class TESSERA_SQL_EXPORT TruthValue : public Expression {
public:
    explicit TruthValue(TernaryLogic::Value value) : v(value) {}
    void accept(NodeVisitor& visitor) const override;
    TernaryLogic::Value value() const { return v; }

private:
    TernaryLogic::Value v;
};

class TESSERA_SQL_EXPORT NullValue : public Expression {
public:
    void accept(NodeVisitor& visitor) const override;
};

// The collation named by `a Collate name`.
class TESSERA_SQL_EXPORT CollationName : public Expression {
public:
    explicit CollationName(std::wstring name) : n(std::move(name)) {}
    void accept(NodeVisitor& visitor) const override;
    const std::wstring& name() const { return n; }

private:
    std::wstring n;
};

class TESSERA_SQL_EXPORT Case : public Expression {
public:
    using When = std::pair<NodePtr, NodePtr>; // condition (or value), result
    Case(NodePtr operand, std::vector<When> whens, NodePtr otherwise);
    void accept(NodeVisitor& visitor) const override;
    const NodePtr& operand() const { return subject; } // may be null
    const std::vector<When>& whens() const { return branches; }
    const NodePtr& otherwise() const { return elseValue; } // may be null

private:
    NodePtr subject;
    std::vector<When> branches;
    NodePtr elseValue;
};

class TESSERA_SQL_EXPORT Cast : public Expression {
public:
    Cast(NodePtr operand, std::wstring typeName);
    void accept(NodeVisitor& visitor) const override;
    const NodePtr& operand() const { return value; }
    const std::wstring& typeName() const { return type; }

private:
    NodePtr value;
    std::wstring type;
};

// A parenthesised list: the right side of In, or a row value.
class TESSERA_SQL_EXPORT ExpressionList : public Expression {
public:
    explicit ExpressionList(NodeList items);
    void accept(NodeVisitor& visitor) const override;
    const NodeList& items() const { return list; }

private:
    NodeList list;
};

// A query used as a value: a scalar sub-query, the operand of Exists or In.
class TESSERA_SQL_EXPORT SubQuery : public Expression {
public:
    explicit SubQuery(NodePtr query);
    void accept(NodeVisitor& visitor) const override;
    const NodePtr& query() const { return q; }

private:
    NodePtr q;
};

// ---- queries ---------------------------------------------------------------

class TESSERA_SQL_EXPORT SortSpecification : public Node {
public:
    enum NullsOrdering { NullsDefault = 0, NullsFirst = 1, NullsLast = 2 };
    SortSpecification(NodePtr key, bool ascending, int nullsOrdering);
    void accept(NodeVisitor& visitor) const override;
    const NodePtr& key() const { return k; }
    bool ascending() const { return asc; }
    int nullsOrdering() const { return nulls; }

private:
    NodePtr k;
    bool asc;
    int nulls;
};
using SortList = std::vector<std::shared_ptr<SortSpecification>>;

// Order By, Limit and Offset of a query (any of them may be absent).
struct TESSERA_SQL_EXPORT QueryTail {
    SortList orderBy;
    NodePtr limit;
    NodePtr offset;
};

class TESSERA_SQL_EXPORT DerivedColumn : public Node {
public:
    DerivedColumn(NodePtr expression, std::wstring alias);
    void accept(NodeVisitor& visitor) const override;
    const NodePtr& expression() const { return expr; }
    const std::wstring& alias() const { return name; } // may be empty

private:
    NodePtr expr;
    std::wstring name;
};

// `*` (empty qualifier) or `t.*`.
class TESSERA_SQL_EXPORT QualifiedAsterisk : public Node {
public:
    explicit QualifiedAsterisk(std::wstring qualifier) : qual(std::move(qualifier)) {}
    void accept(NodeVisitor& visitor) const override;
    const std::wstring& qualifier() const { return qual; }

private:
    std::wstring qual;
};

class TESSERA_SQL_EXPORT TablePrimary : public Node {
public:
    TablePrimary(std::wstring name, std::wstring alias) : table(std::move(name)), correlation(std::move(alias)) {}
    void accept(NodeVisitor& visitor) const override;
    const std::wstring& name() const { return table; }
    const std::wstring& alias() const { return correlation; } // may be empty

private:
    std::wstring table;
    std::wstring correlation;
};

// `(Select ...) [As] alias` in a From clause.
class TESSERA_SQL_EXPORT DerivedTable : public Node {
public:
    DerivedTable(NodePtr query, std::wstring alias);
    void accept(NodeVisitor& visitor) const override;
    const NodePtr& query() const { return q; }
    const std::wstring& alias() const { return correlation; }

private:
    NodePtr q;
    std::wstring correlation;
};

class TESSERA_SQL_EXPORT Join : public Node {
public:
    enum Kind { Inner, LeftOuter, Cross };
    Join(Kind kind, NodePtr left, NodePtr right, NodePtr condition);
    void accept(NodeVisitor& visitor) const override;
    Kind kind() const { return k; }
    const NodePtr& left() const { return lhs; }
    const NodePtr& right() const { return rhs; }
    const NodePtr& condition() const { return on; } // may be null

private:
    Kind k;
    NodePtr lhs;
    NodePtr rhs;
    NodePtr on;
};

class TESSERA_SQL_EXPORT QuerySpecification : public Node {
public:
    struct Clauses {
        bool distinct = false;
        NodeList selectList; // DerivedColumn and QualifiedAsterisk items
        NodeList from;       // comma-separated table references
        NodePtr where;
        NodeList groupBy;
        NodePtr having;
        QueryTail tail;
    };
    explicit QuerySpecification(Clauses clauses);
    void accept(NodeVisitor& visitor) const override;

    bool distinct() const { return c.distinct; }
    const NodeList& selectList() const { return c.selectList; }
    const NodeList& from() const { return c.from; }
    const NodePtr& where() const { return c.where; }
    const NodeList& groupBy() const { return c.groupBy; }
    const NodePtr& having() const { return c.having; }
    const SortList& orderBy() const { return c.tail.orderBy; }
    const NodePtr& limit() const { return c.tail.limit; }
    const NodePtr& offset() const { return c.tail.offset; }

private:
    Clauses c;
};

class TESSERA_SQL_EXPORT CompoundQuery : public Node {
public:
    enum Kind { Union, UnionAll, Intersect, Except };
    CompoundQuery(Kind kind, NodePtr left, NodePtr right, QueryTail tail);
    void accept(NodeVisitor& visitor) const override;
    Kind kind() const { return k; }
    const NodePtr& left() const { return lhs; }
    const NodePtr& right() const { return rhs; }
    const SortList& orderBy() const { return t.orderBy; }
    const NodePtr& limit() const { return t.limit; }
    const NodePtr& offset() const { return t.offset; }

private:
    Kind k;
    NodePtr lhs;
    NodePtr rhs;
    QueryTail t;
};

class TESSERA_SQL_EXPORT Insert : public Node {
public:
    // Either `rows` (Values) or `query` (Select) is given.
    Insert(std::shared_ptr<TablePrimary> table, std::vector<std::wstring> columns, std::vector<NodeList> rows, NodePtr query);
    void accept(NodeVisitor& visitor) const override;
    const std::shared_ptr<TablePrimary>& table() const { return target; }
    const std::vector<std::wstring>& columns() const { return names; }
    const std::vector<NodeList>& rows() const { return values; }
    const NodePtr& query() const { return source; }

private:
    std::shared_ptr<TablePrimary> target;
    std::vector<std::wstring> names;
    std::vector<NodeList> values;
    NodePtr source;
};

class TESSERA_SQL_EXPORT Update : public Node {
public:
    using Assignment = std::pair<std::wstring, NodePtr>;
    Update(std::shared_ptr<TablePrimary> table, std::vector<Assignment> assignments, NodePtr where);
    void accept(NodeVisitor& visitor) const override;
    const std::shared_ptr<TablePrimary>& table() const { return target; }
    const std::vector<Assignment>& assignments() const { return sets; }
    const NodePtr& where() const { return condition; }

private:
    std::shared_ptr<TablePrimary> target;
    std::vector<Assignment> sets;
    NodePtr condition;
};

class TESSERA_SQL_EXPORT Delete : public Node {
public:
    Delete(std::shared_ptr<TablePrimary> table, NodePtr where);
    void accept(NodeVisitor& visitor) const override;
    const std::shared_ptr<TablePrimary>& table() const { return target; }
    const NodePtr& where() const { return condition; }

private:
    std::shared_ptr<TablePrimary> target;
    NodePtr condition;
};

} // namespace tessera::sql::ast
