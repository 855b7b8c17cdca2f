// A look-alike extension built on the algorithms: shapes smaller than the
// tolerance are drawn as a point on them, larger ones are left to others.

#include "platform/geometry/Algorithms.h"
#include "platform/geometry/ResemblanceExtension.h"

#include "TestShapes.h"

#include <gtest/gtest.h>
#include <algorithm>

using namespace tessera::geometry;
using namespace tessera::geometry::testing;

namespace {

class DotResemblance final : public ResemblanceExtension {
public:
    void setup(Setup& s) override { s.tolerance = std::max(s.tolerance, 1.0); }
    ConstGeometryPtr resemblance(const ConstGeometryPtr& g, const Setup& s) const override
    {
        if (!g || g->isEmpty())
            return {};
        const QRectF box = g->boundingRect();
        if (std::max(box.width(), box.height()) > s.tolerance)
            return {};
        return PointOnSurface(g);
    }
};

} // namespace

TEST(Resemblance, SmallShapesBecomeAPointOnThem)
{
    DotResemblance extension;
    ResemblanceExtension& base = extension;
    ResemblanceExtension::Setup setup(0.25);
    base.setup(setup);
    EXPECT_EQ(setup.tolerance, 1.0);

    const CoordSystemPtr mercator = epsg(3857);
    auto ring = std::make_shared<Polygon>(QVector<Ring>{
        {{0, 0}, {0.8, 0}, {0.8, 0.8}, {0.7, 0.8}, {0.7, 0.1}, {0.1, 0.1}, {0.1, 0.8}, {0, 0.8}, {0, 0}}});
    ring->setCoordSystem(mercator);
    const ConstGeometryPtr dot = base.resemblance(ring, setup);
    ASSERT_TRUE(dot);
    EXPECT_EQ(dot->type(), GeometryType::Point);
    EXPECT_EQ(dot->coordSystem(), mercator);
    EXPECT_TRUE(Contains(ring, dot));

    EXPECT_FALSE(base.resemblance(square(0, 0, 5, 5), setup));
    EXPECT_FALSE(base.resemblance(std::make_shared<Polygon>(), setup));
}
