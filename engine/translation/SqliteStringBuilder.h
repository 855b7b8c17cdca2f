#pragma once
// The translator from the dialect's syntax tree to SQLite SQL. On top of the
// base builder it maps the geometry and style columns to the hidden column
// names, turns the Selection pseudo-table into a row-id filter, rewrites the
// operators SQLite lacks into calls of the engine's SQL functions, renames
// the functions whose engine implementation has another name, numbers rows
// for rownum in the query's own order, and collects errors instead of
// throwing.

#include "engine/EngineExport.h"
#include "engine/translation/CaseInsensitiveLess.h"
#include "platform/sql/SqlError.h"
#include "platform/dp/FeatureId.h"
#include "platform/sql/SqlStringBuilder.h"

#include <QSqlDatabase>
#include <QString>
#include <QStringList>
#include <QUuid>
#include <QVector>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace tessera::dp {
class Selection;
class Table;
} // namespace tessera::dp

namespace tessera::engine {

class EngineCache;

// The hidden column names of a table's first geometry and first style
// attribute.
inline constexpr const wchar_t* geometryColumnName = L"cd750f8a9a2b4fac9b9b05eb53795d97";
inline constexpr const wchar_t* styleColumnName = L"d39f65c319974aa198a899a89b1240c7";

class TESSERA_ENGINE_EXPORT SqliteStringBuilder : public sql::SqlStringBuilder {
public:
    using NamePair = std::pair<std::wstring, std::wstring>;
    using NameSet = std::set<QString, caseInsensitiveLess>;
    using ErrorList = std::vector<std::shared_ptr<sql::SqlError>>;

    SqliteStringBuilder(const QSqlDatabase& db, QString collate, const sql::StringBuildContext* context);
    ~SqliteStringBuilder() override;

    const std::wstring& query() const { return finished; }
    // (qualifier, column) of every column reference emitted, when asked for.
    const std::vector<NamePair>& columns() const { return columnList; }
    // (table, alias) of every table primary of the statement, when asked for.
    const std::vector<NamePair>& dependencies() const { return dependencyList; }
    // (table, alias) of the outermost query's table primaries, when asked for.
    const std::vector<NamePair>& primaries() const { return primaryList; }
    bool isAggregate() const { return aggregate; }
    bool isIdUsed() const { return idUsed; }
    // Where the fourth part (grouping, ordering, limits) of the outermost
    // query begins in query(); 0 before an outermost query was assembled.
    std::int64_t insertOffset() const { return offsetOfTail; }
    const ErrorList& errors() const { return errorList; }
    const NameSet& unsupportedList() const { return unsupported; }
    const QString& collate() const { return collation; }

    void setCollate(QString collate) { collation = std::move(collate); }
    void setQuery(std::wstring text) { finished = std::move(text); }
    void setNeedDependencies(bool need) { needDependencies = need; }
    void setNeedColumns(bool need) { needColumns = need; }
    // Function names that may be called; empty allows every function.
    void setWhiteList(NameSet names) { whiteList = std::make_shared<const NameSet>(std::move(names)); }
    // The same, asked for when the statement first calls a function: a host
    // keeps one list for all its statements and reads it only when needed.
    void setWhiteListSource(std::function<std::shared_ptr<const NameSet>()> source) { whiteListSource = std::move(source); }
    // Queries that read the Selection pseudo-table are filtered to the rows
    // of `selection`, numbered through `cache`.
    void setSelection(const dp::Selection& selection, EngineCache* cache);

    bool hasErrors() const { return !errorList.empty() || !unsupported.empty(); }
    void setError(std::shared_ptr<sql::SqlError> error);
    void addError(std::shared_ptr<sql::SqlError> error);
    void setErrors(const std::vector<std::shared_ptr<sql::SqlSyntaxError>>& errors);
    void addErrors(const std::vector<std::shared_ptr<sql::SqlSyntaxError>>& errors);
    // One UnknownFunction error per name of the unsupported list.
    void addTranslateErrors();

    using sql::SqlStringBuilder::visit;
    void visit(const sql::ast::ColumnReference& node) override;
    void visit(const sql::ast::QualifiedAsterisk& node) override;
    void visit(const sql::ast::Function& node) override;
    void visit(const sql::ast::Operation& node) override;
    void visit(const sql::ast::QuerySpecification& node) override;
    void visit(const sql::ast::DerivedColumn& node) override;
    void visit(const sql::ast::SortSpecification& node) override;
    void visit(const sql::ast::TablePrimary& node) override;
    void visit(const sql::ast::DerivedTable& node) override;
    void visit(const sql::ast::Update& node) override;
    void visit(const sql::ast::Delete& node) override;

    // The geometry (obj, object) or style (style, tr$$_rendition) rewrite
    // alone: true when `node` named that column and was emitted.
    bool visitGeo(const sql::ast::ColumnReference& node);
    bool visitStyle(const sql::ast::ColumnReference& node);
    // The names of the columns that `sqliteQuery` yields on the database;
    // empty when SQLite rejects it.
    QStringList expandAsterisk(const QString& sqliteQuery);

    // The rownum ordering placeholder of the innermost query.
    QString orderById() const;

    // The name under which the data catalog offers the current selection.
    static QString selectionTableName();

protected:
    void visitCorrectedColumn(const sql::ast::ColumnReference& node);
    void visitImpl(const sql::ast::ColumnReference& node);
    void correctRowNumber(const sql::ast::QuerySpecification& spec);
    // A sort key that is a position in the select list: `out` receives the
    // selected expression with the sort suffix.
    bool isIndex(const sql::ast::SortSpecification& spec, const sql::ast::NodeList& selectList, std::wstring& out);
    bool isAlias(const sql::ast::SortSpecification& spec, const sql::ast::NodeList& selectList, std::wstring& out);

    int precedence(const sql::ast::Node& node) const override;
    std::wstring operationToString(sql::OperationCode code) const override;
    std::wstring ternaryToString(sql::TernaryLogic::Value value) override;
    void onFrom(std::wstring& text) override;
    void onWhere(std::wstring& text) override;
    std::wstring constructSelect(std::wstring a, std::wstring b, std::wstring c, std::wstring d) override;
    std::wstring targetColumn(const std::wstring& name) override;

private:
    struct Scope {
        explicit Scope(bool isQuery) : query(isQuery) {}
        std::set<std::wstring> aliases; // names of the selection in this query's From
        // Names the rownum placeholder; made when rownum first asks for it
        // (a random id costs more than the rest of a short translation).
        mutable QUuid id;
        bool query; // a query specification, not the target of an Update or Delete
        bool rowNumberAllowed = false; // in a select item or a sort key of this query
        std::vector<std::wstring> sources; // the From's names (alias or table), in order
        std::wstring from;                 // the From part's text
    };
    class ScopeGuard;
    struct ResultColumn {
        QString name;   // the origin column's name, else the column's own
        QString field;  // the column's own name
    };
    std::vector<ResultColumn> resultColumns(const QString& sqliteQuery);
    // The text, usable in a window ordering, of the column at 1-based
    // `position` of what the select list yields; false when there is none
    // (or SQLite rejects the From part).
    bool selectedTerm(const sql::ast::NodeList& selectList, std::size_t position, std::wstring& out);

    bool isSelectionName(const std::wstring& name) const;
    // A call of SpatiaLite's with the engine's geometry converted for it.
    void spatiaLiteCall(const sql::ast::Function& node);
    bool isOutermost() const { return scopes.size() <= 1; }
    void recordDependency(const std::wstring& name, const std::wstring& alias);
    std::wstring chainCall(const wchar_t* function, const sql::ast::Operation& node);
    // Runs `visit` with rownum allowed in the innermost query.
    void allowingRowNumber(const std::function<void()>& visit);

    std::wstring selectionName; // lower case
    QSqlDatabase database;
    std::int64_t offsetOfTail = 0;
    std::uint64_t fromLength = 0;
    std::wstring finished;
    QString collation;
    ErrorList errorList;
    std::vector<NamePair> dependencyList;
    std::vector<NamePair> primaryList;
    std::shared_ptr<const NameSet> whiteList;
    std::function<std::shared_ptr<const NameSet>()> whiteListSource;
    NameSet unsupported;
    std::map<QString, std::pair<int, int>, caseInsensitiveLess> unsupportedPlaces; // (line, column) of the first call
    std::vector<NamePair> columnList;
    std::vector<Scope> scopes;
    // The selection's row ids, numbered when a query first reads the
    // selection: most queries never do.
    const std::set<std::int64_t>& selectionIds();
    std::set<std::int64_t> selectionRowIds;
    QVector<dp::FeatureId> selectionFeatureIds;
    EngineCache* selectionCache = nullptr;
    std::shared_ptr<dp::Table> selectionTable;
    bool needDependencies = false;
    bool needColumns = false;
    bool aggregate = false;
    bool idUsed = false;
};

} // namespace tessera::engine
