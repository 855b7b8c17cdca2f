#pragma once
// Query results as a map image, drawn with Qt's painter on an off-screen
// image (no window system needed): each row's geometry filled and outlined
// in a colour of its own (areas first, then lines, then points), the extent
// of all of them fitted with a margin, a scale bar, a graticule when the
// data are longitude and latitude, and an optional label per row.
//
// Geographic data are drawn in an equirectangular view whose parallels are
// true to scale at the middle latitude of the extent; other data as they are
// (one unit across as long as one unit up).

#include "tools/tessera-sql/ResultPrinter.h"

#include <QSize>
#include <QString>

class QImage;   // Qt GUI, which only the shell's sources need

namespace tessera::shell {

struct PlotOptions {
    QString labelColumn;   // the column whose text labels each row; empty: no labels
    QSize size{800, 600};  // of the image, in pixels
};

// Pixels left free around the fitted extent on every side.
constexpr int plotMargin = 24;
// The smallest and the largest side of an image.
constexpr int plotMinimumSide = 64;
constexpr int plotMaximumSide = 16384;

// Draws the first column of `result` that holds geometries (geometry
// variants, platform/dp/GeometryValue.h, as a provider writes them).
// Geometries in another coordinate system than the first one are
// transformed to it. A null image with the reason in `error` when the result
// has no geometry or no column `options.labelColumn` (names ignore case).
QImage drawMap(const ResultSet& result, const PlotOptions& options, QString& error);
// drawMap, saved to `path` in the image format its extension names
// (isImagePath).
bool plotMap(const QString& path, const ResultSet& result, const PlotOptions& options, QString& error);

// Whether the extension of `path` names an image format that can be written
// (png, jpg, bmp, ...).
bool isImagePath(const QString& path);
// "WIDTHxHEIGHT" (e.g. "1024x768") within the side limits into `size`.
bool parsePlotSize(const QString& text, QSize& size);

} // namespace tessera::shell
