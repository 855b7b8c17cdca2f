#pragma once
// Text as outlines for drawing on an off-screen image. Qt's own text drawing
// needs a GUI application (its font database comes from the window system),
// which a command-line shell does not start: the glyphs are read with
// FreeType from the system's sans-serif face (found through fontconfig, or
// a usual font file elsewhere) and drawn as painter paths.

#include <QPainterPath>
#include <QPointF>
#include <QString>
#include <memory>

namespace tessera::shell {

class OutlineFont {
public:
    // A face of `pixelSize` pixels (the em height).
    explicit OutlineFont(double pixelSize);
    ~OutlineFont();
    OutlineFont(const OutlineFont&) = delete;
    OutlineFont& operator=(const OutlineFont&) = delete;

    // False when no font could be loaded (or the build has no FreeType):
    // texts are then empty paths.
    bool isValid() const;
    // The outline of `text` with its baseline starting at `origin` (y grows
    // downwards, as on an image).
    QPainterPath path(const QString& text, QPointF origin) const;
    // The advance of `text` in pixels.
    double width(const QString& text) const;
    // Height of capitals above the baseline, in pixels.
    double capHeight() const;

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace tessera::shell
