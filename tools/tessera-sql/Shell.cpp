#include "tools/tessera-sql/Shell.h"

#include "engine/Engine.h"
#include "engine/EngineCache.h"
#include "engine/geometry/GeometryConversions.h"
#include "engine/translation/SqliteStringBuilder.h"
#include "platform/core/Core.h"
#include "platform/core/Extensions.h"
#include "platform/dp/DataCatalog.h"
#include "platform/dp/Table.h"
#include "platform/sql/SqlError.h"
#include "platform/sql/SqlStrings.h"
#include "providers/gdal/GdalTable.h"
#include "tools/tessera-sql/ErrorText.h"
#include "tools/tessera-sql/GeometryText.h"
#include "tools/tessera-sql/MetaCommands.h"
#include "tools/tessera-sql/StatementSplitter.h"

#include <QFileInfo>
#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QTextStream>
#include <functional>
#include <map>
#include <stdexcept>

namespace tessera::shell {

struct Shell::Private {
    ShellOptions options;
    std::unique_ptr<Core> core;
    Engine* engine = nullptr;
    // The functions a statement may call; read again after anything that
    // can register functions (opening a file loads a module).
    engine::SqliteStringBuilder::NameSet functions;
    dp::DataCatalog* catalog = nullptr;   // owned by the core; the tables plug-in follows it
    // The indices built with .index, by table name (the store keeps them).
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

// "file.gpkg:roads" is layer roads of file.gpkg, unless the whole text names
// a file (or is a connection string such as "PG:...").
void splitLayer(const QString& text, QString& path, QString& layer)
{
    path = text;
    layer.clear();
    const int colon = text.lastIndexOf(QLatin1Char(':'));
    if (colon > 1 && !QFileInfo::exists(text) && QFileInfo::exists(text.left(colon))) {
        path = text.left(colon);
        layer = text.mid(colon + 1);
    }
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
    // The tables plug-in serves the catalog's tables; without it nothing
    // could be opened.
    d->catalog = d->core->findService<dp::DataCatalog>();
    if (!d->catalog) {
        QString reason = QStringLiteral("no tables plug-in found");
        for (const auto& failure : d->pluginFailures)
            if (failure.name == QLatin1String("tables"))
                reason = failure.error;
        throw std::runtime_error(QStringLiteral("the table adapter is not loaded: %1").arg(reason).toStdString());
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
    return openFile(path, name, QStringList(), error);
}

bool Shell::openFile(const QString& text, const QString& name, const QStringList& openOptions, QString& error)
{
    providers::GdalTable::Options options;
    QString path;
    splitLayer(text, path, options.layer);
    options.openOptions = openOptions;
    if (!name.isEmpty()) {
        if (d->catalog->findByName(name)) {
            error = QStringLiteral("cannot open %1: a table named %2 is open").arg(text, name);
            return false;
        }
        options.name = name;
    } else if (QFileInfo::exists(path)) {
        options.name = dp::DataObject::makeValidObjectName(options.layer.isEmpty() ? QFileInfo(path).completeBaseName() : options.layer);
    }
    std::shared_ptr<providers::GdalTable> table;
    try {
        table = providers::GdalTable::open(path, options);
        table->setName(d->catalog->uniqueName(table->name()));
        // The extension creates the virtual table as the catalog reports it.
        d->catalog->addDataObject(table);
        d->functions = functionWhiteList(*d->engine);
    } catch (const std::exception& e) {
        // A table the engine could not take leaves the catalog again.
        if (table && d->catalog->findById(table->id()))
            d->catalog->closeDataObject(table->id());
        QStringList reasons;
        const std::function<void(const std::exception&)> collect = [&](const std::exception& x) {
            reasons << QString::fromUtf8(x.what());
            try {
                std::rethrow_if_nested(x);
            } catch (const std::exception& inner) {
                collect(inner);
            } catch (...) {
            }
        };
        collect(e);
        error = reasons.join(QLatin1String(": "));
        return false;
    }
    return true;
}

QStringList Shell::tableNames() const
{
    QStringList names;
    for (const auto& object : d->catalog->dataObjects())
        names << object->name();
    return names;
}

bool Shell::closeTable(const QString& name, QString& error)
{
    const auto object = d->catalog->findByName(name);
    if (!object) {
        error = QStringLiteral("no table named %1").arg(name);
        return false;
    }
    return d->catalog->closeDataObject(object->id());
}

bool Shell::renameTable(const QString& oldName, const QString& newName, QString& error)
{
    const auto object = d->catalog->findByName(oldName);
    if (!object) {
        error = QStringLiteral("no table named %1").arg(oldName);
        return false;
    }
    const auto other = d->catalog->findByName(newName);
    if (other && other != object) {
        error = QStringLiteral("a table named %1 is open").arg(newName);
        return false;
    }
    const QString valid = dp::DataObject::makeValidObjectName(newName);
    if (valid != newName) {
        error = QStringLiteral("%1 is not a valid table name (%2 would be)").arg(newName, valid);
        return false;
    }
    object->setName(newName);   // the catalog tells the extension, which renames the table
    return true;
}

bool Shell::describeTable(const QString& name, QTextStream& out, QString& error) const
{
    QList<dp::DataObjectPtr> objects;
    if (name.isEmpty()) {
        objects = d->catalog->dataObjects();
    } else if (auto object = d->catalog->findByName(name)) {
        objects << object;
    } else {
        error = QStringLiteral("no table named %1").arg(name);
        return false;
    }
    for (const auto& object : objects) {
        const auto table = std::dynamic_pointer_cast<dp::Table>(object);
        if (!table)
            continue;
        out << object->name() << " (" << object->tableSourceDescription() << ")\n";
        // The virtual table's columns, one per attribute in schema order.
        QSqlQuery columns(d->engine->engineDatabase());
        columns.prepare(QStringLiteral("Select name, type From pragma_table_info(?)"));
        columns.addBindValue(object->name());
        columns.exec();
        const dp::TableSchema schema = table->schema();
        for (int i = 0; i < schema.count() && columns.next(); ++i)
            out << "  " << schema.attribute(i)->name() << ": " << columns.value(0).toString() << ' '
                << columns.value(1).toString() << '\n';
    }
    out.flush();
    return true;
}

Engine& Shell::engine() const
{
    return *d->engine;
}

std::shared_ptr<dp::Table> Shell::table(const QString& name) const
{
    return std::dynamic_pointer_cast<dp::Table>(d->catalog->findByName(name));
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
