#pragma once
// Failures of the GDAL provider: the source's name and GDAL's reason.

#include <stdexcept>

namespace tessera::providers {

class GdalError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace tessera::providers
