#include "engine/functions/MatchingFunctions.h"

#include "engine/EngineCache.h"
#include "engine/functions/LikeMatcher.h"
#include "engine/functions/TextArgument.h"
#include "engine/functions/ValueConversions.h"
#include "platform/utils/Patterns.h"

#include <QLocale>
#include <QRegularExpression>
#include <QString>
#include <QStringView>

#include <memory>
#include <optional>

namespace tessera::engine {

namespace {

enum class Syntax { Like, Glob, Regular };

// The compiled pattern kept with a constant pattern argument for the life of
// the statement, so that a LIKE over many rows compiles (and even looks up)
// its expression once.
struct CompiledPattern {
    QChar escape;
    QRegularExpression expression;
    // ASCII LIKE patterns also match ASCII text without the expression.
    std::optional<LikeMatcher> ascii;
};

void destroyCompiled(void* p)
{
    delete static_cast<CompiledPattern*>(p);
}

bool isNull(sqlite3_value* value)
{
    return sqlite3_value_type(value) == SQLITE_NULL;
}

QRegularExpression compile(sqlite3_context* context, const QString& pattern, Syntax syntax, QChar escape)
{
    QString expression;
    QRegularExpression::PatternOptions options = QRegularExpression::CaseInsensitiveOption;
    switch (syntax) {
    case Syntax::Like:
        expression = utils::likeToRegular(pattern, escape);
        break;
    case Syntax::Glob:
        expression = utils::globToRegular(pattern);
        break;
    case Syntax::Regular:
        expression = pattern;
        options = QRegularExpression::NoPatternOption;
        break;
    }
    if (auto* cache = static_cast<EngineCache*>(sqlite3_user_data(context)))
        return cache->regularExpression(expression, options);
    QRegularExpression compiled(expression, options);
    compiled.optimize();
    return compiled;
}

// A pattern that does not compile never matches (and is not run, which
// would only log a warning per row).
int matches(const QRegularExpression& expression, const QString& text)
{
    return expression.isValid() && expression.match(text).hasMatch() ? 1 : 0;
}

void match(sqlite3_context* context, sqlite3_value** argv, Syntax syntax, QChar escape = QChar())
{
    if (isNull(argv[0]) || isNull(argv[1]))
        return sqlite3_result_null(context);

    const auto* kept = static_cast<const CompiledPattern*>(sqlite3_get_auxdata(context, 0));
    if (kept && kept->escape != escape)
        kept = nullptr;
    std::unique_ptr<CompiledPattern> fresh;
    if (!kept) {
        const QString pattern = toQString(argv[0]);
        fresh.reset(new CompiledPattern{escape, compile(context, pattern, syntax, escape), std::nullopt});
        if (syntax == Syntax::Like)
            fresh->ascii = LikeMatcher::compile(pattern, escape);
        kept = fresh.get();
    }

    std::optional<int> result;
    if (kept->ascii) {
        const auto* bytes = sqlite3_value_text(argv[1]);
        result = kept->ascii->match(bytes, sqlite3_value_bytes(argv[1]));
    }
    if (!result) {
        // Only read during this call: a view on SQLite's own UTF-16 buffer.
        result = matches(kept->expression, textArgument(argv[1]));
    }
    sqlite3_result_int(context, *result);
    // Last: SQLite may destroy the object before this call returns.
    if (fresh)
        sqlite3_set_auxdata(context, 0, fresh.release(), destroyCompiled);
}

} // namespace

void caseInsensitiveLike(sqlite3_context* context, int, sqlite3_value** argv)
{
    match(context, argv, Syntax::Like);
}

void caseInsensitiveLikeEscape(sqlite3_context* context, int, sqlite3_value** argv)
{
    QChar escape;
    if (!isNull(argv[2])) {
        const QString text = toQString(argv[2]);
        if (!text.isEmpty())
            escape = text.at(0);
    }
    match(context, argv, Syntax::Like, escape);
}

void caseInsensitiveGlob(sqlite3_context* context, int, sqlite3_value** argv)
{
    match(context, argv, Syntax::Glob);
}

void regular(sqlite3_context* context, int, sqlite3_value** argv)
{
    match(context, argv, Syntax::Regular);
}

void caseSensitiveCompare(sqlite3_context* context, int, sqlite3_value** argv)
{
    if (isNull(argv[0]) || isNull(argv[1]))
        return sqlite3_result_null(context);
    sqlite3_result_int(context, QString::compare(textArgument(argv[0]), textArgument(argv[1]), Qt::CaseSensitive));
}

void caseSensitiveLocaleCompare(sqlite3_context* context, int, sqlite3_value** argv)
{
    if (isNull(argv[0]) || isNull(argv[1]))
        return sqlite3_result_null(context);
    sqlite3_result_int(context, QString::localeAwareCompare(textArgument(argv[0]), textArgument(argv[1])));
}

QCollator collator()
{
    QCollator result{QLocale()};
    result.setCaseSensitivity(Qt::CaseInsensitive);
    result.setIgnorePunctuation(false);
    return result;
}

int collatorCompare(const QCollator& collator, int length1, const void* data1, int length2, const void* data2)
{
    const QStringView a(static_cast<const QChar*>(data1), length1 / 2);
    const QStringView b(static_cast<const QChar*>(data2), length2 / 2);
    return collator.compare(a, b);
}

} // namespace tessera::engine
