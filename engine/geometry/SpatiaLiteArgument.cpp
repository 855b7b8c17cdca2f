#include "engine/geometry/SpatiaLiteArgument.h"

#include "engine/geometry/GeometryConversions.h"
#include "platform/geometry/Geometry.h"

namespace tessera::engine::sqlfn {

namespace {

// SpatiaLite's own blob: 0x00, an endianness byte (0 or 1), ..., 0x7C at
// byte 38, and 0xFE at the end.
bool isSpatiaLiteBlob(const unsigned char* blob, int size)
{
    return size >= 45 && blob[0] == 0x00 && (blob[1] == 0x00 || blob[1] == 0x01) && blob[38] == 0x7C
        && blob[size - 1] == 0xFE;
}

} // namespace

void tesGeoToSpatiaLite(sqlite3_context* ctx, int argc, sqlite3_value** argv)
{
    if (argc != 1)
        return sqlite3_result_error(ctx, "TesGeoToSpatiaLite takes one argument", -1);
    sqlite3_value* value = argv[0];
    if (sqlite3_value_type(value) != SQLITE_BLOB)
        return sqlite3_result_value(ctx, value);
    const auto* blob = static_cast<const unsigned char*>(sqlite3_value_blob(value));
    const int size = sqlite3_value_bytes(value);
    if (!blob || isSpatiaLiteBlob(blob, size))
        return sqlite3_result_value(ctx, value);
    const auto cache = static_cast<EngineCache*>(sqlite3_user_data(ctx));
    const std::shared_ptr<const geometry::Geometry> g = toGeometry(ctx, value, true);
    if (!g || !cache)
        return sqlite3_result_value(ctx, value);
    toGaia(g, ctx, cache);
}

} // namespace tessera::engine::sqlfn
