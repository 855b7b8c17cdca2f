#include "tools/tessera-sql/HeaderText.h"

#include "engine/SchemaColumns.h"
#include "platform/sql/Lexer.h"
#include "platform/sql/SqlParser.h"
#include "platform/sql/SyntaxTree.h"

#include <QVector>
#include <exception>
#include <set>

namespace tessera::shell {

namespace {

// The dialect's names of the hidden columns.
QString dialectName(const QString& sqliteName)
{
    if (sqliteName == QLatin1String(engine::geometryColumnName))
        return QStringLiteral("obj");
    if (sqliteName == QLatin1String(engine::styleColumnName))
        return QStringLiteral("style");
    return sqliteName;
}

QStringList dialectNames(const QStringList& sqliteNames)
{
    QStringList names;
    for (const QString& name : sqliteNames)
        names << dialectName(name);
    return names;
}

// The texts of the outermost select list, split at its top-level commas.
QStringList selectItemTexts(const QString& statement)
{
    const std::vector<sql::Token> tokens = sql::Lexer::tokenize(statement.toStdString());
    const QVector<uint> text = statement.toUcs4();
    static const std::set<std::wstring> listEnds = {L"from", L"where", L"group", L"having", L"order",
                                                    L"union", L"intersect", L"except", L"limit"};
    QStringList items;
    int depth = 0;   // parentheses inside the select list
    std::size_t itemStart = 0;
    bool inList = false;
    auto cut = [&](std::size_t end) {
        while (end > itemStart && QChar::isSpace(text.at(int(end - 1))))
            --end;
        items << QString::fromUcs4(text.constData() + itemStart, int(end - itemStart));
    };
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        const sql::Token& t = tokens[i];
        if (!inList) {
            // The first Select is the outermost query's, even inside "(".
            if (t.kind == sql::TokenKind::Word && t.folded == L"select") {
                inList = true;
                depth = 0;
                std::size_t next = i + 1;
                if (tokens[next].kind == sql::TokenKind::Word && (tokens[next].folded == L"distinct" || tokens[next].folded == L"all"))
                    ++next;
                itemStart = tokens[next].offset;
                i = next - 1;
            }
            continue;
        }
        const bool end = t.kind == sql::TokenKind::End || t.isSymbol(L";") || (depth == 0 && t.isSymbol(L")"))
            || (depth == 0 && t.kind == sql::TokenKind::Word && listEnds.count(t.folded));
        if (end) {
            cut(t.offset);
            break;
        }
        if (t.isSymbol(L"("))
            ++depth;
        else if (t.isSymbol(L")"))
            --depth;
        else if (depth == 0 && t.isSymbol(L",")) {
            cut(t.offset);
            itemStart = tokens[i + 1].offset;
        }
    }
    return items;
}

const sql::ast::QuerySpecification* outermostQuery(const sql::ast::Node* node)
{
    while (const auto* compound = dynamic_cast<const sql::ast::CompoundQuery*>(node))
        node = compound->left().get();
    return dynamic_cast<const sql::ast::QuerySpecification*>(node);
}

} // namespace

QStringList userHeaders(const QString& statement, const QStringList& sqliteNames)
{
    QStringList texts;
    sql::SqlParser parser(nullptr);
    try {
        if (!parser.parse(statement.toStdString()))
            return dialectNames(sqliteNames);
        texts = selectItemTexts(statement);
    } catch (const std::exception&) {
        return dialectNames(sqliteNames);
    }
    const auto* query = outermostQuery(parser.root().get());
    if (!query || int(query->selectList().size()) != texts.size())
        return dialectNames(sqliteNames);

    // Each asterisk stands for the columns that the named items leave over;
    // with more than one, which column comes from which is not known here.
    int asterisks = 0;
    for (const auto& item : query->selectList())
        asterisks += dynamic_cast<const sql::ast::QualifiedAsterisk*>(item.get()) != nullptr;
    const int expanded = sqliteNames.size() - (texts.size() - asterisks);
    if (asterisks > 1 || expanded < 0 || (asterisks == 0 && expanded != 0))
        return dialectNames(sqliteNames);

    QStringList headers;
    for (int i = 0; i < texts.size(); ++i) {
        const sql::ast::Node* item = query->selectList()[std::size_t(i)].get();
        if (dynamic_cast<const sql::ast::QualifiedAsterisk*>(item)) {
            for (int k = 0; k < expanded; ++k)
                headers << dialectName(sqliteNames.at(headers.size()));
            continue;
        }
        const auto* column = static_cast<const sql::ast::DerivedColumn*>(item);
        if (!column->alias().empty())
            headers << QString::fromStdWString(column->alias());
        else if (const auto* reference = dynamic_cast<const sql::ast::ColumnReference*>(column->expression().get()))
            headers << QString::fromStdWString(reference->name());
        else
            headers << texts.at(i);
    }
    return headers;
}

} // namespace tessera::shell
