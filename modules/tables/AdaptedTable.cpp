#include "modules/tables/AdaptedTable.h"

#include "engine/EngineCache.h"
#include "engine/SchemaColumns.h"
#include "engine/functions/ValueConversions.h"
#include "engine/geometry/GeometryConversions.h"
#include "platform/cs/CoordSystem.h"
#include "platform/geometry/Geometry.h"

#include <QMutex>
#include <QReadWriteLock>
#include <QStringList>
#include <unordered_map>

namespace tessera::modules {

struct AdaptedTable::Private {
    mutable QReadWriteLock lock;   // guards table, blobs and bounds
    std::shared_ptr<dp::Table> table;
    dp::TableSchema schema;
    engine::EngineCache* cache = nullptr;
    int geometryAttribute = -1;
    std::unordered_map<std::int64_t, QByteArray> blobs;
    std::shared_ptr<const BoundsIndex> bounds;
    QMutex buildMutex;   // one thread builds the R-tree, the others wait for it
    QMetaObject::Connection changed;

    void forgetAll()
    {
        QWriteLocker locker(&lock);
        blobs.clear();
        bounds.reset();
    }
};

AdaptedTable::AdaptedTable(std::shared_ptr<dp::Table> table, engine::EngineCache* cache)
    : d(std::make_unique<Private>())
{
    d->schema = table->schema();
    d->table = std::move(table);
    d->cache = cache;
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
    d->bounds.reset();
}

void AdaptedTable::reset()
{
    d->forgetAll();
}

void AdaptedTable::forget(std::int64_t row)
{
    QWriteLocker locker(&d->lock);
    d->blobs.erase(row);
    d->bounds.reset();
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
    return d->blobs.emplace(row, blob).first->second;
}

namespace {

bool sameCoordSystem(const std::shared_ptr<cs::CoordSystem>& a, const std::shared_ptr<cs::CoordSystem>& b)
{
    return a == b || (a && b && a->isEquivalentTo(*b));
}

} // namespace

bool AdaptedTable::candidates(const geometry::Geometry& other, BoundsIndex::Relation relation, std::vector<std::int64_t>& rows)
{
    if (other.isEmpty())
        return false;
    std::shared_ptr<const BoundsIndex> bounds;
    {
        QReadLocker locker(&d->lock);
        bounds = d->bounds;
    }
    if (!bounds) {
        QMutexLocker building(&d->buildMutex);
        {
            QReadLocker locker(&d->lock);
            bounds = d->bounds;
        }
        if (!bounds) {
            const auto table = this->table();
            if (!table)
                return false;
            std::vector<BoundsIndex::Entry> entries;
            bool uniform = true;
            bool first = true;
            std::shared_ptr<cs::CoordSystem> coordSystem;
            auto cursor = table->features();
            while (auto f = cursor->next()) {
                if (!f->id().isValid())
                    continue;
                const auto geometry = f->geometry(d->geometryAttribute);
                if (!geometry || geometry->isEmpty())
                    continue;   // meets nothing under these predicates
                if (first)
                    coordSystem = geometry->coordSystem();
                else if (uniform && !sameCoordSystem(coordSystem, geometry->coordSystem()))
                    uniform = false;
                first = false;
                const std::int64_t row = rowOf(f->id());
                geometryBlob(row, f.get());
                entries.push_back({geometry->boundingRect().normalized(), row});
            }
            // Boxes in mixed systems cannot be compared: such a table keeps an
            // empty index that answers nothing (see below).
            bounds = std::make_shared<const BoundsIndex>(uniform ? entries : std::vector<BoundsIndex::Entry>{},
                                                         uniform, coordSystem);
            QWriteLocker locker(&d->lock);
            if (d->table)
                d->bounds = bounds;
        }
    }
    if (!bounds->usable() || (bounds->size() > 0 && !sameCoordSystem(bounds->coordSystem(), other.coordSystem())))
        return false;
    rows = bounds->query(other.boundingRect().normalized(), relation);
    return true;
}

bool AdaptedTable::hasBoundsIndex() const
{
    QReadLocker locker(&d->lock);
    return d->bounds != nullptr;
}

} // namespace tessera::modules
