#include "tools/tessera-sql/ErrorText.h"

#include "platform/sql/SqlError.h"
#include "platform/sql/SqlParser.h"
#include "platform/sql/SqlRuntime.h"

#include <QRegularExpression>

namespace tessera::shell {

namespace {

// "line L, column C: " of a place in a statement that starts at `line`,
// `column` of its script.
QString placeText(int atLine, int atColumn, int line, int column)
{
    return QStringLiteral("line %1, column %2: ").arg(line + atLine - 1).arg(atLine == 1 ? column + atColumn - 1 : atColumn);
}

} // namespace

QString describeError(const sql::SqlError& error, int line, int column)
{
    const QString text = QString::fromUtf8(error.what());
    switch (error.errorType()) {
    case sql::UnknownFunctionType: {
        const auto* unknown = dynamic_cast<const sql::UnknownFunction*>(&error);
        if (unknown && unknown->line() > 0)
            return placeText(unknown->line(), unknown->column(), line, column) + QStringLiteral("unknown or disallowed function: ") + text;
        return QStringLiteral("unknown or disallowed function: %1").arg(text);
    }
    case sql::SelectionTableIsAbsentType:
        return QStringLiteral("the query reads the Selection table, but nothing is selected");
    case sql::OrderByRowNumberType:
        return QStringLiteral("a query cannot be ordered by rownum");
    case sql::UnexpectedParseResultType:
        return QStringLiteral("wrong kind of text, expected: %1").arg(text);
    default: {
        // The translator's own texts may start with their place.
        static const QRegularExpression place(QStringLiteral("^line (\\d+), column (\\d+): "));
        const QRegularExpressionMatch match = place.match(text);
        if (!match.hasMatch())
            return text;
        return placeText(match.captured(1).toInt(), match.captured(2).toInt(), line, column) + text.mid(match.capturedLength());
    }
    }
}

QString describeSyntaxError(const std::string& text, int line, int column)
{
    // The engine's own runtime refuses the operators it does not translate,
    // so parse with a runtime too: the reason then matches the engine's.
    const sql::SqlRuntime runtime;
    sql::SqlParser parser(&runtime);
    if (parser.parse(text) || parser.errors().empty())
        return QString();
    // A parse error's text starts with its line and column in `text`.
    const auto& error = *parser.errors().front();
    QString message = QString::fromUtf8(error.what());
    const auto* parse = dynamic_cast<const sql::ParseError*>(&error);
    if (!parse || (line == 1 && column == 1))
        return message;
    const QString own = QStringLiteral("line %1, column %2: ").arg(parse->line()).arg(parse->column());
    if (message.startsWith(own))
        message.remove(0, own.size());
    return placeText(parse->line(), parse->column(), line, column) + message;
}

} // namespace tessera::shell
