#include "engine/indices/EngineIndicesSqlite.h"

#include "engine/EngineCache.h"
#include "engine/functions/MatchingFunctions.h"
#include "engine/functions/ValueConversions.h"
#include "engine/indices/EngineIndicesSetup.h"
#include "engine/indices/SqliteHandles.h"
#include "platform/core/Logging.h"
#include "platform/core/QDecNumber.h"
#include "platform/core/SqlTypes.h"

#include <QCollator>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QStringList>
#include <QTemporaryDir>
#include <QUuid>
#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>
#include <mutex>
#include <stdexcept>

namespace tessera::engine {
namespace {

constexpr int histogramBuckets = 16;
constexpr std::size_t statementCacheLimit = 64;

QString tr(const char* text)
{
    return QCoreApplication::translate("EngineIndicesSqlite", text);
}

std::string utf8(const QString& text)
{
    return text.toUtf8().toStdString();
}

int localeCollation(void* user, int length1, const void* data1, int length2, const void* data2)
{
    // Equal keys are common in an index; they need no locale rules.
    if (length1 == length2 && std::memcmp(data1, data2, static_cast<std::size_t>(length1)) == 0)
        return 0;
    return collatorCompare(*static_cast<const QCollator*>(user), length1, data1, length2, data2);
}

QString indexTable(int index)
{
    return QStringLiteral("\"Index%1\"").arg(index);
}

QString keyColumn(int k)
{
    return QStringLiteral("k%1").arg(k);
}

QString keyList(int count)
{
    QStringList keys;
    for (int k = 0; k < count; ++k)
        keys << keyColumn(k);
    return keys.join(QLatin1String(", "));
}

// `textLifetime` may be SQLITE_STATIC when `value` outlives the next step.
void bind(sqlite3_stmt* statement, int i, const QVariant& value, sqlite3_destructor_type textLifetime = SQLITE_TRANSIENT)
{
    if (!value.isValid() || value.isNull()) {
        sqlite3_bind_null(statement, i);
        return;
    }
    const int type = value.userType();
    if (type == QMetaType::QString) {
        const QString* text = static_cast<const QString*>(value.constData());
        sqlite3_bind_text16(statement, i, text->utf16(), text->size() * 2, textLifetime);
        return;
    }
    if (isPlainInt(type) || type == QMetaType::Bool) {
        sqlite3_bind_int64(statement, i, value.toLongLong());
        return;
    }
    switch (type) {
    case QMetaType::Double:
    case QMetaType::Float:
        sqlite3_bind_double(statement, i, value.toDouble());
        return;
    case QMetaType::QByteArray: {
        const QByteArray bytes = value.toByteArray();
        sqlite3_bind_blob64(statement, i, bytes.constData(), static_cast<sqlite3_uint64>(bytes.size()), SQLITE_TRANSIENT);
        return;
    }
    case QMetaType::QDate:
    case QMetaType::QTime:
    case QMetaType::QDateTime: {
        // As the engine stores them: canonical text.
        const QString text = type == QMetaType::QDate ? toString(value.toDate())
            : type == QMetaType::QTime               ? toString(value.toTime())
                                                     : toString(value.toDateTime());
        sqlite3_bind_text16(statement, i, text.utf16(), text.size() * 2, SQLITE_TRANSIENT);
        return;
    }
    default:
        break;
    }
    if (type == QDecNumber::metaTypeId()) {
        sqlite3_bind_double(statement, i, value.toDouble());
        return;
    }
    const QString text = value.toString();
    sqlite3_bind_text16(statement, i, text.utf16(), text.size() * 2, SQLITE_TRANSIENT);
}

QVariant columnValue(sqlite3_stmt* statement, int i)
{
    switch (sqlite3_column_type(statement, i)) {
    case SQLITE_INTEGER: return QVariant(static_cast<qlonglong>(sqlite3_column_int64(statement, i)));
    case SQLITE_FLOAT: return QVariant(sqlite3_column_double(statement, i));
    case SQLITE_TEXT:
        return QString(static_cast<const QChar*>(sqlite3_column_text16(statement, i)), sqlite3_column_bytes16(statement, i) / 2);
    case SQLITE_BLOB:
        return QByteArray(static_cast<const char*>(sqlite3_column_blob(statement, i)), sqlite3_column_bytes(statement, i));
    default: return QVariant();
    }
}

// The declared type of an attribute's key column, or empty when the attribute
// cannot be a key (geometries, styles, values without an SQL form).
QString keyType(const dp::AttributeDefinitionPtr& attribute)
{
    if (!attribute || isGeometry(attribute) || isStyle(attribute))
        return QString();
    const QString type = sqlName(attribute->type());
    if (type == QLatin1String("Blob") && attribute->type() != QMetaType::QByteArray)
        return QString();
    return type;
}

// The constant text that every match of a LIKE or GLOB pattern starts with.
QString patternPrefix(const QString& pattern, bool glob, QChar escape)
{
    QString prefix;
    for (int i = 0; i < pattern.size(); ++i) {
        const QChar c = pattern.at(i);
        if (!glob && !escape.isNull() && c == escape) {
            if (++i >= pattern.size())
                break;
            prefix += pattern.at(i);
            continue;
        }
        if (glob ? (c == '*' || c == '?' || c == '[') : (c == '%' || c == '_'))
            break;
        prefix += c;
    }
    return prefix;
}

struct IndexDefinition {
    std::vector<int> columns;   // attribute positions, in key order
};

} // namespace

// --- Private -----------------------------------------------------------------

struct EngineIndicesSqlite::Private {
    EngineCache& cache;
    QString collate;        // "Locale", "BINARY", "NOCASE" or "RTRIM"
    bool caseInsensitiveLike = false;
    bool caseInsensitiveGlob = false;
    QCollator collator;
    std::unique_ptr<QTemporaryDir> temporaryFolder;
    QString path;

    // Everything below belongs to the storage and goes with it.
    mutable std::recursive_mutex lock;
    SqliteConnection db;
    std::vector<QString> keyTypes;          // by attribute position; empty: not indexable
    std::map<int, IndexDefinition> indices;
    int nextIndex = 1;
    unsigned long long rowQuantity = 0;
    bool fillRunning = false;
    unsigned generation = 0;   // counts storages, so that a fill never outlives its own
    mutable std::map<QString, SqliteStatement> statements;
    mutable std::map<int, Statistics> statisticsByIndex;

    explicit Private(EngineCache& cache) : cache(cache) {}

    // Runs statements that return nothing; throws with SQLite's message.
    void execute(const QString& sql) const
    {
        char* message = nullptr;
        if (sqlite3_exec(db.get(), sql.toUtf8().constData(), nullptr, nullptr, &message) == SQLITE_OK)
            return;
        const QString text = QString::fromUtf8(message ? message : sqlite3_errmsg(db.get()));
        sqlite3_free(message);
        throw std::runtime_error(utf8(sql + QLatin1String(": ") + text));
    }

    // As execute, but logs instead of throwing (for operations that answer no error).
    bool tryExecute(const QString& sql) const
    {
        try {
            execute(sql);
            return true;
        } catch (const std::exception& e) {
            qCWarning(logging::engine()) << "index store:" << e.what();
            return false;
        }
    }

    // A prepared statement kept for reuse; null (logged) when it does not compile.
    sqlite3_stmt* statement(const QString& sql) const
    {
        if (auto it = statements.find(sql); it != statements.end())
            return it->second.get();
        if (statements.size() >= statementCacheLimit)
            statements.clear();
        sqlite3_stmt* raw = nullptr;
        const QByteArray text = sql.toUtf8();
        if (sqlite3_prepare_v3(db.get(), text.constData(), text.size(), SQLITE_PREPARE_PERSISTENT, &raw, nullptr) != SQLITE_OK) {
            qCWarning(logging::engine()) << "index store:" << sql << sqlite3_errmsg(db.get());
            sqlite3_finalize(raw);
            return nullptr;
        }
        return statements.emplace(sql, SqliteStatement(raw)).first->second.get();
    }

    // The single integer of a one-value query; -1 on failure.
    qint64 count(const QString& sql) const
    {
        sqlite3_stmt* s = statement(sql);
        if (!s)
            return -1;
        SqliteStatementReset reset(s);
        return sqlite3_step(s) == SQLITE_ROW ? sqlite3_column_int64(s, 0) : -1;
    }

    const IndexDefinition* index(int id) const
    {
        const auto it = indices.find(id);
        return db && it != indices.end() ? &it->second : nullptr;
    }

    bool isText(int attribute) const { return keyTypes[attribute] == QLatin1String("Text"); }

    // The SQLite index over an index table's keys and row ids: it answers
    // look-ups without reading the table.
    QString createKeyIndex(int id, std::size_t keys) const
    {
        return QStringLiteral("Create Index If Not Exists \"Index%1Keys\" On %2 (%3, row);")
            .arg(id)
            .arg(indexTable(id), keyList(static_cast<int>(keys)));
    }
    QString createKeyIndex(int id) const { return createKeyIndex(id, indices.at(id).columns.size()); }

    void changed(int id)
    {
        statisticsByIndex.erase(id);
    }

    void closeStorage()
    {
        statements.clear();
        statisticsByIndex.clear();
        indices.clear();
        keyTypes.clear();
        nextIndex = 1;
        rowQuantity = 0;
        fillRunning = false;
        ++generation;
        db.reset();
        QFile::remove(path);
        QFile::remove(path + QLatin1String("-journal"));
    }

    void openStorage()
    {
        sqlite3* raw = nullptr;
        const int rc = sqlite3_open_v2(QFile::encodeName(path).constData(), &raw,
                                       SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_FULLMUTEX, nullptr);
        db.reset(raw);
        if (rc != SQLITE_OK)
            throw std::runtime_error(utf8(tr("Файл индексов %0: %1").arg(path, QString::fromUtf8(sqlite3_errmsg(raw)))));
        // The file lives as long as the store: speed over durability.
        // UTF-16 text, as the collation and the LIKE functions read it: no
        // conversion for every comparison.
        execute(QStringLiteral("Pragma encoding = 'UTF-16'; Pragma journal_mode = Memory; Pragma synchronous = Off; "
                               "Pragma locking_mode = Exclusive; Pragma cache_size = -65536; Pragma temp_store = Memory;"));
        sqlite3_create_collation(raw, "Locale", SQLITE_UTF16, &collator, localeCollation);
        const int flags = SQLITE_UTF16 | SQLITE_DETERMINISTIC;
        if (caseInsensitiveLike) {
            sqlite3_create_function(raw, "like", 2, flags, &cache, engine::caseInsensitiveLike, nullptr, nullptr);
            sqlite3_create_function(raw, "like", 3, flags, &cache, engine::caseInsensitiveLikeEscape, nullptr, nullptr);
        } else {
            execute(QStringLiteral("Pragma case_sensitive_like = On;"));
        }
        if (caseInsensitiveGlob)
            sqlite3_create_function(raw, "glob", 2, flags, &cache, engine::caseInsensitiveGlob, nullptr, nullptr);
    }

    // The range of key texts that every match of a LIKE or GLOB prefix lies
    // in; false when there is none to use. Under "Locale" case variants
    // collate together and U+FFFF sorts after every character, so the range
    // runs from the prefix to the prefix followed by U+FFFF. SQLite's own
    // collations keep case variants apart, so they read the whole index.
    bool prefixRange(const QString& prefix, QVariant& low, QVariant& high) const
    {
        if (collate != QLatin1String("Locale") || prefix.isEmpty())
            return false;
        low = prefix;
        high = prefix + QChar(0xFFFF);
        return true;
    }

    Statistics computeStatistics(int id, const IndexDefinition& definition) const
    {
        const QString table = indexTable(id);
        const int keys = static_cast<int>(definition.columns.size());
        Statistics result;
        result.rows = static_cast<std::uint64_t>(std::max<qint64>(0, count(QStringLiteral("Select Count(*) From %1").arg(table))));
        result.nullKeys = static_cast<std::uint64_t>(
            std::max<qint64>(0, count(QStringLiteral("Select Count(*) From %1 Where k0 Is Null").arg(table))));
        for (int k = 1; k <= keys; ++k) {
            const qint64 n = count(QStringLiteral("Select Count(*) From (Select 1 From %1 Group By %2)").arg(table, keyList(k)));
            result.distinctPrefixes.push_back(static_cast<std::uint64_t>(std::max<qint64>(0, n)));
        }
        result.distinctKeys = result.distinctPrefixes.empty() ? 0 : result.distinctPrefixes.back();

        const std::uint64_t keyed = result.rows - result.nullKeys;
        const std::uint64_t target = (keyed + histogramBuckets - 1) / histogramBuckets;
        sqlite3_stmt* s = statement(QStringLiteral("Select k0, Count(*) From %1 Where k0 Is Not Null Group By k0 Order By k0").arg(table));
        if (!s)
            return result;
        SqliteStatementReset reset(s);
        Statistics::Bucket bucket{QVariant(), 0, 0};
        while (sqlite3_step(s) == SQLITE_ROW) {
            bucket.last = columnValue(s, 0);
            bucket.rows += static_cast<std::uint64_t>(sqlite3_column_int64(s, 1));
            ++bucket.keys;
            if (bucket.rows >= target) {
                result.histogram.push_back(bucket);
                bucket = Statistics::Bucket{QVariant(), 0, 0};
            }
        }
        if (bucket.rows > 0)
            result.histogram.push_back(bucket);
        return result;
    }

    // The Where clause of one condition, its operands appended to `operands`;
    // false when the condition is malformed.
    bool condition(const IndexDefinition& definition, const Constant& constant, QStringList& clauses, QList<QVariant>& operands) const
    {
        if (constant.column < 0 || constant.column >= static_cast<int>(definition.columns.size()))
            return false;
        const QString key = keyColumn(constant.column);
        const QList<QVariant>& values = constant.values;
        auto comparison = [&](const char* op) {
            if (values.size() != 1)
                return false;
            clauses << key + QLatin1String(op) + QLatin1Char('?');
            operands << values.front();
            return true;
        };
        switch (constant.comparison) {
        case Constant::Equal: return comparison(" = ");
        case Constant::Less: return comparison(" < ");
        case Constant::LessOrEqual: return comparison(" <= ");
        case Constant::Greater: return comparison(" > ");
        case Constant::GreaterOrEqual: return comparison(" >= ");
        case Constant::Between:
            if (values.size() != 2)
                return false;
            clauses << key + QLatin1String(" Between ? And ?");
            operands << values[0] << values[1];
            return true;
        case Constant::In: {
            QStringList marks;
            for (const QVariant& v : values) {
                marks << QStringLiteral("?");
                operands << v;
            }
            clauses << key + QLatin1String(" In (") + marks.join(QLatin1Char(',')) + QLatin1Char(')');
            return true;
        }
        case Constant::IsNull:
            if (!values.isEmpty())
                return false;
            clauses << key + QLatin1String(" Is Null");
            return true;
        case Constant::Like:
        case Constant::Glob: {
            const bool glob = constant.comparison == Constant::Glob;
            if (values.isEmpty() || values.size() > (glob ? 1 : 2) || values[0].isNull())
                return false;
            const QString pattern = values[0].toString();
            const QString escape = values.size() > 1 ? values[1].toString() : QString();
            if (values.size() > 1 && escape.size() != 1)
                return false;   // SQLite wants exactly one escape character
            QVariant low, high;
            const QString prefix = patternPrefix(pattern, glob, escape.isEmpty() ? QChar() : escape.at(0));
            if (definition.columns.size() > static_cast<std::size_t>(constant.column)
                && isText(definition.columns[static_cast<std::size_t>(constant.column)])
                && prefixRange(prefix, low, high)) {
                clauses << key + QLatin1String(" >= ? And ") + key + QLatin1String(" < ?");
                operands << low << high;
            }
            if (glob) {
                clauses << key + QLatin1String(" Glob ?");
                operands << pattern;
            } else {
                clauses << key + (escape.isEmpty() ? QLatin1String(" Like ?") : QLatin1String(" Like ? Escape ?"));
                operands << pattern;
                if (!escape.isEmpty())
                    operands << escape;
            }
            return true;
        }
        }
        return false;
    }
};

// --- Inserter ----------------------------------------------------------------

class EngineIndicesSqlite::Inserter final : public InserterInterface {
public:
    Inserter(Private& store, int index, std::vector<int> columns, SqliteStatement insert, bool empty)
        : store(store), index(index), generation(store.generation), columns(std::move(columns)), insert(std::move(insert)),
          unique(empty) {}

    ~Inserter() override
    {
        // Not handed back: nothing of the fill stays.
        if (open) {
            std::lock_guard<std::recursive_mutex> guard(store.lock);
            finish(false);
        }
    }

    // Rows are kept and stored in near key order when the fill is handed
    // back (or a batch is full): SQLite's sort for the key index then reads
    // its records in memory order, and a key index kept row by row grows at
    // neighbouring places. On a million rows the fill takes a quarter less.
    bool add(std::int64_t row, const QVector<QVariant>& values) override
    {
        std::lock_guard<std::recursive_mutex> guard(store.lock);
        if (!open || generation != store.generation)
            return false;
        for (int column : columns)
            keys.push_back(column < values.size() ? values.at(column) : QVariant());
        // Rows in rising order into an empty index cannot repeat one.
        unique = unique && (!anyRow || row > lastRow);
        anyRow = true;
        lastRow = row;
        rows.push_back(row);
        return rows.size() < batchRows || storeBatch();
    }

    // Commits or rolls back; the store then takes fills again.
    bool finish(bool commit)
    {
        open = false;
        if (generation != store.generation) {
            insert.reset();
            return false;   // the storage went while the fill ran
        }
        const bool stored = commit && storeBatch();
        insert.reset();
        store.fillRunning = false;
        store.changed(index);
        if (stored && store.tryExecute(store.createKeyIndex(index) + QLatin1String(" Commit;")))
            return true;
        store.tryExecute(QStringLiteral("Rollback;"));
        return false;
    }

    Private& store;
    int index;
    unsigned generation;
    std::vector<int> columns;
    SqliteStatement insert;
    bool open = true;

private:
    static constexpr std::size_t batchRows = std::size_t(1) << 21;   // bounds the memory a fill keeps

    // A kept row's place in the order of storing: its first key's rank
    // (texts) or value (NULLs and numbers, before every text).
    struct Place {
        double key;
        std::uint32_t row;   // position among the kept rows
        bool operator<(const Place& other) const { return key < other.key || (key == other.key && row < other.row); }
    };

    // The kept rows into the table, ordered by their first key; false when
    // one could not be stored (the fill is then rolled back). A row added
    // again replaces its earlier keys.
    bool storeBatch()
    {
        const std::size_t width = columns.size();
        std::vector<QString> texts;
        std::vector<Place> places = order(texts);
        if (!unique) {
            // The last of a row's keys in this batch.
            QHash<std::int64_t, std::uint32_t> last;
            last.reserve(static_cast<int>(rows.size()));
            for (std::size_t i = 0; i < rows.size(); ++i)
                last.insert(rows[i], static_cast<std::uint32_t>(i));
            places.erase(std::remove_if(places.begin(), places.end(), [&](const Place& p) { return last.value(rows[p.row]) != p.row; }),
                         places.end());
        }
        const qint64 firstNew = unique ? 0 : store.count(QStringLiteral("Select Coalesce(Max(rowid), 0) + 1 From %1").arg(indexTable(index)));
        bool ok = true;
        sqlite3_stmt* s = insert.get();
        for (const Place& place : places) {
            SqliteStatementReset reset(s);
            const std::size_t i = place.row;
            // A text first key from the sorted texts: read in order, not
            // scattered over the kept rows.
            if (place.key >= 0.0 && keys[i * width].userType() == QMetaType::QString) {
                const QString& text = texts[static_cast<std::size_t>(place.key)];
                sqlite3_bind_text16(s, 1, text.utf16(), text.size() * 2, SQLITE_STATIC);
            } else {
                bind(s, 1, keys[i * width], SQLITE_STATIC);   // kept until the step is done
            }
            for (std::size_t c = 1; c < width; ++c)
                bind(s, static_cast<int>(c) + 1, keys[i * width + c], SQLITE_STATIC);
            sqlite3_bind_int64(s, static_cast<int>(width) + 1, rows[i]);
            if (sqlite3_step(s) != SQLITE_DONE) {
                qCWarning(logging::engine()) << "index store: row" << rows[i] << "not stored:" << sqlite3_errmsg(store.db.get());
                ok = false;
                break;
            }
        }
        keys.clear();
        rows.clear();
        // Earlier keys of the rows this batch added again.
        if (ok && !unique)
            ok = store.tryExecute(QStringLiteral("Delete From %1 Where rowid < %2 And row In (Select row From %1 Where rowid >= %2);")
                                      .arg(indexTable(index))
                                      .arg(firstNew));
        return ok;
    }

    // The kept rows in near key order (SQLite sorts exactly; this order only
    // keeps its sort in memory order): NULLs and numbers first, then texts
    // by their rank among the distinct texts, so that the collation runs
    // once per distinct text. `texts` gets the distinct texts in that order.
    std::vector<Place> order(std::vector<QString>& texts) const
    {
        const std::size_t width = columns.size();
        const std::size_t n = rows.size();
        std::vector<Place> places(n);
        const bool text = store.isText(columns.front());
        QHash<QString, int> firstSeen;
        std::vector<QString> distinct;
        for (std::size_t i = 0; i < n; ++i) {
            const QVariant& v = keys[i * width];
            places[i].row = static_cast<std::uint32_t>(i);
            if (v.userType() != QMetaType::QString) {
                const double number = v.isNull() ? -HUGE_VAL : v.toDouble();
                places[i].key = std::isnan(number) ? -HUGE_VAL : text ? -1.0 : number;   // in a text key, below every rank
                continue;
            }
            const QString& value = *static_cast<const QString*>(v.constData());
            auto it = firstSeen.find(value);
            if (it == firstSeen.end()) {
                it = firstSeen.insert(value, static_cast<int>(distinct.size()));
                distinct.push_back(value);
            }
            places[i].key = it.value();
        }
        std::vector<int> sorted(distinct.size());
        for (std::size_t t = 0; t < distinct.size(); ++t)
            sorted[t] = static_cast<int>(t);
        const bool locale = store.collate == QLatin1String("Locale");
        std::sort(sorted.begin(), sorted.end(), [&](int a, int b) {
            const QString& ta = distinct[std::size_t(a)];
            const QString& tb = distinct[std::size_t(b)];
            return locale ? store.collator.compare(ta, tb) < 0 : ta < tb;
        });
        std::vector<double> rank(distinct.size());
        texts.resize(distinct.size());
        for (std::size_t t = 0; t < sorted.size(); ++t) {
            rank[std::size_t(sorted[t])] = double(t);
            texts[t] = distinct[std::size_t(sorted[t])];
        }
        if (!distinct.empty()) {
            for (Place& place : places) {
                if (place.key >= 0.0 && keys[place.row * width].userType() == QMetaType::QString)
                    place.key = rank[static_cast<std::size_t>(place.key)];
            }
        }
        std::sort(places.begin(), places.end());
        return places;
    }

    std::vector<QVariant> keys;   // the kept rows' key values, `columns.size()` a row
    std::vector<std::int64_t> rows;
    bool unique;   // no row can be in the index twice: nothing to replace
    bool anyRow = false;
    std::int64_t lastRow = 0;
};

// --- EngineIndicesSqlite -------------------------------------------------------

EngineIndicesSqlite::EngineIndicesSqlite(const EngineIndicesSetup& setup, EngineCache& cache)
    : EngineIndices(setup, cache)
    , d(std::make_unique<Private>(cache))
{
    const QString collate = setup.value("Collate", QStringLiteral("BINARY")).toString();
    if (collate.compare(QLatin1String("Locale"), Qt::CaseInsensitive) == 0)
        d->collate = QStringLiteral("Locale");
    else if (const QString upper = collate.toUpper(); upper == QLatin1String("BINARY") || upper == QLatin1String("NOCASE") || upper == QLatin1String("RTRIM"))
        d->collate = upper;
    else
        throw std::invalid_argument(utf8(tr("Неизвестное сравнение строк: %0").arg(collate)));
    d->caseInsensitiveLike = setup.value("UseCaseInsensitiveLike", false).toBool();
    d->caseInsensitiveGlob = setup.value("UseCaseInsensitiveGlob", false).toBool();
    d->collator = collator();
    // QCollator sets itself up on first use; do it before callers share it.
    d->collator.compare(QStringLiteral("a"), QStringLiteral("b"));

    QString folder = setup.value("Folder").toString();
    if (folder.isEmpty()) {
        d->temporaryFolder = std::make_unique<QTemporaryDir>(QDir::tempPath() + QLatin1String("/tessera-indices-XXXXXX"));
        if (!d->temporaryFolder->isValid())
            throw std::runtime_error(utf8(tr("Нет папки для индексов в %0: %1").arg(QDir::tempPath(), d->temporaryFolder->errorString())));
        folder = d->temporaryFolder->path();
    } else {
        const QFileInfo info(folder);
        if (!info.isDir() || !info.isWritable())
            throw std::runtime_error(utf8(tr("Папка для индексов недоступна для записи: %0").arg(folder)));
    }
    d->path = QDir(folder).filePath(QStringLiteral("indices-%1.sqlite").arg(QUuid::createUuid().toString(QUuid::WithoutBraces)));
}

EngineIndicesSqlite::~EngineIndicesSqlite()
{
    dropStorage();
}

QString EngineIndicesSqlite::fileName() const
{
    return d->path;
}

void EngineIndicesSqlite::createStorageImpl(const dp::TableSchema& schema)
{
    std::lock_guard<std::recursive_mutex> guard(d->lock);
    std::vector<QString> types;
    bool anyKey = false;
    for (const auto& attribute : schema.attributes()) {
        types.push_back(keyType(attribute));
        anyKey = anyKey || !types.back().isEmpty();
    }
    if (!anyKey)
        throw std::invalid_argument(utf8(tr("В схеме нет атрибутов, по которым можно строить индекс")));

    d->openStorage();
    d->execute(QStringLiteral("Begin; "
                              "Create Table Store (key Text Primary Key, value); "
                              "Create Table Attributes (position Integer Primary Key, name Text, type Text); "
                              "Create Table Indices (id Integer Primary Key, columns Text);"));
    sqlite3_stmt* s = d->statement(QStringLiteral("Insert Into Attributes Values (?, ?, ?)"));
    if (!s)
        throw std::runtime_error(sqlite3_errmsg(d->db.get()));
    for (int i = 0; i < schema.count(); ++i) {
        SqliteStatementReset reset(s);
        bind(s, 1, i);
        bind(s, 2, schema.attribute(i)->name());
        bind(s, 3, types[static_cast<std::size_t>(i)]);
        if (sqlite3_step(s) != SQLITE_DONE)
            throw std::runtime_error(sqlite3_errmsg(d->db.get()));
    }
    d->execute(QStringLiteral("Insert Into Store Values ('quantity', 0); Commit;"));
    d->keyTypes = std::move(types);
}

void EngineIndicesSqlite::dropStorage()
{
    std::lock_guard<std::recursive_mutex> guard(d->lock);
    d->closeStorage();
}

bool EngineIndicesSqlite::isCorrect() const
{
    std::lock_guard<std::recursive_mutex> guard(d->lock);
    return d->db != nullptr && !d->keyTypes.empty();
}

int EngineIndicesSqlite::findIndexImpl(const std::vector<Column>& columns, Conformance& conformance) const
{
    std::lock_guard<std::recursive_mutex> guard(d->lock);
    if (columns.empty())
        return -1;
    int best = -1;
    std::size_t bestWidth = 0;
    Conformance bestConformance;
    for (const auto& [id, definition] : d->indices) {
        std::size_t leading = 0;
        while (leading < definition.columns.size()
               && std::find(columns.begin(), columns.end(), Column{definition.columns[leading]}) != columns.end())
            ++leading;
        if (leading == 0)
            continue;
        const double measure = std::min(1.0, double(leading) / double(columns.size()));
        // Better measure first, then the narrower index.
        if (best < 0 || measure > bestConformance.measure
            || (measure == bestConformance.measure && definition.columns.size() < bestWidth)) {
            best = id;
            bestWidth = definition.columns.size();
            bestConformance.measure = measure;
            bestConformance.exact = definition.columns.size() == columns.size()
                && std::equal(columns.begin(), columns.end(), definition.columns.begin(),
                              [](const Column& c, int a) { return c.attribute == a; });
        }
    }
    if (best >= 0)
        conformance = bestConformance;
    return best;
}

int EngineIndicesSqlite::addIndexImpl(const std::vector<Column>& columns)
{
    std::lock_guard<std::recursive_mutex> guard(d->lock);
    std::vector<int> attributes;
    for (const Column& c : columns) {
        if (c.attribute < 0 || c.attribute >= static_cast<int>(d->keyTypes.size()) || d->keyTypes[static_cast<std::size_t>(c.attribute)].isEmpty())
            return -1;
        if (std::find(attributes.begin(), attributes.end(), c.attribute) != attributes.end())
            return -1;
        attributes.push_back(c.attribute);
    }
    if (attributes.empty())
        return -1;
    Conformance conformance;
    const int found = findIndexImpl(columns, conformance);
    if (found >= 0 && conformance.measure >= 1.0)
        return found;

    const int id = d->nextIndex;
    QStringList definitions, positions;
    for (std::size_t k = 0; k < attributes.size(); ++k) {
        const QString& type = d->keyTypes[static_cast<std::size_t>(attributes[k])];
        QString definition = keyColumn(static_cast<int>(k)) + QLatin1Char(' ') + type;
        if (type == QLatin1String("Text"))
            definition += QLatin1String(" Collate ") + d->collate;
        definitions << definition;
        positions << QString::number(attributes[k]);
    }
    // The row id is a column, not the table's rowid: a fill stores its rows
    // in key order, and SQLite's sort for the key index then reads the table
    // in memory order. (A key that is a primary key could not be NULL.)
    const bool ok = d->tryExecute(QStringLiteral("Create Table %1 (%2, row Integer); Insert Into Indices Values (%3, '%4');")
                                      .arg(indexTable(id), definitions.join(QLatin1String(", ")), QString::number(id),
                                           positions.join(QLatin1Char(',')))
                                  + d->createKeyIndex(id, attributes.size()));
    if (!ok) {
        d->tryExecute(QStringLiteral("Drop Table If Exists %1;").arg(indexTable(id)));
        return -1;
    }
    d->indices[id] = IndexDefinition{std::move(attributes)};
    d->nextIndex = id + 1;
    return id;
}

void EngineIndicesSqlite::dropIndex(int index)
{
    std::lock_guard<std::recursive_mutex> guard(d->lock);
    if (!d->index(index) || d->fillRunning)
        return;
    d->statements.clear();   // statements on the table would keep it locked
    d->tryExecute(QStringLiteral("Drop Table %1; Delete From Indices Where id = %2;").arg(indexTable(index)).arg(index));
    d->indices.erase(index);
    d->changed(index);
}

void EngineIndicesSqlite::clearIndex(int index)
{
    std::lock_guard<std::recursive_mutex> guard(d->lock);
    if (!d->index(index) || d->fillRunning)
        return;
    d->tryExecute(QStringLiteral("Delete From %1;").arg(indexTable(index)));
    d->changed(index);
}

std::unique_ptr<EngineIndices::InserterInterface> EngineIndicesSqlite::getInserter(int index)
{
    std::lock_guard<std::recursive_mutex> guard(d->lock);
    const IndexDefinition* definition = d->index(index);
    if (!definition || d->fillRunning)
        return nullptr;
    QStringList marks;
    for (std::size_t k = 0; k <= definition->columns.size(); ++k)
        marks << QStringLiteral("?");
    const QByteArray sql = QStringLiteral("Insert Into %1 (%2, row) Values (%3)")
                               .arg(indexTable(index), keyList(static_cast<int>(definition->columns.size())), marks.join(QLatin1Char(',')))
                               .toUtf8();
    sqlite3_stmt* raw = nullptr;
    if (sqlite3_prepare_v2(d->db.get(), sql.constData(), sql.size(), &raw, nullptr) != SQLITE_OK) {
        sqlite3_finalize(raw);
        return nullptr;
    }
    SqliteStatement insert(raw);
    if (!d->tryExecute(QStringLiteral("Begin;")))
        return nullptr;
    // Filling an empty index: the key index is built once at the end, by
    // sorting, rather than entry by entry at random places (several times
    // faster). A fill that is not handed back rolls the drop back too.
    const bool empty = d->count(QStringLiteral("Select Count(*) From (Select 1 From %1 Limit 1)").arg(indexTable(index))) == 0;
    if (empty)
        d->tryExecute(QStringLiteral("Drop Index If Exists \"Index%1Keys\";").arg(index));
    d->fillRunning = true;
    return std::make_unique<Inserter>(*d, index, definition->columns, std::move(insert), empty);
}

void EngineIndicesSqlite::flushInserter(std::unique_ptr<InserterInterface> inserter)
{
    std::lock_guard<std::recursive_mutex> guard(d->lock);
    auto* own = dynamic_cast<Inserter*>(inserter.get());
    if (own && &own->store == d.get() && own->open)
        own->finish(true);
}

std::vector<std::int64_t> EngineIndicesSqlite::findRows(int index, const std::vector<Constant>& constants) const
{
    std::lock_guard<std::recursive_mutex> guard(d->lock);
    std::vector<std::int64_t> rows;
    const IndexDefinition* definition = d->index(index);
    if (!definition)
        return rows;
    QStringList clauses;
    QList<QVariant> operands;
    for (const Constant& constant : constants)
        if (!d->condition(*definition, constant, clauses, operands))
            return rows;
    QString sql = QStringLiteral("Select row From %1").arg(indexTable(index));
    if (!clauses.isEmpty())
        sql += QLatin1String(" Where ") + clauses.join(QLatin1String(" And "));
    sqlite3_stmt* s = d->statement(sql);
    if (!s)
        return rows;
    SqliteStatementReset reset(s);
    for (int i = 0; i < operands.size(); ++i)
        bind(s, i + 1, operands[i]);
    while (sqlite3_step(s) == SQLITE_ROW)
        rows.push_back(sqlite3_column_int64(s, 0));
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    return rows;
}

EngineIndices::Status EngineIndicesSqlite::enumUnique(int index, const std::function<Status(const QList<QVariant>&)>& callback) const
{
    std::lock_guard<std::recursive_mutex> guard(d->lock);
    const IndexDefinition* definition = d->index(index);
    if (!definition || !callback)
        return Status::Error;
    const int keys = static_cast<int>(definition->columns.size());
    sqlite3_stmt* s = d->statement(QStringLiteral("Select %2 From %1 Group By %2 Order By %2").arg(indexTable(index), keyList(keys)));
    if (!s)
        return Status::Error;
    SqliteStatementReset reset(s);
    int rc;
    while ((rc = sqlite3_step(s)) == SQLITE_ROW) {
        QList<QVariant> tuple;
        for (int k = 0; k < keys; ++k)
            tuple << columnValue(s, k);
        const Status status = callback(tuple);
        if (status != Status::Continue)
            return status;
    }
    return rc == SQLITE_DONE ? Status::Continue : Status::Error;
}

std::optional<EngineIndices::Statistics> EngineIndicesSqlite::statistics(int index) const
{
    std::lock_guard<std::recursive_mutex> guard(d->lock);
    const IndexDefinition* definition = d->index(index);
    if (!definition)
        return std::nullopt;
    auto it = d->statisticsByIndex.find(index);
    if (it == d->statisticsByIndex.end())
        it = d->statisticsByIndex.emplace(index, d->computeStatistics(index, *definition)).first;
    return it->second;
}

unsigned long long EngineIndicesSqlite::quantity() const
{
    std::lock_guard<std::recursive_mutex> guard(d->lock);
    return d->db ? d->rowQuantity : 0;
}

void EngineIndicesSqlite::setQuantity(unsigned long long quantity)
{
    std::lock_guard<std::recursive_mutex> guard(d->lock);
    if (!d->db)
        return;
    if (d->tryExecute(QStringLiteral("Update Store Set value = %1 Where key = 'quantity';").arg(quantity)))
        d->rowQuantity = quantity;
}

std::uint64_t EngineIndicesSqlite::estimateRows(int index, const std::vector<Column>& columns) const
{
    std::lock_guard<std::recursive_mutex> guard(d->lock);
    const IndexDefinition* definition = d->index(index);
    if (!definition)
        return 0;
    std::size_t covered = 0;
    while (covered < definition->columns.size()
           && std::find(columns.begin(), columns.end(), Column{definition->columns[covered]}) != columns.end())
        ++covered;
    const std::optional<Statistics> stats = statistics(index);
    if (!stats)
        return 0;
    if (covered == 0)
        return stats->rows;
    const std::uint64_t keys = stats->distinctPrefixes[covered - 1];
    return keys == 0 ? 0 : (stats->rows + keys - 1) / keys;
}

EngineIndices::Status EngineIndicesSqlite::enumColumns(int index, const std::function<Status(int)>& callback) const
{
    std::lock_guard<std::recursive_mutex> guard(d->lock);
    const IndexDefinition* definition = d->index(index);
    if (!definition || !callback)
        return Status::Error;
    for (int column : definition->columns) {
        const Status status = callback(column);
        if (status != Status::Continue)
            return status;
    }
    return Status::Continue;
}

} // namespace tessera::engine
