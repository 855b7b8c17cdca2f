// tessera-sql as a plug-in host: what it loads, what it reports, and that it
// goes on without a plug-in that fails.

#include <QProcess>
#include <gtest/gtest.h>

namespace {

struct ProgramRun {
    int exitCode;
    QString out;
    QString err;
};

ProgramRun run(const QStringList& arguments)
{
    QProcess process;
    process.start(QStringLiteral(TESSERA_SQL_PROGRAM), arguments);
    process.waitForFinished(60000);
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1,
            QString::fromUtf8(process.readAllStandardOutput()), QString::fromUtf8(process.readAllStandardError())};
}

TEST(PluginHost, ListsLoadedPluginsWithVersions)
{
    const ProgramRun r = run({QStringLiteral("--format"), QStringLiteral("csv"), QStringLiteral("-c"), QStringLiteral(".plugins")});
    EXPECT_EQ(r.exitCode, 0) << r.err.toStdString();
    EXPECT_TRUE(r.err.isEmpty()) << r.err.toStdString();
    const QStringList lines = r.out.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    ASSERT_EQ(lines.size(), 5) << r.out.toStdString();
    EXPECT_EQ(lines[0], QStringLiteral("name,version,file"));
    // The engine before the modules that need it, the functions before the
    // tables (which answer their spatial predicates); gdal, loaded on first
    // need, last.
    EXPECT_TRUE(lines[1].startsWith(QStringLiteral("engine,0.1.0,"))) << lines[1].toStdString();
    EXPECT_TRUE(lines[2].startsWith(QStringLiteral("functions,0.1.0,"))) << lines[2].toStdString();
    EXPECT_TRUE(lines[3].startsWith(QStringLiteral("tables,0.1.0,"))) << lines[3].toStdString();
    EXPECT_TRUE(lines[4].startsWith(QStringLiteral("gdal,0.1.0,"))) << lines[4].toStdString();
}

TEST(PluginHost, GoesOnWithoutAPluginThatFails)
{
    const struct {
        const char* name;
        QString plugin;
        QString warning;
    } cases[] = {
        {"missing file", QStringLiteral("/nonexistent/extra.so"),
         QStringLiteral("warning: plug-in extra not loaded: file not found\n")},
        {"not a plug-in", QStringLiteral(TESSERA_SQL_PROGRAM),
         QStringLiteral("warning: plug-in tessera-sql not loaded: not a plug-in: ")},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const ProgramRun r = run({QStringLiteral("--plugin"), c.plugin, QStringLiteral("--format"), QStringLiteral("csv"),
                           QStringLiteral("-c"), QStringLiteral("Select Proper(\"ab cd\") As t")});
        EXPECT_EQ(r.exitCode, 0) << r.err.toStdString();
        EXPECT_TRUE(r.err.startsWith(c.warning)) << r.err.toStdString();
        EXPECT_EQ(r.out, QStringLiteral("t\nAb Cd\n"));
    }
}

} // namespace
