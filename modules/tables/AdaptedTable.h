#pragma once
// What the table adapter keeps for one virtual table: the host table, the
// TesGeo blob of every feature's geometry (encoded once, also handed to the
// engine cache's geometry map) and the R-tree of feature bounds, built on
// first use. Shared by the virtual table and its TableManagement; safe for
// reading threads.

#include "modules/tables/BoundsIndex.h"
#include "modules/tables/PreparedGeometries.h"
#include "platform/dp/Table.h"

#include <QByteArray>
#include <QString>
#include <cstdint>
#include <memory>
#include <vector>

namespace tessera::engine { class EngineCache; }
namespace tessera::geometry { class Geometry; }

namespace tessera::modules {

class AdaptedTable {
public:
    AdaptedTable(std::shared_ptr<dp::Table> table, engine::EngineCache* cache);
    ~AdaptedTable();
    AdaptedTable(const AdaptedTable&) = delete;
    AdaptedTable& operator=(const AdaptedTable&) = delete;

    // Empty once detached.
    std::shared_ptr<dp::Table> table() const;
    void detach();
    // Forgets blobs and bounds (the table changed behind our back).
    void reset();
    // Forgets one row after an edit through SQL.
    void forget(std::int64_t row);

    const dp::TableSchema& schema() const;
    engine::EngineCache* cache() const;
    // The first geometry attribute (the hidden geometry column), or -1.
    int geometryAttribute() const;
    // "Create Table x(...)" for sqlite3_declare_vtab.
    QString declaration() const;

    std::int64_t rowOf(const dp::FeatureId& id) const;
    std::shared_ptr<dp::Feature> feature(std::int64_t row) const;
    // The TesGeo blob of the row's first geometry (null when it has none).
    // `feature` saves reading the row again when the caller has it.
    QByteArray geometryBlob(std::int64_t row, const dp::Feature* feature);

    // The geometry of a blob this table handed out (the feature's own object,
    // so that GEOS forms remembered for it are found again); other blobs are
    // decoded through the engine cache. Empty when the bytes hold none.
    // `own` tells whether it is one of the table's (kept) objects.
    std::shared_ptr<const geometry::Geometry> geometryOf(const void* data, int size, bool* own = nullptr) const;
    // Prepared GEOS forms of the table's own geometries.
    PreparedGeometries& prepared() const;

    // Rows whose bounds relate to the bounds of `other`; builds the R-tree on
    // first use. False when boxes cannot tell (coordinate systems differ, or
    // `other` is empty): the caller must read every row.
    bool candidates(const geometry::Geometry& other, BoundsIndex::Relation relation, std::vector<std::int64_t>& rows);
    // Every row id of the table, from the same pass that builds the R-tree.
    // False when the table is detached.
    bool allRows(std::vector<std::int64_t>& rows);
    // Every row id of the table, in the table's order: those of the R-tree's
    // pass when it has been built, else from a pass that converts no
    // geometry. False when the table is detached.
    bool rowIds(std::vector<std::int64_t>& rows);
    // Whether the R-tree has been built (for tests and plans).
    bool hasBoundsIndex() const;

private:
    struct Snapshot {
        std::vector<std::int64_t> rows;
        std::shared_ptr<const BoundsIndex> bounds;
    };
    std::shared_ptr<const Snapshot> snapshot();

    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace tessera::modules
