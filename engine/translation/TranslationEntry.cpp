#include "engine/translation/TranslationEntry.h"

#include "engine/translation/SqliteStringBuilder.h"
#include "platform/sql/SqlParser.h"
#include "platform/sql/SqlRuntime.h"

#include <QLoggingCategory>
#include <QObject>

namespace tessera::engine {

Q_DECLARE_LOGGING_CATEGORY(lcTranslation)

bool translateQuery(const sql::SqlRuntime* runtime, const std::string& text, SqliteStringBuilder& builder, bool expressionOnly)
{
    // The parser owns the tree; it lives until the builder has walked it.
    sql::SqlParser parser(runtime);
    if (!parser.parse(text) || !parser.root()) {
        for (const auto& error : parser.errors())
            qCDebug(lcTranslation) << "parse error:" << error->what();
        builder.setError(std::make_shared<sql::GeneralSyntaxError>(QObject::tr("проверьте корректность выражений в запросе")));
    } else if (expressionOnly && !parser.root()->isExpression()) {
        builder.addError(std::make_shared<sql::UnexpectedParseResult>(QObject::tr("Выражение")));
    } else {
        builder.setCollate(QStringLiteral("Locale"));
        std::wstring query = builder.buildString(*parser.root());
        if (builder.hasErrors())
            builder.addTranslateErrors();
        else
            builder.setQuery(std::move(query));
    }
    return !builder.query().empty();
}

} // namespace tessera::engine
