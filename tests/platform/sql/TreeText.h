#pragma once
// A compact, fully parenthesised rendering of a syntax tree, so that tests can
// compare whole structures (grouping, operation codes, flags) in one string.
//
//   binary operation   (left #code right)       unary   (#code operand)
//   Like with Escape   (left #19 right esc e)   Between (a #22 [low..high])
//   column             t.c / c                  function name{flags}(args)
//   number             5 / r:2.5                string   'text'

#include "platform/sql/NodeVisitor.h"

#include <QString>
#include <string>

namespace tessera::sql::test {

class TreeText : public ast::NodeVisitor {
public:
    static std::string of(const ast::Node* node)
    {
        if (!node)
            return "<null>";
        TreeText t;
        t.doVisit(*node);
        return t.out;
    }
    static std::string of(const ast::NodePtr& node) { return of(node.get()); }

    using ast::NodeVisitor::visit;

    void visit(const ast::Operation& n) override
    {
        const std::string code = "#" + std::to_string(int(n.code()));
        if (n.unary()) {
            out += "(" + code + " " + of(n.left()) + ")";
            return;
        }
        out += "(" + of(n.left()) + " " + code + " " + of(n.right());
        if (n.escape())
            out += " esc " + of(n.escape());
        out += ")";
    }
    void visit(const ast::Range& n) override { out += "[" + of(n.low()) + ".." + of(n.high()) + "]"; }
    void visit(const ast::Function& n) override
    {
        out += utf8(n.name());
        if (n.flags())
            out += "{" + std::to_string(n.flags()) + "}";
        if (n.flags() & ast::Function::NoParentheses)
            return;
        out += "(" + list(n.args()) + ")";
    }
    void visit(const ast::ColumnReference& n) override
    {
        out += n.qualifier().empty() ? utf8(n.name()) : utf8(n.qualifier()) + "." + utf8(n.name());
    }
    void visit(const ast::Number& n) override { out += (n.kind() == ast::Number::Real ? "r:" : "") + utf8(n.text()); }
    void visit(const ast::String& n) override { out += "'" + utf8(n.text()) + "'"; }
    void visit(const ast::TruthValue& n) override { out += "truth" + std::to_string(int(n.value())); }
    void visit(const ast::NullValue&) override { out += "null"; }
    void visit(const ast::CollationName& n) override { out += "coll:" + utf8(n.name()); }
    void visit(const ast::Case& n) override
    {
        out += "case";
        if (n.operand())
            out += " " + of(n.operand());
        for (const auto& [when, then] : n.whens())
            out += " when " + of(when) + " then " + of(then);
        if (n.otherwise())
            out += " else " + of(n.otherwise());
        out += " end";
    }
    void visit(const ast::Cast& n) override { out += "cast(" + of(n.operand()) + " as " + utf8(n.typeName()) + ")"; }
    void visit(const ast::ExpressionList& n) override { out += "list(" + list(n.items()) + ")"; }
    void visit(const ast::SubQuery& n) override { out += "sub{" + of(n.query()) + "}"; }
    void visit(const ast::SortSpecification& n) override
    {
        out += of(n.key()) + (n.ascending() ? "" : " desc");
        if (n.nullsOrdering())
            out += " nulls" + std::to_string(n.nullsOrdering());
    }
    void visit(const ast::DerivedColumn& n) override
    {
        out += of(n.expression());
        if (!n.alias().empty())
            out += " as " + utf8(n.alias());
    }
    void visit(const ast::QualifiedAsterisk& n) override { out += n.qualifier().empty() ? "*" : utf8(n.qualifier()) + ".*"; }
    void visit(const ast::TablePrimary& n) override
    {
        out += "table " + utf8(n.name());
        if (!n.alias().empty())
            out += " as " + utf8(n.alias());
    }
    void visit(const ast::DerivedTable& n) override
    {
        out += "derived{" + of(n.query()) + "}";
        if (!n.alias().empty())
            out += " as " + utf8(n.alias());
    }
    void visit(const ast::Join& n) override
    {
        static const char* const kinds[] = {"join", "left join", "cross join"};
        out += "(" + of(n.left()) + " " + kinds[n.kind()] + " " + of(n.right());
        if (n.condition())
            out += " on " + of(n.condition());
        out += ")";
    }
    void visit(const ast::QuerySpecification& n) override
    {
        out += n.distinct() ? "select distinct " : "select ";
        out += list(n.selectList());
        if (!n.from().empty())
            out += " from " + list(n.from());
        if (n.where())
            out += " where " + of(n.where());
        if (!n.groupBy().empty())
            out += " group " + list(n.groupBy());
        if (n.having())
            out += " having " + of(n.having());
        tail(n.orderBy(), n.limit(), n.offset());
    }
    void visit(const ast::CompoundQuery& n) override
    {
        static const char* const kinds[] = {"union", "union all", "intersect", "except"};
        out += "(" + of(n.left()) + " " + kinds[n.kind()] + " " + of(n.right()) + ")";
        tail(n.orderBy(), n.limit(), n.offset());
    }
    void visit(const ast::Insert& n) override
    {
        out += "insert " + of(n.table().get());
        if (!n.columns().empty()) {
            out += " (";
            for (std::size_t i = 0; i < n.columns().size(); ++i)
                out += (i ? ", " : "") + utf8(n.columns()[i]);
            out += ")";
        }
        for (const ast::NodeList& row : n.rows())
            out += " values(" + list(row) + ")";
        if (n.query())
            out += " " + of(n.query());
    }
    void visit(const ast::Update& n) override
    {
        out += "update " + of(n.table().get()) + " set";
        for (const auto& [column, value] : n.assignments())
            out += " " + utf8(column) + "=" + of(value);
        if (n.where())
            out += " where " + of(n.where());
    }
    void visit(const ast::Delete& n) override
    {
        out += "delete " + of(n.table().get());
        if (n.where())
            out += " where " + of(n.where());
    }

private:
    static std::string utf8(const std::wstring& s) { return QString::fromStdWString(s).toStdString(); }

    template <class List>
    static std::string list(const List& items)
    {
        std::string s;
        for (std::size_t i = 0; i < items.size(); ++i)
            s += (i ? ", " : "") + of(items[i]);
        return s;
    }

    void tail(const ast::SortList& orderBy, const ast::NodePtr& limit, const ast::NodePtr& offset)
    {
        if (!orderBy.empty()) {
            out += " order ";
            for (std::size_t i = 0; i < orderBy.size(); ++i)
                out += (i ? ", " : "") + of(orderBy[i].get());
        }
        if (limit)
            out += " limit " + of(limit);
        if (offset)
            out += " offset " + of(offset);
    }

    std::string out;
};

} // namespace tessera::sql::test
