#include "platform/core/SqliteException.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

namespace tessera::err {
namespace {

TEST(SqliteException, RecordsTheConnectionsCurrentError)
{
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(":memory:", &db), SQLITE_OK);
    ASSERT_NE(sqlite3_exec(db, "Select * From missing_table", nullptr, nullptr, nullptr), SQLITE_OK);

    const SqliteException e(db, QStringLiteral("Загрузка"));
    EXPECT_EQ(e.message(), QStringLiteral("Загрузка"));
    EXPECT_EQ(e.errorCode(), SQLITE_ERROR);
    EXPECT_EQ(e.sqliteMessage(), QStringLiteral("no such table: missing_table"));
    EXPECT_EQ(QString::fromUtf8(e.what()), QStringLiteral("Загрузка (SQLite error 1: no such table: missing_table)"));

    // Caught as the standard type it derives from.
    try {
        throw SqliteException(db, QStringLiteral("x"));
    } catch (const std::runtime_error& caught) {
        EXPECT_NE(std::string(caught.what()).find("no such table"), std::string::npos);
    }
    sqlite3_close(db);
}

TEST(SqliteException, WithoutConnectionOrError)
{
    const SqliteException none(nullptr, QStringLiteral("text"));
    EXPECT_EQ(std::string(none.what()), "text");
    EXPECT_EQ(none.errorCode(), 0);
    EXPECT_TRUE(none.sqliteMessage().isEmpty());

    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(":memory:", &db), SQLITE_OK);
    const SqliteException clean(db, QStringLiteral("fine"));
    EXPECT_EQ(std::string(clean.what()), "fine");
    sqlite3_close(db);
}

} // namespace
} // namespace tessera::err
