#include "tools/tessera-sql/OutlineFont.h"

#include <QFile>
#include <QStringList>
#include <QVector>

#ifdef TESSERA_HAVE_FREETYPE
#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_OUTLINE_H
#endif
#ifdef TESSERA_HAVE_FONTCONFIG
#include <fontconfig/fontconfig.h>
#endif

namespace tessera::shell {

namespace {

#ifdef TESSERA_HAVE_FREETYPE
#ifdef TESSERA_HAVE_FONTCONFIG
struct ConfigDestroy {
    void operator()(FcConfig* config) const { FcConfigDestroy(config); }
};
struct PatternDestroy {
    void operator()(FcPattern* pattern) const { FcPatternDestroy(pattern); }
};
#endif

struct FontFile {
    QByteArray path;
    int index = 0;
};

// The file of the system's sans-serif face: what fontconfig matches, else
// the first usual font file that exists.
FontFile sansSerifFile()
{
#ifdef TESSERA_HAVE_FONTCONFIG
    std::unique_ptr<FcConfig, ConfigDestroy> config(FcInitLoadConfigAndFonts());
    std::unique_ptr<FcPattern, PatternDestroy> pattern(FcNameParse(reinterpret_cast<const FcChar8*>("sans-serif")));
    if (config && pattern) {
        FcConfigSubstitute(config.get(), pattern.get(), FcMatchPattern);
        FcDefaultSubstitute(pattern.get());
        FcResult result = FcResultNoMatch;
        std::unique_ptr<FcPattern, PatternDestroy> match(FcFontMatch(config.get(), pattern.get(), &result));
        FcChar8* file = nullptr;
        if (match && FcPatternGetString(match.get(), FC_FILE, 0, &file) == FcResultMatch && file) {
            FontFile found{QByteArray(reinterpret_cast<const char*>(file)), 0};
            FcPatternGetInteger(match.get(), FC_INDEX, 0, &found.index);
            return found;
        }
    }
#endif
    static const char* const usual[] = {
        "C:/Windows/Fonts/arial.ttf",
        "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf",
        "/System/Library/Fonts/Supplemental/Arial.ttf",
        "/Library/Fonts/Arial.ttf",
    };
    for (const char* path : usual)
        if (QFile::exists(QString::fromUtf8(path)))
            return {QByteArray(path), 0};
    return {};
}

// Builds a painter path from a glyph outline (26.6 fixed-point pixels, y up).
struct OutlineSink {
    QPainterPath* path;
    QPointF origin;
    QPointF at(const FT_Vector* v) const { return {origin.x() + v->x / 64.0, origin.y() - v->y / 64.0}; }
};

int moveTo(const FT_Vector* to, void* user)
{
    auto* sink = static_cast<OutlineSink*>(user);
    sink->path->closeSubpath();
    sink->path->moveTo(sink->at(to));
    return 0;
}

int lineTo(const FT_Vector* to, void* user)
{
    auto* sink = static_cast<OutlineSink*>(user);
    sink->path->lineTo(sink->at(to));
    return 0;
}

int conicTo(const FT_Vector* control, const FT_Vector* to, void* user)
{
    auto* sink = static_cast<OutlineSink*>(user);
    sink->path->quadTo(sink->at(control), sink->at(to));
    return 0;
}

int cubicTo(const FT_Vector* c1, const FT_Vector* c2, const FT_Vector* to, void* user)
{
    auto* sink = static_cast<OutlineSink*>(user);
    sink->path->cubicTo(sink->at(c1), sink->at(c2), sink->at(to));
    return 0;
}
#endif

} // namespace

struct OutlineFont::Private {
#ifdef TESSERA_HAVE_FREETYPE
    FT_Library library = nullptr;
    FT_Face face = nullptr;

    ~Private()
    {
        if (face)
            FT_Done_Face(face);
        if (library)
            FT_Done_FreeType(library);
    }

    // Loads the glyph of `code` into the face's slot; false when it has none.
    bool load(uint code) const
    {
        const FT_UInt glyph = FT_Get_Char_Index(face, code);
        return FT_Load_Glyph(face, glyph, FT_LOAD_NO_BITMAP | FT_LOAD_NO_HINTING) == 0;
    }
#endif
};

OutlineFont::OutlineFont(double pixelSize)
    : d(std::make_unique<Private>())
{
#ifdef TESSERA_HAVE_FREETYPE
    const FontFile file = sansSerifFile();
    if (file.path.isEmpty() || FT_Init_FreeType(&d->library) != 0)
        return;
    if (FT_New_Face(d->library, file.path.constData(), file.index, &d->face) != 0) {
        d->face = nullptr;
        return;
    }
    // 26.6 fixed point, 72 dots per inch: points are pixels.
    if (FT_Set_Char_Size(d->face, 0, FT_F26Dot6(pixelSize * 64.0), 72, 72) != 0) {
        FT_Done_Face(d->face);
        d->face = nullptr;
    }
#else
    Q_UNUSED(pixelSize)
#endif
}

OutlineFont::~OutlineFont() = default;

bool OutlineFont::isValid() const
{
#ifdef TESSERA_HAVE_FREETYPE
    return d->face != nullptr;
#else
    return false;
#endif
}

QPainterPath OutlineFont::path(const QString& text, QPointF origin) const
{
    QPainterPath result;
    result.setFillRule(Qt::WindingFill);   // TrueType outlines wind by direction
#ifdef TESSERA_HAVE_FREETYPE
    if (!d->face)
        return result;
    FT_Outline_Funcs funcs{};
    funcs.move_to = moveTo;
    funcs.line_to = lineTo;
    funcs.conic_to = conicTo;
    funcs.cubic_to = cubicTo;
    OutlineSink sink{&result, origin};
    for (const uint code : text.toUcs4()) {
        if (!d->load(code))
            continue;
        FT_Outline_Decompose(&d->face->glyph->outline, &funcs, &sink);
        result.closeSubpath();
        sink.origin.rx() += d->face->glyph->advance.x / 64.0;
    }
#else
    Q_UNUSED(text)
    Q_UNUSED(origin)
#endif
    return result;
}

double OutlineFont::width(const QString& text) const
{
    double advance = 0.0;
#ifdef TESSERA_HAVE_FREETYPE
    if (!d->face)
        return advance;
    for (const uint code : text.toUcs4())
        if (d->load(code))
            advance += d->face->glyph->advance.x / 64.0;
#else
    Q_UNUSED(text)
#endif
    return advance;
}

double OutlineFont::capHeight() const
{
#ifdef TESSERA_HAVE_FREETYPE
    if (d->face && d->load('H'))
        return d->face->glyph->metrics.horiBearingY / 64.0;
#endif
    return 0.0;
}

} // namespace tessera::shell
