#pragma once
// The attribute indices of one table: an index over one or more columns gives
// the row ids that meet conditions on those columns without a table scan.
// This class fixes the operations and the checks around them; a subclass
// keeps the storage (EngineIndicesSqlite, made by EngineIndicesFactory).
//
// The types that callers and stores share:
// - Column: one indexed column, the attribute's position in the table schema
//   given to createStorage. An index is a vector of columns, in key order.
// - Conformance: how well an index serves a set of columns. `measure` counts
//   the index's leading columns that are among the requested ones (up to the
//   first that is not), divided by the number requested: 1.0 when every
//   requested column is among the leading ones, so an index over (a, b, c)
//   fully serves (a, b) and (b, a) but only half of (a, c). `exact` is set
//   when the index has exactly the requested columns.
// - Constant: one condition of findRows on the index column at position
//   `column` of the index (0 is the leading one) with its operands in
//   `values`: one for Equal, Less, LessOrEqual, Greater, GreaterOrEqual;
//   two for Between (both ends included); any number for In; none for
//   IsNull; the pattern (and optionally the escape character) for Like and
//   Glob. Conditions are joined with And. Text is compared with the store's
//   collation; Like and Glob use the store's case rules (under the "Locale"
//   collation they read only the keys that begin with the pattern's
//   constant prefix).
// - Row ids are the engine cache's integer numbers of the features
//   (EngineCache::assignIdToInt). findRows answers them in ascending order,
//   each once.
// - Statistics: entries of the index, distinct key tuples for every leading
//   part of the key (distinctPrefixes[k] counts the distinct values of the
//   first k + 1 columns, NULL counting as one value; the last one is
//   distinctKeys) and an equal-height
//   histogram of the leading column (NULL keys apart) whose buckets end at a
//   key value and never split one.
// - estimateRows(index, columns): the expected number of rows that an
//   equality condition on `columns` matches, from those counts: the
//   entries per distinct value of the longest leading part of the key that
//   the columns cover, rounded up (all entries when they cover none).
// - Status: what enumUnique and enumColumns callbacks answer (Continue or
//   Stop) and how those operations end: Continue after the last item, Stop
//   when a callback stopped them, Error when the store or the index is not
//   usable or a callback answered Error.
// - Supports: four capability questions; a store that answers false keeps
//   no data between sessions, cannot change single rows after a bulk fill,
//   serialises concurrent callers and has no spatial keys.
//
// Index ids are ints; -1 means no index. Every operation on a store whose
// storage is not usable (isCorrect() false) answers -1 or an empty result
// and throws nothing.

#include "engine/EngineExport.h"
#include "platform/dp/TableSchema.h"

#include <QList>
#include <QVariant>
#include <QVector>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace tessera::engine {

class EngineCache;
class EngineIndicesSetup;

class TESSERA_ENGINE_EXPORT EngineIndices {
public:
    struct Column {
        int attribute = -1;
        bool operator==(const Column& other) const { return attribute == other.attribute; }
    };

    struct Conformance {
        double measure = 0.0;
        bool exact = false;
    };

    struct Constant {
        enum Comparison { Equal, Less, LessOrEqual, Greater, GreaterOrEqual, Between, In, IsNull, Like, Glob };
        int column = 0;
        Comparison comparison = Equal;
        QList<QVariant> values;
    };

    enum class Status { Continue, Stop, Error };

    struct Statistics {
        struct Bucket {
            QVariant last;       // the greatest key value in the bucket
            std::uint64_t rows;  // entries in the bucket
            std::uint64_t keys;  // distinct key values in the bucket
        };
        std::uint64_t rows = 0;
        std::uint64_t distinctKeys = 0;
        std::uint64_t nullKeys = 0;  // entries whose leading column is NULL
        std::vector<std::uint64_t> distinctPrefixes;
        std::vector<Bucket> histogram;
    };

    class Supports {
    public:
        virtual ~Supports();
        virtual bool persistent() const { return false; }
        virtual bool rowUpdates() const { return false; }
        virtual bool concurrentReads() const { return false; }
        virtual bool spatialKeys() const { return false; }
    };

    // Receives the rows of one index during a bulk fill.
    class InserterInterface {
    public:
        virtual ~InserterInterface();
        // `values` holds the row's attribute values by schema position (as
        // dp::Feature::attributeValues); the index takes its own columns.
        // False when the row could not be stored. A store may keep rows and
        // store them when the inserter is handed back (flushInserter).
        virtual bool add(std::int64_t row, const QVector<QVariant>& values) = 0;
    };

    explicit EngineIndices(EngineCache& cache);
    EngineIndices(const EngineIndicesSetup& setup, EngineCache& cache);
    virtual ~EngineIndices();
    EngineIndices(const EngineIndices&) = delete;
    EngineIndices& operator=(const EngineIndices&) = delete;

    // Drops what there was and builds the storage for `schema`; a build that
    // fails leaves no storage. Returns isCorrect().
    virtual bool createStorage(const dp::TableSchema& schema);
    virtual void dropStorage() = 0;
    virtual bool isCorrect() const = 0;
    virtual std::unique_ptr<Supports> supports() const;
    // The index that best serves `columns`, or -1. `conformance` (may be
    // null) receives how well it does.
    virtual int findIndex(const std::vector<Column>& columns, Conformance* conformance) const;
    // An index over `columns`: an existing one that fully serves them, or a
    // new, empty one. -1 when the columns cannot be indexed.
    virtual int addIndex(const std::vector<Column>& columns);
    virtual void dropIndex(int index) = 0;
    virtual void clearIndex(int index) = 0;
    // Null when the index does not exist or a fill is already running.
    virtual std::unique_ptr<InserterInterface> getInserter(int index) = 0;
    virtual void flushInserter(std::unique_ptr<InserterInterface> inserter) = 0;
    virtual std::vector<std::int64_t> findRows(int index, const std::vector<Constant>& constants) const = 0;
    virtual Status enumUnique(int index, const std::function<Status(const QList<QVariant>&)>& callback) const = 0;
    virtual std::optional<Statistics> statistics(int index) const = 0;
    virtual unsigned long long quantity() const = 0;
    virtual void setQuantity(unsigned long long quantity) = 0;
    virtual std::uint64_t estimateRows(int index, const std::vector<Column>& columns) const = 0;
    virtual Status enumColumns(int index, const std::function<Status(int)>& callback) const = 0;

protected:
    // Builds the storage; throws when it cannot.
    virtual void createStorageImpl(const dp::TableSchema& schema) = 0;
    virtual int addIndexImpl(const std::vector<Column>& columns) = 0;
    virtual int findIndexImpl(const std::vector<Column>& columns, Conformance& conformance) const = 0;

    EngineCache& cache;
};

} // namespace tessera::engine
