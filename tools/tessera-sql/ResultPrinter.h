#pragma once
// Writes query results as an aligned table, CSV or JSON.

#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVector>

class QTextStream;

namespace tessera::shell {

enum class OutputFormat { Table, Csv, Json };

// Cells are numbers, texts, or null variants for SQL NULL (the caller turns
// blobs into text first).
struct ResultSet {
    QStringList columns;
    QVector<QVector<QVariant>> rows;
};

// Parses "table", "csv" or "json"; false for anything else.
bool parseOutputFormat(const QString& name, OutputFormat& format);

// CSV lines end in LF. Without `headers`, tables and CSV start with the rows.
void printResult(QTextStream& out, const ResultSet& result, OutputFormat format, bool headers = true);

} // namespace tessera::shell
