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
    return true;
}

bool InputLoop::runText(const QString& text)
{
    return run(splitScript(text), text.trimmed().contains(QLatin1Char('\n')), false);
}

bool InputLoop::runStream(std::istream& in)
{
    StatementReader reader;
    std::string line;
    while (std::getline(in, line)) {
        if (!run(reader.feed(QString::fromStdString(line) + QLatin1Char('\n')), true, false))
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
        const QString command = line.trimmed();
        if (!reader.pending() && (command == QLatin1String(".quit") || command == QLatin1String(".exit")))
            break;
        if (!run(reader.feed(line + QLatin1Char('\n')), false, true))
            reader.discard();
    }
    out << '\n';
    out.flush();
    run(reader.finish(), false, true);
}

} // namespace tessera::shell
