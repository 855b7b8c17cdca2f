// The shell as a user meets it: the host's services behind the SQL functions,
// readable headers and errors, translations, scripts and standard input.

#include "engine/Engine.h"
#include "engine/EngineCache.h"
#include "platform/core/Core.h"
#include "platform/geometry/Geometry.h"
#include "tests/engine/TestApplication.h"
#include "tools/tessera-sql/Shell.h"

#include <QProcess>
#include <QTextStream>
#include <gtest/gtest.h>

using namespace tessera::shell;

namespace {

struct Outcome {
    bool ok;
    QString out;
    QString err;
};

class ShellSession : public ::testing::Test {
protected:
    static void SetUpTestSuite() { shell = new Shell(ShellOptions{}); }
    static void TearDownTestSuite() { delete shell; shell = nullptr; }
    void SetUp() override { shell->setOptions(ShellOptions{}); }

    static Outcome run(const QString& script, OutputFormat format = OutputFormat::Csv)
    {
        ShellOptions options = shell->options();
        options.format = format;
        shell->setOptions(options);
        Outcome o;
        QTextStream out(&o.out), err(&o.err);
        o.ok = shell->runScript(script, out, err);
        out.flush();
        err.flush();
        return o;
    }

    static Shell* shell;
};

Shell* ShellSession::shell = nullptr;

TEST_F(ShellSession, HostServicesBehindTheSqlFunctions)
{
    // FromMif needs the host's MIF reader.
    const Outcome mif = run(QStringLiteral("Select FromMif(\"Pline 3 0 0 1 0,001 2 0\") As line, FromMif(\"Point 1 2\") As point"));
    ASSERT_TRUE(mif.ok) << mif.err.toStdString();
    EXPECT_TRUE(mif.out.contains(QStringLiteral("LINESTRING(0 0, 1 0.001, 2 0)"))) << mif.out.toStdString();
    EXPECT_TRUE(mif.out.contains(QStringLiteral("POINT(1 2)"))) << mif.out.toStdString();

    // The resemblance extension answers before the geometry model's fallback.
    auto* core = tessera::Core::instance();
    ASSERT_NE(core, nullptr);
    auto* engine = tessera::Engine::load(core);
    const auto line = std::make_shared<tessera::geometry::LineString>(QVector<QPointF>{{0, 0}, {1, 0.00001}, {2, 0}, {3, 5}});
    const auto look = engine->cache()->tryResemblance(line);
    ASSERT_NE(look, nullptr);
    EXPECT_EQ(static_cast<const tessera::geometry::LineString&>(*look).points().size(), 3);

    // Nothing selected: the Selection table says so instead of failing oddly.
    const Outcome selection = run(QStringLiteral("Select * From Selection"));
    EXPECT_FALSE(selection.ok);
    EXPECT_TRUE(selection.err.contains(QStringLiteral("nothing is selected"))) << selection.err.toStdString();
}

} // namespace
