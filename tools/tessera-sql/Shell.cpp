#include "tools/tessera-sql/Shell.h"

#include "engine/Engine.h"
#include "engine/EngineCache.h"
#include "engine/geometry/GeometryConversions.h"
#include "engine/translation/SqliteStringBuilder.h"
#include "platform/core/Core.h"
#include "platform/core/Extensions.h"
#include "platform/dp/Table.h"
#include "platform/sql/SqlError.h"
#include "platform/sql/SqlStrings.h"
#include "tools/tessera-sql/ErrorText.h"
#include "tools/tessera-sql/GeometryText.h"
#include "tools/tessera-sql/MetaCommands.h"
#include "tools/tessera-sql/StatementSplitter.h"
#include "tools/tessera-sql/TableImporter.h"

#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QTextStream>
#include <algorithm>
#include <stdexcept>

namespace tessera::shell {

struct Shell::Private {
    ShellOptions options;
    std::unique_ptr<Core> core;
    Engine* engine = nullptr;
    // The functions a statement may call; read again after anything that
    // can register functions (opening a file loads a module).
    engine::SqliteStringBuilder::NameSet functions;
    // Opened tables stay here: an index is built from the table itself.
    std::map<QString, std::shared_ptr<dp::Table>> tables;
    std::map<QString, std::vector<int>> indexIds;
    QVector<plugin::PluginInfo> pluginFailures;
};

namespace {

// The functions a statement may call: every function registered on the
// engine connection, so that a misspelt name is refused with its place
// before SQLite sees it. Not the dialect catalogue: the translator also emits
// the engine's own names (concat, objectarea, ...), which it does not list.
engine::SqliteStringBuilder::NameSet functionWhiteList(Engine& engine)
{
    engine::SqliteStringBuilder::NameSet names;
    QSqlQuery query(engine.engineDatabase());
    query.setForwardOnly(true);
    if (query.exec(QStringLiteral("Pragma function_list")))
        while (query.next())
            names.insert(query.value(0).toString());
    return names;
}

} // namespace

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
    // Plug-ins register functions too: read the list once they are all in.
    d->functions = functionWhiteList(*d->engine);
}

// The core unloads the plug-ins in reverse order before it goes.
Shell::~Shell() = default;

QVector<plugin::PluginInfo> Shell::pluginFailures() const
{
    return d->pluginFailures;
}

QVector<plugin::PluginInfo> Shell::loadedPlugins() const
{
    QVector<plugin::PluginInfo> loaded;
    for (const auto& p : d->core->extensionManager()->plugins().plugins())
        if (p.loaded)
            loaded << p;
    return loaded;
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
    std::shared_ptr<dp::Table> table;
    const bool opened = importTable(*d->engine, path, name, error, &table);
    d->functions = functionWhiteList(*d->engine);
    if (!opened)
        return false;
    d->tables[table->name()] = table;
    return true;
}

Engine& Shell::engine() const
{
    return *d->engine;
}

std::shared_ptr<dp::Table> Shell::table(const QString& name) const
{
    auto it = d->tables.find(name);
    if (it == d->tables.end())
        it = std::find_if(d->tables.begin(), d->tables.end(),
                          [&](const auto& entry) { return entry.first.compare(name, Qt::CaseInsensitive) == 0; });
    return it == d->tables.end() ? nullptr : it->second;
}

QStringList Shell::tableNames() const
{
    QStringList names;
    for (const auto& entry : d->tables)
        names << entry.first;
    return names;
}

std::vector<int>& Shell::indexIds(const QString& table)
{
    return d->indexIds[table];
}

bool Shell::translate(const QString& statement, QString& sqlite, QString& error) const
{
    engine::SqliteStringBuilder builder(d->engine->engineDatabase(), QString(), nullptr);
    builder.setWhiteList(d->functions);
    try {
        if (d->engine->tryToTranslate(statement.toStdString(), builder, Engine::AnyResult)) {
            sqlite = sql::fromSqlString(builder.query());
            return true;
        }
    } catch (const std::exception& e) {
        // The translator reports its errors as values; this is a last guard.
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
    // SQLite and the parser would stop reading at a NUL: the rest of the
    // script would be lost without a word. A script with one is refused whole.
    const int nul = script.indexOf(QChar(0));
    if (nul >= 0) {
        const int line = script.leftRef(nul).count(QLatin1Char('\n')) + 1;
        const int column = nul - script.lastIndexOf(QLatin1Char('\n'), nul);
        err << "error: line " << line << ", column " << column << ": NUL character in the script; nothing was run\n";
        err.flush();
        return false;
    }
    auto runStatements = [&](const QString& text) {
        for (const QString& statement : splitStatements(text))
            if (!runStatement(statement, out, err))
                return false;
        return true;
    };
    // A meta-command line between statements runs after what comes before it.
    QString pending;
    for (const QString& line : script.split(QLatin1Char('\n'))) {
        if (isMetaCommand(line) && endsBetweenStatements(pending)) {
            if (!runStatements(pending) || !runMetaCommand(*this, line, out, err))
                return false;
            pending.clear();
            continue;
        }
        pending += line + QLatin1Char('\n');
    }
    return runStatements(pending);
}

bool Shell::runStatement(const QString& statement, QTextStream& out, QTextStream& err)
{
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
