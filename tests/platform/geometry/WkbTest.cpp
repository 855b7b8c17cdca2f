#include "GeometrySamples.h"

#include "platform/cs/CoordSystem.h"
#include "platform/geometry/GeometryFactory.h"

#include <gtest/gtest.h>

#include <QtEndian>
#include <cmath>

using namespace tessera;
using namespace tessera::geometry;

namespace {

// Little-endian WKB pieces for hand-made input.
QByteArray u32(quint32 v)
{
    QByteArray out(4, '\0');
    qToLittleEndian(v, out.data());
    return out;
}

QByteArray f64(double v)
{
    QByteArray out(8, '\0');
    qToLittleEndian(v, out.data());
    return out;
}

QByteArray head(quint32 type)
{
    return QByteArray(1, '\1') + u32(type);
}

} // namespace

TEST(Wkb, LinearKindsRoundTripInBothByteOrders)
{
    const auto mercator = cs::CoordSysFactory::defaultCoordSysFactory()->createFromEpsg(3857);
    for (const auto& g : test::linearSamples()) {
        SCOPED_TRACE(g->className().toStdString());
        const QByteArray little = GeometryFactory::toWkb(g, QSysInfo::LittleEndian);
        const QByteArray big = GeometryFactory::toWkb(g, QSysInfo::BigEndian);
        ASSERT_EQ(little.size(), big.size());
        EXPECT_EQ(little.at(0), 1);
        EXPECT_EQ(big.at(0), 0);
        EXPECT_NE(little, big);
        for (const QByteArray& wkb : {little, big}) {
            const auto back = GeometryFactory::fromWkb(wkb, mercator);
            ASSERT_TRUE(back);
            EXPECT_TRUE(test::sameGeometry(*back, *g));
            EXPECT_EQ(back->coordSystem(), mercator);
        }
        EXPECT_FALSE(GeometryFactory::fromWkb(little)->coordSystem());
        EXPECT_EQ(GeometryFactory::toWkb(GeometryFactory::fromWkb(big), QSysInfo::LittleEndian), little);
    }
    EXPECT_TRUE(GeometryFactory::toWkb(nullptr).isEmpty());
}

TEST(Wkb, ExactBytes)
{
    EXPECT_EQ(GeometryFactory::toWkb(std::make_shared<Point>(QPointF(1, 2)), QSysInfo::BigEndian).toHex(),
              "00000000013ff00000000000004000000000000000");
    EXPECT_EQ(GeometryFactory::toWkb(std::make_shared<Point>(QPointF(1, 2))), head(1) + f64(1) + f64(2));
    // An empty point is written with NaN coordinates.
    const QByteArray empty = GeometryFactory::toWkb(std::make_shared<Point>());
    ASSERT_EQ(empty.size(), 21);
    EXPECT_TRUE(std::isnan(qFromLittleEndian<double>(empty.constData() + 5)));
    EXPECT_TRUE(std::isnan(qFromLittleEndian<double>(empty.constData() + 13)));
    // Members of multi geometries carry their own header.
    EXPECT_EQ(GeometryFactory::toWkb(std::make_shared<MultiPoint>(QVector<QPointF>{{1, 2}})),
              head(4) + u32(1) + head(1) + f64(1) + f64(2));
    EXPECT_EQ(GeometryFactory::toWkb(std::make_shared<Polygon>(QVector<Ring>{{{0, 0}, {1, 0}, {0, 1}, {0, 0}}})),
              head(3) + u32(1) + u32(4) + f64(0) + f64(0) + f64(1) + f64(0) + f64(0) + f64(1) + f64(0) + f64(0));
}

TEST(Wkb, ShapesAreWrittenAsTheirApproximation)
{
    for (const auto& g : test::shapeSamples()) {
        SCOPED_TRACE(g->className().toStdString());
        std::unique_ptr<Geometry> linear;
        if (auto* curve = dynamic_cast<ApproximableCurve*>(g.get()))
            linear = curve->approximateGeometry(QSizeF());
        else
            linear = dynamic_cast<ApproximableSurface&>(*g).approximateGeometry(QSizeF());
        const QByteArray wkb = GeometryFactory::toWkb(g);
        EXPECT_EQ(wkb, GeometryFactory::toWkb(std::move(linear)));
        const auto back = GeometryFactory::fromWkb(wkb);
        EXPECT_EQ(back->type(), g->type() == GeometryType::Arc ? GeometryType::LineString : GeometryType::Polygon);
    }
    // Inside a collection too.
    auto collection = std::make_shared<GeometryCollection>(
        std::vector<std::shared_ptr<Geometry>>{std::make_shared<Ellipse>(QRectF(0, 0, 2, 2))});
    const auto back = std::dynamic_pointer_cast<GeometryCollection>(
        GeometryFactory::fromWkb(GeometryFactory::toWkb(collection)));
    ASSERT_TRUE(back);
    ASSERT_EQ(back->members().size(), 1u);
    EXPECT_EQ(back->members()[0]->type(), GeometryType::Polygon);
    EXPECT_GT(static_cast<const Polygon&>(*back->members()[0]).rings().at(0).size(), 1000);
}

TEST(Wkb, ExtraOrdinatesAreDropped)
{
    const QPointF a(1, 2), b(3, 4);
    auto line = [&](quint32 type, int extra, bool ewkbSrid = false) {
        QByteArray out = head(type);
        if (ewkbSrid)
            out += u32(4326);
        out += u32(2);
        for (const QPointF& p : {a, b}) {
            out += f64(p.x()) + f64(p.y());
            for (int i = 0; i < extra; ++i)
                out += f64(99 + i);
        }
        return out;
    };
    const LineString expected(QVector<QPointF>{a, b});
    // ISO codes for Z, M and ZM.
    for (auto [type, extra] : {std::pair{2u, 0}, {1002u, 1}, {2002u, 1}, {3002u, 2}}) {
        const auto g = GeometryFactory::fromWkb(line(type, extra));
        EXPECT_TRUE(test::sameGeometry(*g, expected)) << type;
    }
    // EWKB flag bits, with and without an SRID.
    for (auto [type, extra] : {std::pair{0x80000002u, 1}, {0x40000002u, 1}, {0xC0000002u, 2}}) {
        EXPECT_TRUE(test::sameGeometry(*GeometryFactory::fromWkb(line(type, extra)), expected)) << type;
        EXPECT_TRUE(test::sameGeometry(*GeometryFactory::fromWkb(line(type | 0x20000000u, extra, true)), expected));
    }
    // A 3D point inside a 3D multipoint, and an empty point as NaN.
    const QByteArray multi = head(1004) + u32(2) + head(1001) + f64(1) + f64(2) + f64(3) + head(1001)
        + f64(std::nan("")) + f64(std::nan("")) + f64(std::nan(""));
    const auto mp = std::dynamic_pointer_cast<MultiPoint>(GeometryFactory::fromWkb(multi));
    ASSERT_TRUE(mp);
    EXPECT_EQ(mp->points(), (QVector<QPointF>{{1, 2}}));
    const auto nanPoint = GeometryFactory::fromWkb(head(1) + f64(std::nan("")) + f64(std::nan("")));
    EXPECT_EQ(nanPoint->type(), GeometryType::Point);
    EXPECT_TRUE(nanPoint->isEmpty());
}

TEST(Wkb, MalformedInputThrows)
{
    EXPECT_THROW(GeometryFactory::fromWkb(QByteArray()), WkbError);
    EXPECT_THROW(GeometryFactory::fromWkb(nullptr, 10), WkbError);
    EXPECT_THROW(GeometryFactory::fromWkb("\1", -1), WkbError);
    EXPECT_THROW(GeometryFactory::fromWkb(QByteArray(1, '\2') + u32(1) + f64(0) + f64(0)), WkbError);  // byte order
    EXPECT_THROW(GeometryFactory::fromWkb(head(8) + u32(0)), WkbError);      // circular string
    EXPECT_THROW(GeometryFactory::fromWkb(head(0) + u32(0)), WkbError);
    EXPECT_THROW(GeometryFactory::fromWkb(head(4001) + f64(0) + f64(0)), WkbError);
    EXPECT_THROW(GeometryFactory::fromWkb(head(2) + u32(0x7fffffff) + f64(0)), WkbError);
    EXPECT_THROW(GeometryFactory::fromWkb(head(3) + u32(0xffffffff)), WkbError);
    EXPECT_THROW(GeometryFactory::fromWkb(head(7) + u32(0x10000000) + head(1)), WkbError);
    // A multipolygon that holds a point; trailing bytes.
    EXPECT_THROW(GeometryFactory::fromWkb(head(6) + u32(1) + head(1) + f64(0) + f64(0)), WkbError);
    EXPECT_THROW(GeometryFactory::fromWkb(head(1) + f64(0) + f64(0) + "x"), WkbError);
    try {
        GeometryFactory::fromWkb(head(2) + u32(3) + f64(0));
        FAIL() << "no error";
    } catch (const WkbError& e) {
        EXPECT_NE(std::string(e.what()).find("byte 5"), std::string::npos) << e.what();
    }

    // Collections nest to a limit.
    auto nested = [](int depth) {
        QByteArray out;
        for (int i = 0; i < depth; ++i)
            out += head(7) + u32(1);
        return out + head(1) + f64(1) + f64(1);
    };
    // Collections nest as deep as in archives (a point inside 63 collections
    // is 64 levels) and no deeper.
    const int limit = serialization::TrackingInputArchive::maxDepth;
    EXPECT_NO_THROW(GeometryFactory::fromWkb(nested(limit - 1)));
    EXPECT_THROW(GeometryFactory::fromWkb(nested(limit)), WkbError);
    EXPECT_THROW(GeometryFactory::fromWkb(nested(100000)), WkbError);

    // Every cut position of every kind in both orders throws; flipped bytes
    // never crash. (Curves are written as lines and polygons of thousands of
    // points: the linear kinds cover their bytes.)
    for (const auto& g : test::linearSamples()) {
        for (auto order : {QSysInfo::LittleEndian, QSysInfo::BigEndian}) {
            const QByteArray full = GeometryFactory::toWkb(g, order);
            for (int cut = 0; cut < full.size(); ++cut)
                EXPECT_THROW(GeometryFactory::fromWkb(full.left(cut)), WkbError)
                    << g->className().toStdString() << " cut at " << cut;
            for (int i = 0; i < full.size(); ++i) {
                QByteArray bad = full;
                bad[i] = char(bad[i] ^ 0xC3);
                try {
                    GeometryFactory::fromWkb(bad);
                } catch (const WkbError&) {
                }
            }
        }
    }
}
