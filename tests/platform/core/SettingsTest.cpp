#include "platform/core/Settings.h"

#include <gtest/gtest.h>
#include <thread>

namespace tessera {
namespace {

TEST(Settings, EngineDefaultsTypedAccessAndFallbacks)
{
    Settings settings;
    EXPECT_TRUE(settings.get(settings::useCaseInsensitiveLike));
    EXPECT_TRUE(settings.get(settings::useCaseInsensitiveGlob));
    EXPECT_EQ(settings.get(settings::collate), QStringLiteral("Locale"));
    EXPECT_EQ(settings.keys(), (QStringList{"Collate", "UseCaseInsensitiveGlob", "UseCaseInsensitiveLike"}));

    settings.set(settings::useCaseInsensitiveLike, false);
    EXPECT_FALSE(settings.get(settings::useCaseInsensitiveLike));
    EXPECT_FALSE(settings.boolValue(QStringLiteral("UseCaseInsensitiveLike"), true));
    settings.remove(QStringLiteral("UseCaseInsensitiveLike"));
    EXPECT_TRUE(settings.get(settings::useCaseInsensitiveLike));   // default shows again

    EXPECT_FALSE(settings.contains(QStringLiteral("Missing")));
    EXPECT_EQ(settings.intValue(QStringLiteral("Missing"), 42), 42);
    settings.setValue(QStringLiteral("Number"), QStringLiteral("not a number"));
    EXPECT_EQ(settings.intValue(QStringLiteral("Number"), 5), 5);
    EXPECT_DOUBLE_EQ(settings.doubleValue(QStringLiteral("Number"), 1.5), 1.5);
    settings.setValue(QStringLiteral("Number"), 12);
    EXPECT_EQ(settings.intValue(QStringLiteral("Number")), 12);
    EXPECT_EQ(settings.stringValue(QStringLiteral("Number")), QStringLiteral("12"));
    EXPECT_EQ(settings.value(QStringLiteral("Missing"), 3).toInt(), 3);

    settings.setDefault(QStringLiteral("Limit"), 10);
    EXPECT_TRUE(settings.contains(QStringLiteral("Limit")));
    EXPECT_EQ(settings.intValue(QStringLiteral("Limit")), 10);

    Settings copy = settings;
    copy.setValue(QStringLiteral("Number"), 13);
    EXPECT_EQ(settings.intValue(QStringLiteral("Number")), 12);
    EXPECT_EQ(copy.intValue(QStringLiteral("Limit")), 10);
}

TEST(Settings, ConcurrentReadersAndWriters)
{
    Settings settings;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&settings, t] {
            for (int i = 0; i < 2000; ++i) {
                settings.setValue(QStringLiteral("k%1").arg(t), i);
                settings.get(settings::collate);
            }
        });
    }
    for (auto& thread : threads)
        thread.join();
    for (int t = 0; t < 4; ++t)
        EXPECT_EQ(settings.intValue(QStringLiteral("k%1").arg(t)), 1999);
}

} // namespace
} // namespace tessera
