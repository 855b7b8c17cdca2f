#pragma once
// Recursive-descent parser of the dialect: a statement (Select with compound
// queries, Insert, Update, Delete) or a bare expression, optionally ended by
// one ";". On failure the reason, with its position, is in errors().

#include "platform/sql/SqlExport.h"
#include "platform/sql/SqlError.h"
#include "platform/sql/SyntaxTree.h"

#include <memory>
#include <string>
#include <vector>

namespace tessera::sql {

class ParseContext;

class TESSERA_SQL_EXPORT SqlParser {
public:
    // Nested parentheses, sub-queries and prefix operators deeper than this
    // are refused, so that a hostile text cannot exhaust the stack.
    static constexpr int maxNesting = 256;
    // Height limit of the tree (long operator chains build deep trees too);
    // string builders walk the tree recursively and must fit a 1 MB stack.
    static constexpr int maxHeight = 1000;

    // A null context gives an unbound parser: every operator is accepted and
    // function calls are numbered from the whole catalogue.
    explicit SqlParser(const ParseContext* context);
    ~SqlParser();
    // A copy shares the (immutable) tree of the last parse.
    SqlParser(const SqlParser&) = default;
    SqlParser& operator=(const SqlParser&) = default;
    SqlParser(SqlParser&&) noexcept = default;
    SqlParser& operator=(SqlParser&&) noexcept = default;

    // Parses UTF-8 `text`; true on success, when root() holds the tree.
    bool parse(const std::string& text);

    const std::shared_ptr<ast::Node>& root() const { return tree; }
    const std::vector<std::shared_ptr<SqlSyntaxError>>& errors() const { return problems; }

private:
    const ParseContext* context;
    std::shared_ptr<ast::Node> tree;
    std::vector<std::shared_ptr<SqlSyntaxError>> problems;
};

} // namespace tessera::sql
