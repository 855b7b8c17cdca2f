#include "platform/geometry/Geometry.h"

#include "platform/cs/CoordTransformation.h"
#include "platform/geometry/Simplification.h"

#include <algorithm>
#include <mutex>
#include <stdexcept>

namespace tessera::geometry {

namespace {

template <class T>
void registerClass(serialization::SerializableRegistry& registry, const QString& name)
{
    registry.add(name, [](serialization::TrackingInputArchive& archive, quint32 version) {
        return std::shared_ptr<serialization::Serializable>(T::load(archive, version));
    });
}

// Geometry.cpp holds the key function of Geometry, so it is linked into every
// program that makes or inspects geometries; loading the library registers
// the classes before anything can be read.
[[maybe_unused]] const bool classesRegistered = (registerGeometryClasses(), true);

double toleranceFor(const QRectF& box)
{
    return Geometry::resemblanceFraction * std::max(box.width(), box.height());
}

// A closed ring needs four points; fewer means it collapsed.
bool isRing(const Ring& ring)
{
    return ring.size() >= 4;
}

QVector<Ring> simplifiedRings(const QVector<Ring>& rings, double tolerance)
{
    QVector<Ring> result;
    result.reserve(rings.size());
    for (int i = 0; i < rings.size(); ++i) {
        Ring simple = simplifyDouglasPeucker(rings[i], tolerance);
        if (isRing(simple))
            result.append(std::move(simple));
        else if (i == 0)
            result.append(rings[i]);   // the exterior keeps its shape, however small
    }
    return result;
}

std::unique_ptr<Geometry> simplified(const Geometry& g, double tolerance)
{
    switch (g.type()) {
    case GeometryType::LineString:
        return std::make_unique<LineString>(
            simplifyDouglasPeucker(static_cast<const LineString&>(g).points(), tolerance));
    case GeometryType::MultiLineString: {
        QVector<QVector<QPointF>> lines;
        for (const auto& line : static_cast<const MultiLineString&>(g).lines())
            lines.append(simplifyDouglasPeucker(line, tolerance));
        return std::make_unique<MultiLineString>(std::move(lines));
    }
    case GeometryType::Polygon:
        return std::make_unique<Polygon>(simplifiedRings(static_cast<const Polygon&>(g).rings(), tolerance));
    case GeometryType::MultiPolygon: {
        QVector<QVector<Ring>> polygons;
        for (const auto& polygon : static_cast<const MultiPolygon&>(g).polygons())
            polygons.append(simplifiedRings(polygon, tolerance));
        return std::make_unique<MultiPolygon>(std::move(polygons));
    }
    case GeometryType::Collection: {
        std::vector<std::shared_ptr<Geometry>> members;
        for (const auto& member : static_cast<const GeometryCollection&>(g).members())
            if (member)
                members.push_back(simplified(*member, tolerance));
        return std::make_unique<GeometryCollection>(std::move(members));
    }
    default:
        return g.clone();
    }
}

bool hasCurves(const Geometry& g)
{
    if (dynamic_cast<const ApproximableCurve*>(&g) || dynamic_cast<const ApproximableSurface*>(&g))
        return true;
    if (g.type() != GeometryType::Collection)
        return false;
    const auto& members = static_cast<const GeometryCollection&>(g).members();
    return std::any_of(members.begin(), members.end(), [](const auto& m) { return m && hasCurves(*m); });
}

std::unique_ptr<Geometry> linearCopy(const Geometry& g)
{
    if (const auto* curve = dynamic_cast<const ApproximableCurve*>(&g))
        return curve->approximateGeometry(QSizeF());
    if (const auto* surface = dynamic_cast<const ApproximableSurface*>(&g))
        return surface->approximateGeometry(QSizeF());
    if (g.type() != GeometryType::Collection)
        return g.clone();
    std::vector<std::shared_ptr<Geometry>> members;
    for (const auto& member : static_cast<const GeometryCollection&>(g).members()) {
        if (!member)
            continue;
        std::shared_ptr<Geometry> linear = linearCopy(*member);
        linear->setCoordSystem({});
        members.push_back(std::move(linear));
    }
    auto result = std::make_unique<GeometryCollection>(std::move(members));
    result->setCoordSystem(g.coordSystem());
    return result;
}

} // namespace

Geometry::~Geometry() = default;

void Geometry::save(serialization::TrackingOutputArchive& archive) const
{
    saveBody(archive);
}

std::unique_ptr<Geometry> Geometry::resemblance() const
{
    std::unique_ptr<Geometry> linear = linearCopy(*this);
    std::unique_ptr<Geometry> result;
    if (linear->isEmpty())
        result = std::move(linear);
    else
        result = simplified(*linear, toleranceFor(linear->boundingRect()));
    result->setCoordSystem(coordSystem());
    return result;
}

std::shared_ptr<Geometry> Geometry::transformed(const CoordSystemPtr& target) const
{
    if (!cs)
        throw std::runtime_error("The geometry has no coordinate system to transform from");
    if (!target)
        throw std::runtime_error("No coordinate system to transform the geometry to");
    std::shared_ptr<Geometry> result = clone();
    if (cs != target) {
        const cs::CoordTransformation transformation(*cs, *target);
        result->transformPoints([&transformation](const QPointF& p) { return transformation.transform(p); });
    }
    result->setCoordSystem(target);
    return result;
}

ConstGeometryPtr linearized(const ConstGeometryPtr& g)
{
    if (!g || !hasCurves(*g))
        return g;
    return linearCopy(*g);
}

void registerGeometryClasses()
{
    static std::once_flag once;
    std::call_once(once, [] {
        auto& registry = serialization::SerializableRegistry::instance();
        registerClass<Point>(registry, QStringLiteral("Point"));
        registerClass<MultiPoint>(registry, QStringLiteral("MultiPoint"));
        registerClass<LineString>(registry, QStringLiteral("LineString"));
        registerClass<MultiLineString>(registry, QStringLiteral("MultiLineString"));
        registerClass<Polygon>(registry, QStringLiteral("Polygon"));
        registerClass<MultiPolygon>(registry, QStringLiteral("MultiPolygon"));
        registerClass<GeometryCollection>(registry, QStringLiteral("GeometryCollection"));
        registerClass<Arc>(registry, QStringLiteral("Arc"));
        registerClass<Ellipse>(registry, QStringLiteral("Ellipse"));
        registerClass<RoundedRectangle>(registry, QStringLiteral("RoundedRectangle"));
        registerClass<Text>(registry, QStringLiteral("Text"));
    });
}

} // namespace tessera::geometry
