#include "engine/functions/DateTextReader.h"

#include "engine/functions/ValueConversions.h"

#include <QStringView>
#include <QVarLengthArray>

#include <optional>

namespace tessera::engine {

namespace {

enum Field : int { Day, Month, Year, Hour, Minute, Second, Millisecond, Weekday, FieldCount };

constexpr quint8 certain = 10;
constexpr quint8 likely = 5;
constexpr quint8 possible = 2;

struct Token {
    quint32 value = 0;
    quint8 score[FieldCount] = {};
};

struct Candidate {
    quint32 value;
    int token;
};

using Candidates = QVarLengthArray<Candidate, 8>;

struct NameEntry {
    const char16_t* prefix;
    Field field;
    quint32 number;
};

// Month and weekday words by prefix, first match wins. The two-letter Russian
// weekday abbreviations come before the three-letter stems and all but "пн"
// carry 2, so every Russian weekday word from Tuesday on reads as Tuesday;
// the table is kept as it stands.
constexpr NameEntry names[] = {
    {u"jan", Month, 1}, {u"янв", Month, 1},
    {u"мар", Month, 3}, {u"mar", Month, 3},
    {u"май", Month, 5}, {u"мая", Month, 5}, {u"may", Month, 5},
    {u"июл", Month, 7}, {u"jul", Month, 7},
    {u"авг", Month, 8}, {u"aug", Month, 8},
    {u"окт", Month, 10}, {u"oct", Month, 10},
    {u"дек", Month, 12}, {u"dec", Month, 12},
    {u"apr", Month, 4}, {u"апр", Month, 4},
    {u"jun", Month, 6}, {u"июн", Month, 6},
    {u"сен", Month, 9}, {u"sep", Month, 9},
    {u"ноя", Month, 11}, {u"nov", Month, 11},
    {u"feb", Month, 2}, {u"фев", Month, 2},
    {u"пн", Weekday, 1},
    {u"вт", Weekday, 2}, {u"ср", Weekday, 2}, {u"чт", Weekday, 2},
    {u"пт", Weekday, 2}, {u"сб", Weekday, 2}, {u"вс", Weekday, 2},
    {u"пон", Weekday, 1}, {u"вто", Weekday, 2}, {u"сре", Weekday, 3}, {u"чет", Weekday, 4},
    {u"пят", Weekday, 5}, {u"суб", Weekday, 6}, {u"вос", Weekday, 7},
    {u"mon", Weekday, 1}, {u"tue", Weekday, 2}, {u"wed", Weekday, 3}, {u"thu", Weekday, 4},
    {u"fri", Weekday, 5}, {u"sat", Weekday, 6}, {u"sun", Weekday, 7},
};
static_assert(sizeof names / sizeof names[0] == 46, "the name table has 46 entries");

bool isDecimal(QChar c)
{
    const ushort u = c.unicode();
    if (u < 128)
        return u >= '0' && u <= '9';
    return c.category() == QChar::Number_DecimalDigit;
}

int decimalValue(QChar c)
{
    const ushort u = c.unicode();
    return u < 128 ? u - '0' : c.digitValue();
}

bool isWordLetter(QChar c)
{
    const ushort u = c.unicode();
    if (u < 128)
        return (u >= 'a' && u <= 'z') || (u >= 'A' && u <= 'Z');
    return c.isLetter();
}

QStringView trimmed(QStringView s)
{
    int begin = 0;
    int end = s.size();
    while (begin < end && s[begin].isSpace())
        ++begin;
    while (end > begin && s[end - 1].isSpace())
        --end;
    return s.mid(begin, end - begin);
}

int completeYear(quint32 year)
{
    if (year < 70)
        return int(2000 + year);
    if (year < 100)
        return int(1900 + year);
    if (year < 1000)
        return int(1000 + year);
    return year > 999999 ? 999999 : int(year); // far beyond any valid date anyway
}

void appendDigits(QString& out, int value, int width)
{
    QChar digits[4];
    for (int i = width - 1; i >= 0; --i) {
        digits[i] = QLatin1Char(char('0' + value % 10));
        value /= 10;
    }
    out.append(digits, width);
}

// The canonical texts ("yyyy-MM-dd", "hh:mm:ss.zzz"), written directly:
// this runs once per row and the general formatters are far slower.
void appendDate(QString& out, const QDate& date)
{
    if (date.year() < 1 || date.year() > 9999) {
        out += toString(date); // what the general form gives out of range
        return;
    }
    appendDigits(out, date.year(), 4);
    out += QLatin1Char('-');
    appendDigits(out, date.month(), 2);
    out += QLatin1Char('-');
    appendDigits(out, date.day(), 2);
}

void appendTime(QString& out, const QTime& time)
{
    appendDigits(out, time.hour(), 2);
    out += QLatin1Char(':');
    appendDigits(out, time.minute(), 2);
    out += QLatin1Char(':');
    appendDigits(out, time.second(), 2);
    out += QLatin1Char('.');
    appendDigits(out, time.msec(), 3);
}

QDate makeDate(quint32 year, quint32 month, quint32 day)
{
    if (month > 12 || day > 31)
        return QDate();
    return QDate(completeYear(year), int(month), int(day));
}

// One reading of one text: the tokens found, the candidates per field and
// the clock, asked at most once.
class Reading {
public:
    explicit Reading(DateTextReader::Clock clock) : clock(clock) {}

    QString read(const QString& input);

private:
    const QDateTime& now();
    quint32 today(Field field);

    void scan(QStringView text);
    void addNumber(QStringView digits);
    void addWord(QStringView separator);
    void push(quint32 value, Field field, quint8 score = certain);
    bool previousIs(Field field) const { return !tokens.isEmpty() && tokens.last().score[field] == certain; }
    bool anyCertainTime() const;
    void collectCandidates();
    QDate resolveDate();
    QTime resolveTime() const;

    DateTextReader::Clock clock;
    std::optional<QDateTime> clockNow;
    QVarLengthArray<Token, 16> tokens;
    // The separator that followed the number being classified.
    QStringView separator;
    Candidates candidates[FieldCount];
    quint8 best[FieldCount] = {};
};

const QDateTime& Reading::now()
{
    if (!clockNow)
        clockNow = clock();
    return *clockNow;
}

quint32 Reading::today(Field field)
{
    const QDate date = now().date();
    switch (field) {
    case Day: return quint32(date.day());
    case Month: return quint32(date.month());
    default: return quint32(date.year());
    }
}

void Reading::push(quint32 value, Field field, quint8 score)
{
    Token token;
    token.value = value;
    token.score[field] = score;
    tokens.append(token);
}

bool Reading::anyCertainTime() const
{
    for (const Token& token : tokens) {
        if (token.score[Hour] == certain || token.score[Minute] == certain || token.score[Second] == certain)
            return true;
    }
    return false;
}

void Reading::scan(QStringView text)
{
    int pos = 0;
    const int n = text.size();
    while (pos < n) {
        const int digitsBegin = pos;
        while (pos < n && isDecimal(text[pos]))
            ++pos;
        const int separatorBegin = pos;
        while (pos < n && !isDecimal(text[pos]))
            ++pos;
        separator = trimmed(text.mid(separatorBegin, pos - separatorBegin));
        if (separatorBegin > digitsBegin)
            addNumber(text.mid(digitsBegin, separatorBegin - digitsBegin));
        addWord(separator);
    }
}

void Reading::addNumber(QStringView digits)
{
    const int length = digits.size();
    quint64 n = 0;
    bool readable = true;
    for (const QChar c : digits) {
        n = n * 10 + quint64(decimalValue(c));
        if (n > 0xFFFFFFFFull) {
            readable = false;
            break;
        }
    }
    if (length == 8) {
        push(quint32(n / 10000), Year);
        push(quint32((n % 10000) / 100), Month);
        push(quint32(n % 100), Day);
        return;
    }
    if (!readable)
        return;

    Token token;
    token.value = quint32(n);
    if (separator.size() == 1 && separator[0] == QLatin1Char(':')) {
        Field field = FieldCount;
        if (tokens.isEmpty())
            field = Hour;
        else if (previousIs(Minute))
            field = Second;
        else if (previousIs(Hour))
            field = Minute;
        else if (!anyCertainTime())
            field = Hour;
        if (field != FieldCount) {
            token.score[field] = certain;
            tokens.append(token);
            return;
        }
    }

    if (previousIs(Second)) {
        // Milliseconds: three digits as they are, more rounded to three, fewer
        // scaled up to three.
        quint32 ms = token.value;
        if (length >= 4) {
            quint32 firstFour = 0;
            for (int i = 0; i < 4; ++i)
                firstFour = firstFour * 10 + quint32(decimalValue(digits[i]));
            ms = (firstFour + 5) / 10;
        } else {
            for (int i = length; i < 3; ++i)
                ms *= 10;
        }
        token.value = ms;
        token.score[Millisecond] = certain;
    } else if (length == 2 && previousIs(Minute)) {
        token.score[Second] = certain;
    } else if (length <= 2) {
        if (n >= 1 && n <= 12) {
            token.score[Day] = likely;
            token.score[Month] = likely;
            token.score[Year] = possible;
        } else if (n >= 13 && n <= 31) {
            token.score[Day] = likely;
            token.score[Year] = possible;
        } else {
            token.score[Year] = certain;
        }
    } else {
        token.score[Year] = certain;
    }
    tokens.append(token);
}

void Reading::addWord(QStringView text)
{
    QVarLengthArray<QChar, 32> letters;
    for (const QChar c : text) {
        if (isWordLetter(c))
            letters.append(c);
    }
    if (letters.isEmpty())
        return;
    const QStringView word(letters.constData(), letters.size());
    for (const NameEntry& entry : names) {
        if (word.startsWith(QStringView(entry.prefix))) {
            push(entry.number, entry.field);
            return;
        }
    }
}

void Reading::collectCandidates()
{
    for (int field = 0; field < FieldCount; ++field) {
        Candidates& list = candidates[field];
        for (int i = 0; i < tokens.size(); ++i) {
            const quint8 score = tokens[i].score[field];
            if (score > best[field]) {
                list.clear();
                list.append({tokens[i].value, i});
                best[field] = score;
                if (score == certain)
                    break;
            } else if (score != 0 && score == best[field]) {
                list.append({tokens[i].value, i});
            }
        }
    }
}

QDate Reading::resolveDate()
{
    Candidates lists[3] = {candidates[Day], candidates[Month], candidates[Year]};
    quint32 value[3] = {};
    bool known[3] = {};

    for (int f = Day; f <= Year; ++f) {
        if (lists[f].isEmpty()) {
            value[f] = today(Field(f));
            known[f] = true;
        }
    }

    auto removeToken = [&lists](int token, int from, int to) {
        for (int g = from; g <= to; ++g) {
            Candidates& list = lists[g];
            for (int i = list.size() - 1; i >= 0; --i) {
                if (list[i].token == token)
                    list.remove(i);
            }
        }
    };

    // A field with a single candidate takes it, and that token can then be
    // no other field.
    bool changed = true;
    while (changed) {
        changed = false;
        for (int f = Day; f <= Year; ++f) {
            if (!known[f] && lists[f].size() == 1) {
                const Candidate c = lists[f][0];
                value[f] = c.value;
                known[f] = true;
                for (int g = Day; g <= Year; ++g) {
                    if (g != f)
                        removeToken(c.token, g, g);
                }
                changed = true;
            }
        }
        if (known[Year] || lists[Year].size() != 1)
            break;
    }

    if (best[Weekday] == certain && !candidates[Weekday].isEmpty()) {
        const int weekday = int(candidates[Weekday][0].value);
        auto options = [&](int f) {
            QVarLengthArray<quint32, 8> result;
            if (known[f]) {
                result.append(value[f]);
            } else if (lists[f].isEmpty()) {
                result.append(today(Field(f)));
            } else {
                for (const Candidate& c : lists[f])
                    result.append(c.value);
            }
            return result;
        };
        const auto years = options(Year);
        const auto months = options(Month);
        const auto days = options(Day);
        for (const quint32 y : years) {
            for (const quint32 m : months) {
                for (const quint32 d : days) {
                    const QDate date = makeDate(y, m, d);
                    if (date.isValid() && date.dayOfWeek() == weekday)
                        return date;
                }
            }
        }
    }

    for (int f = Day; f <= Year; ++f) {
        if (known[f])
            continue;
        if (lists[f].isEmpty()) {
            value[f] = today(Field(f));
        } else {
            const Candidate c = lists[f][0];
            value[f] = c.value;
            removeToken(c.token, f + 1, Year);
        }
        known[f] = true;
    }
    return makeDate(value[Year], value[Month], value[Day]);
}

QTime Reading::resolveTime() const
{
    auto first = [this](Field f) -> int {
        if (candidates[f].isEmpty())
            return 0;
        const quint32 v = candidates[f][0].value;
        return v > 100000 ? -1 : int(v); // far out of range: an invalid time
    };
    return QTime(first(Hour), first(Minute), first(Second), first(Millisecond));
}

QString Reading::read(const QString& input)
{
    const QString text = input.trimmed().toLower();
    if (text == QLatin1String("now")) {
        const QDate date = now().date();
        const QTime time = now().time();
        push(quint32(date.day()), Day);
        push(quint32(date.month()), Month);
        push(quint32(date.year()), Year);
        push(quint32(time.hour()), Hour);
        push(quint32(time.minute()), Minute);
        push(quint32(time.second()), Second);
        push(quint32(time.msec()), Millisecond);
    } else if (text == QLatin1String("today")) {
        const QDate date = now().date();
        push(quint32(date.day()), Day);
        push(quint32(date.month()), Month);
        push(quint32(date.year()), Year);
    } else {
        scan(text);
    }
    collectCandidates();

    const bool hasTime = !candidates[Hour].isEmpty() || !candidates[Minute].isEmpty()
        || !candidates[Second].isEmpty() || !candidates[Millisecond].isEmpty();
    const bool hasDate = !candidates[Day].isEmpty() || !candidates[Month].isEmpty()
        || !candidates[Year].isEmpty() || !candidates[Weekday].isEmpty();

    QString result;
    result.reserve(23);
    if (!hasTime) {
        const QDate date = resolveDate();
        if (date.isValid())
            appendDate(result, date);
        return result;
    }
    const QTime time = resolveTime();
    if (!hasDate) {
        if (time.isValid())
            appendTime(result, time);
        return result;
    }
    const QDate date = resolveDate();
    if (!date.isValid() || !time.isValid())
        return result;
    // The wall-clock reading as written: the date and the time are joined
    // as they are, without a round trip through the time zone (which would
    // cost a time-zone look-up per row).
    appendDate(result, date);
    result += QLatin1Char(' ');
    appendTime(result, time);
    return result;
}

} // namespace

DateTextReader::DateTextReader(Clock clock) : clock(clock) {}

QString DateTextReader::read(const QString& text) const
{
    return Reading(clock).read(text);
}

} // namespace tessera::engine
