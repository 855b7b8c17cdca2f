#include "tools/tessera-sql/LineEditor.h"

#include <QDir>
#include <QFile>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string>

#ifdef TESSERA_HAVE_LIBEDIT
#include <editline/readline.h>
#endif

namespace tessera::shell {

struct LineEditor::Private {
    QString historyPath;
    QString last;   // the entry added last, not repeated in the history
};

LineEditor::LineEditor(QString historyPath)
    : d(std::make_unique<Private>())
{
    d->historyPath = std::move(historyPath);
#ifdef TESSERA_HAVE_LIBEDIT
    // Signals stay ours: Ctrl-C must reach the shell, not libedit.
    rl_catch_signals = 0;
    using_history();
    if (!d->historyPath.isEmpty())
        read_history(QFile::encodeName(d->historyPath).constData());
#endif
}

LineEditor::~LineEditor()
{
#ifdef TESSERA_HAVE_LIBEDIT
    if (!d->historyPath.isEmpty())
        write_history(QFile::encodeName(d->historyPath).constData());
#endif
}

LineEditor::Result LineEditor::readLine(const QString& prompt, QString& line)
{
    errno = 0;
#ifdef TESSERA_HAVE_LIBEDIT
    char* text = readline(prompt.toUtf8().constData());
    if (!text)
        return errno == EINTR ? Result::Interrupted : Result::End;
    line = QString::fromUtf8(text);
    std::free(text);
    return Result::Line;
#else
    std::cout << prompt.toStdString() << std::flush;
    std::string text;
    if (!std::getline(std::cin, text)) {
        const bool interrupted = errno == EINTR;
        std::cin.clear();
        return interrupted ? Result::Interrupted : Result::End;
    }
    line = QString::fromStdString(text);
    return Result::Line;
#endif
}

void LineEditor::addHistory(const QString& entry)
{
    if (entry.trimmed().isEmpty() || entry == d->last)
        return;
    d->last = entry;
#ifdef TESSERA_HAVE_LIBEDIT
    add_history(entry.toUtf8().constData());
#endif
}

QString LineEditor::defaultHistoryPath()
{
    return QDir::home().filePath(QStringLiteral(".tessera_sql_history"));
}

} // namespace tessera::shell
