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

#include <sqlite3.h>

#include <algorithm>
#include <limits>

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

// Whether `node` continues a chain of the operator `code` that folds into
// one call (the spatial operators compare, they do not chain).
bool chainsWith(const NodePtr& node, OperationCode code)
{
    const Operation* operation = nodeAs<Operation>(node);
    if (!operation || operation->unary() || operation->code() != code || !operation->left() || !operation->right())
        return false;
    switch (code) {
    case OperationCode::Xor:
    case OperationCode::Plus:
    case OperationCode::Divide:
    case OperationCode::IntDivide:
    case OperationCode::Mod:
    case OperationCode::Power:
        return true;
    default:
        return false;
    }
}

bool isExplicitCollation(const NodePtr& node)
{
    const Operation* operation = nodeAs<Operation>(node);
    return operation && !operation->unary() && operation->code() == OperationCode::Collate;
}

// Whether the user wrote a Collate on an operand of the comparison (or a
// bound of its range); that collation must decide, not the appended one.
bool hasExplicitCollation(const Operation& node)
{
    if (isExplicitCollation(node.left()) || isExplicitCollation(node.right()))
        return true;
    const Range* range = nodeAs<Range>(node.right());
    return range && (isExplicitCollation(range->low()) || isExplicitCollation(range->high()));
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

// "line L, column C: " when the place is known, as the parser writes it.
std::string placeText(int line, int column)
{
    if (line <= 0)
        return {};
    return "line " + std::to_string(line) + ", column " + std::to_string(column) + ": ";
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

// toLowercase(name) == word for a lower-case ASCII `word` without a 'k',
// without the copy: no other character folds to one of its letters (only the
// Kelvin sign folds to ASCII, to 'k').
bool isNamed(const std::wstring& name, const wchar_t* word)
{
    std::size_t i = 0;
    for (; i < name.size() && word[i] != L'\0'; ++i) {
        const wchar_t c = name[i] >= L'A' && name[i] <= L'Z' ? wchar_t(name[i] - L'A' + L'a') : name[i];
        if (c != word[i])
            return false;
    }
    return i == name.size() && word[i] == L'\0';
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
    selectionRowIds.clear();
    selectionTable = selection.table();
    selectionFeatureIds = selection.featureIds();
    selectionCache = cache;
}

const std::set<std::int64_t>& SqliteStringBuilder::selectionIds()
{
    if (selectionTable && selectionCache) {
        for (const dp::FeatureId& id : std::exchange(selectionFeatureIds, {}))
            selectionRowIds.insert(selectionCache->assignIdToInt(id));
    }
    return selectionRowIds;
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
    for (const QString& name : unsupported) {
        const auto place = unsupportedPlaces.find(name);
        const auto [line, column] = place == unsupportedPlaces.end() ? std::pair<int, int>() : place->second;
        errorList.push_back(std::make_shared<sql::UnknownFunction>(name, line, column));
    }
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

void SqliteStringBuilder::visit(const DerivedColumn& node)
{
    allowingRowNumber([&] { sql::SqlStringBuilder::visit(node); });
}

void SqliteStringBuilder::visit(const SortSpecification& node)
{
    allowingRowNumber([&] { sql::SqlStringBuilder::visit(node); });
}

void SqliteStringBuilder::allowingRowNumber(const std::function<void()>& visit)
{
    if (scopes.empty())
        return visit();
    // By index: sub-queries of the visit push scopes and may move the stack.
    const std::size_t at = scopes.size() - 1;
    const bool before = scopes[at].rowNumberAllowed;
    scopes[at].rowNumberAllowed = true;
    visit();
    scopes[at].rowNumberAllowed = before;
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
    if (!scopes.empty())
        scopes.back().from = text;
}

void SqliteStringBuilder::onWhere(std::wstring& text)
{
    if (scopes.empty() || scopes.back().aliases.empty() || selectionIds().empty()) {
        fromLength = 0;
        return;
    }
    std::wstring ids;
    for (const std::int64_t id : selectionIds())
        ids += std::to_wstring(id) + L",";
    ids.back() = L')';

    const wchar_t* connector = L" Where ";
    if (text.size() > fromLength) {
        // The user's condition stays whole: "a = 1 Or a = 2 And s.rowid In
        // (...)" would filter only the second alternative.
        static const std::wstring where = L" Where ";
        if (text.compare(fromLength, where.size(), where) == 0) {
            text.insert(fromLength + where.size(), L"(");
            text += L")";
        }
        connector = L" And ";
    }
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
        if (!scopes.empty())
            scopes.back().sources.push_back(node.alias().empty() ? node.name() : node.alias());
        sql::SqlStringBuilder::visit(node);
        return;
    }

    std::wstring name = node.name();
    std::wstring alias = node.alias();
    // Without a query scope (an Insert target) there is no filter to attach
    // an alias to.
    if (alias.empty() && !scopes.empty())
        alias = L"_" + QUuid::createUuid().toString(QUuid::Id128).toStdWString();
    if (selectionTable && !selectionIds().empty()) {
        name = selectionTable->name().toStdWString();
    } else {
        qCDebug(lcTranslation) << "the query reads the selection, but there is none";
        errorList.push_back(std::make_shared<sql::SelectionTableIsAbsent>());
    }
    if (!scopes.empty())
        scopes.back().aliases.insert(alias);
    idUsed = true;
    recordDependency(name, alias);
    if (!scopes.empty())
        scopes.back().sources.push_back(alias.empty() ? name : alias);
    sql::SqlStringBuilder::visit(TablePrimary(name, alias));
}

void SqliteStringBuilder::visit(const DerivedTable& node)
{
    sql::SqlStringBuilder::visit(node);
    if (!scopes.empty())
        scopes.back().sources.push_back(node.alias());
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
    if (!idUsed && isNamed(node.name(), L"rowid"))
        idUsed = true;
    visitImpl(node);
}

bool SqliteStringBuilder::visitGeo(const ColumnReference& node)
{
    if (!isNamed(node.name(), L"obj") && !isNamed(node.name(), L"object"))
        return false;
    visitImpl(ColumnReference(node.qualifier(), geometryColumnName));
    return true;
}

bool SqliteStringBuilder::visitStyle(const ColumnReference& node)
{
    if (!isNamed(node.name(), L"style") && !isNamed(node.name(), L"tr$$_rendition"))
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
        const QString name = origin ? QString::fromUtf8(origin) : QString();
        if (name.isEmpty())
            columns.push_back({record.fieldName(i), record.fieldName(i)});
        else
            columns.push_back({name, record.fieldName(i)});
    }
    return columns;
}

// ---- literals, operations and functions ---------------------------------------------

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
        push(chainCall(function, node));
        return;
    }
    if (!collation.isEmpty() && isCollated(node.code()) && !hasExplicitCollation(node)) {
        const std::wstring suffix = L" Collate " + collation.toStdWString();
        processOperation(node, [&suffix](std::wstring& text) -> std::wstring& { return text += suffix; });
        return;
    }
    processOperation(node);
}

std::wstring SqliteStringBuilder::chainCall(const wchar_t* function, const Operation& node)
{
    // A left-leaning chain of one operator (a + b + c reads as (a + b) + c)
    // becomes one call with every operand, which the engine's function folds
    // from the left: nested calls would exhaust SQLite's parser stack after a
    // few dozen operands. A call takes at most maxChainArguments (SQLite's
    // own limit is 127 by default), so a longer chain continues in an
    // enclosing call. Arguments need no parentheses of their own.
    constexpr std::size_t maxChainArguments = 100;
    std::vector<const Operation*> chain{&node};
    while (chainsWith(chain.back()->left(), node.code()))
        chain.push_back(nodeAs<Operation>(chain.back()->left()));
    std::wstring text = textOf(chain.back()->left());
    std::size_t arguments = 1;
    for (auto link = chain.rbegin(); link != chain.rend(); ++link) {
        if (arguments == maxChainArguments) {
            text = function + (L"(" + text + L")");
            arguments = 1;
        }
        text += L", " + textOf((*link)->right());
        ++arguments;
    }
    return function + (L"(" + text + L")");
}

void SqliteStringBuilder::visit(const Function& node)
{
    const std::wstring lowered = sql::toLowercase(node.name());
    if (lowered == L"rownum") {
        // SQLite allows a window function only in a query's select list (and
        // its ordering, where rownum is refused later). Elsewhere SQLite's
        // "misuse of window function" would not say what is wrong.
        if (!scopes.empty() && !scopes.back().rowNumberAllowed) {
            qCDebug(lcTranslation) << "rownum outside a select list";
            errorList.push_back(std::make_shared<sql::TranslationError>(
                placeText(node.line(), node.column())
                + "rownum may stand only in the select list of a query, not in Where, Group By, Having, "
                  "a join condition, an Update or a Delete"));
        }
        push(L"row_number() Over (" + orderById().toStdWString() + L")");
        return;
    }
    const QString name = QString::fromStdWString(node.name());
    const std::wstring renamed = renamedFunction(lowered, node.name());
    if (!whiteList && whiteListSource)
        whiteList = std::exchange(whiteListSource, nullptr)();
    if (whiteList && !whiteList->empty() && !whiteList->count(name)
        && (renamed.empty() || !whiteList->count(QString::fromStdWString(renamed)))) {
        qCDebug(lcTranslation) << "function not allowed:" << name;
        if (unsupported.insert(name).second)
            unsupportedPlaces.emplace(name, std::make_pair(node.line(), node.column()));
    }
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
    if (scopes.back().id.isNull())
        scopes.back().id = QUuid::createUuid();
    return QStringLiteral("Order By '") + scopes.back().id.toString(QUuid::Id128) + QLatin1Char('\'');
}

void SqliteStringBuilder::correctRowNumber(const QuerySpecification& spec)
{
    // Without an id this query never emitted the placeholder.
    if (scopes.empty() || scopes.back().id.isNull())
        return;
    const std::wstring placeholder = orderById().toStdWString();
    if (placeholder.empty() || depth() == 0 || top().find(placeholder) == std::wstring::npos)
        return;

    // Terms are built while the query text is off the stack, so that visits
    // made for them cannot disturb it.
    std::wstring text = pop();
    std::wstring replacement;
    const wchar_t* connector = L"Order By ";
    for (const auto& sort : spec.orderBy()) {
        if (!sort)
            continue;
        std::wstring term;
        allowingRowNumber([&] {
            if (!isIndex(*sort, spec.selectList(), term) && !isAlias(*sort, spec.selectList(), term))
                term = textOf(SortSpecification(sort->key(), sort->ascending(), sort->nullsOrdering()));
        });
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

bool SqliteStringBuilder::isIndex(const SortSpecification& spec, const NodeList& selectList, std::wstring& out)
{
    const Number* number = nodeAs<Number>(spec.key());
    if (!number || number->kind() != Number::Integer)
        return false;
    // A position is a small decimal number; anything beyond the int range
    // (where std::stoi would throw) is reported, not thrown.
    const std::wstring& digits = number->text();
    int position = 0;
    for (const wchar_t c : digits) {
        if (c < L'0' || c > L'9')
            return false;
        if (position > (std::numeric_limits<int>::max() - (c - L'0')) / 10) {
            qCDebug(lcTranslation) << "ordering position out of range";
            errorList.push_back(std::make_shared<sql::TranslationError>(
                "the Order By position " + QString::fromStdWString(digits).toStdString()
                + " is out of range: a position counts the items of the select list, from 1"));
            return false;
        }
        position = position * 10 + (c - L'0');
    }
    if (position < 1)
        return false;

    if (!selectedTerm(selectList, static_cast<std::size_t>(position), out))
        return false;
    out += sortSuffix(spec.ascending(), spec.nullsOrdering());
    return true;
}

bool SqliteStringBuilder::selectedTerm(const NodeList& selectList, std::size_t position, std::wstring& out)
{
    // An asterisk stands for the columns of each source in From order, each
    // named with its source so that a self-join is not ambiguous (a derived
    // table without a name can only be named by column). Only the item at
    // the position is visited.
    const Scope& scope = scopes.back();
    const std::vector<std::wstring> sources = scope.sources;
    const QString from = QString::fromStdWString(scope.from);
    const bool qualifiable = std::none_of(sources.begin(), sources.end(), [](const std::wstring& s) { return s.empty(); });
    std::size_t passed = 0;
    // Walks the columns of `starText` ("*" or "q.*"); true when the position is among them.
    auto expand = [&](const std::wstring& starText) {
        const std::wstring prefix = starText.substr(0, starText.size() - 1);
        const std::vector<ResultColumn> columns = resultColumns(QStringLiteral("Select ") + QString::fromStdWString(starText) + from);
        if (position > passed + columns.size()) {
            passed += columns.size();
            return false;
        }
        out = prefix + identifier(columns[position - passed - 1].field.toStdWString());
        return true;
    };
    for (const NodePtr& item : selectList) {
        const QualifiedAsterisk* star = nodeAs<QualifiedAsterisk>(item);
        if (!star) {
            if (++passed < position)
                continue;
            const DerivedColumn* column = nodeAs<DerivedColumn>(item);
            out = column ? textOf(column->expression()) : textOf(item);
            return true;
        }
        if (!star->qualifier().empty() || !qualifiable) {
            if (expand(textOf(item)))
                return true;
            continue;
        }
        for (const std::wstring& source : sources)
            if (expand(identifier(source) + L".*"))
                return true;
    }
    return false;
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
