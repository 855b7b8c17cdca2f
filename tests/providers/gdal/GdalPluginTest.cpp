// The GDAL provider as a plug-in: loaded by the plug-in manager, it offers
// "ogr" sources through the core's provider registry, refuses to shadow
// another provider of the scheme (of any case), and withdraws on unloading
// while the tables it opened stay readable.

#include "platform/core/Core.h"
#include "platform/core/Extensions.h"
#include "platform/core/PluginManager.h"
#include "platform/dp/DataProviderRegistry.h"
#include "platform/dp/Table.h"
#include "tests/support/EngineApplication.h"

#include <gtest/gtest.h>

namespace tessera::test {
namespace {

const QString countries = QStringLiteral(TESSERA_TEST_DATA "/countries.geojson");

TEST(GdalPlugin, OffersOgrSourcesUntilUnloaded)
{
    Core core;
    plugin::PluginManager& plugins = core.extensionManager()->plugins();
    plugins.addPath(QStringLiteral(TESSERA_GDAL_PLUGIN));
    ASSERT_TRUE(plugins.load(&core).isEmpty());
    EXPECT_EQ(plugins.plugins().value(0).name, QStringLiteral("gdal"));

    const auto* registry = core.findService<dp::DataProviderRegistry>();
    ASSERT_NE(registry, nullptr);
    const auto provider = registry->findProvider(QStringLiteral("Ogr"));
    ASSERT_NE(provider, nullptr);
    const auto table = provider->openTable(countries, {});
    EXPECT_EQ(table->featureCount(), 90);
    EXPECT_EQ(table->tableSourceDescription(), QStringLiteral("ogr:") + countries);
    try {
        provider->openTable(QStringLiteral("/nonexistent/x.gpkg"), {});
        ADD_FAILURE() << "a missing file opened";
    } catch (const std::exception& e) {
        EXPECT_STREQ(e.what(), "/nonexistent/x.gpkg: no such file");
    }

    plugins.unload(&core);
    EXPECT_EQ(registry->findProvider(QStringLiteral("ogr")), nullptr);
    EXPECT_NE(table->feature(dp::FeatureId(qlonglong(0))), nullptr);
}

TEST(GdalPlugin, RefusesToShadowAnotherOgrProvider)
{
    class Other final : public dp::DataProvider {
    public:
        QString scheme() const override { return QStringLiteral("OGR"); }
        std::shared_ptr<dp::Table> openTable(const QString&, const OpenOptions&) const override { return nullptr; }
    };
    Core core;
    auto* registry = new dp::DataProviderRegistry(&core);
    core.registerService(registry);
    const auto other = std::make_shared<Other>();
    ASSERT_TRUE(registry->addProvider(other));

    plugin::PluginManager& plugins = core.extensionManager()->plugins();
    plugins.addPath(QStringLiteral(TESSERA_GDAL_PLUGIN));
    const auto failures = plugins.load(&core);
    ASSERT_EQ(failures.size(), 1);
    EXPECT_EQ(failures[0].name, QStringLiteral("gdal"));
    EXPECT_TRUE(failures[0].error.contains(QStringLiteral("another plug-in already provides \"ogr\" sources")))
        << failures[0].error.toStdString();
    EXPECT_EQ(registry->findProvider(QStringLiteral("ogr")), other);
}

} // namespace
} // namespace tessera::test
