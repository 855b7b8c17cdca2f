#pragma once
// A forward pass over the features of a table. A cursor reads the table as it
// was when the cursor was made; later changes of the table do not disturb it.

#include "platform/dp/DpExport.h"
#include "platform/dp/Feature.h"

#include <memory>

namespace tessera::dp {

class TESSERA_DP_EXPORT FeatureCursor {
public:
    virtual ~FeatureCursor() = default;
    // The next feature, or an empty pointer at the end.
    virtual std::shared_ptr<Feature> next() = 0;
};

} // namespace tessera::dp
