#pragma once
// The index store kept in a SQLite file of its own, on its own connection, so
// that index work never waits for queries on the engine connection. Each
// index is a table of its key columns whose rowid is the row id, with an
// SQLite index over the keys that answers look-ups alone; text keys follow the
// setup's "Collate" (the "Locale" collation is the engine's, registered on
// the store's connection too). Bulk fills run in one transaction through one
// prepared statement. Calls are serialised by a lock.

#include "engine/indices/EngineIndices.h"

#include <QString>

namespace tessera::engine {

class EngineIndicesSqlite final : public EngineIndices {
public:
    // Throws std::invalid_argument for an unknown "Collate" and
    // std::runtime_error when no folder for the file can be had.
    EngineIndicesSqlite(const EngineIndicesSetup& setup, EngineCache& cache);
    ~EngineIndicesSqlite() override;

    // The store's SQLite file (it exists while isCorrect()).
    QString fileName() const;

    void dropStorage() override;
    bool isCorrect() const override;
    void dropIndex(int index) override;
    void clearIndex(int index) override;
    std::unique_ptr<InserterInterface> getInserter(int index) override;
    void flushInserter(std::unique_ptr<InserterInterface> inserter) override;
    std::vector<std::int64_t> findRows(int index, const std::vector<Constant>& constants) const override;
    Status enumUnique(int index, const std::function<Status(const QList<QVariant>&)>& callback) const override;
    std::optional<Statistics> statistics(int index) const override;
    unsigned long long quantity() const override;
    void setQuantity(unsigned long long quantity) override;
    std::uint64_t estimateRows(int index, const std::vector<Column>& columns) const override;
    Status enumColumns(int index, const std::function<Status(int)>& callback) const override;

protected:
    void createStorageImpl(const dp::TableSchema& schema) override;
    int addIndexImpl(const std::vector<Column>& columns) override;
    int findIndexImpl(const std::vector<Column>& columns, Conformance& conformance) const override;

private:
    class Inserter;
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace tessera::engine
