#include "tools/tessera-sql/AssignedCoordSystemTable.h"

#include "platform/dp/GeometryAttributeDefinition.h"
#include "platform/geometry/Geometry.h"

#include <vector>

namespace tessera::shell {

struct AssignedCoordSystemTable::Private {
    std::shared_ptr<dp::Table> source;
    std::shared_ptr<cs::CoordSystem> coordSystem;
    dp::TableSchema schema;
    std::vector<int> geometryAttributes;   // positions whose geometries get the system

    // The feature with the system set on its bare geometries, under the schema
    // that names it.
    std::shared_ptr<dp::Feature> assign(const std::shared_ptr<dp::Feature>& feature) const
    {
        if (!feature)
            return feature;
        auto result = std::make_shared<dp::Feature>(schema, feature->id());
        for (int i = 0; i < feature->numAttributes(); ++i)
            result->setAttribute(i, feature->getAttribute(i));
        for (const int i : geometryAttributes) {
            const auto g = feature->geometry(i);
            if (!g || g->coordSystem())
                continue;
            std::shared_ptr<geometry::Geometry> copy = g->clone();
            copy->setCoordSystem(coordSystem);
            result->setGeometry(i, std::move(copy));
        }
        return result;
    }
};

namespace {

class AssigningCursor final : public dp::FeatureCursor {
public:
    AssigningCursor(std::shared_ptr<const AssignedCoordSystemTable::Private> d, std::unique_ptr<dp::FeatureCursor> cursor)
        : d(std::move(d)), cursor(std::move(cursor)) {}
    std::shared_ptr<dp::Feature> next() override { return d->assign(cursor->next()); }

private:
    std::shared_ptr<const AssignedCoordSystemTable::Private> d;
    std::unique_ptr<dp::FeatureCursor> cursor;
};

} // namespace

AssignedCoordSystemTable::AssignedCoordSystemTable(std::shared_ptr<dp::Table> source, std::shared_ptr<cs::CoordSystem> coordSystem)
    : dp::Table(source->name()), d(std::make_shared<Private>())
{
    d->source = std::move(source);
    d->coordSystem = std::move(coordSystem);
    d->schema = d->source->schema();
    for (int i = 0; i < d->schema.count(); ++i) {
        const auto* geometry = dynamic_cast<const dp::GeometryAttributeDefinition*>(d->schema.attribute(i).constData());
        if (!geometry || geometry->coordSystem())
            continue;
        auto* named = geometry->clone();
        named->setCoordSystem(d->coordSystem);
        d->schema.replace(i, dp::AttributeDefinitionPtr(named));
        d->geometryAttributes.push_back(i);
    }
    setTableSourceDescription(d->source->tableSourceDescription());
    // The catalog integration follows this table, not its source.
    connect(d->source.get(), &dp::Table::featuresChanged, this, &dp::Table::featuresChanged);
    connect(d->source.get(), &dp::Table::schemaChanged, this, &dp::Table::schemaChanged);
}

AssignedCoordSystemTable::~AssignedCoordSystemTable() = default;

dp::TableSchema AssignedCoordSystemTable::schema() const
{
    return d->schema;
}

qint64 AssignedCoordSystemTable::featureCount() const
{
    return d->source->featureCount();
}

std::shared_ptr<dp::Feature> AssignedCoordSystemTable::feature(const dp::FeatureId& id) const
{
    return d->assign(d->source->feature(id));
}

std::unique_ptr<dp::FeatureCursor> AssignedCoordSystemTable::features() const
{
    return std::make_unique<AssigningCursor>(d, d->source->features());
}

bool AssignedCoordSystemTable::canFilter() const
{
    return d->source->canFilter();
}

std::unique_ptr<dp::FeatureCursor> AssignedCoordSystemTable::filteredFeatures(const dp::FeatureFilter& filter) const
{
    return std::make_unique<AssigningCursor>(d, d->source->filteredFeatures(filter));
}

bool AssignedCoordSystemTable::isEditable() const
{
    return d->source->isEditable();
}

dp::FeatureId AssignedCoordSystemTable::insertFeature(const dp::Feature& feature)
{
    return d->source->insertFeature(feature);
}

bool AssignedCoordSystemTable::updateFeature(const dp::Feature& feature)
{
    return d->source->updateFeature(feature);
}

bool AssignedCoordSystemTable::removeFeature(const dp::FeatureId& id)
{
    return d->source->removeFeature(id);
}

} // namespace tessera::shell
