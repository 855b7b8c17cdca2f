#pragma once
// An engine cache without an engine: table coordinate systems come from a
// plain map filled by the test, looked up in any case as the engine does.
// SpatiaLite blobs for it are made with the gaia API.

#include "engine/EngineCache.h"
#include "engine/geometry/GaiaDecoding.h"
#include "platform/cs/CoordSystem.h"

#include <QByteArray>
#include <QString>
#include <cstdlib>
#include <map>
#include <memory>

namespace tessera::test {

class TestCache final : public engine::EngineCache {
public:
    std::shared_ptr<cs::CoordSystem> tableCoordSystem(const QString& table) const override
    {
        const auto it = tables.find(table.toLower());
        return it == tables.end() ? nullptr : it->second;
    }
    void setTable(const QString& table, std::shared_ptr<cs::CoordSystem> coordSystem)
    {
        tables[table.toLower()] = std::move(coordSystem);
    }

private:
    std::map<QString, std::shared_ptr<cs::CoordSystem>> tables;
};

// A SpatiaLite blob of the point (x, y) with the given SRID.
inline QByteArray spatiaLitePoint(double x, double y, int srid)
{
    gaiaGeomCollPtr g = gaiaAllocGeomColl();
    gaiaAddPointToGeomColl(g, x, y);
    g->Srid = srid;
    unsigned char* blob = nullptr;
    int size = 0;
    gaiaToSpatiaLiteBlobWkb(g, &blob, &size);
    gaiaFreeGeomColl(g);
    QByteArray result(reinterpret_cast<const char*>(blob), size);
    std::free(blob);
    return result;
}

} // namespace tessera::test
