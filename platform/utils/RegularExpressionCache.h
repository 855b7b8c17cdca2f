#pragma once
// A bounded, thread-safe store of compiled regular expressions keyed by
// pattern and options. When full, the least recently used entry goes.

#include "platform/utils/UtilsExport.h"

#include <QRegularExpression>
#include <QString>
#include <memory>

namespace tessera::utils {

class TESSERA_UTILS_EXPORT RegularExpressionCache {
public:
    explicit RegularExpressionCache(int capacity);
    ~RegularExpressionCache();
    RegularExpressionCache(const RegularExpressionCache&) = delete;
    RegularExpressionCache& operator=(const RegularExpressionCache&) = delete;

    // The compiled expression (an invalid one if the pattern does not compile;
    // it then never matches).
    QRegularExpression retrieve(const QString& pattern, QRegularExpression::PatternOptions options);
    // Whether the store holds this pattern with these options (it does not
    // count as a use).
    bool contains(const QString& pattern, QRegularExpression::PatternOptions options) const;
    int capacity() const;
    int size() const;
    void clear();

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace tessera::utils
