#include "platform/geometry/MifService.h"

#include "platform/geometry/algorithms/MifReader.h"

namespace tessera::geometry {

// Arcs are cut into `setup.resolution` segments per full turn (at most
// MifReader::maxResolution; an open arc is a piece of a line network to
// everything downstream); ellipses, rounded rectangles and texts keep their
// own shape classes. The delimiter belongs to the data part and is not used.
GeometryPtr MifService::load(const QString& text, const MifSetup& setup) const
{
    return MifReader(text, setup).read();
}

} // namespace tessera::geometry
