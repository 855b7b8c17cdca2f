#pragma once
// An R-tree of feature bounds (Boost.Geometry, bulk-loaded): which rows of a
// table may meet a box. It answers candidates; the exact test is the caller's.

#include <QRectF>
#include <cstdint>
#include <memory>
#include <vector>

namespace tessera::cs { class CoordSystem; }

namespace tessera::modules {

class BoundsIndex {
public:
    struct Entry {
        QRectF box;          // normalised; zero width or height is fine
        std::int64_t row;
    };
    // How an entry's box must relate to the query box.
    enum class Relation { Meets, Holds, HeldBy };

    // `usable` false: the boxes could not be collected in one coordinate
    // system; `coordSystem` is the system of the boxes.
    BoundsIndex(const std::vector<Entry>& entries, bool usable, std::shared_ptr<cs::CoordSystem> coordSystem);
    ~BoundsIndex();
    BoundsIndex(const BoundsIndex&) = delete;
    BoundsIndex& operator=(const BoundsIndex&) = delete;

    // Rows whose box relates to `box`, in ascending row order.
    std::vector<std::int64_t> query(const QRectF& box, Relation relation) const;
    std::size_t size() const;
    bool usable() const;
    const std::shared_ptr<cs::CoordSystem>& coordSystem() const;

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace tessera::modules
