// Plug-ins deferred to their first use: found but not loaded by load(),
// loaded by loadDeferred(), unless a plug-in loaded at once needs them.

#include "platform/core/Core.h"
#include "platform/core/Extensions.h"
#include "platform/core/PluginManager.h"

#include <QStringList>
#include <gtest/gtest.h>

namespace tessera::plugin {
namespace {

TEST(PluginDefer, LoadsOnFirstNeed)
{
    const struct {
        const char* name;
        const char* deferred;
        QStringList journalAfterLoad;
        QStringList waiting;
        bool laterLoads;     // loadDeferred(deferred) finds a plug-in
        QStringList journalAfterFirstUse;
    } cases[] = {
        {"nothing needs it", "beta", {"load alpha"}, {"beta"}, true, {"load alpha", "load beta"}},
        {"a plug-in loaded at once needs it", "alpha", {"load alpha", "load beta"}, {}, false, {"load alpha", "load beta"}},
        {"no such plug-in", "nosuch", {"load alpha", "load beta"}, {}, false, {"load alpha", "load beta"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Core core;
        auto journal = std::make_shared<QStringList>();
        core.registerObject(journal);
        PluginManager& plugins = core.extensionManager()->plugins();
        plugins.defer(QString::fromLatin1(c.deferred));
        plugins.addPath(QStringLiteral(TEST_PLUGIN_DIR));
        plugins.load(&core);
        EXPECT_EQ(*journal, c.journalAfterLoad);
        EXPECT_EQ(plugins.deferredPlugins(), c.waiting);

        const auto tried = plugins.loadDeferred(QString::fromLatin1(c.deferred), &core);
        ASSERT_EQ(tried.has_value(), c.laterLoads);
        if (tried) {
            EXPECT_TRUE(tried->loaded) << tried->error.toStdString();
            EXPECT_EQ(plugins.plugins().back().name, QString::fromLatin1(c.deferred));
        }
        EXPECT_EQ(*journal, c.journalAfterFirstUse);
        EXPECT_TRUE(plugins.deferredPlugins().isEmpty());
        // Once only.
        EXPECT_FALSE(plugins.loadDeferred(QString::fromLatin1(c.deferred), &core).has_value());
    }
}

} // namespace
} // namespace tessera::plugin
