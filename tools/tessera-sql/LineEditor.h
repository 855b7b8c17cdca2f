#pragma once
// Reading a terminal's lines with editing and history (libedit where the
// build found it, plain lines otherwise). The history is kept in a file and
// saved when the editor goes.

#include <QString>
#include <memory>

namespace tessera::shell {

class LineEditor {
public:
    // `historyPath` empty: no history file.
    explicit LineEditor(QString historyPath);
    ~LineEditor();
    LineEditor(const LineEditor&) = delete;
    LineEditor& operator=(const LineEditor&) = delete;

    enum class Result { Line, Interrupted, End };
    // Shows `prompt` and reads one line (without its end). Interrupted when
    // the read was broken off by a signal (Ctrl-C), End at Ctrl-D or the end
    // of the input.
    Result readLine(const QString& prompt, QString& line);
    void addHistory(const QString& entry);

    // ~/.tessera_sql_history.
    static QString defaultHistoryPath();

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace tessera::shell
