#pragma once
// The host geometry model: planar 2D geometries with an optional coordinate
// system. Geometries are built mutable and then shared as
// std::shared_ptr<const Geometry>.
//
// Archive form (through serialization::TrackingOutputArchive, class tag =
// className(), version 0; counts quint32, coordinates and numbers doubles as
// described in serialization/StreamIo.h; the coordinate system is not
// written, whoever stores a geometry stores it apart):
//   points  = count n, then n pairs x, y
//   rect    = x, y, width, height
//   Point              quint8 1 when empty (nothing follows), else 0, x, y
//   MultiPoint         points
//   LineString         points
//   MultiLineString    count, then that many points
//   Polygon            count of rings, then that many points
//   MultiPolygon       count of polygons, each a count of rings and the rings
//   GeometryCollection count, then that many members written as objects,
//                      each in full (members are never shared, and a reader
//                      refuses references); empty member pointers are left out
//   Arc                rect, startAngle, endAngle
//   Ellipse            rect
//   RoundedRectangle   rect, radiusX, radiusY
//   Text               QString text, rect, angle

#include "platform/geometry/GeometryExport.h"
#include "platform/serialization/Archive.h"

#include <QPointF>
#include <QRectF>
#include <QSizeF>
#include <QString>
#include <QVector>
#include <functional>
#include <memory>

namespace tessera::cs { class CoordSystem; }

namespace tessera::geometry {

using CoordSystemPtr = std::shared_ptr<cs::CoordSystem>;
using Ring = QVector<QPointF>;   // closed rings repeat their first point last

enum class GeometryType {
    Point = 1,
    LineString = 2,
    Polygon = 3,
    MultiPoint = 4,
    MultiLineString = 5,
    MultiPolygon = 6,
    Collection = 7,
    // Curves and shapes without a WKB form of their own; they approximate.
    Arc = 100,
    Ellipse = 101,
    RoundedRectangle = 102,
    Text = 103,
};

class Geometry;
using GeometryPtr = std::shared_ptr<Geometry>;
using ConstGeometryPtr = std::shared_ptr<const Geometry>;

class TESSERA_GEOMETRY_EXPORT Geometry : public serialization::Serializable {
public:
    ~Geometry() override;

    // A geometry that looks like this one but is simpler to draw or compare
    // (the fallback when no resemblance extension answers): newly allocated.
    // The default is a linear copy (curves and shapes approximated) whose
    // lines and rings are simplified with Douglas-Peucker at a tolerance of
    // resemblanceFraction times the larger side of the bounding box; rings
    // that would collapse keep their points (exteriors) or are left out
    // (holes). Points are kept as they are.
    virtual std::unique_ptr<Geometry> resemblance() const;
    static constexpr double resemblanceFraction = 1.0 / 1000.0;

    virtual GeometryType type() const = 0;
    virtual std::unique_ptr<Geometry> clone() const = 0;
    virtual bool isEmpty() const = 0;
    virtual QRectF boundingRect() const = 0;

    const CoordSystemPtr& coordSystem() const { return cs; }
    void setCoordSystem(CoordSystemPtr coordSystem) { cs = std::move(coordSystem); }

    // A copy in another coordinate system (coordinates transformed with PROJ,
    // x being longitude or easting). Shapes (arcs, ellipses, rounded
    // rectangles, texts) stay axis-aligned: their boxes are mapped corner by
    // corner. Throws std::runtime_error when this geometry has no coordinate
    // system, the target is empty, or PROJ cannot transform the coordinates.
    std::shared_ptr<Geometry> transformed(const CoordSystemPtr& target) const;

    // Applies f to every coordinate (used by transformations).
    virtual void transformPoints(const std::function<QPointF(const QPointF&)>& f) = 0;

    // Serializable: className() is the concrete class name ("Point", ...).
    void save(serialization::TrackingOutputArchive& archive) const override;

protected:
    Geometry() = default;
    Geometry(const Geometry&) = default;
    virtual void saveBody(serialization::TrackingOutputArchive& archive) const = 0;

private:
    CoordSystemPtr cs;
};

class TESSERA_GEOMETRY_EXPORT Point final : public Geometry {
public:
    Point() = default;
    explicit Point(QPointF p) : pos(p), empty(false) {}
    GeometryType type() const override { return GeometryType::Point; }
    std::unique_ptr<Geometry> clone() const override { return std::make_unique<Point>(*this); }
    bool isEmpty() const override { return empty; }
    QRectF boundingRect() const override;
    QString className() const override { return QStringLiteral("Point"); }
    void transformPoints(const std::function<QPointF(const QPointF&)>& f) override { if (!empty) pos = f(pos); }
    QPointF point() const { return pos; }
    // Reads what saveBody() wrote; throws serialization::Error.
    static std::shared_ptr<Point> load(serialization::TrackingInputArchive& archive, quint32 version);
protected:
    void saveBody(serialization::TrackingOutputArchive& archive) const override;
private:
    QPointF pos;
    bool empty = true;
};

class TESSERA_GEOMETRY_EXPORT MultiPoint final : public Geometry {
public:
    MultiPoint() = default;
    explicit MultiPoint(QVector<QPointF> pts) : pts(std::move(pts)) {}
    GeometryType type() const override { return GeometryType::MultiPoint; }
    std::unique_ptr<Geometry> clone() const override { return std::make_unique<MultiPoint>(*this); }
    bool isEmpty() const override { return pts.isEmpty(); }
    QRectF boundingRect() const override;
    QString className() const override { return QStringLiteral("MultiPoint"); }
    void transformPoints(const std::function<QPointF(const QPointF&)>& f) override;
    const QVector<QPointF>& points() const { return pts; }
    // Reads what saveBody() wrote; throws serialization::Error.
    static std::shared_ptr<MultiPoint> load(serialization::TrackingInputArchive& archive, quint32 version);
protected:
    void saveBody(serialization::TrackingOutputArchive& archive) const override;
private:
    QVector<QPointF> pts;
};

class TESSERA_GEOMETRY_EXPORT LineString final : public Geometry {
public:
    LineString() = default;
    explicit LineString(QVector<QPointF> pts) : pts(std::move(pts)) {}
    GeometryType type() const override { return GeometryType::LineString; }
    std::unique_ptr<Geometry> clone() const override { return std::make_unique<LineString>(*this); }
    bool isEmpty() const override { return pts.isEmpty(); }
    QRectF boundingRect() const override;
    QString className() const override { return QStringLiteral("LineString"); }
    void transformPoints(const std::function<QPointF(const QPointF&)>& f) override;
    const QVector<QPointF>& points() const { return pts; }
    // Reads what saveBody() wrote; throws serialization::Error.
    static std::shared_ptr<LineString> load(serialization::TrackingInputArchive& archive, quint32 version);
protected:
    void saveBody(serialization::TrackingOutputArchive& archive) const override;
private:
    QVector<QPointF> pts;
};

class TESSERA_GEOMETRY_EXPORT MultiLineString final : public Geometry {
public:
    MultiLineString() = default;
    explicit MultiLineString(QVector<QVector<QPointF>> lines) : ls(std::move(lines)) {}
    GeometryType type() const override { return GeometryType::MultiLineString; }
    std::unique_ptr<Geometry> clone() const override { return std::make_unique<MultiLineString>(*this); }
    bool isEmpty() const override { return ls.isEmpty(); }
    QRectF boundingRect() const override;
    QString className() const override { return QStringLiteral("MultiLineString"); }
    void transformPoints(const std::function<QPointF(const QPointF&)>& f) override;
    const QVector<QVector<QPointF>>& lines() const { return ls; }
    // Reads what saveBody() wrote; throws serialization::Error.
    static std::shared_ptr<MultiLineString> load(serialization::TrackingInputArchive& archive, quint32 version);
protected:
    void saveBody(serialization::TrackingOutputArchive& archive) const override;
private:
    QVector<QVector<QPointF>> ls;
};

// A polygon: the first ring is the exterior, the others are holes.
class TESSERA_GEOMETRY_EXPORT Polygon final : public Geometry {
public:
    Polygon() = default;
    explicit Polygon(QVector<Ring> rings) : rs(std::move(rings)) {}
    GeometryType type() const override { return GeometryType::Polygon; }
    std::unique_ptr<Geometry> clone() const override { return std::make_unique<Polygon>(*this); }
    bool isEmpty() const override { return rs.isEmpty() || rs.front().isEmpty(); }
    QRectF boundingRect() const override;
    QString className() const override { return QStringLiteral("Polygon"); }
    void transformPoints(const std::function<QPointF(const QPointF&)>& f) override;
    const QVector<Ring>& rings() const { return rs; }
    // Reads what saveBody() wrote; throws serialization::Error.
    static std::shared_ptr<Polygon> load(serialization::TrackingInputArchive& archive, quint32 version);
protected:
    void saveBody(serialization::TrackingOutputArchive& archive) const override;
private:
    QVector<Ring> rs;
};

class TESSERA_GEOMETRY_EXPORT MultiPolygon final : public Geometry {
public:
    MultiPolygon() = default;
    explicit MultiPolygon(QVector<QVector<Ring>> polygons) : ps(std::move(polygons)) {}
    GeometryType type() const override { return GeometryType::MultiPolygon; }
    std::unique_ptr<Geometry> clone() const override { return std::make_unique<MultiPolygon>(*this); }
    bool isEmpty() const override { return ps.isEmpty(); }
    QRectF boundingRect() const override;
    QString className() const override { return QStringLiteral("MultiPolygon"); }
    void transformPoints(const std::function<QPointF(const QPointF&)>& f) override;
    const QVector<QVector<Ring>>& polygons() const { return ps; }
    // Reads what saveBody() wrote; throws serialization::Error.
    static std::shared_ptr<MultiPolygon> load(serialization::TrackingInputArchive& archive, quint32 version);
protected:
    void saveBody(serialization::TrackingOutputArchive& archive) const override;
private:
    QVector<QVector<Ring>> ps;
};

// A heterogeneous collection. Members carry no coordinate system of their own.
class TESSERA_GEOMETRY_EXPORT GeometryCollection final : public Geometry {
public:
    GeometryCollection() = default;
    explicit GeometryCollection(std::vector<std::shared_ptr<Geometry>> members) : ms(std::move(members)) {}
    GeometryCollection(const GeometryCollection& other);
    GeometryCollection& operator=(const GeometryCollection& other);
    GeometryType type() const override { return GeometryType::Collection; }
    std::unique_ptr<Geometry> clone() const override { return std::make_unique<GeometryCollection>(*this); }
    bool isEmpty() const override;
    QRectF boundingRect() const override;
    QString className() const override { return QStringLiteral("GeometryCollection"); }
    void transformPoints(const std::function<QPointF(const QPointF&)>& f) override;
    const std::vector<std::shared_ptr<Geometry>>& members() const { return ms; }
    // Reads what saveBody() wrote; throws serialization::Error.
    static std::shared_ptr<GeometryCollection> load(serialization::TrackingInputArchive& archive, quint32 version);
protected:
    void saveBody(serialization::TrackingOutputArchive& archive) const override;
private:
    std::vector<std::shared_ptr<Geometry>> ms;
};

// Geometries without an exact linear form. approximateGeometry() gives the
// linear form; `size` is the size of one output pixel in the geometry's units
// (an invalid size asks for the default precision: area and length within
// 1e-6 of the curve's, see Approximation.h).
// The linear form carries the coordinate system of the original.
class TESSERA_GEOMETRY_EXPORT ApproximableCurve : public Geometry {
public:
    virtual std::unique_ptr<Geometry> approximateGeometry(const QSizeF& size) const = 0;
};

class TESSERA_GEOMETRY_EXPORT ApproximableSurface : public Geometry {
public:
    virtual std::unique_ptr<Geometry> approximateGeometry(const QSizeF& size) const = 0;
};

// A circular or elliptical arc inside `rect`, from startAngle to endAngle
// (degrees, counter-clockwise from the positive x axis). The arc always runs
// counter-clockwise; equal angles (modulo 360) make a full turn. An angle
// gives the direction from the centre to the point of the ellipse.
class TESSERA_GEOMETRY_EXPORT Arc final : public ApproximableCurve {
public:
    Arc(QRectF rect, double startAngle, double endAngle) : r(rect), a0(startAngle), a1(endAngle) {}
    GeometryType type() const override { return GeometryType::Arc; }
    std::unique_ptr<Geometry> clone() const override { return std::make_unique<Arc>(*this); }
    bool isEmpty() const override { return r.isNull(); }
    QRectF boundingRect() const override;
    QString className() const override { return QStringLiteral("Arc"); }
    void transformPoints(const std::function<QPointF(const QPointF&)>& f) override;
    std::unique_ptr<Geometry> approximateGeometry(const QSizeF& size) const override;
    QRectF rect() const { return r; }
    double startAngle() const { return a0; }
    double endAngle() const { return a1; }
    // Reads what saveBody() wrote; throws serialization::Error.
    static std::shared_ptr<Arc> load(serialization::TrackingInputArchive& archive, quint32 version);
protected:
    void saveBody(serialization::TrackingOutputArchive& archive) const override;
private:
    QRectF r;
    double a0, a1;
};

class TESSERA_GEOMETRY_EXPORT Ellipse final : public ApproximableSurface {
public:
    explicit Ellipse(QRectF rect) : r(rect) {}
    GeometryType type() const override { return GeometryType::Ellipse; }
    std::unique_ptr<Geometry> clone() const override { return std::make_unique<Ellipse>(*this); }
    bool isEmpty() const override { return r.isNull(); }
    QRectF boundingRect() const override { return r.normalized(); }
    QString className() const override { return QStringLiteral("Ellipse"); }
    void transformPoints(const std::function<QPointF(const QPointF&)>& f) override;
    std::unique_ptr<Geometry> approximateGeometry(const QSizeF& size) const override;
    QRectF rect() const { return r; }
    // Reads what saveBody() wrote; throws serialization::Error.
    static std::shared_ptr<Ellipse> load(serialization::TrackingInputArchive& archive, quint32 version);
protected:
    void saveBody(serialization::TrackingOutputArchive& archive) const override;
private:
    QRectF r;
};

// A rectangle with corners rounded by quarter ellipses of the given radii.
class TESSERA_GEOMETRY_EXPORT RoundedRectangle final : public ApproximableSurface {
public:
    RoundedRectangle(QRectF rect, double rx, double ry) : r(rect), rx(rx), ry(ry) {}
    GeometryType type() const override { return GeometryType::RoundedRectangle; }
    std::unique_ptr<Geometry> clone() const override { return std::make_unique<RoundedRectangle>(*this); }
    bool isEmpty() const override { return r.isNull(); }
    QRectF boundingRect() const override { return r.normalized(); }
    QString className() const override { return QStringLiteral("RoundedRectangle"); }
    void transformPoints(const std::function<QPointF(const QPointF&)>& f) override;
    std::unique_ptr<Geometry> approximateGeometry(const QSizeF& size) const override;
    QRectF rect() const { return r; }
    double radiusX() const { return rx; }
    double radiusY() const { return ry; }
    // Reads what saveBody() wrote; throws serialization::Error.
    static std::shared_ptr<RoundedRectangle> load(serialization::TrackingInputArchive& archive, quint32 version);
protected:
    void saveBody(serialization::TrackingOutputArchive& archive) const override;
private:
    QRectF r;
    double rx, ry;
};

// A text label placed in a box; measured and compared as that box (the
// approximation is the box itself; the angle only orients the lettering).
class TESSERA_GEOMETRY_EXPORT Text final : public ApproximableSurface {
public:
    Text(QString text, QRectF box, double angle = 0.0) : t(std::move(text)), r(box), ang(angle) {}
    GeometryType type() const override { return GeometryType::Text; }
    std::unique_ptr<Geometry> clone() const override { return std::make_unique<Text>(*this); }
    bool isEmpty() const override { return r.isNull(); }
    QRectF boundingRect() const override { return r.normalized(); }
    QString className() const override { return QStringLiteral("Text"); }
    void transformPoints(const std::function<QPointF(const QPointF&)>& f) override;
    std::unique_ptr<Geometry> approximateGeometry(const QSizeF& size) const override;
    QString text() const { return t; }
    QRectF box() const { return r; }
    double angle() const { return ang; }
    // Reads what saveBody() wrote; throws serialization::Error.
    static std::shared_ptr<Text> load(serialization::TrackingInputArchive& archive, quint32 version);
protected:
    void saveBody(serialization::TrackingOutputArchive& archive) const override;
private:
    QString t;
    QRectF r;
    double ang;
};

// The linear form of any geometry: curves and shapes approximated, other
// geometries returned as they are (shared, not copied).
TESSERA_GEOMETRY_EXPORT ConstGeometryPtr linearized(const ConstGeometryPtr& g);

// Registers the loaders of every geometry class with
// serialization::SerializableRegistry. Runs by itself when the library is
// loaded; calling it again does nothing.
TESSERA_GEOMETRY_EXPORT void registerGeometryClasses();

} // namespace tessera::geometry
