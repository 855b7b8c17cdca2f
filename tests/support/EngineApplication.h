#pragma once
// A QCoreApplication for the whole test run: the engine adds library paths and
// Qt SQL needs an application object.

#include <QCoreApplication>
#include <gtest/gtest.h>
#include <memory>

namespace tessera::test {

class ApplicationEnvironment : public ::testing::Environment {
public:
    void SetUp() override {
        static int argc = 1;
        static char name[] = "tessera-engine-tests";
        static char* argv[] = {name, nullptr};
        app = std::make_unique<QCoreApplication>(argc, argv);
    }
    void TearDown() override { app.reset(); }

private:
    std::unique_ptr<QCoreApplication> app;
};

inline ::testing::Environment* const applicationEnvironment =
    ::testing::AddGlobalTestEnvironment(new ApplicationEnvironment);

} // namespace tessera::test
