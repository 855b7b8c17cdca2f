#include "tools/tessera-sql/Shell.h"

#include "engine/Engine.h"
#include "engine/EngineCache.h"
#include "engine/geometry/GeometryConversions.h"
#include "engine/translation/SqliteStringBuilder.h"
#include "platform/core/Core.h"
#include "platform/core/Extensions.h"
#include "platform/sql/SqlError.h"
#include "platform/sql/SqlStrings.h"
#include "tools/tessera-sql/ErrorText.h"
#include "tools/tessera-sql/GeometryText.h"
#include "tools/tessera-sql/StatementSplitter.h"
#include "tools/tessera-sql/TableImporter.h"

#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QTextStream>
#include <stdexcept>

namespace tessera::shell {

struct Shell::Private {
    ShellOptions options;
    std::unique_ptr<Core> core;
    Engine* engine = nullptr;
    QVector<plugin::PluginInfo> pluginFailures;

    bool listPlugins(QTextStream& out) const;
};

Shell::Shell(ShellOptions options)
    : d(std::make_unique<Private>())
{
    d->options = options;
    d->core = std::make_unique<Core>();
    plugin::PluginManager& plugins = d->core->extensionManager()->plugins();
    for (const QString& path : options.pluginPaths + plugin::PluginManager::defaultSearchPath())
        plugins.addPath(path);
    d->pluginFailures = plugins.load(d->core.get());
    d->engine = d->core->findService<Engine>();
    if (!d->engine) {
        QString reason = QStringLiteral("no engine plug-in found");
        for (const auto& failure : d->pluginFailures)
            if (failure.name == QLatin1String("engine"))
                reason = failure.error;
        throw std::runtime_error(QStringLiteral("the engine is not loaded: %1").arg(reason).toStdString());
    }
}

// The core unloads the plug-ins in reverse order before it goes.
Shell::~Shell() = default;

QVector<plugin::PluginInfo> Shell::pluginFailures() const
{
    return d->pluginFailures;
}

bool Shell::Private::listPlugins(QTextStream& out) const
{
    ResultSet result;
    result.columns << QStringLiteral("name") << QStringLiteral("version") << QStringLiteral("file");
    for (const auto& p : core->extensionManager()->plugins().plugins())
        if (p.loaded)
            result.rows << QVector<QVariant>{p.name, p.version, p.file};
    printResult(out, result, options.format);
    out.flush();
    return true;
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
    return importTable(*d->engine, path, name, error);
}

bool Shell::translate(const QString& statement, QString& sqlite, QString& error) const
{
    engine::SqliteStringBuilder builder(d->engine->engineDatabase(), QString(), nullptr);
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
    const QString detail = describeSyntaxError(statement.toStdString());
    if (!detail.isEmpty())
        reasons << detail;
    error = reasons.join(QLatin1String("; "));
    return false;
}

bool Shell::runScript(const QString& script, QTextStream& out, QTextStream& err)
{
    for (const QString& statement : splitStatements(script))
        if (!runStatement(statement, out, err))
            return false;
    return true;
}

bool Shell::runStatement(const QString& statement, QTextStream& out, QTextStream& err)
{
    if (statement.trimmed() == QLatin1String(".plugins"))
        return d->listPlugins(out);
    QString text = statement;
    if (!d->options.raw) {
        QString error;
        if (!translate(statement, text, error)) {
            err << "error: " << error << '\n';
            err.flush();
            return false;
        }
    }
    if (d->options.translateOnly) {
        out << text << ";\n";
        out.flush();
        return true;
    }

    QSqlQuery query(d->engine->engineDatabase());
    query.setForwardOnly(true);
    if (!query.exec(text)) {
        err << "error: " << query.lastError().databaseText() << '\n';
        err.flush();
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
    while (query.next()) {
        QVector<QVariant> row;
        row.reserve(record.count());
        for (int c = 0; c < record.count(); ++c) {
            QVariant v = query.value(c);
            if (v.userType() == QMetaType::QByteArray && !v.isNull())
                v = blobText(v.toByteArray(), d->engine->cache());
            row << v;
        }
        result.rows << row;
    }
    if (query.lastError().isValid()) {
        err << "error: " << query.lastError().databaseText() << '\n';
        err.flush();
        return false;
    }
    printResult(out, result, d->options.format);
    out.flush();
    return true;
}

} // namespace tessera::shell
