#include "tools/tessera-sql/MetaCommands.h"

#include "engine/Engine.h"
#include "engine/EngineCache.h"
#include "engine/functions/ValueConversions.h"
#include "engine/indices/EngineIndices.h"
#include "platform/dp/Table.h"
#include "platform/sql/OperatorSet.h"
#include "tools/tessera-sql/ResultPrinter.h"
#include "tools/tessera-sql/Shell.h"

#include <QPair>
#include <QRegularExpression>
#include <QTextStream>
#include <QVector>
#include <algorithm>
#include <exception>

namespace tessera::shell {
namespace {

using engine::EngineIndices;

bool fail(MetaContext& context, const QString& message)
{
    context.err << "error: " << message << '\n';
    context.err.flush();
    return false;
}

// The table opened under `name`, or an error.
std::shared_ptr<dp::Table> openedTable(MetaContext& context, const QString& name)
{
    auto table = context.shell.table(name);
    if (!table)
        fail(context, QStringLiteral("no table %1 is open (open one with .open PATH or --open PATH[=NAME])").arg(name));
    return table;
}

// The index store of an opened table, with its storage; null after an error.
EngineIndices* storeOf(MetaContext& context, const std::shared_ptr<dp::Table>& table)
{
    EngineIndices* store = nullptr;
    try {
        store = context.shell.engine().indices(table);
    } catch (const std::exception& e) {
        fail(context, QStringLiteral("cannot make an index store for table %1: %2").arg(table->name(), QString::fromUtf8(e.what())));
        return nullptr;
    }
    if (!store->isCorrect() && !store->createStorage(table->schema())) {
        fail(context, QStringLiteral("cannot create the index store for table %1 (no column can be indexed, or its folder is not writable)")
                          .arg(table->name()));
        return nullptr;
    }
    return store;
}

// The indices built on `table` with .index that its store still holds: an
// edit of the table, a reset, .close and .rename drop the store's storage.
std::vector<int>& builtIndices(MetaContext& context, const dp::Table& table)
{
    std::vector<int>& ids = context.shell.indexIds(table.name());
    const EngineIndices* store = context.shell.engine().findIndices(table.name());
    if (!store || !store->isCorrect())
        ids.clear();
    return ids;
}

QStringList indexColumns(const EngineIndices& store, int index, const dp::TableSchema& schema)
{
    QStringList names;
    store.enumColumns(index, [&](int column) {
        names << (column < schema.count() ? schema.attribute(column)->name() : QString::number(column));
        return EngineIndices::Status::Continue;
    });
    return names;
}

bool functions(MetaContext& context, const QStringList& arguments)
{
    int mask = sql::FunctionInfo::Scalar;
    if (!arguments.isEmpty()) {
        bool ok = false;
        mask = arguments.front().toInt(&ok, 0);
        if (!ok || mask <= 0 || mask > 15)
            return fail(context, QStringLiteral("MASK is a number from 1 to 15: 1 scalar, 2 aggregate, 8 window, or a sum of them"));
    }
    for (const QString& name : context.shell.engine().functionList(sql::FunctionInfo::TypeMasks(QFlag(mask))))
        context.out << name << '\n';
    return true;
}

bool operators(MetaContext& context, const QStringList&)
{
    const sql::OperatorSet set = context.shell.engine().operatorList();
    for (int code = 0; code < set.toBitArray().size(); ++code)
        if (set.contains(sql::OperationCode(code)))
            context.out << code << '\n';
    return true;
}

bool index(MetaContext& context, const QStringList& arguments)
{
    const auto table = openedTable(context, arguments.front());
    if (!table)
        return false;
    const dp::TableSchema schema = table->schema();
    std::vector<EngineIndices::Column> columns;
    QStringList names;
    // "a,b", "a, b" and "a , b" all name two columns.
    for (const QString& name : arguments.mid(1).join(QLatin1Char(',')).split(QLatin1Char(','), Qt::SkipEmptyParts)) {
        const int position = schema.indexOf(name.trimmed());
        if (position < 0)
            return fail(context, QStringLiteral("table %1 has no column %2").arg(table->name(), name.trimmed()));
        columns.push_back({position});
        names << schema.attribute(position)->name();
    }
    if (columns.empty())
        return fail(context, QStringLiteral("name the columns to index"));

    std::vector<int>& built = builtIndices(context, *table);
    EngineIndices* store = storeOf(context, table);
    if (!store)
        return false;
    const int id = store->addIndex(columns);
    if (id < 0)
        return fail(context, QStringLiteral("columns %1 of table %2 cannot be indexed (geometry and style columns cannot, nor a column twice)")
                                 .arg(names.join(QLatin1String(", ")), table->name()));
    if (std::find(built.begin(), built.end(), id) == built.end()) {
        auto inserter = store->getInserter(id);
        if (!inserter) {
            store->dropIndex(id);
            return fail(context, QStringLiteral("cannot fill the index on table %1").arg(table->name()));
        }
        engine::EngineCache* cache = context.shell.engine().cache();
        auto cursor = table->features();
        while (auto feature = cursor->next()) {
            if (!inserter->add(cache->assignIdToInt(feature->id()), feature->attributeValues())) {
                inserter.reset();   // rolls the fill back
                store->dropIndex(id);
                return fail(context, QStringLiteral("cannot fill the index on table %1").arg(table->name()));
            }
        }
        store->flushInserter(std::move(inserter));
        store->setQuantity(static_cast<unsigned long long>(std::max<qint64>(0, table->featureCount())));
        built.push_back(id);
    }
    const auto statistics = store->statistics(id);
    context.out << "index " << id << " on " << table->name() << " (" << indexColumns(*store, id, schema).join(QLatin1String(", "))
                << "): " << (statistics ? statistics->rows : 0) << " rows\n";
    return true;
}

bool indexes(MetaContext& context, const QStringList& arguments)
{
    QStringList tables = context.shell.tableNames();
    if (!arguments.isEmpty()) {
        const auto table = openedTable(context, arguments.front());
        if (!table)
            return false;
        tables = QStringList{table->name()};
    }
    ResultSet result;
    result.columns = QStringList{QStringLiteral("table"), QStringLiteral("index"), QStringLiteral("columns"), QStringLiteral("rows")};
    for (const QString& name : tables) {
        const auto table = context.shell.table(name);
        if (!table)
            continue;
        const std::vector<int>& ids = builtIndices(context, *table);
        const EngineIndices* store = context.shell.engine().findIndices(name);
        for (int id : ids) {
            const auto statistics = store->statistics(id);
            result.rows.push_back({name, id, indexColumns(*store, id, table->schema()).join(QLatin1Char(',')),
                                   QVariant(static_cast<qulonglong>(statistics ? statistics->rows : 0))});
        }
    }
    printResult(context.out, result, context.shell.options().format);
    return true;
}

bool dropIndex(MetaContext& context, const QStringList& arguments)
{
    const auto table = openedTable(context, arguments[0]);
    if (!table)
        return false;
    bool ok = false;
    const int id = arguments[1].toInt(&ok);
    std::vector<int>& ids = builtIndices(context, *table);
    const auto it = std::find(ids.begin(), ids.end(), id);
    if (!ok || it == ids.end())
        return fail(context, QStringLiteral("table %1 has no index %2 (.indexes lists them)").arg(table->name(), arguments[1]));
    context.shell.engine().indices(table)->dropIndex(id);
    ids.erase(it);
    return true;
}

bool plugins(MetaContext& context, const QStringList&)
{
    ResultSet result;
    result.columns = QStringList{QStringLiteral("name"), QStringLiteral("version"), QStringLiteral("file")};
    for (const auto& p : context.shell.loadedPlugins())
        result.rows.push_back({p.name, p.version, p.file});
    printResult(context.out, result, context.shell.options().format);
    return true;
}

bool openSource(MetaContext& context, const QStringList& arguments)
{
    // After PATH: KEY=VALUE words are GDAL open options, the first other word the name.
    QString name;
    QStringList openOptions;
    for (const QString& word : arguments.mid(1)) {
        if (word.contains(QLatin1Char('=')))
            openOptions << word;
        else if (name.isEmpty())
            name = word;
        else
            return fail(context, QStringLiteral("usage: .open PATH [NAME] [KEY=VALUE ...]"));
    }
    QString error;
    if (!context.shell.openFile(arguments.front(), name, openOptions, error))
        return fail(context, error);
    if (!error.isEmpty())
        context.err << "warning: " << error << '\n';
    context.err.flush();
    return true;
}

bool listTables(MetaContext& context, const QStringList&)
{
    for (const QString& name : context.shell.tableNames())
        context.out << name << '\n';
    return true;
}

bool closeSource(MetaContext& context, const QStringList& arguments)
{
    QString error;
    return context.shell.closeTable(arguments.front(), error) || fail(context, error);
}

bool renameSource(MetaContext& context, const QStringList& arguments)
{
    QString error;
    return context.shell.renameTable(arguments[0], arguments[1], error) || fail(context, error);
}

bool showSchema(MetaContext& context, const QStringList& arguments)
{
    QString error;
    return context.shell.describeTable(arguments.value(0), context.out, error) || fail(context, error);
}

bool help(MetaContext& context, const QStringList&)
{
    context.out << metaCommandHelp();
    return true;
}

// "on" or "off" into `value`; an error otherwise.
bool onOff(MetaContext& context, const QString& word, bool& value)
{
    if (word.compare(QLatin1String("on"), Qt::CaseInsensitive) != 0 && word.compare(QLatin1String("off"), Qt::CaseInsensitive) != 0)
        return fail(context, QStringLiteral("expected on or off, not '%1'").arg(word));
    value = word.compare(QLatin1String("on"), Qt::CaseInsensitive) == 0;
    return true;
}

// GeoJSON is a GIS file written to standard output, as --format geojson.
const QString geoJsonOutput = QStringLiteral("/vsistdout/");

bool mode(MetaContext& context, const QStringList& arguments)
{
    ShellOptions options = context.shell.options();
    if (arguments.front().compare(QLatin1String("geojson"), Qt::CaseInsensitive) == 0) {
        options.gisOutput = geoJsonOutput;
        options.gisDriver = QStringLiteral("GeoJSON");
    } else {
        if (!parseOutputFormat(arguments.front(), options.format))
            return fail(context, QStringLiteral("unknown output format '%1' (use table, csv, json or geojson)").arg(arguments.front()));
        if (options.gisOutput == geoJsonOutput) {
            options.gisOutput.clear();
            options.gisDriver.clear();
        }
    }
    context.shell.setOptions(options);
    return true;
}

bool headers(MetaContext& context, const QStringList& arguments)
{
    ShellOptions options = context.shell.options();
    if (!onOff(context, arguments.front(), options.headers))
        return false;
    context.shell.setOptions(options);
    return true;
}

bool timer(MetaContext& context, const QStringList& arguments)
{
    ShellOptions options = context.shell.options();
    if (!onOff(context, arguments.front(), options.timer))
        return false;
    context.shell.setOptions(options);
    return true;
}

bool nullValue(MetaContext& context, const QStringList& arguments)
{
    ShellOptions options = context.shell.options();
    options.nullValue = arguments.front();
    context.shell.setOptions(options);
    return true;
}

bool output(MetaContext& context, const QStringList& arguments)
{
    QString error;
    return context.shell.setOutput(arguments.value(0), error) || fail(context, error);
}

bool read(MetaContext& context, const QStringList& arguments)
{
    return context.shell.readScript(arguments.front(), context.out, context.err);
}

bool eval(MetaContext& context, const QStringList& arguments)
{
    // The expression as written: its quotes belong to the dialect.
    return context.shell.evaluate(arguments.front(), metaCommandRest(context.line, 2), context.out, context.err);
}

bool select(MetaContext& context, const QStringList& arguments)
{
    if (arguments.size() == 1)
        return fail(context, QStringLiteral("usage: .select TABLE CONDITION (or .select alone to clear the selection)"));
    // The condition as written, as .eval takes its expression.
    return context.shell.select(arguments.value(0), metaCommandRest(context.line, 2), context.out, context.err);
}

bool exportNext(MetaContext& context, const QStringList& arguments)
{
    context.shell.exportNext(arguments.front(), arguments.value(1));
    return true;
}

bool plot(MetaContext& context, const QStringList& arguments)
{
    // After PATH: a size WIDTHxHEIGHT, or the label column.
    PlotOptions options;
    for (const QString& word : arguments.mid(1)) {
        static const QRegularExpression size(QStringLiteral("^\\d+[xX]\\d+$"));
        if (size.match(word).hasMatch()) {
            if (!parsePlotSize(word, options.size))
                return fail(context, QStringLiteral("an image of %1 pixels cannot be drawn (each side from %2 to %3)")
                                         .arg(word).arg(plotMinimumSide).arg(plotMaximumSide));
        } else if (options.labelColumn.isEmpty()) {
            options.labelColumn = word;
        } else {
            return fail(context, QStringLiteral("usage: .plot PATH [LABEL] [WIDTHxHEIGHT]"));
        }
    }
    QString error;
    return context.shell.plotNext(arguments.front(), options, error) || fail(context, error);
}

bool quit(MetaContext& context, const QStringList&)
{
    context.shell.quit();
    return true;
}

} // namespace

const std::vector<MetaCommand>& metaCommands()
{
    static const std::vector<MetaCommand> commands = {
        {".close", ".close NAME", "close a table (its virtual table is dropped)", ".close roads", 1, 1, closeSource},
        {".dropindex", ".dropindex TABLE INDEX", "drop an index built with .index", ".dropindex countries 1", 2, 2, dropIndex},
        {".eval", ".eval TABLE EXPRESSION", "the expression's value for every feature of a table, by id",
         ".eval countries Area(obj, \"sq km\")", 2, -1, eval},
        {".exit", ".exit", "leave the shell (the rest of the input is not run)", ".exit", 0, 0, quit},
        {".export", ".export PATH [FORMAT]", "write the next query's result to a GIS file (GDAL driver FORMAT), or draw it to an image (.png)",
         ".export europe.gpkg", 1, 2, exportNext},
        {".functions", ".functions [MASK]", "the dialect functions available (1 scalar, 2 aggregate, 8 window)", ".functions 2", 0, 1, functions},
        {".headers", ".headers on|off", "column headers in table and csv output", ".headers off", 1, 1, headers},
        {".help", ".help", "this list", ".help", 0, 0, help},
        {".index", ".index TABLE COLUMN[,COLUMN...]", "build and fill an index over columns of an open table", ".index countries iso_a3",
         2, -1, index},
        {".indexes", ".indexes [TABLE]", "the indices with their columns and rows", ".indexes countries", 0, 1, indexes},
        {".mode", ".mode table|csv|json|geojson", "the output format", ".mode csv", 1, 1, mode},
        {".nullvalue", ".nullvalue TEXT", "the text shown for NULL (\"\" for the format's own)", ".nullvalue NULL", 1, 1, nullValue},
        {".open", ".open PATH [NAME] [KEY=VALUE ...]", "open a GIS source as a live table (KEY=VALUE: GDAL open options)",
         ".open tests/data/countries.geojson countries", 1, -1, openSource},
        {".operators", ".operators", "the operation codes the engine translates", ".operators", 0, 0, operators},
        {".output", ".output [FILE]", "results to FILE from now on; without FILE back to standard output", ".output result.csv", 0, 1, output},
        {".plot", ".plot PATH [LABEL] [WIDTHxHEIGHT]", "draw the next query's geometries as a map image (PNG, ...), labelled from column LABEL",
         ".plot germany.png name 1024x768", 1, 3, plot},
        {".plugins", ".plugins", "the plug-ins loaded, with their versions and files", ".plugins", 0, 0, plugins},
        {".quit", ".quit", "leave the shell (the rest of the input is not run)", ".quit", 0, 0, quit},
        {".read", ".read FILE", "run the statements and commands of a script file", ".read setup.sql", 1, 1, read},
        {".rename", ".rename OLD NEW", "rename a table", ".rename countries world", 2, 2, renameSource},
        {".schema", ".schema [NAME]", "the columns of a table, or of every table", ".schema countries", 0, 1, showSchema},
        {".select", ".select [TABLE CONDITION]", "the features of TABLE where the condition holds become the selection (the Selection table); alone: none",
         ".select countries continent = \"Europe\"", 0, -1, select},
        {".tables", ".tables", "the tables of the catalog", ".tables", 0, 0, listTables},
        {".timer", ".timer on|off", "the elapsed time after each statement", ".timer on", 1, 1, timer},
    };
    return commands;
}

QString metaCommandHelp()
{
    QString text;
    for (const MetaCommand& command : metaCommands())
        text += QString::fromUtf8(command.usage).leftJustified(36) + QLatin1Char(' ') + QString::fromUtf8(command.summary)
            + QLatin1Char('\n') + QString(37, QLatin1Char(' ')) + QStringLiteral("e.g. ") + QString::fromUtf8(command.example) + QLatin1Char('\n');
    return text;
}

namespace {

// The words of `text` with where each ends in it.
QVector<QPair<QString, int>> wordsWithEnds(const QString& text)
{
    QVector<QPair<QString, int>> words;
    int i = 0;
    while (i < text.size()) {
        if (text.at(i).isSpace()) {
            ++i;
            continue;
        }
        QString word;
        if (text.at(i) == '"' || text.at(i) == '\'') {
            const QChar quote = text.at(i++);
            while (i < text.size() && text.at(i) != quote)
                word += text.at(i++);
            ++i;
        } else {
            while (i < text.size() && !text.at(i).isSpace())
                word += text.at(i++);
        }
        words.push_back({word, std::min<int>(i, text.size())});
    }
    return words;
}

} // namespace

QStringList metaCommandWords(const QString& line)
{
    QStringList words;
    for (const auto& word : wordsWithEnds(line.trimmed()))
        words << word.first;
    return words;
}

QString metaCommandRest(const QString& line, int count)
{
    const QString text = line.trimmed();
    const auto words = wordsWithEnds(text);
    return count <= 0 ? text : count > words.size() ? QString() : text.mid(words[count - 1].second).trimmed();
}

bool runMetaCommand(Shell& shell, const QString& line, QTextStream& out, QTextStream& err)
{
    MetaContext context{shell, out, err, line};
    const QStringList words = metaCommandWords(line);
    const QString name = words.value(0);
    const auto& commands = metaCommands();
    const auto command = std::find_if(commands.begin(), commands.end(), [&](const MetaCommand& c) {
        return name == QLatin1String(c.name);
    });
    if (command == commands.end())
        return fail(context, QStringLiteral("unknown command %1 (.help lists the commands)").arg(name));
    const QStringList arguments = words.mid(1);
    if (arguments.size() < command->minArguments || (command->maxArguments >= 0 && arguments.size() > command->maxArguments))
        return fail(context, QStringLiteral("usage: %1").arg(QString::fromUtf8(command->usage)));
    const bool ok = command->run(context, arguments);
    out.flush();
    return ok;
}

} // namespace tessera::shell
