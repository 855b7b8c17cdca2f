#pragma once
// A plain in-memory SQLite connection for testing SQL callbacks through real
// statements.

#include <QString>
#include <gtest/gtest.h>
#include <ostream>
#include <sqlite3.h>
#include <string>

// Readable QString values in failure messages.
inline void PrintTo(const QString& text, std::ostream* os)
{
    *os << '"' << text.toStdString() << '"';
}

namespace tessera::engine::test {

using ScalarCallback = void (*)(sqlite3_context*, int, sqlite3_value**);
using FinalCallback = void (*)(sqlite3_context*);

// The first column of the first row of a statement, or its error.
struct SqlResult {
    int type = SQLITE_NULL; // 0 when the statement failed
    qint64 integer = 0;
    double real = 0;
    QString text;
    std::string error;
};

class SqlHarness {
public:
    SqlHarness()
    {
        if (sqlite3_open(":memory:", &db) != SQLITE_OK)
            ADD_FAILURE() << "cannot open an in-memory database";
    }
    ~SqlHarness() { sqlite3_close(db); }
    SqlHarness(const SqlHarness&) = delete;
    SqlHarness& operator=(const SqlHarness&) = delete;

    sqlite3* handle() const { return db; }

    void scalar(const char* name, int argc, ScalarCallback f, void* userData = nullptr)
    {
        const int flags = SQLITE_UTF8 | SQLITE_DETERMINISTIC;
        ASSERT_EQ(sqlite3_create_function_v2(db, name, argc, flags, userData, f, nullptr, nullptr, nullptr), SQLITE_OK)
            << name;
    }

    void aggregate(const char* name, int argc, ScalarCallback step, FinalCallback final)
    {
        ASSERT_EQ(sqlite3_create_function_v2(db, name, argc, SQLITE_UTF8, nullptr, nullptr, step, final, nullptr),
                  SQLITE_OK)
            << name;
    }

    void exec(const char* sql)
    {
        char* message = nullptr;
        const int rc = sqlite3_exec(db, sql, nullptr, nullptr, &message);
        EXPECT_EQ(rc, SQLITE_OK) << sql << ": " << (message ? message : "");
        sqlite3_free(message);
    }

    SqlResult query(const std::string& sql) const
    {
        SqlResult result;
        sqlite3_stmt* stmt = nullptr;
        if (sqlite3_prepare_v2(db, sql.c_str(), -1, &stmt, nullptr) != SQLITE_OK) {
            result.type = 0;
            result.error = sqlite3_errmsg(db);
            return result;
        }
        const int rc = sqlite3_step(stmt);
        if (rc == SQLITE_ROW) {
            result.type = sqlite3_column_type(stmt, 0);
            result.integer = sqlite3_column_int64(stmt, 0);
            result.real = sqlite3_column_double(stmt, 0);
            if (const void* text = sqlite3_column_text16(stmt, 0))
                result.text = QString(static_cast<const QChar*>(text), sqlite3_column_bytes16(stmt, 0) / 2);
        } else if (rc != SQLITE_DONE) {
            result.type = 0;
            result.error = sqlite3_errmsg(db);
        }
        sqlite3_finalize(stmt);
        return result;
    }

    void expectInt(const std::string& sql, qint64 expected) const
    {
        const SqlResult r = query(sql);
        EXPECT_EQ(r.type, SQLITE_INTEGER) << sql << (r.error.empty() ? "" : ": " + r.error);
        EXPECT_EQ(r.integer, expected) << sql;
    }

    void expectReal(const std::string& sql, double expected) const
    {
        const SqlResult r = query(sql);
        EXPECT_EQ(r.type, SQLITE_FLOAT) << sql << (r.error.empty() ? "" : ": " + r.error);
        EXPECT_DOUBLE_EQ(r.real, expected) << sql;
    }

    void expectText(const std::string& sql, const QString& expected) const
    {
        const SqlResult r = query(sql);
        EXPECT_EQ(r.type, SQLITE_TEXT) << sql << (r.error.empty() ? "" : ": " + r.error);
        EXPECT_EQ(r.text, expected) << sql;
    }

    void expectNull(const std::string& sql) const
    {
        const SqlResult r = query(sql);
        EXPECT_EQ(r.type, SQLITE_NULL) << sql << (r.error.empty() ? "" : ": " + r.error);
    }

    void expectError(const std::string& sql, const std::string& message) const
    {
        const SqlResult r = query(sql);
        EXPECT_EQ(r.type, 0) << sql;
        EXPECT_EQ(r.error, message) << sql;
    }

private:
    sqlite3* db = nullptr;
};

} // namespace tessera::engine::test
