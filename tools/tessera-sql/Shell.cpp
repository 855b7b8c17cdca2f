#include "tools/tessera-sql/Shell.h"

#include "engine/Engine.h"
#include "engine/EngineCache.h"
#include "engine/geometry/GeometryConversions.h"
#include "engine/translation/SqliteStringBuilder.h"
#include "modules/functions/FunctionModule.h"
#include "platform/core/Core.h"
#include "platform/dp/DataCatalogWithSelection.h"
#include "platform/sql/SqlError.h"
#include "platform/sql/SqlStrings.h"
#include "tools/tessera-sql/CellAbbreviation.h"
#include "tools/tessera-sql/ErrorText.h"
#include "tools/tessera-sql/GdalMessages.h"
#include "tools/tessera-sql/GeometryText.h"
#include "tools/tessera-sql/HeaderText.h"
#include "tools/tessera-sql/HostServices.h"
#include "tools/tessera-sql/StatementSplitter.h"
#include "tools/tessera-sql/TableImporter.h"

#include <QRegularExpression>
#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QTextStream>
#include <stdexcept>
#include <utility>

namespace tessera::shell {

struct Shell::Private {
    ShellOptions options;
    std::unique_ptr<Core> core;
    Engine* engine = nullptr;
    // Where the running statement starts in its script, and whether errors
    // name that line (scripts of more than one line).
    int line = 1;
    int column = 1;
    bool nameLine = false;

    void report(QTextStream& err, const QString& message) const
    {
        err << "error: ";
        if (nameLine)
            err << "line " << line << ": ";
        err << message << '\n';
        err.flush();
    }
};

Shell::Shell(ShellOptions options)
    : d(std::make_unique<Private>())
{
    d->options = options;
    d->core = std::make_unique<Core>();
    registerHostServices(*d->core);
    d->engine = Engine::load(d->core.get());
    d->engine->loadTableAdapterModule(d->core.get(), &modules::initFunctionModule);
}

Shell::~Shell()
{
    Engine::unload(d->core.get());
}

const ShellOptions& Shell::options() const
{
    return d->options;
}

void Shell::setOptions(ShellOptions options)
{
    d->options = options;
}

bool Shell::openFile(const QString& path, const QString& name, QString& error)
{
    GdalMessages messages;
    const bool ok = importTable(*d->engine, path, name, error);
    error = ok ? messages.take().join(QLatin1String("; ")) : messages.foldInto(error);
    return ok;
}

void Shell::cancelQuery()
{
    d->engine->cancelQuery();
}

bool Shell::translate(const QString& statement, QString& sqlite, QString& error) const
{
    engine::SqliteStringBuilder builder(d->engine->engineDatabase(), QString(), nullptr);
    if (const auto* catalog = hostCatalog(*d->core))
        builder.setSelection(catalog->selection(), d->engine->cache());
    try {
        if (d->engine->tryToTranslate(statement.toStdString(), builder, Engine::AnyResult)) {
            sqlite = sql::fromSqlString(builder.query());
            return true;
        }
    } catch (const std::exception& e) {
        // An Order By position beyond the integer range escapes the translator.
        error = QString::fromUtf8(e.what());
        return false;
    }
    QStringList reasons;
    for (const auto& e : builder.errors())
        reasons << describeError(*e);
    // A syntax error says where: parse again for the detailed message.
    const QString detail = describeSyntaxError(statement.toStdString(), d->line, d->column);
    if (!detail.isEmpty())
        reasons << detail;
    error = reasons.join(QLatin1String("; "));
    return false;
}

bool Shell::runScript(const QString& script, QTextStream& out, QTextStream& err)
{
    return runStatements(splitScript(script), script.trimmed().contains(QLatin1Char('\n')), out, err);
}

bool Shell::runStatements(const QVector<ScriptStatement>& statements, bool nameLines, QTextStream& out, QTextStream& err)
{
    bool ok = true;
    for (const ScriptStatement& statement : statements) {
        d->line = statement.line;
        d->column = statement.column;
        d->nameLine = nameLines;
        ok = runStatement(statement.text, out, err) && ok;
        if (!ok && d->options.bail)
            break;
    }
    d->line = d->column = 1;
    d->nameLine = false;
    return ok;
}

bool Shell::runStatement(const QString& statement, QTextStream& out, QTextStream& err)
{
    QString text = statement;
    if (!d->options.raw) {
        QString error;
        if (!translate(statement, text, error)) {
            // A syntax error names its own line and column.
            static const QRegularExpression position(QStringLiteral("line \\d+, column \\d+: "));
            const bool nameLine = std::exchange(d->nameLine, d->nameLine && !error.contains(position));
            d->report(err, error);
            d->nameLine = nameLine;
            return false;
        }
    }
    if (d->options.translateOnly) {
        out << text << ";\n";
        out.flush();
        return true;
    }

    // Live tables read through GDAL: its reasons belong to this statement.
    GdalMessages messages;
    QSqlQuery query(d->engine->engineDatabase());
    query.setForwardOnly(true);
    if (!query.exec(text)) {
        d->report(err, messages.foldInto(query.lastError().databaseText()));
        return false;
    }
    if (!query.isSelect()) {
        if (query.numRowsAffected() >= 0 && d->options.format == OutputFormat::Table)
            out << '(' << query.numRowsAffected() << " rows affected)\n";
        out.flush();
        return true;
    }

    ResultSet result;
    const QSqlRecord record = query.record();
    for (int c = 0; c < record.count(); ++c)
        result.columns << record.fieldName(c);
    QVector<bool> geometryColumns(record.count(), false);
    while (query.next()) {
        QVector<QVariant> row;
        row.reserve(record.count());
        for (int c = 0; c < record.count(); ++c) {
            QVariant v = query.value(c);
            if (v.userType() == QMetaType::QByteArray && !v.isNull()) {
                const QString text = blobText(v.toByteArray(), d->engine->cache());
                geometryColumns[c] = geometryColumns[c] || !text.startsWith(QLatin1String("X'"));
                v = text;
            }
            row << v;
        }
        result.rows << row;
    }
    if (!d->options.raw)
        result.columns = userHeaders(statement, result.columns);
    if (query.lastError().isValid()) {
        d->report(err, messages.foldInto(query.lastError().databaseText()));
        return false;
    }
    if (d->options.format == OutputFormat::Table)
        abbreviateWideCells(result, geometryColumns, d->options.width);
    printResult(out, result, d->options.format, d->options.headers);
    out.flush();
    return true;
}

} // namespace tessera::shell
