#pragma once
// Feeds statements to the shell from -c texts, script files, a pipe (run as
// they arrive) or a terminal (with line editing), and turns what happened
// into the program's exit status.

#include <QString>
#include <iosfwd>

class QTextStream;

namespace tessera::shell {

class Shell;
class InterruptHandler;
class LineEditor;

// The exit status of tessera-sql.
enum ExitStatus : int {
    ExitSuccess = 0,        // every statement ran
    ExitFailure = 1,        // a statement failed, or a file could not be read
    ExitUsage = 2,          // bad options or arguments
    ExitInterrupted = 130,  // Ctrl-C outside interactive use (128 + SIGINT)
};

class InputLoop {
public:
    InputLoop(Shell& shell, InterruptHandler& interrupts, QTextStream& out, QTextStream& err);

    // Runs a whole text (a -c command, a script file's contents). False
    // when the run must stop: --bail after an error, Ctrl-C, .quit, or a
    // NUL character in the text (then none of it runs).
    bool runText(const QString& text);
    // Reads `in` line by line and runs each statement as soon as its ';'
    // arrives.
    bool runStream(std::istream& in);
    // The terminal session: prompts, a continuation prompt, history; Ctrl-C
    // cancels the running statement (or the unfinished input) and comes back
    // to the prompt; Ctrl-D or .quit leaves.
    void runInteractive(LineEditor& editor);

    ExitStatus status() const { return exitStatus; }

private:
    template <class Statements>
    bool run(const Statements& statements, bool nameLines, bool interactive);
    // A text with a NUL character is not run: the error names its place
    // (after `linesBefore` lines of input) and sets the exit status.
    bool refuseNul(const QString& text, int linesBefore, bool ranBefore);

    Shell& shell;
    InterruptHandler& interrupts;
    QTextStream& out;
    QTextStream& err;
    ExitStatus exitStatus = ExitSuccess;
};

} // namespace tessera::shell
