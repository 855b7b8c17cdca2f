#include "modules/tables/PreparedGeometries.h"

#include "platform/geometry/algorithms/GeosAdapter.h"

#include <QMutex>
#include <exception>
#include <unordered_map>

namespace tessera::modules {

struct PreparedGeometries::Private {
    struct Entry {
        GEOSGeometry* geometry = nullptr;
        const GEOSPreparedGeometry* prepared = nullptr;
    };

    QMutex mutex;
    GEOSContextHandle_t context = GEOS_init_r();
    std::unordered_map<const geometry::Geometry*, Entry> entries;

    ~Private()
    {
        clear();
        GEOS_finish_r(context);
    }

    void destroy(Entry& e)
    {
        if (e.prepared)
            GEOSPreparedGeom_destroy_r(context, e.prepared);
        if (e.geometry)
            GEOSGeom_destroy_r(context, e.geometry);
    }

    void clear()
    {
        for (auto& entry : entries)
            destroy(entry.second);
        entries.clear();
    }

    // Null when GEOS refuses the geometry.
    Entry* find(const std::shared_ptr<const geometry::Geometry>& g, bool prepare)
    {
        auto it = entries.find(g.get());
        if (it == entries.end()) {
            Entry e;
            try {
                // The platform converts (curves approximated); the result
                // belongs to this object's context from now on.
                e.geometry = geometry::GeosAdapter().toGeos(g).release();
            } catch (const std::exception&) {
                return nullptr;
            }
            it = entries.emplace(g.get(), e).first;
        }
        if (prepare && !it->second.prepared)
            it->second.prepared = GEOSPrepare_r(context, it->second.geometry);
        return prepare && !it->second.prepared ? nullptr : &it->second;
    }
};

PreparedGeometries::PreparedGeometries()
    : d(std::make_unique<Private>())
{
}

PreparedGeometries::~PreparedGeometries() = default;

int PreparedGeometries::test(const std::shared_ptr<const geometry::Geometry>& a, const std::shared_ptr<const geometry::Geometry>& b, Test t)
{
    QMutexLocker locker(&d->mutex);
    Private::Entry* ea = d->find(a, true);
    Private::Entry* eb = ea ? d->find(b, false) : nullptr;
    if (!ea || !eb)
        return -1;
    const char answer = t == Test::Intersects ? GEOSPreparedIntersects_r(d->context, ea->prepared, eb->geometry)
                                              : GEOSPreparedContains_r(d->context, ea->prepared, eb->geometry);
    return answer == 2 ? -1 : answer;
}

void PreparedGeometries::remove(const geometry::Geometry* g)
{
    QMutexLocker locker(&d->mutex);
    const auto it = d->entries.find(g);
    if (it == d->entries.end())
        return;
    d->destroy(it->second);
    d->entries.erase(it);
}

void PreparedGeometries::clear()
{
    QMutexLocker locker(&d->mutex);
    d->clear();
}

} // namespace tessera::modules
