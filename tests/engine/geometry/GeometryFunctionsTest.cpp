// Predicates, constructions, coordinate-system functions and conversions,
// called through SQL. SpatiaLite's own functions (GeomFromText, AsText,
// ST_SRID, ST_IsValid, ST_Contains, ...) make and inspect the geometries, so
// the results are checked by a second, independent implementation.

#include "tests/support/SqlGeometryHarness.h"
#include "tests/support/EngineApplication.h"

#include "platform/core/Core.h"
#include "platform/cs/CoordSystem.h"
#include "platform/geometry/MifService.h"

#include <cmath>
#include <string>

namespace tessera::engine::test {
namespace {

using namespace tessera::test;

constexpr double pi = 3.14159265358979323846;
constexpr double wgs84A = 6378137.0;

std::string geom(const std::string& wkt, int srid = 0)
{
    return "GeomFromText('" + wkt + "'" + (srid ? ", " + std::to_string(srid) : std::string()) + ")";
}

bool startsWith(const std::string& s, const std::string& prefix)
{
    return s.compare(0, prefix.size(), prefix) == 0;
}

const std::string A = geom("POLYGON((0 0, 4 0, 4 4, 0 4, 0 0))");
const std::string touching = geom("POLYGON((4 0, 8 0, 8 4, 4 4, 4 0))");      // shares A's right edge
const std::string overlapping = geom("POLYGON((1 -1, 11 -1, 11 5, 1 5, 1 -1))"); // holds A's centroid, not vice versa
const std::string disjoint = geom("POLYGON((10 10, 12 10, 12 12, 10 12, 10 10))");
const std::string nested = geom("POLYGON((0.5 0.5, 1.5 0.5, 1.5 1.5, 0.5 1.5, 0.5 0.5))");
const std::string holed = geom("POLYGON((0 0, 4 0, 4 4, 0 4, 0 0), (1 1, 3 1, 3 3, 1 3, 1 1))");
const std::string inHole = geom("POLYGON((1.5 1.5, 2.5 1.5, 2.5 2.5, 1.5 2.5, 1.5 1.5))");

struct Case {
    const std::string& a;
    const std::string& b;
    int intersects, contains, containsCentroid;
    const char* what;
};

TEST(GeometryFunctions, PredicatesOnTouchingOverlappingDisjointNestedAndHoledShapes)
{
    SqlGeometryHarness sql;
    const Case cases[] = {
        {A, touching, 1, 0, 0, "touching"},
        {touching, A, 1, 0, 0, "touching, swapped"},
        {overlapping, A, 1, 0, 1, "overlap holding the other's centroid"},
        {A, overlapping, 1, 0, 0, "overlap not holding the other's centroid"},
        {A, disjoint, 0, 0, 0, "disjoint"},
        {A, nested, 1, 1, 1, "nested"},
        {nested, A, 1, 0, 0, "nested, swapped"},
        {A, A, 1, 1, 1, "itself"},
        {holed, inHole, 0, 0, 0, "inside the hole"},
        {A, inHole, 1, 1, 1, "same square without the hole"},
        {holed, geom("POINT(2 2)"), 0, 0, 0, "point in the hole"},
        {holed, geom("POINT(0.5 0.5)"), 1, 1, 1, "point in the ring"},
        {holed, geom("LINESTRING(-1 2, 5 2)"), 1, 0, 0, "line across the hole"},
        // Zero-size boxes: a point and a horizontal line on A's boundary.
        {A, geom("POINT(4 2)"), 1, 0, 1, "point on the boundary"},
        {A, geom("LINESTRING(-1 4, 5 4)"), 1, 0, 1, "line along the top edge"},
        {A, geom("POINT(4.5 2)"), 0, 0, 0, "point just outside"},
    };
    for (const Case& c : cases) {
        const std::string args = "(" + c.a + ", " + c.b + ")";
        const std::string swapped = "(" + c.b + ", " + c.a + ")";
        EXPECT_EQ(sql.integer("Select GeometryIntersects" + args), c.intersects) << c.what;
        EXPECT_EQ(sql.integer("Select GeometryContains" + args), c.contains) << c.what;
        EXPECT_EQ(sql.integer("Select ContainsCentroid" + args), c.containsCentroid) << c.what;
        // The "within" forms are the same tests with the operands swapped.
        EXPECT_EQ(sql.integer("Select GeometryWithin" + swapped), c.contains) << c.what;
        EXPECT_EQ(sql.integer("Select CentroidWithin" + swapped), c.containsCentroid) << c.what;
        // SpatiaLite agrees on intersection and containment.
        EXPECT_EQ(sql.integer("Select ST_Intersects" + args), c.intersects) << c.what;
        EXPECT_EQ(sql.integer("Select ST_Contains" + args), c.contains) << c.what;
    }
}

TEST(GeometryFunctions, PredicatesTakeNullForNonGeometries)
{
    SqlGeometryHarness sql;
    for (const char* f : {"GeometryIntersects", "GeometryContains", "GeometryWithin", "ContainsCentroid", "CentroidWithin", "NearestPoints"}) {
        EXPECT_TRUE(sql.isNull(std::string("Select ") + f + "(NULL, " + A + ")")) << f;
        EXPECT_TRUE(sql.isNull(std::string("Select ") + f + "(" + A + ", NULL)")) << f;
        EXPECT_TRUE(sql.isNull(std::string("Select ") + f + "(" + A + ", X'DEADBEEF00112233')")) << f;
        EXPECT_TRUE(sql.isNull(std::string("Select ") + f + "('text', " + A + ")")) << f;
    }
}

TEST(GeometryFunctions, MixedCoordinateSystems)
{
    SqlGeometryHarness sql;
    // A bare geometry is taken to lie in the other's system: the nearest
    // points come out in WGS84 whichever operand carried it.
    const std::string lonLat = geom("POINT(10 50)", 4326);
    const std::string bareLine = geom("LINESTRING(11 49, 11 51)");
    EXPECT_EQ(sql.text("Select RetrieveCS(NearestPoints(" + lonLat + ", " + bareLine + "))"), "EPSG:4326");
    EXPECT_EQ(sql.text("Select RetrieveCS(NearestPoints(" + bareLine + ", " + lonLat + "))"), "EPSG:4326");
    EXPECT_EQ(sql.integer("Select GeometryIntersects(" + lonLat + ", " + geom("POLYGON((9 49, 11 49, 11 51, 9 51, 9 49))") + ")"), 1);
    EXPECT_EQ(sql.integer("Select CentroidWithin(" + lonLat + ", " + geom("POLYGON((9 49, 11 49, 11 51, 9 51, 9 49))") + ")"), 1);

    // Two different systems: compared after transformation. (10 50) in Web
    // Mercator is about (1113195, 6446276).
    const std::string mercatorBox = geom("POLYGON((1113000 6446000, 1114000 6446000, 1114000 6447000, 1113000 6447000, 1113000 6446000))", 3857);
    EXPECT_EQ(sql.integer("Select GeometryIntersects(" + mercatorBox + ", " + lonLat + ")"), 1);
    EXPECT_EQ(sql.integer("Select GeometryContains(" + mercatorBox + ", " + lonLat + ")"), 1);
    EXPECT_EQ(sql.integer("Select GeometryIntersects(" + mercatorBox + ", " + geom("POINT(10 51)", 4326) + ")"), 0);
}

TEST(GeometryFunctions, NearestPointsCentroidValidityAndResemblance)
{
    SqlGeometryHarness sql;
    EXPECT_EQ(sql.text("Select AsText(FromTesGeo(NearestPoints(" + geom("POINT(0 0)") + ", " + geom("LINESTRING(5 -1, 5 1)") + ")))"),
              "LINESTRING(0 0, 5 0)");
    EXPECT_EQ(sql.text("Select AsText(FromTesGeo(NearestPoints(" + geom("LINESTRING(5 -1, 5 1)") + ", " + geom("POINT(0 0)") + ")))"),
              "LINESTRING(5 0, 0 0)");

    // Centroid is a point on the shape even for a U whose centre of mass lies
    // in the notch; it is a SpatiaLite point that keeps the SRID.
    const std::string u = geom("POLYGON((0 0, 3 0, 3 3, 2 3, 2 1, 1 1, 1 3, 0 3, 0 0))", 3857);
    EXPECT_EQ(sql.text("Select GeometryType(Centroid(" + u + "))"), "POINT");
    EXPECT_EQ(sql.integer("Select ST_SRID(Centroid(" + u + "))"), 3857);
    EXPECT_EQ(sql.integer("Select ST_Contains(" + u + ", Centroid(" + u + "))"), 1);
    EXPECT_EQ(sql.integer("Select ST_Contains(" + u + ", MakePoint(CentroidX(" + u + "), CentroidY(" + u + "), 3857))"), 0);
    EXPECT_TRUE(sql.isNull("Select Centroid(NULL)"));

    // A bow tie becomes two valid triangles of area 1 each.
    const std::string bowTie = geom("POLYGON((0 0, 2 2, 2 0, 0 2, 0 0))");
    EXPECT_EQ(sql.integer("Select ST_IsValid(" + bowTie + ")"), 0);
    EXPECT_EQ(sql.integer("Select ST_IsValid(FromTesGeo(MakeValidGeo(" + bowTie + ")))"), 1);
    EXPECT_NEAR(sql.real("Select ST_Area(FromTesGeo(MakeValidGeo(" + bowTie + ")))"), 2.0, 1e-9);
    EXPECT_TRUE(sql.isNull("Select MakeValidGeo(X'00')"));

    // The resemblance of a straight line with many vertices keeps its ends.
    std::string wkt = "LINESTRING(";
    for (int i = 0; i <= 1000; ++i)
        wkt += (i ? ", " : "") + std::to_string(i) + " " + std::to_string(i * 0.5);
    wkt += ")";
    EXPECT_EQ(sql.text("Select AsText(FromTesGeo(Resemblance(" + geom(wkt) + ")))"), "LINESTRING(0 0, 1000 500)");
    EXPECT_TRUE(sql.isNull("Select Resemblance(NULL)"));
}

TEST(GeometryFunctions, RetrieveCoordinateSystems)
{
    SqlGeometryHarness sql;
    sql.engineCache().setTable("Roads", cs::CoordSysFactory::defaultCoordSysFactory()->createFromEpsg(3857));

    EXPECT_EQ(sql.text("Select RetrieveCS(" + geom("POINT(1 2)", 4326) + ")"), "EPSG:4326");
    EXPECT_EQ(sql.text("Select RetrieveCS('Roads')"), "EPSG:3857");
    EXPECT_EQ(sql.text("Select RetrieveTableCS('roads')"), "EPSG:3857");
    EXPECT_TRUE(sql.isNull("Select RetrieveCS('Rivers')"));
    EXPECT_TRUE(sql.isNull("Select RetrieveTableCS('Rivers')"));
    EXPECT_TRUE(sql.isNull("Select RetrieveCS(" + geom("POINT(1 2)") + ")"));   // a geometry without one
    EXPECT_TRUE(sql.isNull("Select RetrieveCS(NULL)"));
}

TEST(GeometryFunctions, TesGeoAndSpatiaLiteConversions)
{
    SqlGeometryHarness sql;
    const std::string p = geom("POINT(1 2)", 4326);

    // TesGeo is a format of its own that round-trips.
    EXPECT_EQ(sql.integer("Select ToTesGeo(" + p + ") <> " + p), 1);
    EXPECT_EQ(sql.text("Select AsText(FromTesGeo(ToTesGeo(" + p + ")))"), "POINT(1 2)");
    EXPECT_EQ(sql.integer("Select ST_SRID(FromTesGeo(ToTesGeo(" + p + ")))"), 4326);
    EXPECT_EQ(sql.text("Select RetrieveCS(ToTesGeo(" + p + "))"), "EPSG:4326");

    // A second argument relabels without moving the coordinates.
    EXPECT_EQ(sql.text("Select RetrieveCS(ToTesGeo(" + p + ", 'EPSG:3857'))"), "EPSG:3857");
    EXPECT_EQ(sql.text("Select AsText(FromTesGeo(ToTesGeo(" + p + ", 'EPSG:3857')))"), "POINT(1 2)");
    EXPECT_EQ(sql.integer("Select ST_SRID(FromTesGeo(ToTesGeo(" + geom("POINT(1 2)") + ", 'EPSG:32633')))"), 32633);
    // An unreadable coordinate system is ignored: the geometry keeps its own.
    EXPECT_EQ(sql.text("Select RetrieveCS(ToTesGeo(" + p + ", 'not a coordinate system'))"), "EPSG:4326");
    EXPECT_EQ(sql.text("Select AsText(FromTesGeo(ToTesGeo(" + p + ", NULL)))"), "POINT(1 2)");

    // SpatiaLite's own blob goes to its functions as it is: its Z survives.
    const std::string z = geom("POINTZ(1 2 3)", 4326);
    EXPECT_EQ(sql.integer("Select TesGeoToSpatiaLite(" + z + ") = " + z), 1);
    EXPECT_EQ(sql.text("Select AsText(TesGeoToSpatiaLite(" + z + "))"), "POINT Z(1 2 3)");

    EXPECT_TRUE(sql.isNull("Select ToTesGeo(NULL)"));
    EXPECT_TRUE(sql.isNull("Select FromTesGeo(X'0102030405')"));
    EXPECT_EQ(sql.error("Select ToTesGeo()"), "Invalid argument count. Usage: ToTesGeo (geometry[,coordinate system string]).");
}

// SpatiaLite reads no collection inside a collection and has no empty
// point: such values leave the engine flattened into their simple parts, or
// as NULL, never as another geometry.
TEST(GeometryFunctions, SpatiaLiteFormsOfNestedAndEmptyGeometries)
{
    SqlGeometryHarness sql;
    using namespace geometry;
    using Members = std::vector<std::shared_ptr<Geometry>>;
    const auto nested = std::make_shared<GeometryCollection>(Members{
        std::make_shared<GeometryCollection>(Members{std::make_shared<Point>(QPointF(0, 0)),
                                                     std::make_shared<LineString>(QVector<QPointF>{{1, 1}, {2, 2}})}),
        std::make_shared<MultiPoint>(QVector<QPointF>{{5, 5}, {6, 6}}),
        std::make_shared<Point>(),
        std::make_shared<GeometryCollection>(Members{
            std::make_shared<Polygon>(QVector<Ring>{{{0, 0}, {4, 0}, {4, 4}, {0, 0}}})})});
    const std::string g = tesGeoLiteral(nested);
    const std::string flat =
        "GEOMETRYCOLLECTION(POINT(0 0), POINT(5 5), POINT(6 6), LINESTRING(1 1, 2 2), POLYGON((0 0, 4 0, 4 4, 0 0)))";
    const struct {
        const char* name;
        std::string query;
        const char* expected;   // null: SQL NULL
    } cases[] = {
        {"FromTesGeo", "AsText(FromTesGeo(" + g + "))", flat.c_str()},
        {"TransformToSLGeo", "AsText(TransformToSLGeo(" + g + ", 'EPSG:4326'))", flat.c_str()},
        {"Centroid lies on a part", "ST_Intersects(Centroid(" + g + "), FromTesGeo(" + g + "))", "1"},
        // The same collection as plain WKB: GC(GC(POINT(0 0), LINESTRING(1 1, 2 2)), POINT(5 5)).
        {"plain WKB in",
         "AsText(FromTesGeo(X'01070000000200000001070000000200000001010000000000000000000000000000000000000001020000"
         "0002000000000000000000f03f000000000000f03f0000000000000040000000000000004001010000000000000000001440000000"
         "0000001440'))",
         "GEOMETRYCOLLECTION(POINT(0 0), POINT(5 5), LINESTRING(1 1, 2 2))"},
        {"empty point", "FromTesGeo(" + tesGeoLiteral(std::make_shared<Point>()) + ")", nullptr},
        {"empty point, transformed", "TransformToSLGeo(" + tesGeoLiteral(std::make_shared<Point>()) + ", 'EPSG:4326')",
         nullptr},
        {"collection of empty parts",
         "FromTesGeo(" + tesGeoLiteral(std::make_shared<GeometryCollection>(Members{std::make_shared<Point>(),
                                                                                    std::make_shared<Polygon>()}))
             + ")",
         nullptr},
    };
    for (const auto& c : cases) {
        const SqlValue r = sql.query("Select " + c.query);
        ASSERT_NE(r.type, 0) << c.name << ": " << r.error;
        if (!c.expected)
            EXPECT_EQ(r.type, SQLITE_NULL) << c.name;
        else
            EXPECT_EQ(r.type == SQLITE_INTEGER ? std::to_string(r.integer) : r.text.toStdString(), c.expected) << c.name;
    }
}

// SRID 0 means no coordinate system: a table whose system has no EPSG code
// (as a MIF file's may) registers it under its code, 0, when its columns are
// made; that must not give SRID-0 geometries that system.
TEST(GeometryFunctions, SridZeroStaysWithoutCoordinateSystem)
{
    SqlGeometryHarness sql;
    const auto custom = cs::CoordSysFactory::defaultCoordSysFactory()->createFromTaggedString(
        QStringLiteral("+proj=tmerc +lon_0=12 +k=1 +x_0=0 +y_0=0 +ellps=WGS84 +units=m +no_defs +type=crs"));
    ASSERT_TRUE(custom);
    ASSERT_EQ(custom->epsg(), 0);
    sql.engineCache().save(custom->epsg(), custom);
    EXPECT_EQ(sql.text("Select AsText(FromTesGeo(TransformToTesGeo(GeomFromText('POINT(0 0)'), 'EPSG:4326')))"),
              "POINT(0 0)");
    EXPECT_TRUE(sql.isNull("Select RetrieveCS(GeomFromText('POINT(0 0)'))"));
}

TEST(GeometryFunctions, TransformWithTwoAndThreeArguments)
{
    SqlGeometryHarness sql;
    const double x = wgs84A * 10.0 * pi / 180.0;
    const double y = wgs84A * std::log(std::tan(pi / 4 + 50.0 * pi / 360.0));
    const std::string bare = geom("POINT(10 50)");

    // Two arguments and no coordinate system: only labelled.
    EXPECT_EQ(sql.text("Select RetrieveCS(TransformToTesGeo(" + bare + ", 'EPSG:3857'))"), "EPSG:3857");
    EXPECT_DOUBLE_EQ(sql.real("Select CentroidX(TransformToTesGeo(" + bare + ", 'EPSG:3857'))"), 10.0);
    // Three: labelled with the third, then transformed into the second.
    EXPECT_NEAR(sql.real("Select CentroidX(TransformToTesGeo(" + bare + ", 'EPSG:3857', 'EPSG:4326'))"), x, 1e-3);
    EXPECT_NEAR(sql.real("Select CentroidY(TransformToTesGeo(" + bare + ", 'EPSG:3857', 'EPSG:4326'))"), y, 1e-3);
    // A geometry with its own system ignores the default.
    const std::string lonLat = geom("POINT(10 50)", 4326);
    EXPECT_NEAR(sql.real("Select CentroidX(TransformToTesGeo(" + lonLat + ", 'EPSG:3857', 'EPSG:32633'))"), x, 1e-3);
    EXPECT_NEAR(sql.real("Select CentroidX(TransformToTesGeo(" + lonLat + ", 'EPSG:3857'))"), x, 1e-3);
    // And back.
    const std::string mercator = "GeomFromText('POINT(" + std::to_string(x) + " " + std::to_string(y) + ")', 3857)";
    EXPECT_NEAR(sql.real("Select CentroidY(TransformToTesGeo(" + mercator + ", 'EPSG:4326'))"), 50.0, 1e-7);

    // The SpatiaLite form carries the target's SRID.
    EXPECT_EQ(sql.integer("Select ST_SRID(TransformToSLGeo(" + lonLat + ", 'EPSG:3857'))"), 3857);
    EXPECT_NEAR(sql.real("Select ST_X(TransformToSLGeo(" + lonLat + ", 'EPSG:3857'))"), x, 1e-3);
    EXPECT_NEAR(sql.real("Select ST_Y(TransformToSLGeo(" + bare + ", 'EPSG:3857', 'EPSG:4326'))"), y, 1e-3);
    EXPECT_EQ(sql.integer("Select ST_SRID(TransformToSLGeo(" + bare + ", 'EPSG:3857'))"), 3857);

    // Failures.
    EXPECT_TRUE(sql.isNull("Select TransformToTesGeo(NULL, 'EPSG:3857')"));
    EXPECT_TRUE(sql.isNull("Select TransformToSLGeo(X'01', 'EPSG:3857')"));
    EXPECT_TRUE(startsWith(sql.error("Select TransformToTesGeo(" + lonLat + ", 'no such system')"), "Invalid coordinate system: "));
    EXPECT_TRUE(startsWith(sql.error("Select TransformToSLGeo(" + lonLat + ", NULL)"), "Invalid coordinate system: "));
    EXPECT_EQ(sql.error("Select TransformToTesGeo(" + lonLat + ")"),
              "Invalid argument count. Usage: TransformToTesGeo (geometry[,target coordinate system string[,default coordinate system string]]).");
    EXPECT_EQ(sql.error("Select TransformToSLGeo()"),
              "Invalid argument count. Usage: TransformToSLGeo (geometry[,target coordinate system string[,default coordinate system string]]).");
}

TEST(GeometryFunctions, FromMifNeedsTheMifService)
{
    SqlGeometryHarness sql;
    {
        Core core;   // a registry without the service
        EXPECT_TRUE(sql.isNull("Select FromMif('Point 1 2')"));
    }
    EXPECT_TRUE(sql.isNull("Select FromMif('Point 1 2')"));   // no registry at all
    EXPECT_EQ(sql.error("Select FromMif()"), "Invalid argument count. Usage: FromMif (geometry string[,coordinate system string]).");
}

TEST(GeometryFunctions, FromMifReadsSeveralKinds)
{
    Core core;
    core.registerService(new geometry::MifService(&core));
    SqlGeometryHarness sql;

    EXPECT_EQ(sql.text("Select AsText(FromTesGeo(FromMif('Point 1 2')))"), "POINT(1 2)");
    // The comma is the decimal separator of the reading set-up.
    EXPECT_EQ(sql.text("Select AsText(FromTesGeo(FromMif('Point 1,5 2,25')))"), "POINT(1.5 2.25)");
    EXPECT_EQ(sql.text("Select AsText(FromTesGeo(FromMif('Line 0 0 3 4')))"), "LINESTRING(0 0, 3 4)");
    EXPECT_NEAR(sql.real("Select ObjectLen(FromMif('Pline 3 0 0 3 0 3 4  Pen (1,2,0)'), 'm')"), 7.0, 1e-12);
    EXPECT_NEAR(sql.real("Select ObjectArea(FromMif('Region 2\n 5\n 0 0\n 10 0\n 10 10\n 0 10\n 0 0\n 5\n 2 2\n 4 2\n 4 4\n 2 4\n 2 2\n Brush (2,16777215,0)'), 'sq m')"), 96.0, 1e-9);
    // A quarter arc of radius 5 cut into segments; an ellipse stays a curve in
    // TesGeo and becomes a polygon in SpatiaLite.
    EXPECT_NEAR(sql.real("Select ObjectLen(FromMif('Arc 0 0 10 10 0 90'), 'm')"), 2 * pi * 5 / 4, 1e-3);
    EXPECT_EQ(sql.text("Select GeometryType(FromTesGeo(FromMif('Ellipse 0 0 4 2')))"), "POLYGON");
    EXPECT_NEAR(sql.real("Select ObjectArea(FromMif('Ellipse 0 0 4 2'), 'sq m')"), pi * 2 * 1, 0.02);

    // Coordinate system: put on when valid, ignored otherwise.
    EXPECT_EQ(sql.text("Select RetrieveCS(FromMif('Point 10 50', 'EPSG:4326'))"), "EPSG:4326");
    EXPECT_TRUE(sql.isNull("Select RetrieveCS(FromMif('Point 10 50', 'garbage'))"));
    EXPECT_EQ(sql.text("Select AsText(FromTesGeo(FromMif('Point 10 50', 'garbage')))"), "POINT(10 50)");

    // Malformed text is an error, NULL text is NULL, "None" is no geometry.
    EXPECT_FALSE(sql.error("Select FromMif('Pline banana')").empty());
    EXPECT_FALSE(sql.error("Select FromMif('Region 1 4 0 0')").empty());
    EXPECT_TRUE(sql.isNull("Select FromMif(NULL)"));
    EXPECT_TRUE(sql.isNull("Select FromMif('None')"));
}

} // namespace
} // namespace tessera::engine::test
