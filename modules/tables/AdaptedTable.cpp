#include "modules/tables/AdaptedTable.h"

#include "engine/EngineCache.h"
#include "engine/SchemaColumns.h"
#include "engine/functions/ValueConversions.h"
#include "engine/geometry/GeometryConversions.h"
#include "platform/cs/CoordSystem.h"
#include "platform/geometry/Geometry.h"

#include <QHash>
#include <QMutex>
#include <QReadWriteLock>
#include <QStringList>
#include <atomic>
#include <unordered_map>

namespace tessera::modules {

struct AdaptedTable::Private {
    mutable QReadWriteLock lock;   // guards table, blobs and bounds
    std::shared_ptr<dp::Table> table;
    dp::TableSchema schema;
    engine::EngineCache* cache = nullptr;
    int geometryAttribute = -1;
    std::unordered_map<std::int64_t, QByteArray> blobs;
    QHash<QByteArray, dp::ConstGeometryPtr> geometries;   // by the blobs above (shared bytes)
    mutable PreparedGeometries prepared;                  // of the geometries above
    std::shared_ptr<const Snapshot> snapshot;
    QMutex buildMutex;   // one thread builds the R-tree, the others wait for it
    QMetaObject::Connection changed;
    std::atomic<std::uint64_t> idEpoch{0};   // the cache's, when the rows above were numbered

    void forgetAll()
    {
        QWriteLocker locker(&lock);
        blobs.clear();
        prepared.clear();
        geometries.clear();
        snapshot.reset();
    }

    // The engine cache forgot feature ids: rows kept above may name none.
    void followIds()
    {
        const std::uint64_t now = cache->idEpoch();
        if (idEpoch.exchange(now) != now)
            forgetAll();
    }
};

AdaptedTable::AdaptedTable(std::shared_ptr<dp::Table> table, engine::EngineCache* cache)
    : d(std::make_unique<Private>())
{
    d->schema = table->schema();
    d->table = std::move(table);
    d->cache = cache;
    d->idEpoch = cache->idEpoch();
    for (int i = 0; i < d->schema.count(); ++i)
        if (engine::isGeometry(d->schema.attribute(i))) {
            d->geometryAttribute = i;
            break;
        }
    // Changes made by others (the host, another reader of the file) make the
    // kept blobs and bounds stale.
    d->changed = QObject::connect(d->table.get(), &dp::Table::featuresChanged, [p = d.get()] { p->forgetAll(); });
}

AdaptedTable::~AdaptedTable()
{
    QObject::disconnect(d->changed);
}

std::shared_ptr<dp::Table> AdaptedTable::table() const
{
    QReadLocker locker(&d->lock);
    return d->table;
}

void AdaptedTable::detach()
{
    QObject::disconnect(d->changed);
    QWriteLocker locker(&d->lock);
    d->table.reset();
    d->blobs.clear();
    d->prepared.clear();
    d->geometries.clear();
    d->snapshot.reset();
}

void AdaptedTable::reset()
{
    d->forgetAll();
}

void AdaptedTable::forget(std::int64_t row)
{
    QWriteLocker locker(&d->lock);
    const auto it = d->blobs.find(row);
    if (it != d->blobs.end()) {
        d->prepared.remove(d->geometries.value(it->second).get());
        d->geometries.remove(it->second);
        d->blobs.erase(it);
    }
    d->snapshot.reset();
}

const dp::TableSchema& AdaptedTable::schema() const
{
    return d->schema;
}

engine::EngineCache* AdaptedTable::cache() const
{
    return d->cache;
}

int AdaptedTable::geometryAttribute() const
{
    return d->geometryAttribute;
}

QString AdaptedTable::declaration() const
{
    engine::SchemaState state;
    QStringList columns;
    for (const auto& attribute : d->schema.attributes())
        columns << engine::toString(attribute, state, d->cache, '"');
    return QStringLiteral("Create Table x(%1)").arg(columns.join(QLatin1String(", ")));
}

std::int64_t AdaptedTable::rowOf(const dp::FeatureId& id) const
{
    return d->cache->assignIdToInt(id);
}

std::shared_ptr<dp::Feature> AdaptedTable::feature(std::int64_t row) const
{
    const auto table = this->table();
    if (!table)
        return nullptr;
    const dp::FeatureId id = d->cache->intToId(row);
    return id.isValid() ? table->feature(id) : nullptr;
}

QByteArray AdaptedTable::geometryBlob(std::int64_t row, const dp::Feature* feature)
{
    if (d->geometryAttribute < 0)
        return QByteArray();
    d->followIds();
    {
        QReadLocker locker(&d->lock);
        const auto it = d->blobs.find(row);
        if (it != d->blobs.end())
            return it->second;
    }
    std::shared_ptr<dp::Feature> read;
    if (!feature) {
        read = this->feature(row);
        feature = read.get();
    }
    const dp::ConstGeometryPtr geometry = feature ? feature->geometry(d->geometryAttribute) : nullptr;
    const QByteArray blob = engine::toTesGeo(geometry, d->cache);
    // The geometry map then hands the decoded object to the SQL functions
    // that receive these bytes.
    if (!blob.isEmpty())
        d->cache->save(blob.constData(), static_cast<unsigned>(blob.size()), geometry);
    QWriteLocker locker(&d->lock);
    if (!d->table)
        return blob;   // detached meanwhile: keep nothing
    const auto inserted = d->blobs.emplace(row, blob);
    if (inserted.second && !blob.isEmpty())
        d->geometries.insert(blob, geometry);
    return inserted.first->second;
}

PreparedGeometries& AdaptedTable::prepared() const
{
    return d->prepared;
}

dp::ConstGeometryPtr AdaptedTable::geometryOf(const void* data, int size, bool* own) const
{
    if (own)
        *own = false;
    if (!data || size <= 0)
        return nullptr;
    {
        QReadLocker locker(&d->lock);
        const auto it = d->geometries.constFind(QByteArray::fromRawData(static_cast<const char*>(data), size));
        if (it != d->geometries.constEnd()) {
            if (own)
                *own = true;
            return it.value();
        }
    }
    return d->cache->geometryInfo(data, unsigned(size), true).geometry();
}

namespace {

bool sameCoordSystem(const std::shared_ptr<cs::CoordSystem>& a, const std::shared_ptr<cs::CoordSystem>& b)
{
    return a == b || (a && b && a->isEquivalentTo(*b));
}

} // namespace

std::shared_ptr<const AdaptedTable::Snapshot> AdaptedTable::snapshot()
{
    d->followIds();
    {
        QReadLocker locker(&d->lock);
        if (d->snapshot)
            return d->snapshot;
    }
    QMutexLocker building(&d->buildMutex);
    {
        QReadLocker locker(&d->lock);
        if (d->snapshot)
            return d->snapshot;
    }
    const auto table = this->table();
    if (!table)
        return nullptr;
    // One pass over the table: every row id, every geometry encoded and its
    // box collected.
    auto result = std::make_shared<Snapshot>();
    std::vector<BoundsIndex::Entry> entries;
    bool uniform = true;
    bool first = true;
    std::shared_ptr<cs::CoordSystem> coordSystem;
    auto cursor = table->features();
    while (auto f = cursor->next()) {
        if (!f->id().isValid())
            continue;
        const std::int64_t row = rowOf(f->id());
        result->rows.push_back(row);
        if (d->geometryAttribute < 0)
            continue;
        geometryBlob(row, f.get());
        const auto geometry = f->geometry(d->geometryAttribute);
        if (!geometry || geometry->isEmpty())
            continue;   // meets nothing under the predicates
        if (first)
            coordSystem = geometry->coordSystem();
        else if (uniform && !sameCoordSystem(coordSystem, geometry->coordSystem()))
            uniform = false;
        first = false;
        entries.push_back({geometry->boundingRect().normalized(), row});
    }
    // Boxes in mixed systems cannot be compared: such a table keeps an empty
    // index marked unusable.
    result->bounds = std::make_shared<const BoundsIndex>(uniform ? entries : std::vector<BoundsIndex::Entry>{}, uniform,
                                                         coordSystem);
    QWriteLocker locker(&d->lock);
    if (d->table)
        d->snapshot = result;
    return result;
}

bool AdaptedTable::allRows(std::vector<std::int64_t>& rows)
{
    const auto s = snapshot();
    if (!s)
        return false;
    rows = s->rows;
    return true;
}

bool AdaptedTable::rowIds(std::vector<std::int64_t>& rows)
{
    {
        QReadLocker locker(&d->lock);
        if (d->snapshot) {
            rows = d->snapshot->rows;
            return true;
        }
    }
    const auto table = this->table();
    if (!table)
        return false;
    dp::FeatureFilter noGeometry;
    noGeometry.geometries = false;
    rows.clear();
    auto cursor = table->filteredFeatures(noGeometry);
    while (auto f = cursor->next())
        if (f->id().isValid())
            rows.push_back(rowOf(f->id()));
    return true;
}

bool AdaptedTable::candidates(const geometry::Geometry& other, BoundsIndex::Relation relation, std::vector<std::int64_t>& rows)
{
    if (other.isEmpty())
        return false;
    const auto s = snapshot();
    if (!s)
        return false;
    const BoundsIndex& bounds = *s->bounds;
    if (!bounds.usable() || (bounds.size() > 0 && !sameCoordSystem(bounds.coordSystem(), other.coordSystem())))
        return false;
    rows = bounds.query(other.boundingRect().normalized(), relation);
    return true;
}

bool AdaptedTable::hasBoundsIndex() const
{
    QReadLocker locker(&d->lock);
    return d->snapshot != nullptr;
}

} // namespace tessera::modules
