#pragma once
// Visitors that answer one question about one node: "is it a T?" and, if so,
// which one. Usage:
//     SingleTypeVisitor<Number, bool> v; v.doVisit(node);
//     if (v.result) use(*v.node);

#include "platform/sql/NodeVisitor.h"

namespace tessera::sql::ast {

template <class Visitor, class Result>
class VisitorWithResult : public Visitor {
public:
    Result result{};
};

template <class T, class Result = bool>
class SingleTypeVisitor : public VisitorWithResult<NodeVisitor, Result> {
public:
    using NodeVisitor::visit;
    void visit(const T& n) override
    {
        node = &n;
        this->result = Result(true);
    }
    const T* node = nullptr;
};

// The node as a T, or null when it is another kind (or null).
template <class T>
const T* nodeAs(const Node* n)
{
    if (!n)
        return nullptr;
    SingleTypeVisitor<T, bool> v;
    v.doVisit(*n);
    return v.node;
}

template <class T>
const T* nodeAs(const NodePtr& n)
{
    return nodeAs<T>(n.get());
}

} // namespace tessera::sql::ast
