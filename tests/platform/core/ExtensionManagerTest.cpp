#include "platform/core/Extensions.h"

#include <QObject>
#include <gtest/gtest.h>

namespace tessera::plugin {
namespace {

struct Named : Extension {
    explicit Named(int id) : id(id) {}
    int id;
};
struct Unrelated : Extension {};

struct Recorder : ExtensionConsumer {
    Recorder(std::vector<int>* seen, bool* destroyed) : seen(seen), destroyed(destroyed) {}
    ~Recorder() override { *destroyed = true; }
    void consume(Extension* e) override {
        if (auto* n = dynamic_cast<Named*>(e))
            seen->push_back(n->id);
    }
    std::vector<int>* seen;
    bool* destroyed;
};

TEST(ExtensionManager, ConsumersSeeExtensionsRegisteredBeforeAndAfter)
{
    std::vector<int> seen;
    bool destroyed = false;
    Named one(1), two(2), three(3);
    Unrelated other;
    {
        ExtensionManager manager;
        manager.registerExtension(&one);
        manager.registerExtension(nullptr);
        manager.registerExtension(&two);
        manager.registerExtensionConsumer(new Recorder(&seen, &destroyed));
        manager.registerExtension(&other);
        manager.registerExtension(&three);
        EXPECT_EQ(seen, (std::vector<int>{1, 2, 3}));
        EXPECT_EQ(manager.extensions().size(), 4u);
        EXPECT_FALSE(destroyed);
    }
    EXPECT_TRUE(destroyed);   // the manager owns its consumers
}

class Target : public QObject {
public:
    void registerExtension(Named* e) { ids.push_back(e->id); }
    std::vector<int> ids;
};

TEST(ExtensionManager, AdapterForwardsOnlyItsTypeAndOnlyWhileTheTargetLives)
{
    ExtensionManager manager;
    Named one(1), two(2);
    Unrelated other;
    auto* target = new Target;
    manager.registerExtension(&one);
    manager.registerExtensionConsumer(new ExtensionConsumerAdapter<Named, Target>(QPointer<Target>(target)));
    manager.registerExtension(&other);
    EXPECT_EQ(target->ids, std::vector<int>{1});
    delete target;
    manager.registerExtension(&two);   // must not touch the deleted target
    EXPECT_EQ(manager.extensions().size(), 3u);
}

} // namespace
} // namespace tessera::plugin
