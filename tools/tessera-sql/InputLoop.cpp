#include "tools/tessera-sql/InputLoop.h"

#include "tools/tessera-sql/InterruptHandler.h"
#include "tools/tessera-sql/LineEditor.h"
#include "tools/tessera-sql/Shell.h"
#include "tools/tessera-sql/StatementReader.h"

#include <QTextStream>
#include <istream>
#include <string>

namespace tessera::shell {

InputLoop::InputLoop(Shell& shell, InterruptHandler& interrupts, QTextStream& out, QTextStream& err)
    : shell(shell), interrupts(interrupts), out(out), err(err)
{
}

template <class Statements>
bool InputLoop::run(const Statements& statements, bool nameLines, bool interactive)
{
    for (const ScriptStatement& statement : statements) {
        if (shell.hasQuit())
            return false;
        const bool ok = shell.runStatements({statement}, nameLines, out, err);
        if (!ok && !interactive)
            exitStatus = ExitFailure;
        if (interrupts.takeInterrupt()) {
            // At the prompt the rest of the input goes; elsewhere the run.
            if (!interactive)
                exitStatus = ExitInterrupted;
            return false;
        }
        if (!ok && shell.options().bail)
            return false;
    }
    return !shell.hasQuit();
}

bool InputLoop::refuseNul(const QString& text, int linesBefore, bool ranBefore)
{
    int line = 0, column = 0;
    if (!findNul(text, line, column))
        return false;
    err << "error: line " << linesBefore + line << ", column " << column << ": NUL character in the script; "
        << (ranBefore ? "the rest was not run" : "nothing was run") << '\n';
    err.flush();
    exitStatus = ExitFailure;
    return true;
}

bool InputLoop::runText(const QString& text)
{
    if (refuseNul(text, 0, false))
        return false;
    return run(splitScript(text), text.trimmed().contains(QLatin1Char('\n')), false);
}

bool InputLoop::runStream(std::istream& in)
{
    StatementReader reader;
    std::string line;
    int lines = 0;
    bool ran = false;
    while (std::getline(in, line)) {
        // What has already arrived is taken with the line, so that a NUL
        // in it stops the run before any of it does.
        QString chunk = QString::fromUtf8(line.data(), int(line.size())) + QLatin1Char('\n');
        while (in.rdbuf()->in_avail() > 0 && std::getline(in, line))
            chunk += QString::fromUtf8(line.data(), int(line.size())) + QLatin1Char('\n');
        if (refuseNul(chunk, lines, ran))
            return false;
        lines += chunk.count(QLatin1Char('\n'));
        const QVector<ScriptStatement> statements = reader.feed(chunk);
        ran = ran || !statements.isEmpty();
        if (!run(statements, true, false))
            return false;
    }
    if (interrupts.takeInterrupt()) {
        exitStatus = ExitInterrupted;
        return false;
    }
    return run(reader.finish(), true, false);
}

void InputLoop::runInteractive(LineEditor& editor)
{
    StatementReader reader;
    for (;;) {
        QString line;
        const auto result = editor.readLine(reader.pending() ? QStringLiteral("    ...> ") : QStringLiteral("tessera> "), line);
        // Taken in any case: a Ctrl-C at the prompt must not cancel what comes next.
        const bool interrupted = interrupts.takeInterrupt();
        if (result == LineEditor::Result::Interrupted || interrupted) {
            // Ctrl-C at the prompt drops the unfinished statement.
            reader.discard();
            out << '\n';
            out.flush();
            continue;
        }
        if (result == LineEditor::Result::End)
            break;
        editor.addHistory(line);
        if (!run(reader.feed(line + QLatin1Char('\n')), false, true))
            reader.discard();
        if (shell.hasQuit())
            return;
    }
    out << '\n';
    out.flush();
    run(reader.finish(), false, true);
}

} // namespace tessera::shell
