#include "tools/tessera-sql/Shell.h"

#include "engine/Engine.h"
#include "engine/EngineCache.h"
#include "engine/expression/EngineExpression.h"
#include "engine/geometry/GeometryConversions.h"
#include "engine/translation/SqliteStringBuilder.h"
#include "modules/functions/FunctionModule.h"
#include "platform/core/Core.h"
#include "platform/dp/DataCatalogWithSelection.h"
#include "platform/dp/GeometryValue.h"
#include "platform/dp/Table.h"
#include "platform/sql/SqlError.h"
#include "platform/sql/SqlStrings.h"
#include "tools/tessera-sql/CellAbbreviation.h"
#include "tools/tessera-sql/ErrorText.h"
#include "tools/tessera-sql/GdalMessages.h"
#include "tools/tessera-sql/GeometryText.h"
#include "tools/tessera-sql/GisWriter.h"
#include "tools/tessera-sql/HeaderText.h"
#include "tools/tessera-sql/HostServices.h"
#include "tools/tessera-sql/ProgressLine.h"
#include "tools/tessera-sql/StatementSplitter.h"
#include "tools/tessera-sql/TableImporter.h"

#include <QElapsedTimer>
#include <QFile>
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
    // The file results go to after .output.
    std::unique_ptr<QFile> outputFile;
    std::unique_ptr<QTextStream> output;

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

bool Shell::setOutput(const QString& path, QString& error)
{
    d->output.reset();
    d->outputFile.reset();
    if (path.isEmpty())
        return true;
    auto file = std::make_unique<QFile>(path);
    if (!file->open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        error = QStringLiteral("cannot write %1: %2").arg(path, file->errorString());
        return false;
    }
    d->outputFile = std::move(file);
    d->output = std::make_unique<QTextStream>(d->outputFile.get());
    d->output->setCodec("UTF-8");
    return true;
}

bool Shell::readScript(const QString& path, QTextStream& out, QTextStream& err)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        d->report(err, QStringLiteral("cannot read %1: %2").arg(path, file.errorString()));
        return false;
    }
    return runStatements(splitScript(QString::fromUtf8(file.readAll())), true, out, err);
}

bool Shell::evaluate(const QString& tableName, const QString& expression, QTextStream& screen, QTextStream& err)
{
    const dp::DataCatalogWithSelection* catalog = hostCatalog(*d->core);
    const auto table = std::dynamic_pointer_cast<dp::Table>(catalog ? catalog->findByName(tableName) : nullptr);
    if (!table) {
        d->report(err, QStringLiteral("no table %1 in the catalog").arg(tableName));
        return false;
    }
    engine::SqliteStringBuilder builder(d->engine->engineDatabase(), QString(), nullptr);
    if (!d->engine->tryToTranslate(expression.toStdString(), builder, Engine::ExpressionOnly)) {
        QStringList reasons;
        for (const auto& e : builder.errors())
            reasons << describeError(*e);
        d->report(err, reasons.join(QLatin1String("; ")));
        return false;
    }
    engine::EngineExpression evaluator(d->engine->engineDatabase(), table->schema(), d->engine->cache());
    if (!evaluator.isValid() || !evaluator.setExpression(sql::fromSqlString(builder.query()))) {
        d->report(err, evaluator.lastError());
        return false;
    }
    ResultSet result;
    result.columns << QStringLiteral("id") << expression;
    auto cursor = table->features();
    while (auto feature = cursor->next()) {
        evaluator.fill(feature);
        result.rows.push_back({static_cast<qlonglong>(d->engine->cache()->assignIdToInt(feature->id())), evaluator.exec()});
    }
    QTextStream& out = d->output ? *d->output : screen;
    printResult(out, result, d->options.format, d->options.headers);
    out.flush();
    return true;
}

bool Shell::exportQuery(const QString& statement, const QString& path, const QString& driver, QTextStream& out, QTextStream& err)
{
    const ShellOptions saved = d->options;
    d->options.gisOutput = path;
    d->options.gisDriver = driver;
    const bool ok = runStatement(statement, out, err);
    d->options = saved;
    return ok;
}

bool Shell::runStatement(const QString& statement, QTextStream& screen, QTextStream& err)
{
    QTextStream& out = d->output ? *d->output : screen;
    QElapsedTimer timer;
    timer.start();
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
    ProgressLine progress(d->engine->engineDatabase(), d->options.progress);
    QSqlQuery query(d->engine->engineDatabase());
    query.setForwardOnly(true);
    if (!query.exec(text)) {
        progress.finish();
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
    // A GIS file takes the geometries themselves.
    const bool toGisFile = !d->options.gisOutput.isEmpty();
    ResultSet gis;
    while (query.next()) {
        QVector<QVariant> row;
        row.reserve(record.count());
        if (toGisFile) {
            QVector<QVariant> gisRow;
            for (int c = 0; c < record.count(); ++c) {
                const QVariant v = query.value(c);
                const auto g = v.userType() == QMetaType::QByteArray && !v.isNull()
                    ? d->engine->cache()->geometryInfo(v.toByteArray(), false).geometry() : nullptr;
                gisRow << (g ? dp::geometryToVariant(g) : v);
            }
            gis.rows << gisRow;
            continue;
        }
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
    if (toGisFile) {
        gis.columns = result.columns;
        QString error;
        if (!writeGisFile(d->options.gisOutput, d->options.gisDriver, gis, error)) {
            d->report(err, error);
            return false;
        }
        return true;
    }
    progress.finish();
    if (query.lastError().isValid()) {
        d->report(err, messages.foldInto(query.lastError().databaseText()));
        return false;
    }
    if (d->options.format == OutputFormat::Table)
        abbreviateWideCells(result, geometryColumns, d->options.width);
    if (!d->options.nullValue.isEmpty())
        for (auto& row : result.rows)
            for (auto& cell : row)
                if (cell.isNull())
                    cell = d->options.nullValue;
    printResult(out, result, d->options.format, d->options.headers);
    if (d->options.timer)
        out << "Time: " << QString::number(timer.nsecsElapsed() / 1e6, 'f', 3) << " ms\n";
    out.flush();
    return true;
}

} // namespace tessera::shell
