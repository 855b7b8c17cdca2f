#pragma once
// Turns a dialect syntax tree back into SQL text that SQLite accepts. The walk
// keeps a stack of partial texts: every visit pushes exactly one text for its
// node, and parents pop their children's texts to assemble their own.
// Derived builders override visits and the assembly hooks (constructSelect,
// onFrom, onWhere, operationToString, ternaryToString) to rewrite the output.
//
// Operators that SQLite lacks (Xor, Div, ^, the spatial operators, Similar
// To, Overlaps) are written as calls of functions named after the operator,
// so the text stays valid SQL and fails only on a missing function.

#include "platform/sql/SqlExport.h"
#include "platform/sql/NodeVisitor.h"
#include "platform/sql/OperationCode.h"

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace tessera::sql {

// How identifiers (tables, columns, aliases, collations) are written.
class TESSERA_SQL_EXPORT StringBuildContext {
public:
    virtual ~StringBuildContext();
    // `name` as it must appear in the output. By default a name that is a
    // plain identifier and not an SQLite keyword is written as is, any other
    // between back-ticks.
    virtual std::wstring identifier(const std::wstring& name) const;
};

class TESSERA_SQL_EXPORT SqlStringBuilder : public ast::NodeVisitor {
public:
    // The callable that adjusts the compared text of an operation (see
    // processOperation). It gets the text by reference and returns it.
    using Transformer = std::function<std::wstring&(std::wstring&)>;

    // `context` may be null (default identifier quoting); it is not owned.
    explicit SqlStringBuilder(const StringBuildContext* context = nullptr);
    ~SqlStringBuilder() override;
    SqlStringBuilder(const SqlStringBuilder&) = delete;
    SqlStringBuilder& operator=(const SqlStringBuilder&) = delete;

    // The text of the whole tree below `node`.
    std::wstring buildString(const ast::Node& node);

    using ast::NodeVisitor::visit;
    void visit(const ast::Operation& node) override;
    void visit(const ast::Range& node) override;
    void visit(const ast::Function& node) override;
    void visit(const ast::ColumnReference& node) override;
    void visit(const ast::Number& node) override;
    void visit(const ast::String& node) override;
    void visit(const ast::TruthValue& node) override;
    void visit(const ast::NullValue& node) override;
    void visit(const ast::CollationName& node) override;
    void visit(const ast::Case& node) override;
    void visit(const ast::Cast& node) override;
    void visit(const ast::ExpressionList& node) override;
    void visit(const ast::SubQuery& node) override;
    void visit(const ast::SortSpecification& node) override;
    void visit(const ast::DerivedColumn& node) override;
    void visit(const ast::QualifiedAsterisk& node) override;
    void visit(const ast::TablePrimary& node) override;
    void visit(const ast::DerivedTable& node) override;
    void visit(const ast::Join& node) override;
    void visit(const ast::QuerySpecification& node) override;
    void visit(const ast::CompoundQuery& node) override;
    void visit(const ast::Insert& node) override;
    void visit(const ast::Update& node) override;
    void visit(const ast::Delete& node) override;

    // The default identifier quoting.
    static std::wstring quoteIdentifier(const std::wstring& name);
    // " Desc" for a descending term, then " Nulls First" (1) or " Nulls Last"
    // (any other non-zero value).
    static std::wstring sortSuffix(bool ascending, int nullsOrdering);

protected:
    // Binding strength of a node's text in SQLite, loosest 1; atoms (names,
    // literals, calls, parenthesised texts) are `atomPrecedence`. Operands are
    // parenthesised where their binding is looser than the operator's.
    static constexpr int atomPrecedence = 100;
    virtual int precedence(const ast::Node& node) const;

    // Pushes the text of `operation`. When `transformer` is given it is
    // applied to the compared text: the left operand of Between and In (whose
    // right side is a range or a list), otherwise the right operand.
    void processOperation(const ast::Operation& operation, const Transformer& transformer = {});
    virtual std::wstring operationToString(OperationCode code) const;
    virtual std::wstring ternaryToString(TernaryLogic::Value value);

    // Hooks of statement assembly. onFrom gets the From part of a query (or
    // the head of an Update or Delete) once it is complete; onWhere gets the
    // same text after the Where condition, if any, was appended, and may
    // append to it.
    virtual void onFrom(std::wstring& text);
    virtual void onWhere(std::wstring& text);
    // Joins the parts of a query specification: `a` the select list, `b` the
    // From part, `c` the Where part, `d` grouping, ordering and limits.
    virtual std::wstring constructSelect(std::wstring a, std::wstring b, std::wstring c, std::wstring d);
    // A column name of an Insert list or an Update assignment.
    virtual std::wstring targetColumn(const std::wstring& name);

    std::wstring identifier(const std::wstring& name) const;

    // The text stack.
    void push(std::wstring text);
    std::wstring pop();        // empty when the stack is empty
    std::wstring& top();       // pushes an empty text first when the stack is empty
    std::size_t depth() const { return texts.size(); }
    // Visits `node` and pops its text; empty for a null node.
    std::wstring textOf(const ast::NodePtr& node);
    std::wstring textOf(const ast::Node& node);

private:
    std::wstring operand(const ast::NodePtr& node, bool wrap);
    std::wstring joined(const ast::NodeList& nodes);
    std::wstring tail(const ast::SortList& orderBy, const ast::NodePtr& limit, const ast::NodePtr& offset);

    const StringBuildContext* context;
    std::vector<std::wstring> texts;
};

} // namespace tessera::sql
