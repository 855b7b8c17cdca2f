// A PostGIS table served through the GDAL provider, from a throwaway
// PostgreSQL cluster on a Unix socket in a temporary folder. Skips where
// PostgreSQL or PostGIS is not installed (Debian: postgresql,
// postgresql-postgis).

#include "providers/gdal/GdalTable.h"

#include "platform/dp/Feature.h"
#include "tests/support/GdalLayerCopy.h"
#include "tests/support/TableAdapterFixture.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <unistd.h>

namespace tessera::test {
namespace {

using providers::GdalTable;

// The newest installed PostgreSQL's programs, or empty.
QString postgresBin()
{
    const QStringList versions = QDir(QStringLiteral("/usr/lib/postgresql")).entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
    for (auto it = versions.rbegin(); it != versions.rend(); ++it) {
        const QString bin = QStringLiteral("/usr/lib/postgresql/%1/bin").arg(*it);
        const QString share = QStringLiteral("/usr/share/postgresql/%1/extension/postgis.control").arg(*it);
        if (QFileInfo::exists(bin + QStringLiteral("/initdb")) && QFileInfo::exists(share))
            return bin;
    }
    return QString();
}

class PostgisTableTest : public TableAdapterFixture {
protected:
    void SetUp() override
    {
        bin = postgresBin();
        if (bin.isEmpty())
            GTEST_SKIP() << "PostgreSQL with PostGIS not installed (apt-get install postgresql postgresql-postgis)";
        ASSERT_TRUE(dir.isValid());
        // PostgreSQL refuses to run as root: the cluster then belongs to "postgres".
        if (geteuid() == 0) {
            asUser = QStringList{QStringLiteral("runuser"), QStringLiteral("-u"), QStringLiteral("postgres"), QStringLiteral("--")};
            ASSERT_EQ(QProcess::execute(QStringLiteral("chown"), {QStringLiteral("postgres"), dir.path()}), 0);
        }
        ASSERT_TRUE(runPg(QStringLiteral("initdb"), {QStringLiteral("-D"), data(), QStringLiteral("-A"), QStringLiteral("trust"),
                                                      QStringLiteral("-U"), QStringLiteral("tessera"), QStringLiteral("--no-sync")}));
        ASSERT_TRUE(runPg(QStringLiteral("pg_ctl"), {QStringLiteral("-D"), data(), QStringLiteral("-w"), QStringLiteral("-l"),
                                                      dir.filePath(QStringLiteral("log")), QStringLiteral("-o"),
                                                      QStringLiteral("-k %1 -c listen_addresses= -F").arg(dir.path()),
                                                      QStringLiteral("start")}));
        started = true;
        TableAdapterFixture::SetUp();
    }
    void TearDown() override
    {
        if (started) {
            TableAdapterFixture::TearDown();
            runPg(QStringLiteral("pg_ctl"), {QStringLiteral("-D"), data(), QStringLiteral("-m"), QStringLiteral("immediate"), QStringLiteral("stop")});
        }
    }

    QString data() const { return dir.filePath(QStringLiteral("data")); }
    QString connection() const { return QStringLiteral("PG:host=%1 user=tessera dbname=postgres").arg(dir.path()); }

    bool runPg(const QString& program, const QStringList& args)
    {
        QProcess p;
        p.setProcessChannelMode(QProcess::MergedChannels);
        const QStringList command = asUser + QStringList{bin + QLatin1Char('/') + program} + args;
        p.start(command.first(), command.mid(1));
        const bool ok = p.waitForFinished(60000) && p.exitStatus() == QProcess::NormalExit && p.exitCode() == 0;
        if (!ok)
            ADD_FAILURE() << program.toStdString() << ": " << p.readAll().toStdString();
        return ok;
    }

    // PostGIS in the database and the sample countries in table "countries".
    bool load()
    {
        GDALAllRegister();
        GDALDatasetH db = GDALOpenEx(connection().toUtf8().constData(), GDAL_OF_VECTOR | GDAL_OF_UPDATE, nullptr, nullptr, nullptr);
        if (!db)
            return false;
        GDALDatasetReleaseResultSet(db, GDALDatasetExecuteSQL(db, "Create Extension postgis", nullptr, nullptr));
        GDALClose(db);
        return copyLayer(QStringLiteral(TESSERA_TEST_DATA "/countries.geojson"), connection(), "PostgreSQL", "countries");
    }

    QTemporaryDir dir;
    QString bin;
    QStringList asUser;
    bool started = false;
};

TEST_F(PostgisTableTest, ServesAPostgisTableWithFiltersInTheServer)
{
    ASSERT_TRUE(load()) << "loading the countries into PostGIS failed";
    GdalTable::Options options;
    options.layer = QStringLiteral("countries");
    options.name = QStringLiteral("c");
    auto table = GdalTable::open(connection(), options);
    EXPECT_EQ(table->driverName(), QStringLiteral("PostgreSQL"));
    EXPECT_TRUE(table->isEditable());
    EXPECT_EQ(table->featureCount(), 90);

    // The server filters: attribute condition and bounds (PostGIS compares
    // boxes).
    const int population = table->schema().indexOf(QStringLiteral("pop_est"));
    const int name = table->schema().indexOf(QStringLiteral("name"));
    dp::FeatureFilter filter;
    filter.conditions << dp::AttributeCondition{population, dp::AttributeCondition::Greater, 1e8};
    filter.bounds = QRectF(QPointF(5, 45), QPointF(15, 55));
    QStringList found;
    auto cursor = table->filteredFeatures(filter);
    while (auto f = cursor->next())
        found << f->getAttribute(name).toString();
    // Of the four countries above 100 million in the sample only Russia has
    // a box meeting this one (its box spans every longitude); Germany is
    // below the population bound.
    EXPECT_EQ(found, QStringList{QStringLiteral("Russia")}) << found.join(',').toStdString();

    catalog.addDataObject(table);
    EXPECT_EQ(column(QStringLiteral("Select name From c Where pop_est > 1e8 And pop_est < 1.2e8 Order By 1")),
              column(QStringLiteral("Select name From c Where pop_est + 0 > 1e8 And pop_est + 0 < 1.2e8 Order By 1")));
    EXPECT_EQ(column(QStringLiteral("Select Count(*) From c a, c b Where a.rowid < b.rowid And GeometryIntersects(a.%1, b.%1)").arg(g())),
              QStringList{QStringLiteral("189")});
    QString error;
    ASSERT_TRUE(run(QStringLiteral("Update c Set pop_est = 2 Where name = 'Germany'"), &error)) << error.toStdString();
    EXPECT_EQ(column(QStringLiteral("Select pop_est From c Where name = 'Germany'")), QStringList{QStringLiteral("2")});
}

} // namespace
} // namespace tessera::test
