#pragma once
// Double dispatch over the syntax tree. Every visit does nothing by default,
// so a visitor overrides only the node kinds it cares about.

#include "platform/sql/SqlExport.h"
#include "platform/sql/SyntaxTree.h"

namespace tessera::sql::ast {

class TESSERA_SQL_EXPORT NodeVisitor {
public:
    virtual ~NodeVisitor() = default;

    void doVisit(const Node& node) { node.accept(*this); }

    virtual void visit(const Operation&) {}
    virtual void visit(const Range&) {}
    virtual void visit(const Function&) {}
    virtual void visit(const ColumnReference&) {}
    virtual void visit(const Number&) {}
    virtual void visit(const String&) {}
    virtual void visit(const TruthValue&) {}
    virtual void visit(const NullValue&) {}
    virtual void visit(const CollationName&) {}
    virtual void visit(const Case&) {}
    virtual void visit(const Cast&) {}
    virtual void visit(const ExpressionList&) {}
    virtual void visit(const SubQuery&) {}
    virtual void visit(const SortSpecification&) {}
    virtual void visit(const DerivedColumn&) {}
    virtual void visit(const QualifiedAsterisk&) {}
    virtual void visit(const TablePrimary&) {}
    virtual void visit(const DerivedTable&) {}
    virtual void visit(const Join&) {}
    virtual void visit(const QuerySpecification&) {}
    virtual void visit(const CompoundQuery&) {}
    virtual void visit(const Insert&) {}
    virtual void visit(const Update&) {}
    virtual void visit(const Delete&) {}
};

} // namespace tessera::sql::ast
