#pragma once
// Bridge between the host geometry model and GEOS (reentrant C API). Every
// thread gets its own GEOS context, created on first use and destroyed with
// the thread; GEOS objects are owned through GeosGeometry.

#include "platform/geometry/algorithms/AlgorithmsExport.h"
#include "platform/geometry/Geometry.h"

#include <geos_c.h>
#include <memory>
#include <utility>

namespace tessera::geometry {

struct TESSERA_GEOMETRY_ALGORITHMS_EXPORT GeosGeometryDeleter {
    GEOSContextHandle_t context = nullptr;
    void operator()(GEOSGeometry* g) const { if (g) GEOSGeom_destroy_r(context, g); }
};
using GeosGeometry = std::unique_ptr<GEOSGeometry, GeosGeometryDeleter>;

struct TESSERA_GEOMETRY_ALGORITHMS_EXPORT GeosCoordSequenceDeleter {
    GEOSContextHandle_t context = nullptr;
    void operator()(GEOSCoordSequence* s) const { if (s) GEOSCoordSeq_destroy_r(context, s); }
};
using GeosCoordSequence = std::unique_ptr<GEOSCoordSequence, GeosCoordSequenceDeleter>;

class TESSERA_GEOMETRY_ALGORITHMS_EXPORT GeosAdapter {
public:
    // Uses the calling thread's context.
    GeosAdapter();

    GEOSContextHandle_t handle() const { return ctx; }

    // The linear form of g in GEOS (curves approximated). Rings are closed
    // and degenerate parts padded so that GEOS accepts them; validity is not
    // checked. Throws std::runtime_error when GEOS refuses the coordinates.
    GeosGeometry toGeos(const ConstGeometryPtr& g) const;

    // The GEOS form of g, kept per thread for the few geometries used last
    // while g lives: a join tests one geometry against many in a row. From
    // the second use on it comes prepared (indexed). Both pointers stay valid
    // until the entry falls out of the last 16 remembered on this thread:
    // two remember() calls in one predicate are safe. `prepareAtOnce` asks
    // for the prepared form on first sight too: for a test against a point,
    // whose plain form would build GEOS's whole topology graph of g.
    struct Remembered {
        const GEOSGeometry* geometry;
        const GEOSPreparedGeometry* prepared;   // null on first sight
    };
    Remembered remember(const ConstGeometryPtr& g, bool prepareAtOnce = false) const;

    // A host geometry with the same parts (no coordinate system set).
    GeometryPtr fromGeos(const GEOSGeometry* g) const;

    // Takes ownership of a GEOS result; a null result (a GEOS failure) throws
    // std::runtime_error with GEOS's last message.
    GeosGeometry own(GEOSGeometry* g) const;

    // Throws std::runtime_error for a GEOS predicate's error value 2.
    bool check(char predicateResult) const;

    // The closest pair of points of a and b (a's first). Throws
    // std::runtime_error when GEOS finds none (an empty operand).
    std::pair<QPointF, QPointF> nearestPoints(const GEOSGeometry* a, const GEOSGeometry* b) const;

    // The centroid of g. Throws std::runtime_error for an empty geometry.
    QPointF centroid(const GEOSGeometry* g) const;

    // GEOS's last error or notice text on this thread.
    std::string lastError() const;

private:
    GEOSGeometry* build(const Geometry& g) const;
    GEOSGeometry* lineString(const QVector<QPointF>& points) const;
    GEOSGeometry* linearRing(const QVector<QPointF>& points) const;
    GEOSGeometry* polygon(const QVector<Ring>& rings) const;
    GEOSGeometry* collection(int type, std::vector<GEOSGeometry*>& parts) const;
    GEOSCoordSequence* sequence(const QVector<QPointF>& points) const;
    QVector<QPointF> points(const GEOSCoordSequence* seq) const;

    GEOSContextHandle_t ctx;
};

} // namespace tessera::geometry
