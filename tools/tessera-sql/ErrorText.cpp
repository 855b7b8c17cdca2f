#include "tools/tessera-sql/ErrorText.h"

#include "platform/sql/SqlError.h"
#include "platform/sql/SqlParser.h"
#include "platform/sql/SqlRuntime.h"

namespace tessera::shell {

QString describeError(const sql::SqlError& error)
{
    const QString text = QString::fromUtf8(error.what());
    switch (error.errorType()) {
    case sql::UnknownFunctionType: {
        const auto* unknown = dynamic_cast<const sql::UnknownFunction*>(&error);
        if (unknown && unknown->line() > 0)
            return QStringLiteral("line %1, column %2: unknown or disallowed function: %3")
                .arg(unknown->line())
                .arg(unknown->column())
                .arg(text);
        return QStringLiteral("unknown or disallowed function: %1").arg(text);
    }
    case sql::SelectionTableIsAbsentType:
        return QStringLiteral("the query reads the Selection table, but nothing is selected");
    case sql::OrderByRowNumberType:
        return QStringLiteral("a query cannot be ordered by rownum");
    case sql::UnexpectedParseResultType:
        return QStringLiteral("wrong kind of text, expected: %1").arg(text);
    default:
        return text;
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
    const int atLine = line + parse->line() - 1;
    const int atColumn = parse->line() == 1 ? column + parse->column() - 1 : parse->column();
    return QStringLiteral("line %1, column %2: ").arg(atLine).arg(atColumn) + message;
}

} // namespace tessera::shell
