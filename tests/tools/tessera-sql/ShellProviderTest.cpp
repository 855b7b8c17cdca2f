// The shell opens sources through the data provider that the gdal plug-in
// offers: without that plug-in, opening reports why and the shell goes on.

#include "tests/support/EngineApplication.h"
#include "tools/tessera-sql/Shell.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTextStream>
#include <gtest/gtest.h>

using namespace tessera::shell;

namespace {

const QString countries = QStringLiteral(TESSERA_TEST_DATA "/countries.geojson");

TEST(ShellProvider, OpeningWithoutTheGdalPluginFailsClearly)
{
    // Every plug-in of the build but the provider, and nothing from elsewhere.
    QTemporaryDir dir;
    const QDir built(QStringLiteral(TESSERA_PLUGIN_DIR));
    for (const QString& file : built.entryList(QDir::Files))
        if (!file.contains(QLatin1String("gdal"))) {
            ASSERT_TRUE(QFile::copy(built.filePath(file), dir.filePath(file))) << file.toStdString();
        }
    qunsetenv("TESSERA_PLUGIN_PATH");
    ShellOptions options;
    options.format = OutputFormat::Csv;
    options.pluginPaths << dir.path();
    Shell shell(options);

    const QString reason = QStringLiteral("cannot open %1: the data provider is not loaded: no gdal plug-in found").arg(countries);
    const struct {
        const char* name;
        QString script;
        bool ok;
        QString out;
        QString err;   // part of standard error
    } rows[] = {
        {".open", QStringLiteral(".open %1 c").arg(countries), false, QString(), reason},
        {"the shell goes on", QStringLiteral("Select 1 + 1 As a;"), true, QStringLiteral("a\n2\n"), QString()},
        {"nothing was opened", QStringLiteral(".tables"), true, QString(), QString()},
    };
    for (const auto& row : rows) {
        QString out, err;
        QTextStream o(&out), e(&err);
        EXPECT_EQ(shell.runScript(row.script, o, e), row.ok) << row.name << ": " << err.toStdString();
        o.flush();
        e.flush();
        EXPECT_EQ(out, row.out) << row.name;
        EXPECT_TRUE(err.contains(row.err)) << row.name << ": " << err.toStdString();
    }
}

} // namespace
