#pragma once
// The shell's session: a Core that loads the plug-ins (the engine, the function
// module and any others), running dialect statements (or raw SQLite ones) and
// printing results.

#include "platform/core/PluginManager.h"
#include "tools/tessera-sql/MapPlot.h"
#include "tools/tessera-sql/ResultPrinter.h"
#include "tools/tessera-sql/StatementSplitter.h"

#include <QString>
#include <QStringList>
#include <QVector>
#include <memory>
#include <vector>

class QTextStream;

namespace tessera { class Engine; }
namespace tessera::dp { class Table; }

namespace tessera::shell {

struct ShellOptions {
    OutputFormat format = OutputFormat::Table;
    bool translateOnly = false;  // print the SQLite text instead of running it
    bool raw = false;            // run the text as SQLite SQL, untranslated
    bool headers = true;         // print column headers (table and CSV)
    bool bail = false;           // stop a script at its first error
    int width = 0;               // table mode: cut geometry texts to fit; 0 shows them whole
    QString nullValue;           // shown for NULL (empty: the format's own)
    bool timer = false;          // print each statement's elapsed time
    QString gisOutput;           // write each query's result to this GIS file instead
    QString gisDriver;           // GDAL driver for gisOutput (empty: by extension)
    PlotOptions plot;            // gisOutput naming an image: the map's label column and size
    // The coordinate system ("EPSG:4326", a PROJ string, WKT) of opened
    // sources that name none; empty: they stay without one.
    QString srs;
    bool progress = false;       // a progress line on standard error for long statements
    // Plug-in files or folders searched before the default ones
    // (plugin::PluginManager::defaultSearchPath); the first of a name wins.
    QStringList pluginPaths;
};

class Shell {
public:
    // Loads the plug-ins. Throws std::runtime_error when the engine is not
    // among them. The engine is made once per process, so a process has one
    // Shell at a time.
    explicit Shell(ShellOptions options);
    ~Shell();

    // The plug-ins that failed to load, with their reasons.
    QVector<plugin::PluginInfo> pluginFailures() const;
    // The plug-ins loaded, in load order.
    QVector<plugin::PluginInfo> loadedPlugins() const;

    const ShellOptions& options() const;
    void setOptions(ShellOptions options);

    // Opens a GIS source (GeoJSON, Shapefile, GeoPackage, MIF/TAB, CSV, a
    // "PG:..." connection, ...) as table `name` (the file's base name when
    // empty) in the shell's data catalog (the host's catalog, with its
    // selection); the table adapter serves it live. "file.gpkg:roads" names a
    // layer. `openOptions` are GDAL open options (KEY=VALUE). A source without
    // coordinate system gets the options' srs, if any. False with a
    // message in `error` when it cannot be opened or the name is taken; after
    // success `error` holds GDAL's warnings, if any.
    bool openFile(const QString& path, const QString& name, QString& error);
    bool openFile(const QString& path, const QString& name, const QStringList& openOptions, QString& error);

    // The tables of the catalog, in the order they were opened.
    QStringList tableNames() const;
    // Closes a table (its virtual table is dropped).
    bool closeTable(const QString& name, QString& error);
    bool renameTable(const QString& oldName, const QString& newName, QString& error);
    // One line per column: the attribute's name and its SQLite column text;
    // every table when `name` is empty.
    bool describeTable(const QString& name, QTextStream& out, QString& error) const;

    // Runs every statement and meta-command line (MetaCommands.h) of the
    // script, or up to the first failing one with `bail`. A script with a NUL
    // character is refused whole. Returns false when any failed; errors go to
    // `err`, naming the statement's line when the script has more than one line.
    bool runScript(const QString& script, QTextStream& out, QTextStream& err);
    // The same for statements and meta-commands taken from a longer input (a
    // file read as it arrives), whose positions are those of that input.
    bool runStatements(const QVector<ScriptStatement>& statements, bool nameLines, QTextStream& out, QTextStream& err);
    bool runStatement(const QString& statement, QTextStream& out, QTextStream& err);

    // Handlers of meta-commands (.mode, .headers, .nullvalue and .timer
    // change options through setOptions).
    // .output FILE: results go to `path` from now on (empty: back to the
    // stream each call is given). False with the reason when it cannot be
    // written.
    bool setOutput(const QString& path, QString& error);
    // .read FILE: runs the script in the file.
    bool readScript(const QString& path, QTextStream& out, QTextStream& err);
    // .eval TABLE EXPRESSION: the dialect expression's value for every
    // feature of the catalog's table TABLE, as rows of (id, value).
    bool evaluate(const QString& table, const QString& expression, QTextStream& out, QTextStream& err);
    // .select TABLE CONDITION: the features of the catalog's table TABLE for
    // which the dialect condition holds become the current selection (the
    // Selection table); prints how many. An empty `condition` with an empty
    // `table` clears the selection.
    bool select(const QString& table, const QString& condition, QTextStream& out, QTextStream& err);

    // The result of `statement` written to the GIS file `path` (GDAL driver
    // `driver`, or by the extension).
    bool exportQuery(const QString& statement, const QString& path, const QString& driver, QTextStream& out, QTextStream& err);
    // .export PATH [FORMAT]: the next statement's result goes to that file
    // (a map image when PATH names one, drawn with the options' plot).
    void exportNext(const QString& path, const QString& driver);
    // .plot PATH [LABEL] [SIZE]: the next statement's result drawn as a map
    // to the image file `path` (MapPlot.h). False with the reason when PATH
    // is not an image file name.
    bool plotNext(const QString& path, const PlotOptions& plot, QString& error);
    // .quit, .exit: the statements after it are not run, and the input
    // loop stops reading.
    void quit();
    bool hasQuit() const;

    // Stops the running statement; may be called from any thread.
    void cancelQuery();

    // The SQLite text of a dialect statement, or false with the reasons in `error`.
    bool translate(const QString& statement, QString& sqlite, QString& error) const;

    Engine& engine() const;
    // A table of the catalog: exact name first, then ignoring case.
    std::shared_ptr<dp::Table> table(const QString& name) const;
    // The ids of the indices built on a table with .index (kept in its store).
    std::vector<int>& indexIds(const QString& table);

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace tessera::shell
