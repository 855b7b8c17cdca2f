#include "platform/dp/MemoryTable.h"

#include "platform/dp/Logging.h"

#include <QReadWriteLock>
#include <limits>
#include <map>

namespace tessera::dp {

namespace {

class SnapshotCursor final : public FeatureCursor {
public:
    explicit SnapshotCursor(QVector<Feature> rows) : rows(std::move(rows)) {}
    std::shared_ptr<Feature> next() override
    {
        if (position >= rows.size())
            return {};
        return std::make_shared<Feature>(rows.at(position++));
    }

private:
    QVector<Feature> rows;   // implicitly shared with the table until it changes
    int position = 0;
};

} // namespace

struct MemoryTable::Private {
    mutable QReadWriteLock lock;
    TableSchema schema;
    QVector<Feature> rows;
    std::map<FeatureId, int> positions;
    qlonglong nextId = 1;

    void reindex()
    {
        positions.clear();
        for (int i = 0; i < rows.size(); ++i)
            positions.emplace(rows.at(i).id(), i);
    }
};

MemoryTable::MemoryTable(const QString& name, TableSchema schema, QUuid id)
    : Table(name, id), d(std::make_unique<Private>())
{
    d->schema = std::move(schema);
    setTableSourceDescription(QStringLiteral("memory"));
}

MemoryTable::~MemoryTable() = default;

TableSchema MemoryTable::schema() const
{
    QReadLocker lock(&d->lock);
    return d->schema;
}

qint64 MemoryTable::featureCount() const
{
    QReadLocker lock(&d->lock);
    return d->rows.size();
}

std::shared_ptr<Feature> MemoryTable::feature(const FeatureId& id) const
{
    QReadLocker lock(&d->lock);
    const auto it = d->positions.find(id);
    if (it == d->positions.end())
        return {};
    return std::make_shared<Feature>(d->rows.at(it->second));
}

std::unique_ptr<FeatureCursor> MemoryTable::features() const
{
    QReadLocker lock(&d->lock);
    return std::make_unique<SnapshotCursor>(d->rows);
}

Feature MemoryTable::newFeature() const
{
    return Feature(schema());
}

FeatureId MemoryTable::insertLocked(const Feature& feature)
{
    if (feature.numAttributes() != d->schema.count()) {
        qCWarning(lcDp) << "Table" << name() << "refused a feature with" << feature.numAttributes()
                      << "values for" << d->schema.count() << "attributes";
        return {};
    }
    FeatureId id = feature.id();
    if (!id.isValid()) {
        do
            id = FeatureId(QVariant(d->nextId++));
        while (d->positions.count(id));
    } else if (d->positions.count(id)) {
        qCWarning(lcDp) << "Table" << name() << "already has a feature" << id.toString();
        return {};
    }
    // Keep automatic ids clear of integer ids given by the caller.
    bool integral = false;
    const qlonglong n = id.value().toLongLong(&integral);
    if (integral && n >= d->nextId && n < std::numeric_limits<qlonglong>::max())
        d->nextId = n + 1;

    Feature stored(d->schema, id);
    for (int i = 0; i < feature.numAttributes(); ++i)
        stored.setAttribute(i, feature.getAttribute(i));
    d->positions.emplace(id, d->rows.size());
    d->rows.append(std::move(stored));
    return id;
}

FeatureId MemoryTable::insertFeature(const Feature& feature)
{
    FeatureId id;
    {
        QWriteLocker lock(&d->lock);
        id = insertLocked(feature);
    }
    if (id.isValid())
        emit featuresChanged();
    return id;
}

int MemoryTable::appendFeatures(const QVector<Feature>& features)
{
    int taken = 0;
    {
        QWriteLocker lock(&d->lock);
        d->rows.reserve(d->rows.size() + features.size());
        for (const Feature& f : features)
            taken += insertLocked(f).isValid() ? 1 : 0;
    }
    if (taken > 0)
        emit featuresChanged();
    return taken;
}

bool MemoryTable::updateFeature(const Feature& feature)
{
    {
        QWriteLocker lock(&d->lock);
        const auto it = d->positions.find(feature.id());
        if (it == d->positions.end() || feature.numAttributes() != d->schema.count())
            return false;
        Feature& stored = d->rows[it->second];
        for (int i = 0; i < feature.numAttributes(); ++i)
            stored.setAttribute(i, feature.getAttribute(i));
    }
    emit featuresChanged();
    return true;
}

bool MemoryTable::removeFeature(const FeatureId& id)
{
    {
        QWriteLocker lock(&d->lock);
        const auto it = d->positions.find(id);
        if (it == d->positions.end())
            return false;
        d->rows.removeAt(it->second);
        d->reindex();
    }
    emit featuresChanged();
    return true;
}

} // namespace tessera::dp
