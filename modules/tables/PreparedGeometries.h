#pragma once
// GEOS forms of a table's own geometries, prepared (indexed) on first use and
// kept while the geometries are, so that a join tests each feature against
// its candidates without converting it again. The keys are the geometry
// objects: the owner removes an entry before its geometry goes. Calls are
// serialised on one GEOS context of this object's own.

#include <memory>

namespace tessera::geometry { class Geometry; }

namespace tessera::modules {

class PreparedGeometries {
public:
    enum class Test { Intersects, Contains };   // Contains: a holds all of b

    PreparedGeometries();
    ~PreparedGeometries();
    PreparedGeometries(const PreparedGeometries&) = delete;
    PreparedGeometries& operator=(const PreparedGeometries&) = delete;

    // 1 or 0 for `a` against `b` (both non-empty, one coordinate system);
    // -1 when GEOS cannot tell, and the caller asks the platform instead.
    int test(const std::shared_ptr<const geometry::Geometry>& a, const std::shared_ptr<const geometry::Geometry>& b, Test t);
    void remove(const geometry::Geometry* g);
    void clear();

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace tessera::modules
