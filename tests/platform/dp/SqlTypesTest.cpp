#include "platform/core/SqlTypes.h"

#include "platform/core/QDecNumber.h"

#include <QMetaType>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <string>

namespace {

using tessera::sqlName;

// The names matter for the affinity SQLite derives from them: what a column
// does with a value of another storage class.
TEST(SqlTypes, NamesGiveTheRightAffinity)
{
    struct Case {
        int type;
        const char* inserted;   // SQL literal
        const char* stored;     // typeof() afterwards
    };
    const Case cases[] = {
        {QMetaType::Short, "'12'", "integer"},
        {QMetaType::LongLong, "'12.0'", "integer"},
        {QMetaType::Float, "'1.5'", "real"},
        {QMetaType::Double, "3", "real"},
        {QMetaType::QString, "12", "text"},
        {QMetaType::QByteArray, "'12'", "text"},       // no affinity: kept as given
        {QMetaType::QByteArray, "12", "integer"},
        {QMetaType::Bool, "'1'", "integer"},
        {QDecNumber::metaTypeId(), "'1.25'", "real"},
        {QMetaType::QDate, "'2024-05-06'", "text"},     // date texts stay texts
        {QMetaType::QTime, "'10:20:30.000'", "text"},
        {QMetaType::QDateTime, "'2024-05-06 10:20:30.000'", "text"},
    };
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(":memory:", &db), SQLITE_OK);
    for (const Case& c : cases) {
        const std::string type = sqlName(c.type).toStdString();
        const std::string sql = "Drop Table If Exists t; Create Table t (v " + type + "); Insert Into t Values (" +
            c.inserted + ");";
        ASSERT_EQ(sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK) << sql;
        std::string stored;
        sqlite3_exec(db, "Select typeof(v) From t", [](void* out, int, char** values, char**) {
            *static_cast<std::string*>(out) = values[0];
            return 0;
        }, &stored, nullptr);
        EXPECT_EQ(stored, c.stored) << type << " " << c.inserted;
    }
    sqlite3_close(db);
}

} // namespace
