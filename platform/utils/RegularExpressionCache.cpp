#include "platform/utils/RegularExpressionCache.h"

#include <QHash>
#include <QLoggingCategory>
#include <QMutex>
#include <QMutexLocker>
#include <list>
#include <utility>

namespace tessera::utils {

namespace {

Q_LOGGING_CATEGORY(lc, "tessera.utils")

struct Key {
    QString pattern;
    QRegularExpression::PatternOptions options;

    bool operator==(const Key& other) const { return options == other.options && pattern == other.pattern; }
};

uint qHash(const Key& key, uint seed = 0)
{
    return ::qHash(key.pattern, seed) ^ static_cast<uint>(key.options);
}

struct Entry {
    Key key;
    QRegularExpression expression;
};

} // namespace

struct RegularExpressionCache::Private {
    explicit Private(int capacity) : capacity(capacity) {}

    const int capacity;
    mutable QMutex mutex;
    // Most recently used first; the index points into it.
    std::list<Entry> entries;
    QHash<Key, std::list<Entry>::iterator> index;
};

RegularExpressionCache::RegularExpressionCache(int capacity) : d(std::make_unique<Private>(capacity)) {}

RegularExpressionCache::~RegularExpressionCache() = default;

QRegularExpression RegularExpressionCache::retrieve(const QString& pattern,
                                                    QRegularExpression::PatternOptions options)
{
    Key key{pattern, options};
    {
        QMutexLocker lock(&d->mutex);
        const auto found = d->index.constFind(key);
        if (found != d->index.constEnd()) {
            d->entries.splice(d->entries.begin(), d->entries, found.value());
            return found.value()->expression;
        }
    }

    // Compiling can be slow: other threads keep using the cache meanwhile.
    QRegularExpression expression(pattern, options);
    expression.optimize();
    if (!expression.isValid())
        qCDebug(lc) << "regular expression" << pattern << "does not compile:" << expression.errorString();
    if (d->capacity <= 0)
        return expression;

    QMutexLocker lock(&d->mutex);
    const auto found = d->index.constFind(key);
    if (found != d->index.constEnd()) {
        // Another thread compiled the same pattern first: share its copy.
        d->entries.splice(d->entries.begin(), d->entries, found.value());
        return found.value()->expression;
    }
    d->entries.push_front(Entry{key, expression});
    d->index.insert(std::move(key), d->entries.begin());
    while (static_cast<int>(d->entries.size()) > d->capacity) {
        d->index.remove(d->entries.back().key);
        d->entries.pop_back();
    }
    return expression;
}

bool RegularExpressionCache::contains(const QString& pattern, QRegularExpression::PatternOptions options) const
{
    QMutexLocker lock(&d->mutex);
    return d->index.contains(Key{pattern, options});
}

int RegularExpressionCache::capacity() const
{
    return d->capacity;
}

int RegularExpressionCache::size() const
{
    QMutexLocker lock(&d->mutex);
    return static_cast<int>(d->entries.size());
}

void RegularExpressionCache::clear()
{
    QMutexLocker lock(&d->mutex);
    d->index.clear();
    d->entries.clear();
}

} // namespace tessera::utils
