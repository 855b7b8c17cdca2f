#pragma once
// How the shell shows a blob: a geometry as (E)WKT, anything else as hex.

#include <QByteArray>
#include <QString>

namespace tessera::engine { class EngineCache; }

namespace tessera::shell {

// "SRID=<epsg>;<WKT>" for a geometry with an EPSG coordinate system, plain WKT
// for other geometries, "X'<hex>'" (shortened) for other blobs.
QString blobText(const QByteArray& blob, engine::EngineCache* cache);

} // namespace tessera::shell
