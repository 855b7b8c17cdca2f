#include "engine/translation/SqliteStringBuilder.h"

#include "engine/EngineCache.h"
#include "engine/functions/ValueConversions.h"
#include "engine/translation/SpatiaLiteFunctions.h"
#include "platform/dp/DataCatalogWithSelection.h"
#include "platform/dp/Selection.h"
#include "platform/dp/Table.h"
#include "platform/sql/FunctionName.h"
#include "platform/sql/SingleTypeVisitor.h"
#include "platform/sql/SqlStrings.h"

#include <QLoggingCategory>
#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>
#include <algorithm>

#include <sqlite3.h>

namespace tessera::engine {

Q_LOGGING_CATEGORY(lcTranslation, "tessera.translation")

using namespace sql::ast;
using sql::OperationCode;

namespace {

// Operators SQLite lacks, and the engine function that implements each.
const wchar_t* rewriteFunction(OperationCode code)
{
    switch (code) {
    case OperationCode::Xor: return L"xor";
    case OperationCode::Plus: return L"concat";
    case OperationCode::Divide: return L"divide";
    case OperationCode::IntDivide: return L"quotient";
    case OperationCode::Mod: return L"modulo";
    case OperationCode::Power: return L"involution";
    case OperationCode::Contains: return L"ContainsCentroid";
    case OperationCode::ContainsPart:
    case OperationCode::Intersects:
    case OperationCode::PartlyWithin:
        return L"GeometryIntersects";
    case OperationCode::ContainsEntire: return L"GeometryContains";
    case OperationCode::Within: return L"CentroidWithin";
    case OperationCode::EntirelyWithin: return L"GeometryWithin";
    default: return nullptr;
    }
}

// Comparisons of text, which take the builder's collation.
bool isCollated(OperationCode code)
{
    const int value = static_cast<int>(code);
    return value > 0 && value < 27 && ((0x7ee01e0 >> value) & 1) != 0;
}

std::wstring renamedFunction(const std::wstring& lowered, const std::wstring& name)
{
    if (lowered == L"area" || lowered == L"perimeter" || lowered == L"distance")
        return L"Object" + name;
    if (lowered == L"round")
        return name + L"To";
    if (lowered == L"makevalid")
        return name + L"Geo";
    if (lowered == L"left" || lowered == L"right")
        return name + L"$";
    return {};
}

// The catalogue writes the engine's own functions with capitals ("Centroid")
// and SQLite's and SpatiaLite's in lower case ("centroid").
bool isEngineFunction(const Function& node)
{
    const int value = node.attribute() ? node.attribute()
                                       : static_cast<int>(sql::FunctionNameInfo::find(QString::fromStdWString(node.name())));
    const std::string name = sql::FunctionNameInfo::name(value);
    return std::any_of(name.begin(), name.end(), [](char c) { return c >= 'A' && c <= 'Z'; });
}

std::size_t countBefore(const std::wstring& text, const std::wstring& what, std::size_t limit)
{
    std::size_t count = 0;
    for (std::size_t at = text.find(what); at != std::wstring::npos && at < limit; at = text.find(what, at + what.size()))
        ++count;
    return count;
}

} // namespace

// Opens a query scope for the lifetime of a visit, so that the scope stack
// stays balanced even when a visit leaves by an exception.
class SqliteStringBuilder::ScopeGuard {
public:
    ScopeGuard(std::vector<Scope>& stack, bool query) : scopes(stack) { scopes.emplace_back(query); }
    ~ScopeGuard() { scopes.pop_back(); }
    ScopeGuard(const ScopeGuard&) = delete;
    ScopeGuard& operator=(const ScopeGuard&) = delete;

private:
    std::vector<Scope>& scopes;
};

SqliteStringBuilder::SqliteStringBuilder(const QSqlDatabase& db, QString collate, const sql::StringBuildContext* context)
    : sql::SqlStringBuilder(context),
      selectionName(sql::toLowercase(selectionTableName().toStdWString())),
      database(db),
      collation(std::move(collate))
{
}

SqliteStringBuilder::~SqliteStringBuilder() = default;

QString SqliteStringBuilder::selectionTableName()
{
    return dp::DataCatalogWithSelection::selectionTableName();
}

bool SqliteStringBuilder::isSelectionName(const std::wstring& name) const
{
    return name.size() == selectionName.size() && sql::toLowercase(name) == selectionName;
}

// ---- selection and errors -------------------------------------------------------

void SqliteStringBuilder::setSelection(const dp::Selection& selection, EngineCache* cache)
{
    selectionIds.clear();
    selectionTable = selection.table();
    if (!selectionTable || !cache)
        return;
    for (const dp::FeatureId& id : selection.featureIds())
        selectionIds.insert(cache->assignIdToInt(id));
}

void SqliteStringBuilder::setError(std::shared_ptr<sql::SqlError> error)
{
    errorList.clear();
    errorList.push_back(std::move(error));
}

void SqliteStringBuilder::addError(std::shared_ptr<sql::SqlError> error)
{
    errorList.push_back(std::move(error));
}

void SqliteStringBuilder::setErrors(const std::vector<std::shared_ptr<sql::SqlSyntaxError>>& errors)
{
    errorList.clear();
    addErrors(errors);
}

void SqliteStringBuilder::addErrors(const std::vector<std::shared_ptr<sql::SqlSyntaxError>>& errors)
{
    errorList.insert(errorList.end(), errors.begin(), errors.end());
}

void SqliteStringBuilder::addTranslateErrors()
{
    for (const QString& name : unsupported)
        errorList.push_back(std::make_shared<sql::UnknownFunction>(name));
}

// ---- query assembly -------------------------------------------------------------

void SqliteStringBuilder::visit(const QuerySpecification& node)
{
    ScopeGuard scope(scopes, true);
    if (scopes.size() == 1 && !node.groupBy().empty())
        aggregate = true;
    sql::SqlStringBuilder::visit(node);
    correctRowNumber(node);
}

void SqliteStringBuilder::visit(const Update& node)
{
    // The target of an Update or Delete may be the selection: its filter
    // needs a scope just as a query's From does.
    ScopeGuard scope(scopes, false);
    sql::SqlStringBuilder::visit(node);
}

void SqliteStringBuilder::visit(const Delete& node)
{
    ScopeGuard scope(scopes, false);
    sql::SqlStringBuilder::visit(node);
}

std::wstring SqliteStringBuilder::constructSelect(std::wstring a, std::wstring b, std::wstring c, std::wstring d)
{
    if (scopes.size() == 1)
        offsetOfTail = static_cast<std::int64_t>(a.size() + b.size() + c.size());
    return sql::SqlStringBuilder::constructSelect(std::move(a), std::move(b), std::move(c), std::move(d));
}

void SqliteStringBuilder::onFrom(std::wstring& text)
{
    fromLength = text.size();
}

void SqliteStringBuilder::onWhere(std::wstring& text)
{
    if (scopes.empty() || scopes.back().aliases.empty() || selectionIds.empty()) {
        fromLength = 0;
        return;
    }
    std::wstring ids;
    for (const std::int64_t id : selectionIds)
        ids += std::to_wstring(id) + L",";
    ids.back() = L')';

    const wchar_t* connector = text.size() > fromLength ? L" And " : L" Where ";
    for (const std::wstring& alias : scopes.back().aliases) {
        text += connector;
        text += identifier(alias) + L".rowid In (" + ids;
        connector = L" And ";
    }
    fromLength = 0;
}

// ---- table primaries and columns --------------------------------------------------

void SqliteStringBuilder::recordDependency(const std::wstring& name, const std::wstring& alias)
{
    if (!needDependencies)
        return;
    dependencyList.emplace_back(name, alias);
    if (isOutermost())
        primaryList.emplace_back(name, alias);
}

void SqliteStringBuilder::visit(const TablePrimary& node)
{
    if (!isSelectionName(node.name())) {
        recordDependency(node.name(), node.alias());
        sql::SqlStringBuilder::visit(node);
        return;
    }

    std::wstring name = node.name();
    std::wstring alias = node.alias();
    // Without a query scope (an Insert target) there is no filter to attach
    // an alias to.
    if (alias.empty() && !scopes.empty())
        alias = L"_" + QUuid::createUuid().toString(QUuid::Id128).toStdWString();
    if (selectionTable && !selectionIds.empty()) {
        name = selectionTable->name().toStdWString();
    } else {
        qCDebug(lcTranslation) << "the query reads the selection, but there is none";
        errorList.push_back(std::make_shared<sql::SelectionTableIsAbsent>());
    }
    if (!scopes.empty())
        scopes.back().aliases.insert(alias);
    idUsed = true;
    recordDependency(name, alias);
    sql::SqlStringBuilder::visit(TablePrimary(name, alias));
}

void SqliteStringBuilder::visit(const ColumnReference& node)
{
    if (!scopes.empty() && !scopes.back().aliases.empty() && isSelectionName(node.qualifier())) {
        visitCorrectedColumn(ColumnReference(*scopes.back().aliases.begin(), node.name()));
        return;
    }
    visitCorrectedColumn(node);
}

void SqliteStringBuilder::visit(const QualifiedAsterisk& node)
{
    // Selection.* names the selection under its alias, as a column would.
    if (!scopes.empty() && !scopes.back().aliases.empty() && isSelectionName(node.qualifier())) {
        sql::SqlStringBuilder::visit(QualifiedAsterisk(*scopes.back().aliases.begin()));
        return;
    }
    sql::SqlStringBuilder::visit(node);
}

void SqliteStringBuilder::visitCorrectedColumn(const ColumnReference& node)
{
    if (visitGeo(node) || visitStyle(node))
        return;
    if (!idUsed && sql::toLowercase(node.name()) == L"rowid")
        idUsed = true;
    visitImpl(node);
}

bool SqliteStringBuilder::visitGeo(const ColumnReference& node)
{
    const std::wstring lowered = sql::toLowercase(node.name());
    if (lowered != L"obj" && lowered != L"object")
        return false;
    visitImpl(ColumnReference(node.qualifier(), geometryColumnName));
    return true;
}

bool SqliteStringBuilder::visitStyle(const ColumnReference& node)
{
    const std::wstring lowered = sql::toLowercase(node.name());
    if (lowered != L"style" && lowered != L"tr$$_rendition")
        return false;
    visitImpl(ColumnReference(node.qualifier(), styleColumnName));
    return true;
}

void SqliteStringBuilder::visitImpl(const ColumnReference& node)
{
    sql::SqlStringBuilder::visit(node);
    if (needColumns)
        columnList.emplace_back(node.qualifier(), node.name());
}

std::wstring SqliteStringBuilder::targetColumn(const std::wstring& name)
{
    const std::wstring lowered = sql::toLowercase(name);
    if (lowered == L"obj" || lowered == L"object")
        return geometryColumnName;
    if (lowered == L"style" || lowered == L"tr$$_rendition")
        return styleColumnName;
    return sql::SqlStringBuilder::targetColumn(name);
}

QStringList SqliteStringBuilder::expandAsterisk(const QString& sqliteQuery)
{
    QStringList names;
    for (const ResultColumn& column : resultColumns(sqliteQuery))
        names << column.name;
    return names;
}

std::vector<SqliteStringBuilder::ResultColumn> SqliteStringBuilder::resultColumns(const QString& sqliteQuery)
{
    QSqlQuery query(database);
    query.setForwardOnly(true);
    if (!query.prepare(sqliteQuery) || !query.exec()) {
        qCDebug(lcTranslation) << "cannot list the columns of" << sqliteQuery << ":" << query.lastError().text();
        return {};
    }
    sqlite3_stmt* statement = handle(query);
    if (!statement)
        return {};
    const QSqlRecord record = query.record();
    std::vector<ResultColumn> columns;
    const int count = sqlite3_column_count(statement);
    for (int i = 0; i < count; ++i) {
        const char* origin = sqlite3_column_origin_name(statement, i);
        const QString name = origin ? QString::fromLatin1(origin) : QString();
        if (name.isEmpty())
            columns.push_back({record.fieldName(i), false});
        else
            columns.push_back({name, true});
    }
    return columns;
}

// ---- literals, operations and functions ---------------------------------------------

void SqliteStringBuilder::visit(const String& node)
{
    push(sql::escape(node.text(), L'"'));
}

int SqliteStringBuilder::precedence(const Node& node) const
{
    // A rewritten operation is a function call.
    const Operation* operation = nodeAs<Operation>(&node);
    if (operation && !operation->unary() && rewriteFunction(operation->code()))
        return atomPrecedence;
    return sql::SqlStringBuilder::precedence(node);
}

std::wstring SqliteStringBuilder::operationToString(OperationCode code) const
{
    if (code == OperationCode::Concat)
        return L"||";
    return sql::SqlStringBuilder::operationToString(code);
}

std::wstring SqliteStringBuilder::ternaryToString(sql::TernaryLogic::Value value)
{
    if (value == sql::TernaryLogic::Unknown)
        return L"NULL";
    return sql::SqlStringBuilder::ternaryToString(value);
}

void SqliteStringBuilder::visit(const Operation& node)
{
    const wchar_t* function = node.unary() ? nullptr : rewriteFunction(node.code());
    if (function && node.left() && node.right()) {
        const std::wstring right = textOf(node.right());
        doVisit(*node.left());
        std::wstring& left = top();
        left = function + (L"((" + left + L"),(" + right + L"))");
        return;
    }
    if (!collation.isEmpty() && isCollated(node.code())) {
        const std::wstring suffix = L" Collate " + collation.toStdWString();
        processOperation(node, [&suffix](std::wstring& text) -> std::wstring& { return text += suffix; });
        return;
    }
    processOperation(node);
}

void SqliteStringBuilder::visit(const Function& node)
{
    const std::wstring lowered = sql::toLowercase(node.name());
    if (lowered == L"rownum") {
        push(L"row_number() Over (" + orderById().toStdWString() + L")");
        return;
    }
    const QString name = QString::fromStdWString(node.name());
    if (!whiteList.empty() && !whiteList.count(name)) {
        qCDebug(lcTranslation) << "function not allowed:" << name;
        unsupported.insert(name);
    }
    const std::wstring renamed = renamedFunction(lowered, node.name());
    if (!renamed.empty())
        sql::SqlStringBuilder::visit(node.renamed(renamed));
    else if (!(node.flags() & Function::Asterisk) && !node.args().empty() && spatiaLiteFunctionNames().count(lowered)
             && !isEngineFunction(node))
        spatiaLiteCall(node);
    else
        sql::SqlStringBuilder::visit(node);
}

void SqliteStringBuilder::spatiaLiteCall(const Function& node)
{
    // SpatiaLite reads only its own blobs: each argument is converted on the
    // way in (other values pass unchanged).
    std::wstring text = node.name() + L"(";
    if (node.flags() & Function::Distinct)
        text += L"Distinct ";
    const wchar_t* separator = L"";
    for (const auto& argument : node.args()) {
        text += separator;
        // Literals cannot be geometries.
        const bool literal = dynamic_cast<const sql::ast::Number*>(argument.get())
            || dynamic_cast<const sql::ast::String*>(argument.get()) || dynamic_cast<const sql::ast::NullValue*>(argument.get());
        text += literal ? textOf(argument) : L"TesGeoToSpatiaLite(" + textOf(argument) + L")";
        separator = L", ";
    }
    push(text + L")");
}

// ---- row numbers ------------------------------------------------------------------

QString SqliteStringBuilder::orderById() const
{
    if (scopes.empty() || !scopes.back().query)
        return {};
    return QStringLiteral("Order By '") + scopes.back().id.toString(QUuid::Id128) + QLatin1Char('\'');
}

void SqliteStringBuilder::correctRowNumber(const QuerySpecification& spec)
{
    const std::wstring placeholder = orderById().toStdWString();
    if (placeholder.empty() || depth() == 0 || top().find(placeholder) == std::wstring::npos)
        return;

    // Terms are built while the query text is off the stack, so that visits
    // made for them cannot disturb it.
    std::wstring text = pop();
    const QString queryText = QString::fromStdWString(text);
    std::wstring replacement;
    const wchar_t* connector = L"Order By ";
    for (const auto& sort : spec.orderBy()) {
        if (!sort)
            continue;
        std::wstring term;
        if (!isIndex(*sort, spec.selectList(), queryText, term) && !isAlias(*sort, spec.selectList(), term))
            term = textOf(SortSpecification(sort->key(), sort->ascending(), sort->nullsOrdering()));
        if (term.find(placeholder) != std::wstring::npos) {
            qCDebug(lcTranslation) << "rownum ordered by rownum";
            errorList.push_back(std::make_shared<sql::CustomSqlError<sql::SqlSemanticError, sql::OrderByRowNumberType>>());
            continue;
        }
        replacement += connector;
        replacement += term;
        connector = L",";
    }

    if (scopes.size() == 1 && offsetOfTail > 0) {
        const std::size_t before = countBefore(text, placeholder, static_cast<std::size_t>(offsetOfTail));
        offsetOfTail += static_cast<std::int64_t>(before) *
                        (static_cast<std::int64_t>(replacement.size()) - static_cast<std::int64_t>(placeholder.size()));
    }
    for (std::size_t at = text.find(placeholder); at != std::wstring::npos; at = text.find(placeholder, at + replacement.size()))
        text.replace(at, placeholder.size(), replacement);
    push(std::move(text));
}

bool SqliteStringBuilder::isIndex(const SortSpecification& spec, const NodeList& selectList, const QString& queryText,
                                  std::wstring& out)
{
    const Number* number = nodeAs<Number>(spec.key());
    if (!number || number->kind() != Number::Integer)
        return false;
    // Out of the int range this throws std::out_of_range, on purpose: such a
    // position is no position.
    const int position = std::stoi(number->text());
    if (position < 1)
        return false;

    bool asterisk = false;
    for (const NodePtr& item : selectList)
        asterisk = asterisk || nodeAs<QualifiedAsterisk>(item);

    if (!asterisk) {
        if (static_cast<std::size_t>(position) > selectList.size())
            return false;
        const NodePtr& item = selectList[static_cast<std::size_t>(position) - 1];
        const DerivedColumn* column = nodeAs<DerivedColumn>(item);
        out = column ? textOf(column->expression()) : textOf(item);
    } else {
        // A table column is named; an expression column is known by its
        // text, which reads as the same expression again.
        const std::vector<ResultColumn> columns = resultColumns(queryText);
        if (static_cast<std::size_t>(position) > columns.size())
            return false;
        const ResultColumn& column = columns[static_cast<std::size_t>(position) - 1];
        out = column.fromTable ? identifier(column.name.toStdWString()) : column.name.toStdWString();
    }
    out += sortSuffix(spec.ascending(), spec.nullsOrdering());
    return true;
}

bool SqliteStringBuilder::isAlias(const SortSpecification& spec, const NodeList& selectList, std::wstring& out)
{
    const ColumnReference* reference = nodeAs<ColumnReference>(spec.key());
    if (!reference || !reference->qualifier().empty() || reference->name().empty())
        return false;
    for (const NodePtr& item : selectList) {
        const DerivedColumn* column = nodeAs<DerivedColumn>(item);
        if (column && column->alias() == reference->name()) {
            out = textOf(column->expression()) + sortSuffix(spec.ascending(), spec.nullsOrdering());
            return true;
        }
    }
    return false;
}

} // namespace tessera::engine
