#pragma once
// The attribute that holds a table's geometries, with their coordinate
// system. Its values are geometry variants (GeometryValue.h).

#include "platform/dp/DpExport.h"
#include "platform/dp/AttributeDefinition.h"

#include <memory>

namespace tessera::cs { class CoordSystem; }

namespace tessera::dp {

class TESSERA_DP_EXPORT GeometryAttributeDefinition : public AttributeDefinition {
public:
    explicit GeometryAttributeDefinition(QString name, std::shared_ptr<cs::CoordSystem> coordSystem = {});

    GeometryAttributeDefinition* clone() const override;

    // Empty when the geometries have no coordinate system.
    const std::shared_ptr<cs::CoordSystem>& coordSystem() const { return cs; }
    void setCoordSystem(std::shared_ptr<cs::CoordSystem> coordSystem) { cs = std::move(coordSystem); }

protected:
    GeometryAttributeDefinition(const GeometryAttributeDefinition&) = default;

private:
    std::shared_ptr<cs::CoordSystem> cs;
};

} // namespace tessera::dp
