#pragma once
// The parser behind MifService::load: one geometry in MIF text, keywords in
// any case, tokens separated by blanks and line breaks, style clauses after
// the geometry skipped (a Text's "Angle" is kept).

#include "platform/geometry/algorithms/AlgorithmsExport.h"
#include "platform/geometry/MifService.h"

#include <QStringList>
#include <vector>

namespace tessera::geometry {

class TESSERA_GEOMETRY_ALGORITHMS_EXPORT MifReader {
public:
    // Segments per full turn at most, whatever the set-up asks for.
    static constexpr quint32 maxResolution = 1u << 16;

    MifReader(const QString& text, const MifSetup& setup);

    // The geometry; empty for "None". Throws MifError.
    GeometryPtr read();

    // Rings of a MIF region grouped into polygons: a ring inside an even
    // number of other rings is an exterior, one inside an odd number a hole
    // of the smallest ring around it.
    static GeometryPtr regionFromRings(const QVector<Ring>& rings);

private:
    struct Token {
        QString text;
        int line;
        bool quoted;
    };

    GeometryPtr geometry(bool allowStyles);
    GeometryPtr region();
    GeometryPtr pline();
    GeometryPtr arc();
    GeometryPtr text();
    void skipStyles(bool toEnd, double* angle);

    const Token* peek() const;
    const Token& next(const char* expected);
    [[noreturn]] void fail(const char* expected) const;
    double number(const char* expected);
    int count(const char* expected);
    QPointF point();
    QVector<QPointF> points(int n);
    QRectF rect();

    std::vector<Token> tokens;
    std::size_t pos = 0;
    MifSetup setup;
};

} // namespace tessera::geometry
