#include "tools/tessera-sql/ResultPrinter.h"

#include <QTextStream>
#include <QRegularExpression>
#include <algorithm>
#include <cmath>

namespace tessera::shell {
namespace {

bool isNumber(const QVariant& v)
{
    switch (v.userType()) {
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Double:
        return true;
    default:
        return false;
    }
}

QString numberText(const QVariant& v)
{
    if (v.userType() == QMetaType::Double)
        return QString::number(v.toDouble(), 'g', 15);
    return v.toString();
}

QString cellText(const QVariant& v)
{
    if (v.isNull())
        return QString();
    return isNumber(v) ? numberText(v) : v.toString();
}

// Display width in characters (code points), good enough for a terminal.
int width(const QString& s)
{
    return s.toUcs4().size();
}

QString pad(const QString& s, int w, bool right)
{
    const QString fill(std::max(0, w - width(s)), ' ');
    return right ? fill + s : s + fill;
}

void printTable(QTextStream& out, const ResultSet& r, bool headers)
{
    const int n = r.columns.size();
    QVector<int> widths(n);
    for (int c = 0; c < n; ++c)
        widths[c] = width(r.columns[c]);
    for (const auto& row : r.rows)
        for (int c = 0; c < n && c < row.size(); ++c)
            widths[c] = std::max(widths[c], width(row[c].isNull() ? QStringLiteral("NULL") : cellText(row[c])));

    QStringList header, rule;
    for (int c = 0; c < n; ++c) {
        header << pad(r.columns[c], widths[c], false);
        rule << QString(widths[c], '-');
    }
    if (headers)
        out << header.join(QLatin1String(" | ")) << '\n' << rule.join(QLatin1String("-+-")) << '\n';
    for (const auto& row : r.rows) {
        QStringList line;
        for (int c = 0; c < n; ++c) {
            const QVariant v = c < row.size() ? row[c] : QVariant();
            line << pad(v.isNull() ? QStringLiteral("NULL") : cellText(v), widths[c], isNumber(v));
        }
        out << line.join(QLatin1String(" | ")) << '\n';
    }
    out << '(' << r.rows.size() << (r.rows.size() == 1 ? " row)" : " rows)") << '\n';
}

QString csvField(const QString& s)
{
    if (!s.contains(QRegularExpression(QStringLiteral("[\",\\r\\n]"))))
        return s;
    QString q = s;
    q.replace('"', QLatin1String("\"\""));
    return '"' + q + '"';
}

void printCsv(QTextStream& out, const ResultSet& r, bool headers)
{
    if (headers) {
        QStringList header;
        for (const auto& c : r.columns)
            header << csvField(c);
        out << header.join(',') << '\n';
    }
    for (const auto& row : r.rows) {
        QStringList line;
        for (const auto& v : row)
            line << csvField(cellText(v));
        out << line.join(',') << '\n';
    }
}

QString jsonString(const QString& s)
{
    QString j;
    j.reserve(s.size() + 2);
    j += '"';
    for (const QChar c : s) {
        switch (c.unicode()) {
        case '"': j += QLatin1String("\\\""); break;
        case '\\': j += QLatin1String("\\\\"); break;
        case '\n': j += QLatin1String("\\n"); break;
        case '\r': j += QLatin1String("\\r"); break;
        case '\t': j += QLatin1String("\\t"); break;
        default:
            if (c.unicode() < 0x20)
                j += QStringLiteral("\\u%1").arg(c.unicode(), 4, 16, QChar('0'));
            else
                j += c;
        }
    }
    j += '"';
    return j;
}

QString jsonValue(const QVariant& v)
{
    if (v.isNull())
        return QStringLiteral("null");
    if (isNumber(v)) {
        const double d = v.toDouble();
        if (v.userType() == QMetaType::Double && !std::isfinite(d))
            return QStringLiteral("null");   // JSON has no NaN or infinity
        return numberText(v);
    }
    return jsonString(v.toString());
}

void printJson(QTextStream& out, const ResultSet& r)
{
    out << '[';
    for (int i = 0; i < r.rows.size(); ++i) {
        out << (i ? ",\n " : "\n ") << '{';
        const auto& row = r.rows[i];
        for (int c = 0; c < r.columns.size(); ++c) {
            if (c)
                out << ", ";
            out << jsonString(r.columns[c]) << ": " << jsonValue(c < row.size() ? row[c] : QVariant());
        }
        out << '}';
    }
    out << (r.rows.isEmpty() ? "]\n" : "\n]\n");
}

} // namespace

bool parseOutputFormat(const QString& name, OutputFormat& format)
{
    const QString n = name.toLower();
    if (n == QLatin1String("table"))
        format = OutputFormat::Table;
    else if (n == QLatin1String("csv"))
        format = OutputFormat::Csv;
    else if (n == QLatin1String("json"))
        format = OutputFormat::Json;
    else
        return false;
    return true;
}

void printResult(QTextStream& out, const ResultSet& result, OutputFormat format, bool headers)
{
    switch (format) {
    case OutputFormat::Table: printTable(out, result, headers); break;
    case OutputFormat::Csv: printCsv(out, result, headers); break;
    case OutputFormat::Json: printJson(out, result); break;
    }
}

} // namespace tessera::shell
