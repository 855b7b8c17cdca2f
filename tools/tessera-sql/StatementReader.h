#pragma once
// Collects text as it arrives (a terminal's lines, a pipe's chunks) and hands
// out each statement as soon as its ';' has come, with its position in the
// whole input.

#include "tools/tessera-sql/StatementSplitter.h"

#include <QString>
#include <QVector>

namespace tessera::shell {

class StatementReader {
public:
    // Adds text; returns the statements it completes.
    QVector<ScriptStatement> feed(const QString& text);
    // The statement left without its ';' at the end of the input, if any.
    QVector<ScriptStatement> finish();
    // Whether a statement has begun and not ended (for a continuation prompt).
    bool pending() const;
    // Forgets the unfinished statement (Ctrl-C at the prompt).
    void discard();

private:
    QString buffer;
    int line = 1;     // where the buffer starts in the input
    int column = 1;
};

} // namespace tessera::shell
