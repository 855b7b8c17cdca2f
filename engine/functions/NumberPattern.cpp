#include "engine/functions/NumberPattern.h"

#include "platform/utils/NumberFormat.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace tessera::engine {

namespace {

constexpr int maxPlaceholders = 15;
// The scale is kept in ten bits with a bias of 307.
constexpr int minScale = -307;
constexpr int maxScale = 1023 - 307;
constexpr ushort perMille = 0x2030;

bool isDigitCode(int code)
{
    return QChar(static_cast<ushort>(code)).isDigit();
}

double powerOfTen(int exponent)
{
    return std::pow(10.0, exponent);
}

QChar localeDigit(const QLocale& locale, int digit)
{
    return QChar(static_cast<ushort>(locale.zeroDigit().unicode() + digit));
}

// Inserts the pieces of one kind into `digits`, each at `offset(piece)`
// characters from the left, clamped to the text; pieces keep their order
// even when several are clamped to the same place.
template <class Offset>
void insertPieces(QString& digits, const QVector<NumberPattern::Piece>& pieces,
                  NumberPattern::Piece::Kind kind, Offset offset)
{
    int cursor = 0;
    for (const auto& piece : pieces) {
        if (piece.kind != kind)
            continue;
        int at = offset(piece, digits.size());
        if (at < cursor)
            at = cursor;
        if (at > digits.size())
            at = digits.size();
        digits.insert(at, piece.text);
        cursor = at + piece.text.size();
    }
}

void appendPieces(QString& out, const QVector<NumberPattern::Piece>& pieces, NumberPattern::Piece::Kind kind)
{
    for (const auto& piece : pieces) {
        if (piece.kind == kind)
            out += piece.text;
    }
}

// Integer pieces stand at a position counted from the right end of the
// integer digits. In a grouped section each three digits to the right add
// one position for their separator, so a piece lands left of the separator
// that precedes its group ("1,234x,567" rather than "1,234,x567").
void insertIntegerPieces(QString& digits, const NumberPattern::Section& section)
{
    insertPieces(digits, section.pieces, NumberPattern::Piece::IntegerDigits,
                 [&section](const NumberPattern::Piece& piece, int size) {
                     const int fromRight = section.integerPlaceholders - piece.position;
                     const int offset = fromRight + (section.grouping ? fromRight / 3 : 0);
                     return size - offset;
                 });
}

void insertLeftPieces(QString& digits, const QVector<NumberPattern::Piece>& pieces, NumberPattern::Piece::Kind kind)
{
    insertPieces(digits, pieces, kind, [](const NumberPattern::Piece& piece, int) { return piece.position; });
}

// Trailing `#` fraction placeholders show no trailing zeros: the digits are
// cut back to the last `0` placeholder, as usual custom number formats do.
void dropOptionalZeros(QString& fraction, int keep, QChar zero)
{
    int end = fraction.size();
    while (end > keep && fraction[end - 1] == zero)
        --end;
    fraction.truncate(end);
}

void appendFraction(QString& out, QString fraction, const NumberPattern::Section& section, const QLocale& locale)
{
    dropOptionalZeros(fraction, section.fractionZeros, locale.zeroDigit());
    insertLeftPieces(fraction, section.pieces, NumberPattern::Piece::FractionDigits);
    if (!fraction.isEmpty()) {
        out += locale.decimalPoint();
        out += fraction;
    }
}

QString formatFixed(const NumberPattern::Section& section, double value, const QLocale& locale)
{
    QString out;
    value = utils::getRound(value, section.fractionPlaceholders);
    appendPieces(out, section.pieces, NumberPattern::Piece::Prefix);

    double integerPart = std::floor(value);
    QString fraction;
    if (section.fractionPlaceholders > 0) {
        const QString text = locale.toString(value - integerPart, 'f', section.fractionPlaceholders);
        const int point = text.indexOf(locale.decimalPoint());
        // A remainder a hair below 1 may print as "1.00": carry it over.
        if (point > 0 && text[point - 1] != locale.zeroDigit()) {
            integerPart += 1.0;
            fraction = QString(section.fractionPlaceholders, locale.zeroDigit());
        } else {
            fraction = point >= 0 ? text.mid(point + 1) : QString();
        }
    }

    QString digits;
    if (integerPart != 0.0) {
        digits = locale.toString(integerPart, 'g', 15);
        digits = utils::castExponentialFormat(digits, locale, &isDigitCode);
        if (section.grouping)
            digits = utils::separateThousands(digits, locale.groupSeparator(), locale.decimalPoint());
    } else if (section.zeroPadded) {
        digits = locale.zeroDigit();
    }
    insertIntegerPieces(digits, section);
    out += digits;

    if (section.fractionPlaceholders > 0)
        appendFraction(out, fraction, section, locale);
    else
        appendPieces(out, section.pieces, NumberPattern::Piece::FractionDigits);
    appendPieces(out, section.pieces, NumberPattern::Piece::ExponentDigits);
    appendPieces(out, section.pieces, NumberPattern::Piece::Suffix);
    return out;
}

QString formatExponential(const NumberPattern::Section& section, double value, const QLocale& locale)
{
    // The mantissa keeps as many integer digits as the pattern has integer
    // placeholders (four at least when it groups), and the fraction
    // placeholders give the digits after its point.
    int integerDigits = section.integerPlaceholders < 1 ? 1 : section.integerPlaceholders;
    if (section.grouping && integerDigits < 4)
        integerDigits = 4;
    int significant = integerDigits + section.fractionPlaceholders;
    if (significant > maxPlaceholders)
        significant = maxPlaceholders;

    char buffer[48];
    std::snprintf(buffer, sizeof buffer, "%.*e", significant - 1, value);
    QString mantissa;
    int exponent = 0;
    for (const char* p = buffer; *p; ++p) {
        if (*p >= '0' && *p <= '9') {
            mantissa += QLatin1Char(*p);
        } else if (*p == 'e') {
            exponent = std::atoi(p + 1);
            break;
        }
    }
    if (value != 0.0)
        exponent -= integerDigits - 1;
    const int wanted = integerDigits + section.fractionPlaceholders;
    if (mantissa.size() < wanted)
        mantissa += QString(wanted - mantissa.size(), QLatin1Char('0'));
    for (QChar& c : mantissa)
        c = localeDigit(locale, c.unicode() - '0');

    QString out;
    appendPieces(out, section.pieces, NumberPattern::Piece::Prefix);
    QString digits = mantissa.left(integerDigits);
    if (section.grouping)
        digits = utils::separateThousands(digits, locale.groupSeparator(), locale.decimalPoint());
    insertIntegerPieces(digits, section);
    out += digits;
    if (section.fractionPlaceholders > 0)
        appendFraction(out, mantissa.mid(integerDigits, section.fractionPlaceholders), section, locale);
    else
        appendPieces(out, section.pieces, NumberPattern::Piece::FractionDigits);

    out += locale.exponential();
    if (exponent < 0)
        out += locale.negativeSign();
    else if (section.exponentSignAlways)
        out += locale.positiveSign();
    QString exponentText;
    for (const QChar c : QString::number(std::abs(exponent)))
        exponentText += localeDigit(locale, c.unicode() - '0');
    const int minimumDigits = section.exponentPlaceholders < 1 ? 1 : section.exponentPlaceholders;
    if (exponentText.size() < minimumDigits)
        exponentText.prepend(QString(minimumDigits - exponentText.size(), locale.zeroDigit()));
    insertLeftPieces(exponentText, section.pieces, NumberPattern::Piece::ExponentDigits);
    out += exponentText;
    appendPieces(out, section.pieces, NumberPattern::Piece::Suffix);
    return out;
}

QString formatSection(const NumberPattern::Section& section, double value, QLocale locale)
{
    // A section without placeholders is text only, as in usual custom formats.
    if (section.integerPlaceholders == 0 && section.fractionPlaceholders == 0 && !section.exponent) {
        QString out;
        for (const auto& piece : section.pieces)
            out += piece.text;
        return out;
    }

    QString sign;
    if (value < 0) {
        sign = locale.negativeSign();
        value = -value;
    }
    if (value != 0.0 && section.scale != 0)
        value = section.scale > 0 ? value * powerOfTen(section.scale) : value / powerOfTen(-section.scale);
    if (!std::isfinite(value))
        return sign + locale.toString(value);

    // Grouping is the pattern's business: the locale's own separators are
    // left out of every number it writes.
    locale.setNumberOptions(locale.numberOptions() | QLocale::OmitGroupSeparator);
    return sign + (section.exponent ? formatExponential(section, value, locale) : formatFixed(section, value, locale));
}

} // namespace

std::optional<NumberPattern> NumberPattern::parse(const QString& pattern)
{
    if (pattern.endsWith(QLatin1Char('e')) || pattern.endsWith(QLatin1Char('E')))
        return std::nullopt;

    enum Part { Integer, Fraction, Exponent };
    NumberPattern result;
    Section section;
    QString literal;
    Part part = Integer;
    bool anyPlaceholder = false;
    bool commaScaled = false;
    QChar previous = QLatin1Char(';');

    auto flush = [&](bool atEnd) {
        if (literal.isEmpty())
            return;
        Piece piece;
        piece.text = literal;
        if (atEnd) {
            piece.kind = Piece::Suffix;
        } else if (part == Exponent) {
            piece.kind = Piece::ExponentDigits;
            piece.position = section.exponentPlaceholders;
        } else if (part == Fraction) {
            piece.kind = Piece::FractionDigits;
            piece.position = section.fractionPlaceholders;
        } else if (!anyPlaceholder) {
            piece.kind = Piece::Prefix;
        } else {
            piece.kind = Piece::IntegerDigits;
            piece.position = section.integerPlaceholders;
        }
        section.pieces.append(piece);
        literal.clear();
    };
    auto finishSection = [&]() {
        flush(true);
        result.sections.append(section);
        section = Section();
        part = Integer;
        anyPlaceholder = false;
        commaScaled = false;
    };

    for (int i = 0; i < pattern.size(); ++i) {
        const QChar c = pattern[i];
        const ushort u = c.unicode();
        if (u == '\\') {
            if (i + 1 < pattern.size())
                literal += pattern[++i];
            previous = QChar();
            continue;
        }
        if (u == '#' || u == '0') {
            flush(false);
            if (part == Exponent) {
                ++section.exponentPlaceholders;
            } else {
                anyPlaceholder = true;
                if (previous == QLatin1Char(',') && commaScaled) {
                    section.grouping = true;
                    section.commaBeforePlaceholder = true;
                    section.scale += 3;
                }
                if (u == '0')
                    section.zeroPadded = true;
                if (part == Integer) {
                    if (section.integerPlaceholders < maxPlaceholders)
                        ++section.integerPlaceholders;
                } else if (section.fractionPlaceholders < maxPlaceholders) {
                    ++section.fractionPlaceholders;
                    if (u == '0')
                        section.fractionZeros = section.fractionPlaceholders;
                }
            }
            commaScaled = false;
        } else if (u == ',' && part != Exponent) {
            if (section.scale - 3 < minScale)
                section.invalid = true;
            else
                section.scale -= 3;
            commaScaled = true;
        } else if (u == '.' && part == Integer) {
            flush(false);
            part = Fraction;
        } else if (u == '%' || u == perMille) {
            section.scale += u == '%' ? 2 : 3;
            if (section.scale > maxScale)
                section.invalid = true;
            literal += c;
        } else if ((u == 'E' || u == 'e') && part != Exponent && anyPlaceholder) {
            // Only after digit placeholders does E start an exponent; in
            // literal text ("zero", "each") it is an ordinary letter.
            const QChar sign = i + 1 < pattern.size() ? pattern[i + 1] : QChar();
            if (sign != QLatin1Char('+') && sign != QLatin1Char('-'))
                return std::nullopt;
            flush(false);
            section.exponent = true;
            section.exponentSignAlways = sign == QLatin1Char('+');
            part = Exponent;
            ++i;
        } else if (u == ';') {
            finishSection();
            if (result.sections.size() == 3)
                break;
        } else {
            literal += c;
        }
        previous = c;
    }
    if (result.sections.size() < 3)
        finishSection();

    for (const Section& s : result.sections) {
        if (s.invalid)
            return std::nullopt;
    }
    return result;
}

QString NumberPattern::format(double value, const QLocale& locale) const
{
    if (sections.size() == 1)
        return formatSection(sections[0], value, locale);
    if (value < 0)
        return formatSection(sections[1], -value, locale);
    if (value == 0.0 && sections.size() >= 3)
        return formatSection(sections[2], value, locale);
    return formatSection(sections[0], value, locale);
}

} // namespace tessera::engine
