#include "platform/qtsqlite/QtSqliteDriver.h"

#include <QCoreApplication>
#include <QSqlDatabase>
#include <QSqlDriver>
#include <QSqlError>
#include <QSqlQuery>
#include <QVariant>
#include <gtest/gtest.h>
#include <sqlite3.h>

namespace tessera::qtsqlite {
namespace {

void twice(sqlite3_context* ctx, int, sqlite3_value** argv)
{
    sqlite3_result_int64(ctx, 2 * sqlite3_value_int64(argv[0]));
}

TEST(QtSqliteDriver, HandleIsTheSqliteConnectionWeLink)
{
    int argc = 1;
    char name[] = "QtSqliteDriverTest";
    char* argv[] = {name, nullptr};
    QCoreApplication app(argc, argv);

    ASSERT_TRUE(registerQtSqliteDriver());
    EXPECT_TRUE(registerQtSqliteDriver());   // later calls are harmless
    EXPECT_TRUE(QSqlDatabase::drivers().contains(QStringLiteral("QTSQLITE")));

    {
        QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QTSQLITE"), QStringLiteral("driver-test"));
        ASSERT_TRUE(db.isValid());
        db.setDatabaseName(QStringLiteral(":memory:"));
        ASSERT_TRUE(db.open()) << db.lastError().text().toStdString();

        const QVariant handle = db.driver()->handle();
        ASSERT_STREQ(handle.typeName(), "sqlite3*");
        sqlite3* raw = *static_cast<sqlite3* const*>(handle.constData());
        ASSERT_NE(raw, nullptr);
        EXPECT_EQ(sqlite3_create_function(raw, "twice", 1, SQLITE_UTF8, nullptr, twice, nullptr, nullptr), SQLITE_OK);

        QSqlQuery query(db);
        ASSERT_TRUE(query.exec(QStringLiteral("Select twice(21)"))) << query.lastError().text().toStdString();
        ASSERT_TRUE(query.next());
        EXPECT_EQ(query.value(0).toLongLong(), 42);

        // And the other way round: a table made through Qt is seen by the raw handle.
        ASSERT_TRUE(query.exec(QStringLiteral("Create Table t(x)")));
        ASSERT_TRUE(query.exec(QStringLiteral("Insert Into t Values (1), (2), (3)")));
        sqlite3_stmt* stmt = nullptr;
        ASSERT_EQ(sqlite3_prepare_v2(raw, "Select Count(*) From t", -1, &stmt, nullptr), SQLITE_OK);
        ASSERT_EQ(sqlite3_step(stmt), SQLITE_ROW);
        EXPECT_EQ(sqlite3_column_int(stmt, 0), 3);
        sqlite3_finalize(stmt);
        query.finish();
        db.close();
    }
    QSqlDatabase::removeDatabase(QStringLiteral("driver-test"));
}

} // namespace
} // namespace tessera::qtsqlite
