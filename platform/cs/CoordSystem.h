#pragma once
// Coordinate systems on PROJ. A CoordSystem is immutable once made and may be
// shared between threads; every PROJ call inside it uses a per-thread context.

#include "platform/cs/CsExport.h"

#include <QString>
#include <memory>

namespace tessera::cs {

class TESSERA_CS_EXPORT CoordSystem {
public:
    ~CoordSystem();
    CoordSystem(const CoordSystem&) = delete;
    CoordSystem& operator=(const CoordSystem&) = delete;

    // The EPSG code, or 0 when the system has none.
    int epsg() const;
    // "EPSG:<code>" when the system has an EPSG code, otherwise its WKT.
    QString taggedString() const;
    QString wkt() const;
    QString name() const;

    bool isGeographic() const;
    bool isProjected() const;

    // Ellipsoid of the datum, in metres.
    double semiMajorAxis() const;
    double inverseFlattening() const;   // 0 for a sphere
    double semiMinorAxis() const;

    // Length of one unit of the horizontal axes in metres (projected systems)
    // or in radians (geographic systems: degrees give pi/180).
    double axisUnitFactor() const;

    // True when both describe the same system (same EPSG code, or equivalent
    // definitions when neither has one).
    bool isEquivalentTo(const CoordSystem& other) const;

    struct Private;
    const Private& priv() const { return *d; }

private:
    friend class CoordSysFactory;
    explicit CoordSystem(std::unique_ptr<Private> d);
    std::unique_ptr<Private> d;
};

class TESSERA_CS_EXPORT CoordSysFactory {
public:
    // The process-wide factory.
    static CoordSysFactory* defaultCoordSysFactory();

    // Empty when PROJ knows no such code.
    std::shared_ptr<CoordSystem> createFromEpsg(int code) const;
    // Anything PROJ accepts: "EPSG:4326", a PROJ string, WKT. Empty when the
    // text is not a coordinate system.
    std::shared_ptr<CoordSystem> createFromTaggedString(const QString& text) const;
};

} // namespace tessera::cs
