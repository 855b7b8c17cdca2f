#include "modules/tables/TableAdapterModule.h"

#include "engine/Engine.h"
#include "engine/EngineCache.h"
#include "engine/geometry/GeometryMeasureFunctions.h"
#include "engine/indices/EngineIndices.h"
#include "modules/tables/AdaptedTable.h"
#include "modules/tables/AdaptedTableManagement.h"
#include "modules/tables/FeatureValues.h"
#include "platform/core/Core.h"
#include "platform/cs/CoordSystem.h"
#include "platform/dp/DataCatalog.h"
#include "platform/geometry/Algorithms.h"
#include "platform/geometry/Geometry.h"

#include <QLoggingCategory>
#include <QStringList>
#include <algorithm>
#include <cmath>
#include <exception>
#include <limits>
#include <optional>
#include <stdexcept>
#include <sqlite3.h>

namespace tessera::modules {
namespace {

Q_LOGGING_CATEGORY(lcTables, "tessera.tables")

struct ModuleContext {
    Core* core;
    engine::EngineCache* cache;
};

struct AdapterTable : sqlite3_vtab {
    ModuleContext* context = nullptr;
    QString name;
    std::shared_ptr<AdaptedTable> adapted;
};

struct AdapterCursor : sqlite3_vtab_cursor {
    std::shared_ptr<dp::Table> table;
    // Either a list of rows (rowid look-ups, R-tree candidates) ...
    bool listed = false;
    bool checkRows = false;   // skip listed rows that do not exist
    bool ownRows = false;     // listed by the adapter itself, not asked for by rowid
    std::vector<std::int64_t> rows;
    std::size_t position = 0;
    // ... or a pass over the table's (possibly filtered) features ...
    std::unique_ptr<dp::FeatureCursor> scan;
    // ... or, for a statement that reads no column (Count(*)), a count of
    // rows: their ids are read only if SQLite asks for one.
    bool counting = false;
    std::int64_t total = 0;
    std::shared_ptr<dp::Feature> current;
    std::int64_t row = -1;
    bool eof = true;
    bool withoutGeometry = false;   // the features read carry no geometry
};

// The plans of xBestIndex (idxNum).
// Bits 4-7 of a spatial plan name the predicate; the bits below say which
// rowid bounds follow the geometry in argv (lower first).
enum Plan { FullScan = 0, RowidEqual = 1, RowidIn = 2, Spatial = 3, ProviderFilter = 4, GeometryScan = 5, AttributeIndex = 6,
            CountRows = 7 };
enum RowidBounds { HasLower = 0x100, LowerInclusive = 0x200, HasUpper = 0x400, UpperInclusive = 0x800 };
// A pass whose statement reads no geometry: the source may leave them out.
constexpr int WithoutGeometry = 0x1000;

bool geometryUnused(const sqlite3_index_info* info, int geometryColumn)
{
    return geometryColumn >= 0 && geometryColumn < 63 && !(info->colUsed & (sqlite3_uint64(1) << geometryColumn));
}

// Keeps the rows within a rowid bound, compared as SQLite compares an
// integer with the value: below any text or blob, never with NULL.
void applyBound(std::vector<std::int64_t>& rows, sqlite3_value* bound, bool lower, bool inclusive)
{
    const int type = sqlite3_value_numeric_type(bound);
    if (type == SQLITE_NULL) {
        rows.clear();
        return;
    }
    if (type != SQLITE_INTEGER && type != SQLITE_FLOAT) {
        if (lower)
            rows.clear();   // no integer is above a text
        return;
    }
    const double b = sqlite3_value_double(bound);
    const std::int64_t i = sqlite3_value_int64(bound);
    const auto out = [&](std::int64_t row) {
        if (type == SQLITE_INTEGER)
            return lower ? (inclusive ? row < i : row <= i) : (inclusive ? row > i : row >= i);
        const double r = double(row);
        return lower ? (inclusive ? r < b : r <= b) : (inclusive ? r > b : r >= b);
    };
    rows.erase(std::remove_if(rows.begin(), rows.end(), out), rows.end());
}

// The engine's spatial predicates for calls whose first argument is the
// table's geometry column (xFindFunction): the same answers, but geometries
// of this table are taken as the feature's own objects instead of decoding
// the blob, so the GEOS form the platform remembers per object (prepared
// after its second use) serves every row of a join. User data: the table.
using Test = bool (*)(const dp::ConstGeometryPtr&, const dp::ConstGeometryPtr&);

// Two of the table's own geometries in one coordinate system are tested on
// their kept, prepared GEOS forms (the platform's answer for such operands).
int preparedAnswer(const AdaptedTable& adapted, const dp::ConstGeometryPtr& a, const dp::ConstGeometryPtr& b, Test test)
{
    const auto kind = test == &geometry::Intersects ? PreparedGeometries::Test::Intersects
                    : test == &geometry::Contains   ? PreparedGeometries::Test::Contains
                                                    : std::optional<PreparedGeometries::Test>();
    if (!kind)
        return -1;
    const auto& csA = a->coordSystem();
    const auto& csB = b->coordSystem();
    if (csA != csB && !(csA && csB && csA->isEquivalentTo(*csB)))
        return -1;
    if (a->isEmpty() || b->isEmpty())
        return 0;   // empty operands relate to nothing
    return adapted.prepared().test(a, b, *kind);
}

template <Test test, bool swapped>
void tablePredicate(sqlite3_context* ctx, int, sqlite3_value** argv)
{
    const auto* adapted = static_cast<const AdaptedTable*>(sqlite3_user_data(ctx));
    bool own1 = false, own2 = false;
    dp::ConstGeometryPtr g1 = adapted->geometryOf(sqlite3_value_blob(argv[0]), sqlite3_value_bytes(argv[0]), &own1);
    dp::ConstGeometryPtr g2 = g1 ? adapted->geometryOf(sqlite3_value_blob(argv[1]), sqlite3_value_bytes(argv[1]), &own2) : nullptr;
    if (!g1 || !g2) {
        sqlite3_result_null(ctx);
        return;
    }
    if (swapped)
        std::swap(g1, g2);
    try {
        const int answer = own1 && own2 ? preparedAnswer(*adapted, g1, g2, test) : -1;
        if (answer >= 0) {
            sqlite3_result_int(ctx, answer);
            return;
        }
        engine::sqlfn::shareCoordSystem(g1, g2);
        sqlite3_result_int(ctx, test(g1, g2) ? 1 : 0);
    } catch (const std::exception& e) {
        sqlite3_result_error(ctx, e.what(), -1);
    } catch (...) {
        sqlite3_result_error(ctx, "Unexpected error", -1);
    }
}

// The spatial predicates the adapter answers from its R-tree. The function
// constraint code is SQLITE_INDEX_CONSTRAINT_FUNCTION + the position here.
struct SpatialPredicate {
    const char* name;
    void (*function)(sqlite3_context*, int, sqlite3_value**);
    BoundsIndex::Relation relation;   // of the column's box to the argument's
};
const SpatialPredicate spatialPredicates[] = {
    {"GeometryIntersects", tablePredicate<&geometry::Intersects, false>, BoundsIndex::Relation::Meets},
    {"GeometryContains", tablePredicate<&geometry::Contains, false>, BoundsIndex::Relation::Holds},
    {"GeometryWithin", tablePredicate<&geometry::Contains, true>, BoundsIndex::Relation::HeldBy},
    // A centroid lies in its geometry's box, so the boxes meet.
    {"ContainsCentroid", tablePredicate<&geometry::ContainsCentroid, false>, BoundsIndex::Relation::Meets},
    {"CentroidWithin", tablePredicate<&geometry::ContainsCentroid, true>, BoundsIndex::Relation::Meets},
};
constexpr int spatialPredicateCount = int(sizeof(spatialPredicates) / sizeof(spatialPredicates[0]));

void setError(sqlite3_vtab* vtab, const QString& message)
{
    sqlite3_free(vtab->zErrMsg);
    vtab->zErrMsg = sqlite3_mprintf("%s", message.toUtf8().constData());
}

Engine* engineOf(const ModuleContext* context)
{
    return context->core ? context->core->findService<Engine>() : nullptr;
}

bool isNumeric(int type)
{
    switch (type) {
    case QMetaType::Int: case QMetaType::UInt: case QMetaType::LongLong: case QMetaType::ULongLong:
    case QMetaType::Short: case QMetaType::UShort: case QMetaType::Double: case QMetaType::Float:
        return true;
    default:
        return false;
    }
}

// --- table ---------------------------------------------------------------------

int connectTable(sqlite3* db, void* aux, int argc, const char* const* argv, sqlite3_vtab** vtab, char** error)
{
    auto* context = static_cast<ModuleContext*>(aux);
    const QString name = QString::fromUtf8(argc > 2 ? argv[2] : "");
    auto* catalog = context->core ? context->core->findService<dp::DataCatalog>() : nullptr;
    const auto table = catalog ? std::dynamic_pointer_cast<dp::Table>(catalog->findByName(name)) : nullptr;
    if (!table) {
        *error = sqlite3_mprintf("no table named %s in the data catalog", argc > 2 ? argv[2] : "");
        return SQLITE_ERROR;
    }
    try {
        auto adapted = std::make_shared<AdaptedTable>(table, context->cache);
        const int rc = sqlite3_declare_vtab(db, adapted->declaration().toUtf8().constData());
        if (rc != SQLITE_OK) {
            *error = sqlite3_mprintf("table %s: %s", argv[2], sqlite3_errmsg(db));
            return rc;
        }
        auto* result = new AdapterTable;
        result->context = context;
        result->name = name;
        result->adapted = adapted;
        if (Engine* engine = engineOf(context))
            engine->registerManagement(std::make_unique<AdaptedTableManagement>(name, adapted, engine));
        *vtab = result;
        return SQLITE_OK;
    } catch (const std::exception& e) {
        *error = sqlite3_mprintf("table %s: %s", argv[2], e.what());
        return SQLITE_ERROR;
    }
}

int disconnectTable(sqlite3_vtab* vtab)
{
    auto* table = static_cast<AdapterTable*>(vtab);
    // Only our own management: a table of the same name may have replaced it.
    // Its index store goes with it: a table opened later under the name must
    // not be served the row ids of this one.
    if (Engine* engine = engineOf(table->context)) {
        auto* management = dynamic_cast<AdaptedTableManagement*>(engine->findManagement(table->name));
        if (management && management->adapted() == table->adapted) {
            engine->unRegisterManagement(table->name);
            engine->dropIndices(table->name);
        }
    }
    delete table;
    return SQLITE_OK;
}

int renameTable(sqlite3_vtab* vtab, const char* newName)
{
    auto* table = static_cast<AdapterTable*>(vtab);
    const QString name = QString::fromUtf8(newName);
    // Index stores are kept by table name: the renamed table starts without
    // indices rather than leave a store under a name another table may take.
    if (Engine* engine = engineOf(table->context)) {
        engine->unRegisterManagement(table->name);
        engine->dropIndices(table->name);
        engine->registerManagement(std::make_unique<AdaptedTableManagement>(name, table->adapted, engine));
    }
    table->name = name;
    return SQLITE_OK;
}

int findFunction(sqlite3_vtab* vtab, int argc, const char* name, void (**function)(sqlite3_context*, int, sqlite3_value**),
                 void** userData)
{
    auto* table = static_cast<AdapterTable*>(vtab);
    if (argc != 2 || table->adapted->geometryAttribute() < 0)
        return 0;
    for (int i = 0; i < spatialPredicateCount; ++i) {
        if (sqlite3_stricmp(name, spatialPredicates[i].name) == 0) {
            *function = spatialPredicates[i].function;
            *userData = table->adapted.get();
            return SQLITE_INDEX_CONSTRAINT_FUNCTION + i;
        }
    }
    return 0;
}

bool conditionOp(unsigned char op, dp::AttributeCondition::Op& result)
{
    switch (op) {
    case SQLITE_INDEX_CONSTRAINT_EQ: result = dp::AttributeCondition::Equal; return true;
    case SQLITE_INDEX_CONSTRAINT_NE: result = dp::AttributeCondition::NotEqual; return true;
    case SQLITE_INDEX_CONSTRAINT_LT: result = dp::AttributeCondition::Less; return true;
    case SQLITE_INDEX_CONSTRAINT_LE: result = dp::AttributeCondition::LessOrEqual; return true;
    case SQLITE_INDEX_CONSTRAINT_GT: result = dp::AttributeCondition::Greater; return true;
    case SQLITE_INDEX_CONSTRAINT_GE: result = dp::AttributeCondition::GreaterOrEqual; return true;
    default: return false;
    }
}

// --- attribute indices -----------------------------------------------------------
// An index of the table's store (built with the shell's .index or by the
// host) narrows attribute constraints to the row ids it finds. The index
// only narrows: SQLite tests every row it gets again (omit stays 0), so a
// value the store compares differently can never add a row.

using engine::EngineIndices;

// Numbers take every comparison; text only =, Is Null and Like, because the
// store orders text by the locale, where SQLite's ranges order it by bytes.
enum class KeyKind { None, Number, Text };

KeyKind keyKind(const dp::TableSchema& schema, int column)
{
    if (column < 0 || column >= schema.count())
        return KeyKind::None;
    const int type = schema.attribute(column)->type();
    if (isNumeric(type))
        return KeyKind::Number;
    return type == QMetaType::QString ? KeyKind::Text : KeyKind::None;
}

bool indexComparison(unsigned char op, KeyKind kind, EngineIndices::Constant::Comparison& result)
{
    using C = EngineIndices::Constant;
    switch (op) {
    case SQLITE_INDEX_CONSTRAINT_EQ: result = C::Equal; return kind != KeyKind::None;
    case SQLITE_INDEX_CONSTRAINT_ISNULL: result = C::IsNull; return kind != KeyKind::None;
    case SQLITE_INDEX_CONSTRAINT_LIKE: result = C::Like; return kind == KeyKind::Text;
    case SQLITE_INDEX_CONSTRAINT_LT: result = C::Less; return kind == KeyKind::Number;
    case SQLITE_INDEX_CONSTRAINT_LE: result = C::LessOrEqual; return kind == KeyKind::Number;
    case SQLITE_INDEX_CONSTRAINT_GT: result = C::Greater; return kind == KeyKind::Number;
    case SQLITE_INDEX_CONSTRAINT_GE: result = C::GreaterOrEqual; return kind == KeyKind::Number;
    default: return false;
    }
}

std::vector<int> indexKeys(const EngineIndices& store, int index)
{
    std::vector<int> keys;
    if (store.enumColumns(index, [&](int column) { keys.push_back(column); return EngineIndices::Status::Continue; })
        != EngineIndices::Status::Continue)
        keys.clear();
    return keys;
}

struct IndexPlan {
    int index = -1;
    std::vector<int> constraints;   // positions in aConstraint, in argv order
    double rows = 0;
    double cost = 0;
};

// The cheapest index that serves the usable attribute constraints as its
// leading columns: one over all their columns, else one over a single one.
std::optional<IndexPlan> indexPlan(const EngineIndices& store, const dp::TableSchema& schema, const sqlite3_index_info* info,
                                   double count)
{
    std::vector<int> candidates;
    std::vector<EngineIndices::Column> columns;
    for (int i = 0; i < info->nConstraint; ++i) {
        const auto& c = info->aConstraint[i];
        EngineIndices::Constant::Comparison comparison;
        if (!c.usable || !indexComparison(c.op, keyKind(schema, c.iColumn), comparison))
            continue;
        candidates.push_back(i);
        if (std::find(columns.begin(), columns.end(), EngineIndices::Column{c.iColumn}) == columns.end())
            columns.push_back({c.iColumn});
    }
    std::vector<std::vector<EngineIndices::Column>> sets;
    if (!columns.empty())
        sets.push_back(columns);
    for (std::size_t k = 0; columns.size() > 1 && k < columns.size(); ++k)
        sets.push_back({columns[k]});

    std::optional<IndexPlan> best;
    for (const auto& set : sets) {
        EngineIndices::Conformance conformance;
        const int index = store.findIndex(set, &conformance);
        if (index < 0 || conformance.measure < 1.0)
            continue;
        const std::vector<int> keys = indexKeys(store, index);
        IndexPlan plan;
        plan.index = index;
        std::vector<EngineIndices::Column> equal;
        double share = 1.0;
        for (int i : candidates) {
            const auto& c = info->aConstraint[i];
            if (std::find(keys.begin(), keys.end(), c.iColumn) == keys.end())
                continue;
            plan.constraints.push_back(i);
            if (c.op != SQLITE_INDEX_CONSTRAINT_EQ)
                share *= c.op == SQLITE_INDEX_CONSTRAINT_ISNULL || c.op == SQLITE_INDEX_CONSTRAINT_LIKE ? 0.1 : 0.33;
            else if (std::find(equal.begin(), equal.end(), EngineIndices::Column{c.iColumn}) == equal.end())
                equal.push_back({c.iColumn});
        }
        // Equality from the store's own counts; other conditions as guesses.
        const double matched = equal.empty() ? count : double(store.estimateRows(index, equal));
        plan.rows = std::max(1.0, matched * share);
        // The look-up descends the store's key; each row is then read by id.
        plan.cost = std::log2(count + 1) + plan.rows * 2;
        if (!best || plan.cost < best->cost)
            best = std::move(plan);
    }
    return best;
}

// The rows of an index plan ("index N on COLUMN:OP,..."), or false when the
// index cannot answer (gone since the plan was made): the caller reads the
// table and SQLite tests every row. A value of another kind than the column
// (a text for a number column) is left to SQLite.
bool indexedRows(const AdapterTable& table, const char* idxStr, int argc, sqlite3_value** argv, std::vector<std::int64_t>& rows)
{
    Engine* engine = engineOf(table.context);
    const EngineIndices* store = engine ? engine->findIndices(table.name) : nullptr;
    const QStringList parts = QString::fromUtf8(idxStr ? idxStr : "").split(QLatin1Char(' '));
    bool ok = false;
    const int index = parts.value(1).toInt(&ok);
    if (!store || !ok || parts.size() != 4)
        return false;
    const std::vector<int> keys = indexKeys(*store, index);
    const dp::TableSchema& schema = table.adapted->schema();
    std::vector<EngineIndices::Constant> constants;
    const QStringList terms = parts[3].split(QLatin1Char(','), Qt::SkipEmptyParts);
    for (int k = 0; k < terms.size() && k < argc; ++k) {
        const int column = terms[k].section(QLatin1Char(':'), 0, 0).toInt();
        const auto op = static_cast<unsigned char>(terms[k].section(QLatin1Char(':'), 1, 1).toInt());
        const KeyKind kind = keyKind(schema, column);
        const auto key = std::find(keys.begin(), keys.end(), column);
        EngineIndices::Constant constant;
        if (key == keys.end() || !indexComparison(op, kind, constant.comparison))
            return false;
        constant.column = int(key - keys.begin());
        if (constant.comparison != EngineIndices::Constant::IsNull) {
            const int type = sqlite3_value_type(argv[k]);
            if (type == SQLITE_NULL) {
                rows.clear();   // a comparison with NULL holds for no row
                return true;
            }
            if (kind == KeyKind::Number && (type == SQLITE_INTEGER || type == SQLITE_FLOAT))
                constant.values << (type == SQLITE_INTEGER ? QVariant(qlonglong(sqlite3_value_int64(argv[k])))
                                                           : QVariant(sqlite3_value_double(argv[k])));
            else if (kind == KeyKind::Text && type == SQLITE_TEXT)
                constant.values << QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_value_text(argv[k])),
                                                     sqlite3_value_bytes(argv[k]));
            else
                continue;
        }
        constants.push_back(constant);
    }
    if (constants.empty())
        return false;
    rows = store->findRows(index, constants);
    return true;
}

int bestIndex(sqlite3_vtab* vtab, sqlite3_index_info* info)
{
    auto* table = static_cast<AdapterTable*>(vtab);
    const auto host = table->adapted->table();
    const double count = host ? std::max<qint64>(host->featureCount(), 1) : 1;
    const int geometryColumn = table->adapted->geometryAttribute();

    int rowidEqual = -1, spatial = -1;
    QVector<int> filters;
    for (int i = 0; i < info->nConstraint; ++i) {
        const auto& c = info->aConstraint[i];
        if (!c.usable)
            continue;
        if (c.iColumn < 0 && c.op == SQLITE_INDEX_CONSTRAINT_EQ && rowidEqual < 0)
            rowidEqual = i;
        else if (c.op >= SQLITE_INDEX_CONSTRAINT_FUNCTION && c.op < SQLITE_INDEX_CONSTRAINT_FUNCTION + spatialPredicateCount
                 && c.iColumn == geometryColumn && spatial < 0)
            spatial = i;
        else if (c.iColumn >= 0 && host && host->canFilter() && isNumeric(table->adapted->schema().attribute(c.iColumn)->type())) {
            dp::AttributeCondition::Op op;
            if (conditionOp(c.op, op))
                filters << i;
        }
    }

    if (rowidEqual >= 0) {
        info->aConstraintUsage[rowidEqual].argvIndex = 1;
        info->aConstraintUsage[rowidEqual].omit = 1;
        if (sqlite3_vtab_in(info, rowidEqual, -1)) {
            sqlite3_vtab_in(info, rowidEqual, 1);
            info->idxNum = RowidIn;
            info->idxStr = const_cast<char*>("rowid In");
            info->estimatedRows = 10;
            info->estimatedCost = 10;
        } else {
            info->idxNum = RowidEqual;
            info->idxStr = const_cast<char*>("rowid=");
            info->estimatedRows = 1;
            info->estimatedCost = 1;
            info->idxFlags = SQLITE_INDEX_SCAN_UNIQUE;
        }
        return SQLITE_OK;
    }
    // An attribute index wins over the R-tree and the provider filter when it
    // is cheaper: a spatial look-up costs log n plus about sqrt(n) rows (a box
    // in a coverage of n polygons meets about sqrt(n) others), a filtered
    // pass half a scan.
    Engine* engine = engineOf(table->context);
    const EngineIndices* store = engine ? engine->findIndices(table->name) : nullptr;
    const auto indexed = store && store->isCorrect() ? indexPlan(*store, table->adapted->schema(), info, count) : std::nullopt;
    const double spatialCost = std::log2(count + 1) + std::sqrt(count) * 2;
    const double otherCost = spatial >= 0 ? spatialCost : filters.isEmpty() ? count : count * 0.5;
    if (indexed && indexed->cost < otherCost) {
        QStringList terms;
        for (std::size_t k = 0; k < indexed->constraints.size(); ++k) {
            const auto& c = info->aConstraint[indexed->constraints[k]];
            info->aConstraintUsage[indexed->constraints[k]].argvIndex = int(k) + 1;
            terms << QStringLiteral("%1:%2").arg(c.iColumn).arg(int(c.op));
        }
        info->idxNum = AttributeIndex | (geometryUnused(info, geometryColumn) ? WithoutGeometry : 0);
        info->idxStr = sqlite3_mprintf("index %d on %s", indexed->index, terms.join(QLatin1Char(',')).toUtf8().constData());
        info->needToFreeIdxStr = 1;
        info->estimatedRows = static_cast<sqlite3_int64>(indexed->rows);
        info->estimatedCost = indexed->cost;
        return SQLITE_OK;
    }
    if (spatial >= 0) {
        const int predicate = info->aConstraint[spatial].op - SQLITE_INDEX_CONSTRAINT_FUNCTION;
        // The exact test stays with SQLite (omit = 0); the R-tree only
        // narrows. Rowid bounds (a.rowid < b.rowid in a self-join) are
        // applied to the candidates before any geometry is tested.
        info->aConstraintUsage[spatial].argvIndex = 1;
        int plan = Spatial + (predicate << 4);
        int argv = 1;
        for (int i = 0; i < info->nConstraint; ++i) {
            const auto& c = info->aConstraint[i];
            if (!c.usable || c.iColumn >= 0)
                continue;
            const bool lower = c.op == SQLITE_INDEX_CONSTRAINT_GT || c.op == SQLITE_INDEX_CONSTRAINT_GE;
            const bool upper = c.op == SQLITE_INDEX_CONSTRAINT_LT || c.op == SQLITE_INDEX_CONSTRAINT_LE;
            if ((lower && !(plan & HasLower)) || (upper && !(plan & HasUpper))) {
                plan |= lower ? HasLower : HasUpper;
                if (c.op == SQLITE_INDEX_CONSTRAINT_GE || c.op == SQLITE_INDEX_CONSTRAINT_LE)
                    plan |= lower ? LowerInclusive : UpperInclusive;
                info->aConstraintUsage[i].argvIndex = ++argv;
                info->aConstraintUsage[i].omit = 1;
            }
        }
        info->idxNum = plan;
        info->idxStr = const_cast<char*>(spatialPredicates[predicate].name);
        // A box in a coverage of n polygons meets about sqrt(n) others; the
        // tree costs log n to descend.
        const double rows = std::max(1.0, std::sqrt(count) / ((plan & (HasLower | HasUpper)) ? 2 : 1));
        info->estimatedRows = static_cast<sqlite3_int64>(rows);
        info->estimatedCost = std::log2(count + 1) + rows * 2;
        return SQLITE_OK;
    }
    if (!filters.isEmpty()) {
        QStringList plan;
        for (int k = 0; k < filters.size(); ++k) {
            const auto& c = info->aConstraint[filters[k]];
            info->aConstraintUsage[filters[k]].argvIndex = k + 1;
            plan << QStringLiteral("%1:%2").arg(c.iColumn).arg(int(c.op));
        }
        info->idxNum = ProviderFilter | (geometryUnused(info, geometryColumn) ? WithoutGeometry : 0);
        info->idxStr = sqlite3_mprintf("%s", plan.join(QLatin1Char(',')).toUtf8().constData());
        info->needToFreeIdxStr = 1;
        // Equality keeps about a tenth, a range about a third; the source
        // still reads every feature of a file, only faster.
        double rows = count;
        for (int i : filters)
            rows *= info->aConstraint[i].op == SQLITE_INDEX_CONSTRAINT_EQ ? 0.1 : 0.33;
        info->estimatedRows = static_cast<sqlite3_int64>(std::max(1.0, rows));
        info->estimatedCost = count * 0.5 + rows;
        return SQLITE_OK;
    }
    // A pass that reads no column at all (Count(*)) counts the rows instead
    // of reading them: no feature is converted, and a source that knows its
    // count (a GeoJSON file after opening) is not read again.
    if (info->colUsed == 0 && host && host->featureCount() >= 0) {
        info->idxNum = CountRows;
        info->idxStr = const_cast<char*>("count");
        info->estimatedRows = static_cast<sqlite3_int64>(count);
        info->estimatedCost = count * 0.1;
        return SQLITE_OK;
    }
    // A pass that needs nothing but the geometry (the outer side of a spatial
    // join) runs over the kept blobs instead of reading the source again.
    const sqlite3_uint64 others = geometryColumn >= 0 && geometryColumn < 63 ? ~(sqlite3_uint64(1) << geometryColumn) : ~sqlite3_uint64(0);
    const bool geometryOnly = geometryColumn >= 0 && (info->colUsed & others) == 0 && (info->colUsed & ~others) != 0;
    info->idxNum = geometryOnly ? GeometryScan : FullScan | (geometryUnused(info, geometryColumn) ? WithoutGeometry : 0);
    info->idxStr = const_cast<char*>(geometryOnly ? "geometry" : "");
    info->estimatedRows = static_cast<sqlite3_int64>(count);
    info->estimatedCost = count;
    return SQLITE_OK;
}

// The row id a value equals, as SQLite compares them (3.0 is row 3).
bool rowidValue(sqlite3_value* value, std::int64_t& row)
{
    switch (sqlite3_value_numeric_type(value)) {
    case SQLITE_INTEGER:
        row = sqlite3_value_int64(value);
        return true;
    case SQLITE_FLOAT: {
        const double d = sqlite3_value_double(value);
        row = static_cast<std::int64_t>(d);
        return std::abs(d) < 9.2e18 && static_cast<double>(row) == d;
    }
    default:
        return false;
    }
}

// --- cursor --------------------------------------------------------------------

int openCursor(sqlite3_vtab*, sqlite3_vtab_cursor** cursor)
{
    *cursor = new AdapterCursor;
    return SQLITE_OK;
}

int closeCursor(sqlite3_vtab_cursor* cursor)
{
    delete static_cast<AdapterCursor*>(cursor);
    return SQLITE_OK;
}

AdaptedTable& adaptedOf(sqlite3_vtab_cursor* cursor)
{
    return *static_cast<AdapterTable*>(cursor->pVtab)->adapted;
}

// A counting cursor asked for its row (a rowid the statement reads after
// all): from then on it walks the table's row ids from where it stands.
void listCountedRows(AdapterCursor* c, AdaptedTable& adapted)
{
    if (!c->counting)
        return;
    c->counting = false;
    c->listed = true;
    if (!adapted.rowIds(c->rows))
        c->rows.clear();
    if (c->position == 0 || c->position > c->rows.size()) {
        c->eof = true;   // the table has fewer rows than it counted
        c->row = -1;
        return;
    }
    c->row = c->rows[c->position - 1];
}

// Whether every row still names a feature id (the engine cache forgets ids
// unused for long); asking also keeps them.
bool known(const std::vector<std::int64_t>& rows, engine::EngineCache& cache)
{
    return std::all_of(rows.begin(), rows.end(), [&](std::int64_t row) { return cache.intToId(row).isValid(); });
}

void advance(AdapterCursor* c, AdaptedTable& adapted)
{
    c->current.reset();
    if (c->counting) {
        if (c->position < std::size_t(c->total))
            ++c->position;
        else
            c->eof = true;
        return;
    }
    if (c->listed) {
        while (c->position < c->rows.size()) {
            c->row = c->rows[c->position++];
            // Rows listed at the start were all known then: one forgotten
            // since means the statement reads more rows than the bound.
            if (c->ownRows && !adapted.cache()->intToId(c->row).isValid())
                throw std::runtime_error("row ids were forgotten while the statement ran: "
                                         "the setting EngineCache/FeatureIds is below the rows it reads");
            if (!c->checkRows)
                return;
            c->current = adapted.feature(c->row);
            if (c->current)
                return;
        }
        c->eof = true;
        return;
    }
    while (auto feature = c->scan ? c->scan->next() : nullptr) {
        if (!feature->id().isValid())
            continue;
        c->row = adapted.rowOf(feature->id());
        c->current = std::move(feature);
        return;
    }
    c->eof = true;
}

int filter(sqlite3_vtab_cursor* cursor, int idxNum, const char* idxStr, int argc, sqlite3_value** argv)
{
    auto* c = static_cast<AdapterCursor*>(cursor);
    AdaptedTable& adapted = adaptedOf(cursor);
    c->table = adapted.table();
    c->listed = false;
    c->checkRows = false;
    c->ownRows = false;
    c->rows.clear();
    c->position = 0;
    c->scan.reset();
    c->counting = false;
    c->eof = false;
    c->withoutGeometry = (idxNum & WithoutGeometry) != 0;
    if (!c->table) {
        setError(cursor->pVtab, QStringLiteral("the table is detached from its data"));
        return SQLITE_ERROR;
    }
    try {
        switch (idxNum & 0xF) {
        case RowidEqual:
            c->listed = c->checkRows = true;
            if (std::int64_t row = 0; argc > 0 && rowidValue(argv[0], row))
                c->rows.push_back(row);
            break;
        case RowidIn: {
            c->listed = c->checkRows = true;
            sqlite3_value* v = nullptr;
            for (int rc = sqlite3_vtab_in_first(argv[0], &v); rc == SQLITE_OK && v; rc = sqlite3_vtab_in_next(argv[0], &v))
                if (std::int64_t row = 0; rowidValue(v, row))
                    c->rows.push_back(row);
            std::sort(c->rows.begin(), c->rows.end());
            c->rows.erase(std::unique(c->rows.begin(), c->rows.end()), c->rows.end());
            break;
        }
        case Spatial: {
            const SpatialPredicate& predicate = spatialPredicates[(idxNum >> 4) % spatialPredicateCount];
            const void* data = sqlite3_value_blob(argv[0]);
            const int size = sqlite3_value_bytes(argv[0]);
            const auto other = adapted.geometryOf(data, size);
            c->listed = true;
            c->ownRows = true;
            // No geometry: the predicate is NULL for every row.
            if (other && (!adapted.candidates(*other, predicate.relation, c->rows) || !known(c->rows, *adapted.cache()))) {
                // Boxes cannot tell: every row, within the rowid bounds.
                c->rows.clear();
                auto all = c->table->features();
                while (auto f = all->next())
                    if (f->id().isValid())
                        c->rows.push_back(adapted.rowOf(f->id()));
            }
            int next = 1;
            if ((idxNum & HasLower) && next < argc)
                applyBound(c->rows, argv[next++], true, idxNum & LowerInclusive);
            if ((idxNum & HasUpper) && next < argc)
                applyBound(c->rows, argv[next++], false, idxNum & UpperInclusive);
            break;
        }
        case ProviderFilter: {
            dp::FeatureFilter conditions;
            const QStringList terms = QString::fromUtf8(idxStr ? idxStr : "").split(QLatin1Char(','), Qt::SkipEmptyParts);
            for (int k = 0; k < terms.size() && k < argc; ++k) {
                const QStringList parts = terms[k].split(QLatin1Char(':'));
                dp::AttributeCondition condition;
                condition.attribute = parts.value(0).toInt();
                const int type = sqlite3_value_numeric_type(argv[k]);
                if (!conditionOp(static_cast<unsigned char>(parts.value(1).toInt()), condition.op)
                    || (type != SQLITE_INTEGER && type != SQLITE_FLOAT))
                    continue;   // SQLite tests it anyway
                condition.value = type == SQLITE_INTEGER ? QVariant(qlonglong(sqlite3_value_int64(argv[k])))
                                                         : QVariant(sqlite3_value_double(argv[k]));
                conditions.conditions << condition;
            }
            conditions.geometries = !(idxNum & WithoutGeometry);
            c->scan = c->table->filteredFeatures(conditions);
            break;
        }
        case AttributeIndex:
            // SQLite tests the conditions again: a pass serves when the
            // index holds forgotten rows.
            if (indexedRows(*static_cast<AdapterTable*>(cursor->pVtab), idxStr, argc, argv, c->rows)
                && known(c->rows, *adapted.cache())) {
                c->listed = c->checkRows = c->ownRows = true;
                break;
            }
            c->rows.clear();
            c->scan = c->table->features();
            break;
        case CountRows:
            c->total = c->table->featureCount();
            c->counting = c->total >= 0;
            if (!c->counting)
                c->scan = c->table->features();
            break;
        case GeometryScan:
            c->listed = c->ownRows = true;
            if (adapted.allRows(c->rows) && known(c->rows, *adapted.cache()))
                break;
            c->ownRows = false;
            c->rows.clear();
            c->listed = false;
            c->scan = c->table->features();
            break;
        default:
            if (idxNum & WithoutGeometry) {
                dp::FeatureFilter noGeometry;
                noGeometry.geometries = false;
                c->scan = c->table->filteredFeatures(noGeometry);
            } else {
                c->scan = c->table->features();
            }
            break;
        }
        advance(c, adapted);
    } catch (const std::exception& e) {
        setError(cursor->pVtab, QString::fromUtf8(e.what()));
        return SQLITE_ERROR;
    }
    return SQLITE_OK;
}

int next(sqlite3_vtab_cursor* cursor)
{
    auto* c = static_cast<AdapterCursor*>(cursor);
    try {
        advance(c, adaptedOf(cursor));
    } catch (const std::exception& e) {
        setError(cursor->pVtab, QString::fromUtf8(e.what()));
        return SQLITE_ERROR;
    }
    return SQLITE_OK;
}

int eof(sqlite3_vtab_cursor* cursor)
{
    return static_cast<AdapterCursor*>(cursor)->eof ? 1 : 0;
}

int column(sqlite3_vtab_cursor* cursor, sqlite3_context* ctx, int i)
{
    auto* c = static_cast<AdapterCursor*>(cursor);
    AdaptedTable& adapted = adaptedOf(cursor);
    try {
        listCountedRows(c, adapted);
        if (i == adapted.geometryAttribute()) {
            const QByteArray blob = adapted.geometryBlob(c->row, c->withoutGeometry ? nullptr : c->current.get());
            if (blob.isEmpty())
                sqlite3_result_null(ctx);
            else
                sqlite3_result_blob(ctx, blob.constData(), blob.size(), SQLITE_TRANSIENT);
            return SQLITE_OK;
        }
        if (!c->current)
            c->current = adapted.feature(c->row);
        resultValue(ctx, c->current ? c->current->getAttribute(i) : QVariant(), adapted.cache());
    } catch (const std::exception& e) {
        sqlite3_result_error(ctx, e.what(), -1);
    }
    return SQLITE_OK;
}

int rowid(sqlite3_vtab_cursor* cursor, sqlite3_int64* result)
{
    auto* c = static_cast<AdapterCursor*>(cursor);
    try {
        listCountedRows(c, adaptedOf(cursor));
    } catch (const std::exception& e) {
        setError(cursor->pVtab, QString::fromUtf8(e.what()));
        return SQLITE_ERROR;
    }
    *result = c->row;
    return SQLITE_OK;
}

// --- changes -------------------------------------------------------------------

int update(sqlite3_vtab* vtab, int argc, sqlite3_value** argv, sqlite3_int64* newRowid)
{
    auto* table = static_cast<AdapterTable*>(vtab);
    AdaptedTable& adapted = *table->adapted;
    const auto host = adapted.table();
    if (!host) {
        setError(vtab, QStringLiteral("table %1 is detached from its data").arg(table->name));
        return SQLITE_ERROR;
    }
    if (!host->isEditable()) {
        setError(vtab, QStringLiteral("table %1 is read-only").arg(table->name));
        return SQLITE_READONLY;
    }
    engine::EngineCache* cache = adapted.cache();
    try {
        if (argc == 1) {
            const std::int64_t row = sqlite3_value_int64(argv[0]);
            if (!host->removeFeature(cache->intToId(row))) {
                setError(vtab, QStringLiteral("table %1: row %2 could not be deleted").arg(table->name).arg(row));
                return SQLITE_ERROR;
            }
            adapted.forget(row);
            return SQLITE_OK;
        }
        const bool inserting = sqlite3_value_type(argv[0]) == SQLITE_NULL;
        if (!inserting && sqlite3_value_int64(argv[0]) != sqlite3_value_int64(argv[1])) {
            setError(vtab, QStringLiteral("table %1: the rowid of a row cannot change").arg(table->name));
            return SQLITE_CONSTRAINT;
        }
        const dp::TableSchema& schema = adapted.schema();
        dp::Feature feature(schema, inserting ? dp::FeatureId() : cache->intToId(sqlite3_value_int64(argv[0])));
        for (int i = 0; i < schema.count() && i + 2 < argc; ++i) {
            QVariant value;
            if (!toAttributeValue(argv[i + 2], schema.attribute(i), cache, value)) {
                setError(vtab, QStringLiteral("table %1: the value for column %2 does not fit its type")
                                   .arg(table->name, schema.attribute(i)->name()));
                return SQLITE_MISMATCH;
            }
            feature.setAttribute(i, value);
        }
        if (inserting) {
            const dp::FeatureId id = host->insertFeature(feature);
            if (!id.isValid()) {
                setError(vtab, QStringLiteral("table %1 refused the new row").arg(table->name));
                return SQLITE_CONSTRAINT;
            }
            *newRowid = adapted.rowOf(id);
            return SQLITE_OK;
        }
        if (!host->updateFeature(feature)) {
            setError(vtab, QStringLiteral("table %1 refused the change of row %2").arg(table->name).arg(sqlite3_value_int64(argv[0])));
            return SQLITE_CONSTRAINT;
        }
        adapted.forget(sqlite3_value_int64(argv[0]));
        return SQLITE_OK;
    } catch (const std::exception& e) {
        setError(vtab, QStringLiteral("table %1: %2").arg(table->name, QString::fromUtf8(e.what())));
        return SQLITE_ERROR;
    }
}

// Built field by field: later SQLite versions add members at the end.
sqlite3_module makeModule()
{
    sqlite3_module m{};
    m.iVersion = 1;
    m.xCreate = connectTable;
    m.xConnect = connectTable;
    m.xBestIndex = bestIndex;
    m.xDisconnect = disconnectTable;
    m.xDestroy = disconnectTable;   // the data stays with its source
    m.xOpen = openCursor;
    m.xClose = closeCursor;
    m.xFilter = filter;
    m.xNext = next;
    m.xEof = eof;
    m.xColumn = column;
    m.xRowid = rowid;
    m.xUpdate = update;
    m.xFindFunction = findFunction;
    m.xRename = renameTable;
    return m;
}

const sqlite3_module adapterModule = makeModule();

} // namespace

int initTableAdapterModule(sqlite3* db, char** errorMessage, Core* core, engine::EngineCache* cache)
{
    auto* context = new ModuleContext{core, cache};
    const int rc = sqlite3_create_module_v2(db, tableAdapterModuleName, &adapterModule, context,
                                            [](void* p) { delete static_cast<ModuleContext*>(p); });
    if (rc != SQLITE_OK && errorMessage)
        *errorMessage = sqlite3_mprintf("%s: %s", tableAdapterModuleName, sqlite3_errmsg(db));
    qCDebug(lcTables) << "table adapter module registered:" << (rc == SQLITE_OK);
    return rc;
}

} // namespace tessera::modules
