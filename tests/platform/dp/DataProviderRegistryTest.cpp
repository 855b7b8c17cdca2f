// The core's registry of data providers: found by scheme ignoring case, the
// first provider of a scheme kept, and the registry required as a service.

#include "platform/core/Core.h"
#include "platform/dp/DataProviderRegistry.h"
#include "platform/dp/Table.h"

#include <gtest/gtest.h>

namespace tessera::dp {
namespace {

class NamedProvider final : public DataProvider {
public:
    explicit NamedProvider(QString scheme) : name(std::move(scheme)) {}
    QString scheme() const override { return name; }
    std::shared_ptr<Table> openTable(const QString&, const OpenOptions&) const override { return nullptr; }

private:
    QString name;
};

TEST(DataProviderRegistry, FindsTheFirstProviderOfASchemeIgnoringCase)
{
    DataProviderRegistry registry;
    const auto ogr = std::make_shared<NamedProvider>(QStringLiteral("ogr"));
    const auto other = std::make_shared<NamedProvider>(QStringLiteral("OGR"));
    const auto wfs = std::make_shared<NamedProvider>(QStringLiteral("wfs"));
    EXPECT_TRUE(registry.addProvider(ogr));
    EXPECT_FALSE(registry.addProvider(other));
    EXPECT_FALSE(registry.addProvider(nullptr));
    EXPECT_TRUE(registry.addProvider(wfs));

    const struct {
        const char* name;
        QString scheme;
        std::shared_ptr<const DataProvider> expected;
    } rows[] = {
        {"same case", QStringLiteral("ogr"), ogr},
        {"other case", QStringLiteral("Ogr"), ogr},
        {"second scheme", QStringLiteral("wfs"), wfs},
        {"unknown", QStringLiteral("pg"), nullptr},
        {"empty", QString(), nullptr},
    };
    for (const auto& row : rows)
        EXPECT_EQ(registry.findProvider(row.scheme), row.expected) << row.name;
    EXPECT_EQ(registry.schemes(), (QStringList{QStringLiteral("ogr"), QStringLiteral("wfs")}));

    registry.removeProvider(QStringLiteral("OGR"));
    EXPECT_EQ(registry.findProvider(QStringLiteral("ogr")), nullptr);
    EXPECT_TRUE(registry.addProvider(other));
    EXPECT_EQ(registry.findProvider(QStringLiteral("ogr")), other);
}

TEST(DataProviderRegistry, IsRequiredAsAServiceOfTheCore)
{
    Core core;
    try {
        core.requireService<DataProviderRegistry>();
        FAIL() << "no registry yet";
    } catch (const std::runtime_error& e) {
        EXPECT_STREQ(e.what(), "the service tessera::dp::DataProviderRegistry is not registered");
    }
    auto* registry = new DataProviderRegistry(&core);
    core.registerService(registry);
    EXPECT_EQ(&core.requireService<DataProviderRegistry>(), registry);
}

} // namespace
} // namespace tessera::dp
