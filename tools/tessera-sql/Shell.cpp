#include "tools/tessera-sql/Shell.h"

#include "engine/Engine.h"
#include "engine/EngineCache.h"
#include "engine/expression/EngineExpression.h"
#include "engine/geometry/GeometryConversions.h"
#include "engine/translation/SqliteStringBuilder.h"
#include "platform/core/Core.h"
#include "platform/core/Extensions.h"
#include "platform/cs/CoordSystem.h"
#include "platform/dp/DataCatalogWithSelection.h"
#include "platform/dp/DataProviderRegistry.h"
#include "platform/dp/GeometryAttributeDefinition.h"
#include "platform/dp/GeometryValue.h"
#include "platform/dp/Table.h"
#include "platform/geometry/algorithms/EarthMeasureNotice.h"
#include "platform/sql/SqlError.h"
#include "platform/sql/SqlStrings.h"
#include "tools/tessera-sql/AssignedCoordSystemTable.h"
#include "tools/tessera-sql/CellAbbreviation.h"
#include "tools/tessera-sql/ErrorText.h"
#include "tools/tessera-sql/GeometryText.h"
#include "tools/tessera-sql/HeaderText.h"
#include "tools/tessera-sql/HostServices.h"
#include "tools/tessera-sql/MetaCommands.h"
#include "tools/tessera-sql/ProgressLine.h"
#include "tools/tessera-sql/StatementSplitter.h"

#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QTextStream>
#include <functional>
#include <map>
#include <stdexcept>
#include <utility>

namespace tessera::shell {

namespace {

// Collects the file provider's messages while it lives, once the provider is
// loaded (before, no table could have reported through it).
class ProviderMessages {
public:
    explicit ProviderMessages(const std::shared_ptr<const dp::DataProvider>& provider)
        : capture(provider ? provider->captureMessages() : nullptr)
    {
    }
    QStringList take() { return capture ? capture->take() : QStringList(); }
    QString foldInto(const QString& error) { return capture ? capture->foldInto(error) : error; }

private:
    std::unique_ptr<dp::DataProvider::MessageCapture> capture;
};

} // namespace

struct Shell::Private {
    ShellOptions options;
    std::unique_ptr<Core> core;
    Engine* engine = nullptr;
    // The functions a statement may call: read when a statement first calls
    // a function (not at start-up), and read again after anything that can
    // register functions (opening a file loads a module). Shared by the
    // builders of every statement.
    std::shared_ptr<const engine::SqliteStringBuilder::NameSet> functions;
    dp::DataCatalogWithSelection* catalog = nullptr;       // the host's, owned by the core
    // The indices built with .index, by table name (the store keeps them).
    std::map<QString, std::vector<int>> indexIds;
    QVector<plugin::PluginInfo> pluginFailures;
    // Where the running statement starts in its script, and whether errors
    // name that line (scripts of more than one line).
    int line = 1;
    int column = 1;
    bool nameLine = false;
    // The file results go to after .output.
    std::unique_ptr<QFile> outputFile;
    std::unique_ptr<QTextStream> output;
    // The stream an .output command replaced: the command still writes to it
    // until it returns, so it is closed after that.
    std::unique_ptr<QFile> replacedFile;
    std::unique_ptr<QTextStream> replaced;
    // The GIS file the next statement's result goes to (.export).
    QString exportPath;
    QString exportDriver;
    PlotOptions exportPlot;
    // A geometry without coordinate system measured in an earth model is
    // read as longitude and latitude: said once per session.
    bool warnedBareGeometry = false;
    int readDepth = 0;   // .read inside .read
    bool quit = false;

    void report(QTextStream& err, const QString& message) const
    {
        err << "error: ";
        if (nameLine)
            err << "line " << line << ": ";
        err << message << '\n';
        err.flush();
    }
    // SQLite and the parser would stop reading at a NUL: the rest of the
    // script would be lost without a word. A script with one is refused whole.
    bool refuseNul(const QString& script, QTextStream& err) const
    {
        int at = 0, column = 0;
        if (!findNul(script, at, column))
            return false;
        err << "error: line " << at << ", column " << column << ": NUL character in the script; nothing was run\n";
        err.flush();
        return true;
    }
    void warnOfBareGeometries(QTextStream& err)
    {
        if (!geometry::takeEarthMeasureWithoutCoordSystem() || warnedBareGeometry)
            return;
        warnedBareGeometry = true;
        err << "warning: a geometry without coordinate system was measured on the earth as WGS84 longitude and "
               "latitude in degrees; if its coordinates are in another system, name it with --srs CODE "
               "(e.g. --srs EPSG:3857)\n";
        err.flush();
    }
    // `builder` refuses calls of functions the engine does not have; the list
    // is read when a statement first calls a function.
    void allowFunctions(engine::SqliteStringBuilder& builder);
    // Results and meta-command output go to the .output file, if any.
    QTextStream& resultStream(QTextStream& screen) const { return output ? *output : screen; }

    // The provider of files and connections (the gdal plug-in's); with
    // `loadNow`, its plug-in is loaded if it still waits. Null if none.
    std::shared_ptr<const dp::DataProvider> fileProvider(bool loadNow)
    {
        if (loadNow) {
            const auto tried = core->extensionManager()->plugins().loadDeferred(QStringLiteral("gdal"), core.get());
            if (tried && !tried->loaded)
                pluginFailures << *tried;
        }
        const auto* registry = core->findService<dp::DataProviderRegistry>();
        return registry ? registry->findProvider(QStringLiteral("ogr")) : nullptr;
    }
    // Why fileProvider() is null.
    QString fileProviderFailure() const
    {
        QString reason = QStringLiteral("no gdal plug-in found");
        for (const auto& failure : pluginFailures)
            if (failure.name == QLatin1String("gdal"))
                reason = failure.error;
        return reason;
    }
    // The result to the GIS file of --output or .export.
    bool writeFile(const ResultSet& result, QString& error)
    {
        const auto provider = fileProvider(true);
        if (!provider) {
            error = QStringLiteral("cannot write %1: the data provider is not loaded: %2").arg(options.gisOutput, fileProviderFailure());
            return false;
        }
        return provider->writeFile(options.gisOutput, options.gisDriver, result.columns, result.rows, error);
    }
};

namespace {

// The functions a statement may call: every function registered on the
// engine connection, so that a misspelt name is refused with its place
// before SQLite sees it. Not the dialect catalogue: the translator also emits
// the engine's own names (concat, objectarea, ...), which it does not list.
std::shared_ptr<const engine::SqliteStringBuilder::NameSet> functionWhiteList(Engine& engine)
{
    auto names = std::make_shared<engine::SqliteStringBuilder::NameSet>();
    QSqlQuery query(engine.engineDatabase());
    query.setForwardOnly(true);
    // Each name once (the pragma has a row per overload).
    if (query.exec(QStringLiteral("Select Distinct name From pragma_function_list")))
        while (query.next())
            names->insert(query.value(0).toString());
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

void Shell::Private::allowFunctions(engine::SqliteStringBuilder& builder)
{
    builder.setWhiteListSource([this] {
        if (!functions)
            functions = functionWhiteList(*engine);
        return functions;
    });
}

Shell::Shell(ShellOptions options)
    : d(std::make_unique<Private>())
{
    d->options = options;
    d->core = std::make_unique<Core>();
    // The host's services first: the tables plug-in then follows the host's
    // catalog (one catalog, whose selection the translator reads).
    registerHostServices(*d->core);
    plugin::PluginManager& plugins = d->core->extensionManager()->plugins();
    for (const QString& path : options.pluginPaths + plugin::PluginManager::defaultSearchPath())
        plugins.addPath(path);
    // GDAL's libraries are many and slow to bind: its plug-in is loaded when a
    // file is first opened or written.
    plugins.defer(QStringLiteral("gdal"));
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
    d->catalog = hostCatalog(*d->core);
    bool tablesLoaded = false;
    QString reason = QStringLiteral("no tables plug-in found");
    for (const auto& info : plugins.plugins()) {
        if (info.name != QLatin1String("tables"))
            continue;
        tablesLoaded = info.loaded;
        if (!info.loaded)
            reason = info.error;
    }
    if (!d->catalog || !tablesLoaded)
        throw std::runtime_error(QStringLiteral("the table adapter is not loaded: %1").arg(reason).toStdString());
}

// The core unloads the plug-ins in reverse order before it goes.
Shell::~Shell() = default;

QVector<plugin::PluginInfo> Shell::pluginFailures() const
{
    return d->pluginFailures;
}

QVector<plugin::PluginInfo> Shell::loadedPlugins() const
{
    // Those still waiting for their first use are listed as they load.
    d->fileProvider(true);
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
    // Files and connections are GDAL's, offered by the gdal plug-in.
    const auto provider = d->fileProvider(true);
    if (!provider) {
        error = QStringLiteral("cannot open %1: the data provider is not loaded: %2").arg(text, d->fileProviderFailure());
        return false;
    }
    dp::DataProvider::OpenOptions options;
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
    std::shared_ptr<cs::CoordSystem> assigned;
    if (!d->options.srs.isEmpty()) {
        assigned = cs::CoordSysFactory::defaultCoordSysFactory()->createFromTaggedString(d->options.srs);
        if (!assigned) {
            error = QStringLiteral("cannot open %1: %2 is not a coordinate system (use EPSG:code, a PROJ string or WKT)").arg(text, d->options.srs);
            return false;
        }
    }
    // GDAL's own messages are folded into the error, or reported as warnings.
    ProviderMessages messages(provider);
    std::shared_ptr<dp::Table> table;
    try {
        table = provider->openTable(path, options);
        // --srs: geometries that their source leaves without a system get one.
        if (assigned && !table->schema().attributePlan<dp::GeometryAttributeDefinition>()->isEmpty() && !table->coordSystem())
            table = std::make_shared<AssignedCoordSystemTable>(table, assigned);
        table->setName(d->catalog->uniqueName(table->name()));
        // The extension creates the virtual table as the catalog reports it.
        d->catalog->addDataObject(table);
        d->functions.reset();
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
        error = messages.foldInto(reasons.join(QLatin1String(": ")));
        return false;
    }
    error = messages.take().join(QLatin1String("; "));
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

void Shell::cancelQuery()
{
    d->engine->cancelQuery();
}

void Shell::exportNext(const QString& path, const QString& driver)
{
    d->exportPath = path;
    d->exportDriver = driver;
    d->exportPlot = d->options.plot;
}

bool Shell::plotNext(const QString& path, const PlotOptions& plot, QString& error)
{
    if (!isImagePath(path)) {
        error = QStringLiteral("cannot draw to %1: not an image file name (.png, .jpg, .bmp, ...)").arg(path);
        return false;
    }
    d->exportPath = path;
    d->exportDriver.clear();
    d->exportPlot = plot;
    return true;
}

void Shell::quit()
{
    d->quit = true;
}

bool Shell::hasQuit() const
{
    return d->quit;
}

bool Shell::translate(const QString& statement, QString& sqlite, QString& error) const
{
    engine::SqliteStringBuilder builder(d->engine->engineDatabase(), QString(), nullptr);
    d->allowFunctions(builder);
    builder.setSelection(d->catalog->selection(), d->engine->cache());
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
        reasons << describeError(*e, d->line, d->column);
    // A syntax error says where: parse again for the detailed message.
    const QString detail = describeSyntaxError(statement.toStdString(), d->line, d->column);
    if (!detail.isEmpty())
        reasons << detail;
    error = reasons.join(QLatin1String("; "));
    return false;
}

bool Shell::runScript(const QString& script, QTextStream& out, QTextStream& err)
{
    if (d->refuseNul(script, err))
        return false;
    return runStatements(splitScript(script), script.trimmed().contains(QLatin1Char('\n')), out, err);
}

bool Shell::runStatements(const QVector<ScriptStatement>& statements, bool nameLines, QTextStream& out, QTextStream& err)
{
    bool ok = true;
    for (const ScriptStatement& statement : statements) {
        if (d->quit)
            break;
        d->line = statement.line;
        d->column = statement.column;
        d->nameLine = nameLines;
        geometry::takeEarthMeasureWithoutCoordSystem();   // only this statement's measures count
        if (statement.metaCommand) {
            ok = runMetaCommand(*this, statement.text, d->resultStream(out), err) && ok;
            d->replaced.reset();
            d->replacedFile.reset();
        } else if (!d->exportPath.isEmpty()) {
            const QString path = std::exchange(d->exportPath, QString());
            const PlotOptions plot = d->options.plot;
            d->options.plot = d->exportPlot;
            ok = exportQuery(statement.text, path, std::exchange(d->exportDriver, QString()), out, err) && ok;
            d->options.plot = plot;
        } else {
            ok = runStatement(statement.text, out, err) && ok;
        }
        d->warnOfBareGeometries(err);
        if (!ok && d->options.bail)
            break;
    }
    d->line = d->column = 1;
    d->nameLine = false;
    return ok;
}

bool Shell::setOutput(const QString& path, QString& error)
{
    d->replaced = std::move(d->output);
    d->replacedFile = std::move(d->outputFile);
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
    // A script that reads itself would recurse until the stack runs out.
    constexpr int maxDepth = 16;
    if (d->readDepth >= maxDepth) {
        d->report(err, QStringLiteral("cannot read %1: .read nested more than %2 deep").arg(path).arg(maxDepth));
        return false;
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        d->report(err, QStringLiteral("cannot read %1: %2").arg(path, file.errorString()));
        return false;
    }
    // With its size: Qt's plain overload stops at a NUL byte.
    const QByteArray data = file.readAll();
    const QString script = QString::fromUtf8(data.constData(), data.size());
    if (d->refuseNul(script, err))
        return false;
    ++d->readDepth;
    const bool ok = runStatements(splitScript(script), true, out, err);
    --d->readDepth;
    return ok;
}

bool Shell::evaluate(const QString& tableName, const QString& expression, QTextStream& screen, QTextStream& err)
{
    const auto table = this->table(tableName);
    if (!table) {
        d->report(err, QStringLiteral("no table %1 is open or in the catalog").arg(tableName));
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
    QTextStream& out = d->resultStream(screen);
    printResult(out, result, d->options.format, d->options.headers);
    out.flush();
    return true;
}

bool Shell::select(const QString& tableName, const QString& condition, QTextStream& screen, QTextStream& err)
{
    QTextStream& out = d->resultStream(screen);
    if (tableName.isEmpty()) {
        d->catalog->setSelection(dp::Selection());
        out << "selection cleared\n";
        out.flush();
        return true;
    }
    const auto table = this->table(tableName);
    if (!table) {
        d->report(err, QStringLiteral("no table %1 is open (open one with .open PATH or --open PATH[=NAME])").arg(tableName));
        return false;
    }
    // The condition is translated as an expression over the table's columns,
    // which are the virtual table's; its rows' ids are the engine's feature
    // numbers, which the selection keeps as feature ids.
    engine::SqliteStringBuilder builder(d->engine->engineDatabase(), QString(), nullptr);
    d->allowFunctions(builder);
    builder.setSelection(d->catalog->selection(), d->engine->cache());
    if (!d->engine->tryToTranslate(condition.toStdString(), builder, Engine::ExpressionOnly)) {
        QStringList reasons;
        for (const auto& e : builder.errors())
            reasons << describeError(*e);
        // A syntax error says where in the condition: parse it as a select item.
        const std::string select = "Select ";
        const QString detail = describeSyntaxError(select + condition.toStdString(), 1, 1 - int(select.size()));
        if (!detail.isEmpty())
            reasons = QStringList{detail};
        static const QRegularExpression firstLine(QStringLiteral("^line 1, column "));
        for (QString& reason : reasons)
            reason.replace(firstLine, QStringLiteral("column "));
        d->report(err, QStringLiteral("bad condition %1: %2").arg(condition, reasons.join(QLatin1String("; "))));
        return false;
    }
    QString name = table->name();
    name.replace(QLatin1Char('"'), QLatin1String("\"\""));
    ProviderMessages messages(d->fileProvider(false));
    QSqlQuery query(d->engine->engineDatabase());
    query.setForwardOnly(true);
    const bool ran = query.exec(QStringLiteral("Select rowid From \"%1\" Where (%2)").arg(name, sql::fromSqlString(builder.query())));
    QVector<dp::FeatureId> ids;
    while (ran && query.next())
        ids << d->engine->cache()->intToId(query.value(0).toLongLong());
    if (!ran || query.lastError().isValid()) {
        d->report(err, QStringLiteral("bad condition %1: %2").arg(condition, messages.foldInto(query.lastError().databaseText())));
        return false;
    }
    d->catalog->setSelection(dp::Selection(table, ids));
    out << ids.size() << (ids.size() == 1 ? " feature" : " features") << " of " << table->name() << " selected\n";
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
    QTextStream& out = d->resultStream(screen);
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
    ProviderMessages messages(d->fileProvider(false));
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
    progress.finish();
    if (query.lastError().isValid()) {
        d->report(err, messages.foldInto(query.lastError().databaseText()));
        return false;
    }
    if (!d->options.raw)
        result.columns = userHeaders(statement, result.columns);
    if (toGisFile) {
        gis.columns = result.columns;
        QString error;
        // An image file name (and no driver) asks for a map.
        const bool image = d->options.gisDriver.isEmpty() && isImagePath(d->options.gisOutput);
        if (image ? !plotMap(d->options.gisOutput, gis, d->options.plot, error)
                  : !d->writeFile(gis, error)) {
            d->report(err, error);
            return false;
        }
        return true;
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
