#pragma once
// The attribute that holds how each feature is drawn (its style), as text.

#include "platform/dp/DpExport.h"
#include "platform/dp/AttributeDefinition.h"

namespace tessera::dp {

class TESSERA_DP_EXPORT RenditionAttributeDefinition : public AttributeDefinition {
public:
    explicit RenditionAttributeDefinition(QString name);

    RenditionAttributeDefinition* clone() const override;

protected:
    RenditionAttributeDefinition(const RenditionAttributeDefinition&) = default;
};

} // namespace tessera::dp
