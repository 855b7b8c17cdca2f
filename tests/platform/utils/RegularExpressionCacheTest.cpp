#include "platform/utils/RegularExpressionCache.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

using tessera::utils::RegularExpressionCache;

namespace {
const auto none = QRegularExpression::NoPatternOption;
const auto caseless = QRegularExpression::CaseInsensitiveOption;
} // namespace

TEST(RegularExpressionCache, CompilesAndKeepsPatternsPerOptions)
{
    RegularExpressionCache cache(8);
    EXPECT_EQ(cache.capacity(), 8);
    EXPECT_EQ(cache.size(), 0);

    const QRegularExpression sensitive = cache.retrieve("^ab+c$", none);
    const QRegularExpression insensitive = cache.retrieve("^ab+c$", caseless);
    EXPECT_TRUE(sensitive.isValid());
    EXPECT_TRUE(sensitive.match("abbc").hasMatch());
    EXPECT_FALSE(sensitive.match("ABBC").hasMatch());
    EXPECT_TRUE(insensitive.match("ABBC").hasMatch());
    EXPECT_EQ(cache.size(), 2);

    // A second retrieval is served from the store.
    EXPECT_EQ(cache.retrieve("^ab+c$", none).patternOptions(), none);
    EXPECT_EQ(cache.size(), 2);

    // A pattern that does not compile is handed out invalid and never matches.
    const QRegularExpression broken = cache.retrieve("(", none);
    EXPECT_FALSE(broken.isValid());
    EXPECT_FALSE(broken.match("(").hasMatch());

    cache.clear();
    EXPECT_EQ(cache.size(), 0);
    EXPECT_FALSE(cache.contains("^ab+c$", none));
}

TEST(RegularExpressionCache, EvictsTheLeastRecentlyUsed)
{
    RegularExpressionCache cache(2);
    cache.retrieve("a", none);
    cache.retrieve("b", none);
    cache.retrieve("a", none); // "b" is now the oldest
    cache.retrieve("c", none);
    EXPECT_EQ(cache.size(), 2);
    EXPECT_TRUE(cache.contains("a", none));
    EXPECT_FALSE(cache.contains("b", none));
    EXPECT_TRUE(cache.contains("c", none));
    // contains() is not a use: "a" stays the oldest.
    cache.contains("a", none);
    cache.retrieve("d", none);
    EXPECT_FALSE(cache.contains("a", none));
    EXPECT_TRUE(cache.contains("c", none));

    // A cache without room still compiles.
    RegularExpressionCache empty(0);
    EXPECT_TRUE(empty.retrieve("x+", none).match("xx").hasMatch());
    EXPECT_EQ(empty.size(), 0);
}

TEST(RegularExpressionCache, ServesManyThreads)
{
    RegularExpressionCache cache(5);
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&cache, &wrong, t] {
            for (int i = 0; i < 2000; ++i) {
                // Eleven patterns over a store of five: constant eviction.
                const int n = (i * 7 + t) % 11;
                const QRegularExpression re = cache.retrieve(QStringLiteral("^x{%1}$").arg(n), none);
                const QString hit(n, QLatin1Char('x'));
                const QString miss(n + 1, QLatin1Char('x'));
                if (!re.match(hit).hasMatch() || re.match(miss).hasMatch())
                    ++wrong;
            }
        });
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(wrong.load(), 0);
    EXPECT_LE(cache.size(), 5);
}
