#include "tools/tessera-sql/ErrorText.h"

#include "platform/sql/SqlError.h"
#include "platform/sql/SqlParser.h"
#include "platform/sql/SqlRuntime.h"

namespace tessera::shell {

QString describeError(const sql::SqlError& error)
{
    const QString text = QString::fromUtf8(error.what());
    switch (error.errorType()) {
    case sql::UnknownFunctionType:
        return QStringLiteral("unknown or disallowed function: %1").arg(text);
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

QString describeSyntaxError(const std::string& text)
{
    const sql::ParseContext context;
    sql::SqlParser parser(&context);
    if (parser.parse(text) || parser.errors().empty())
        return QString();
    const auto& first = *parser.errors().front();
    if (const auto* at = dynamic_cast<const sql::ParseError*>(&first)) {
        QString detail = QStringLiteral("line %1, column %2: %3")
                             .arg(at->line()).arg(at->column()).arg(QString::fromUtf8(at->what()));
        if (!at->expected().empty())
            detail += QStringLiteral(" (expected %1)").arg(QString::fromStdString(at->expected()));
        return detail;
    }
    return QString::fromUtf8(first.what());
}

} // namespace tessera::shell
