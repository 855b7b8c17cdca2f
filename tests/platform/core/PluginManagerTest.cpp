// Plug-ins loaded from a folder: dependency order, one Core for host and
// plug-ins, failures reported by name with their reason, reverse unloading.

#include "platform/core/Core.h"
#include "platform/core/Extensions.h"
#include "platform/core/PluginManager.h"

#include <QDir>
#include <QFileInfo>
#include <QStringList>
#include <QVariant>
#include <gtest/gtest.h>

namespace tessera::plugin {
namespace {

struct Loaded {
    QVector<PluginInfo> failures;
    QStringList loaded;   // names, in loading order
};

Loaded loadTestPlugins(Core& core)
{
    PluginManager& plugins = core.extensionManager()->plugins();
    plugins.addPath(QStringLiteral(TEST_PLUGIN_DIR));
    plugins.addPath(QStringLiteral(TEST_PLUGIN_DIR "/absent.so"));
    Loaded result;
    result.failures = plugins.load(&core);
    for (const auto& p : plugins.plugins())
        if (p.loaded)
            result.loaded << p.name;
    return result;
}

TEST(PluginManager, LoadsInDependencyOrderReportsFailuresAndUnloadsInReverse)
{
    auto journal = std::make_shared<QStringList>();
    {
        Core core;
        core.registerObject(journal);
        const Loaded result = loadTestPlugins(core);

        // beta's file comes first in the folder but needs alpha.
        EXPECT_EQ(result.loaded, (QStringList{"alpha", "beta"}));
        EXPECT_EQ(*journal, (QStringList{"load alpha", "load beta"}));
        // beta found the service that alpha registered, in the process's core.
        QObject* offered = core.findService(nullptr, QStringLiteral("tessera::test::OfferedService"));
        ASSERT_NE(offered, nullptr);
        EXPECT_EQ(offered->property("usedBy").toString(), QStringLiteral("beta"));

        const struct {
            const char* name;
            const char* reason;
        } expected[] = {
            {"absent", "file not found"},
            {"gamma", "missing dependency nosuch"},
            {"delta", "dependency gamma is not loaded (missing dependency nosuch)"},
            {"epsilon", "needs alpha 2.0 or a later 2.x, found version 1.2.0"},
            {"omega", "built for plug-in interface org.tessera.Plugin/0.9, this host offers org.tessera.Plugin/1.0"},
            {"faulty", "no licence for this seat"},
        };
        ASSERT_EQ(result.failures.size(), int(std::size(expected)));
        for (const auto& row : expected) {
            SCOPED_TRACE(row.name);
            const auto it = std::find_if(result.failures.begin(), result.failures.end(),
                                         [&](const PluginInfo& p) { return p.name == QLatin1String(row.name); });
            ASSERT_NE(it, result.failures.end());
            EXPECT_FALSE(it->loaded);
            EXPECT_EQ(it->error.toStdString(), row.reason);
        }
    }
    // The core unloads its plug-ins when it goes, in reverse order.
    EXPECT_EQ(*journal, (QStringList{"load alpha", "load beta", "unload beta", "unload alpha"}));
}

TEST(PluginManager, RefusesASecondPluginOfALoadedName)
{
    Core core;
    loadTestPlugins(core);
    PluginManager& plugins = core.extensionManager()->plugins();
    plugins.addPath(QStringLiteral(TEST_PLUGIN_ALPHA));
    const auto failures = plugins.load(&core);
    ASSERT_EQ(failures.size(), 1);
    EXPECT_EQ(failures[0].name, QStringLiteral("alpha"));
    EXPECT_TRUE(failures[0].error.startsWith(QStringLiteral("a plug-in of that name is already loaded"))) << failures[0].error.toStdString();
}

TEST(PluginManager, FindsARelativePathInTheWorkingFolder)
{
    const QFileInfo alpha(QStringLiteral(TEST_PLUGIN_ALPHA));
    const QString previous = QDir::currentPath();
    ASSERT_TRUE(QDir::setCurrent(alpha.absolutePath()));
    Core core;
    PluginManager& plugins = core.extensionManager()->plugins();
    plugins.addPath(alpha.fileName());
    const auto failures = plugins.load(&core);
    QDir::setCurrent(previous);
    EXPECT_TRUE(failures.isEmpty()) << failures.value(0).error.toStdString();
    ASSERT_EQ(plugins.plugins().size(), 1);
    EXPECT_EQ(plugins.plugins()[0].file, alpha.absoluteFilePath());
}

} // namespace
} // namespace tessera::plugin
