#include "platform/dp/DataProvider.h"

namespace tessera::dp {

DataProvider::~DataProvider() = default;

} // namespace tessera::dp
