// One source for the plug-ins of PluginManagerTest; each target defines what
// its plug-in does (TEST_PLUGIN_*) and names its description file.
//
// TEST_PLUGIN_NAME      journal name ("load <name>", "unload <name>")
// TEST_PLUGIN_OFFERS    registers a tessera::test::OfferedService in the core
// TEST_PLUGIN_USES      needs that service, found through Core::instance()
// TEST_PLUGIN_FAILS     its set-up throws

#include "platform/core/Core.h"
#include "platform/core/Plugin.h"

#include <QObject>
#include <QStringList>
#include <stdexcept>

namespace tessera::test {

class OfferedService : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;
};

class TestPlugin : public QObject, public plugin::Plugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID TEST_PLUGIN_IID FILE TEST_PLUGIN_JSON)
    Q_INTERFACES(tessera::plugin::Plugin)
public:
    void load(Core* core) override
    {
#ifdef TEST_PLUGIN_FAILS
        throw std::runtime_error("no licence for this seat");
#endif
#ifdef TEST_PLUGIN_USES
        // The registry of the process, not the one handed over: a plug-in
        // with its own copy of the core library would find none.
        QObject* offered = Core::instance() ? Core::instance()->findService(nullptr, QStringLiteral("tessera::test::OfferedService")) : nullptr;
        if (!offered)
            throw std::runtime_error("the offered service is not registered");
        offered->setProperty("usedBy", QStringLiteral(TEST_PLUGIN_NAME));
#endif
#ifdef TEST_PLUGIN_OFFERS
        core->registerService(new OfferedService(core));
#endif
        record(core, "load");
    }
    void unload(Core* core) override { record(core, "unload"); }

private:
    static void record(Core* core, const char* what)
    {
        if (auto journal = core->findObject<QStringList>())
            journal->append(QStringLiteral("%1 %2").arg(QLatin1String(what), QStringLiteral(TEST_PLUGIN_NAME)));
    }
};

} // namespace tessera::test

#include "TestPlugin.moc"
