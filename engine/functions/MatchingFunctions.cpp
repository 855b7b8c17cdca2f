#include "engine/functions/MatchingFunctions.h"

#include "engine/EngineCache.h"
#include "engine/functions/TextArgument.h"
#include "engine/functions/ValueConversions.h"
#include "engine/functions/WildcardPattern.h"

#include <QLocale>
#include <QRegularExpression>
#include <QString>
#include <QStringView>

#include <memory>
#include <optional>

namespace tessera::engine {

namespace {

bool isNull(sqlite3_value* value)
{
    return sqlite3_value_type(value) == SQLITE_NULL;
}

// A LIKE or GLOB pattern kept with a constant pattern argument for the life
// of the statement, so that a LIKE over many rows compiles it once.
struct KeptPattern {
    char32_t escape;
    WildcardPattern pattern;
};

void destroyKept(void* p)
{
    delete static_cast<KeptPattern*>(p);
}

enum class Syntax { Like, Glob };

void matchWildcards(sqlite3_context* context, sqlite3_value** argv, Syntax syntax, char32_t escape = 0)
{
    if (isNull(argv[0]) || isNull(argv[1]))
        return sqlite3_result_null(context);

    const auto* kept = static_cast<const KeptPattern*>(sqlite3_get_auxdata(context, 0));
    if (kept && kept->escape != escape)
        kept = nullptr;
    std::unique_ptr<KeptPattern> fresh;
    if (!kept) {
        // SQLite's own bound on patterns, which keeps the matcher's work (the
        // product of the two lengths) within reach.
        const int limit = sqlite3_limit(sqlite3_context_db_handle(context), SQLITE_LIMIT_LIKE_PATTERN_LENGTH, -1);
        if (sqlite3_value_bytes(argv[0]) > limit)
            return sqlite3_result_error(context, "LIKE or GLOB pattern too complex", -1);
        const QString pattern = toQString(argv[0]);
        fresh.reset(new KeptPattern{escape, syntax == Syntax::Like
                                                ? WildcardPattern::like(pattern, escape, Qt::CaseInsensitive)
                                                : WildcardPattern::glob(pattern, Qt::CaseInsensitive)});
        kept = fresh.get();
    }

    // SQLite's UTF-8 text as it stands, sparing its conversion; malformed
    // bytes are left to that conversion.
    int length = 0;
    const unsigned char* bytes = utf8Argument(argv[1], length);
    if (!bytes)
        return sqlite3_result_error_nomem(context);
    std::optional<bool> result = kept->pattern.matchesUtf8(bytes, length);
    if (!result)
        result = kept->pattern.matches(textArgument(argv[1]));
    sqlite3_result_int(context, *result ? 1 : 0);
    // Last: SQLite may destroy the object before this call returns.
    if (fresh)
        sqlite3_set_auxdata(context, 0, fresh.release(), destroyKept);
}

// The first character (code point) of a text, 0 for none.
char32_t firstCharacter(const QString& text)
{
    if (text.isEmpty())
        return 0;
    if (text.size() > 1 && text.at(0).isHighSurrogate() && text.at(1).isLowSurrogate())
        return QChar::surrogateToUcs4(text.at(0), text.at(1));
    return text.at(0).unicode();
}

// The expression library refuses a whole text that holds a lone surrogate
// (which only UTF-16 input can carry); SQLite reads one in UTF-8 as U+FFFD.
QString replaceLoneSurrogates(QString text)
{
    QChar* data = text.data();
    for (int i = 0, n = text.size(); i < n; ++i) {
        if (data[i].isHighSurrogate() && i + 1 < n && data[i + 1].isLowSurrogate())
            ++i;
        else if (data[i].isSurrogate())
            data[i] = QChar::ReplacementCharacter;
    }
    return text;
}

} // namespace

void caseInsensitiveLike(sqlite3_context* context, int, sqlite3_value** argv)
{
    matchWildcards(context, argv, Syntax::Like);
}

void caseInsensitiveLikeEscape(sqlite3_context* context, int, sqlite3_value** argv)
{
    matchWildcards(context, argv, Syntax::Like, firstCharacter(toQString(argv[2])));
}

void caseInsensitiveGlob(sqlite3_context* context, int, sqlite3_value** argv)
{
    matchWildcards(context, argv, Syntax::Glob);
}

void regular(sqlite3_context* context, int, sqlite3_value** argv)
{
    if (isNull(argv[0]) || isNull(argv[1]))
        return sqlite3_result_null(context);

    // Kept with a constant pattern argument like the wildcard patterns.
    const auto* kept = static_cast<const QRegularExpression*>(sqlite3_get_auxdata(context, 0));
    std::unique_ptr<QRegularExpression> fresh;
    if (!kept) {
        const QString pattern = toQString(argv[0]);
        if (auto* cache = static_cast<EngineCache*>(sqlite3_user_data(context))) {
            fresh = std::make_unique<QRegularExpression>(
                cache->regularExpression(pattern, QRegularExpression::NoPatternOption));
        } else {
            fresh = std::make_unique<QRegularExpression>(pattern);
            fresh->optimize();
        }
        kept = fresh.get();
    }
    // A pattern that does not compile never matches (and is not run, which
    // would only log a warning per row).
    std::optional<QRegularExpressionMatch> found;
    if (kept->isValid()) {
        const QString text = textArgument(argv[1]);
        found = kept->match(text);
        if (!found->isValid()) {
            const QString readable = replaceLoneSurrogates(text);
            if (readable != text)
                found = kept->match(readable);
        }
    }
    if (found && !found->isValid()) {
        // The match stopped on the matching limits: "no match" would be a
        // guess.
        sqlite3_result_error(context, "REGEXP: the expression exceeds the matching limits on this text", -1);
    } else {
        sqlite3_result_int(context, found && found->hasMatch() ? 1 : 0);
    }
    if (fresh)
        sqlite3_set_auxdata(context, 0, fresh.release(),
                            [](void* p) { delete static_cast<QRegularExpression*>(p); });
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
