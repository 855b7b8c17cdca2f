#include "modules/tables/BoundsIndex.h"

#include <algorithm>
#include <boost/geometry.hpp>
#include <boost/geometry/index/rtree.hpp>
#include <iterator>
#include <utility>

namespace tessera::modules {
namespace {

namespace bg = boost::geometry;
namespace bgi = boost::geometry::index;
using Point = bg::model::point<double, 2, bg::cs::cartesian>;
using Box = bg::model::box<Point>;
using Value = std::pair<Box, std::int64_t>;

Box toBox(const QRectF& r)
{
    const QRectF n = r.normalized();
    return Box(Point(n.left(), n.top()), Point(n.right(), n.bottom()));
}

} // namespace

struct BoundsIndex::Private {
    bgi::rtree<Value, bgi::rstar<16>> tree;
    bool usable = true;
    std::shared_ptr<cs::CoordSystem> coordSystem;
};

BoundsIndex::BoundsIndex(const std::vector<Entry>& entries, bool usable, std::shared_ptr<cs::CoordSystem> coordSystem)
    : d(std::make_unique<Private>())
{
    d->usable = usable;
    d->coordSystem = std::move(coordSystem);
    std::vector<Value> values;
    values.reserve(entries.size());
    for (const Entry& e : entries)
        values.emplace_back(toBox(e.box), e.row);
    // The range constructor packs the tree, which queries faster than one
    // built by single insertions.
    d->tree = bgi::rtree<Value, bgi::rstar<16>>(values.begin(), values.end());
}

BoundsIndex::~BoundsIndex() = default;

std::vector<std::int64_t> BoundsIndex::query(const QRectF& box, Relation relation) const
{
    const Box b = toBox(box);
    std::vector<Value> hits;
    switch (relation) {
    case Relation::Meets: d->tree.query(bgi::intersects(b), std::back_inserter(hits)); break;
    case Relation::Holds: d->tree.query(bgi::covers(b), std::back_inserter(hits)); break;
    case Relation::HeldBy: d->tree.query(bgi::covered_by(b), std::back_inserter(hits)); break;
    }
    std::vector<std::int64_t> rows;
    rows.reserve(hits.size());
    for (const Value& v : hits)
        rows.push_back(v.second);
    std::sort(rows.begin(), rows.end());
    return rows;
}

std::size_t BoundsIndex::size() const
{
    return d->tree.size();
}

} // namespace tessera::modules

namespace tessera::modules {

bool BoundsIndex::usable() const
{
    return d->usable;
}

const std::shared_ptr<cs::CoordSystem>& BoundsIndex::coordSystem() const
{
    return d->coordSystem;
}

} // namespace tessera::modules
