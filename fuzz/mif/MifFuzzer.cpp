// MIF text in (the first byte picks the delimiter, the decimal separator and
// a curve resolution): a geometry or a MifError, never a crash.

#include "platform/geometry/MifService.h"

#include <QString>
#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0)
        return 0;
    tessera::geometry::MifSetup setup;
    setup.delimiter = (data[0] & 1) ? QChar(',') : QChar('\t');
    setup.decimalSeparator = (data[0] & 2) ? QChar(',') : QChar('.');
    setup.resolution = (data[0] >> 2) * 16u;   // 0 .. 1008 segments per circle
    const QString text = QString::fromUtf8(reinterpret_cast<const char*>(data + 1), static_cast<int>(size - 1));
    const tessera::geometry::MifService service;
    try {
        service.load(text, setup);
    } catch (const tessera::geometry::MifError&) {
    }
    return 0;
}
