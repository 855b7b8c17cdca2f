#pragma once
// The shell's meta-commands, as in the sqlite3 shell: a line whose first
// non-blank character is '.' (outside a statement; StatementSplitter.h finds
// them) is one command, its words split at blanks ("..." or '...' keep blanks inside a word). Every command
// is one row of the table in MetaCommands.cpp: name, usage, a line of help,
// an example and the handler. A new command is a new row.

#include <QString>
#include <QStringList>
#include <vector>

class QTextStream;

namespace tessera::shell {

class Shell;

struct MetaContext {
    Shell& shell;
    QTextStream& out;
    QTextStream& err;
    QString line;   // the whole command line, for commands that take text as it stands
};

struct MetaCommand {
    const char* name;      // with the dot: ".functions"
    const char* usage;     // ".functions [MASK]"
    const char* summary;   // what .help says about it
    const char* example;   // a line that uses it, shown by .help and --help
    int minArguments;
    int maxArguments;      // -1: no limit
    // False after an error, which the handler has written to context.err.
    bool (*run)(MetaContext& context, const QStringList& arguments);
};

// Every command, in the order .help lists them.
const std::vector<MetaCommand>& metaCommands();
// The lines of .help: each command's usage and summary.
QString metaCommandHelp();

// The words of a meta-command line, the command first.
QStringList metaCommandWords(const QString& line);
// The text of the line after its first `count` words, trimmed, as it stands.
QString metaCommandRest(const QString& line, int count);

// Runs the meta-command on `line`. Unknown commands and wrong argument counts
// are errors; false after any error (written to `err` as "error: ...").
bool runMetaCommand(Shell& shell, const QString& line, QTextStream& out, QTextStream& err);

} // namespace tessera::shell
