#include "platform/dp/FeatureId.h"

#include "platform/utils/Compare.h"

namespace tessera::dp {

// Equality follows the ordering so that identifiers that sort together (the
// integer 7 and the real 7.0) are also the same key in ordered maps.
bool FeatureId::operator==(const FeatureId& other) const
{
    return utils::compare(v, other.v) == 0;
}

bool FeatureId::operator<(const FeatureId& other) const
{
    return utils::compare(v, other.v) < 0;
}

} // namespace tessera::dp
