#pragma once
// A plain in-memory SQLite connection for testing SQL callbacks through real
// statements, and tables of expressions with the values they must give.
//
// A value is written as SQLite's shell would show it, with its type: NULL,
// 3 (an integer), 3.0 or 1e+20 (a real), 'abc' (a text), x'0A' (a blob), or
// "error: <message>" for a statement that fails.

#include <QByteArray>
#include <QLocale>
#include <QString>
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <gtest/gtest.h>
#include <ostream>
#include <sqlite3.h>
#include <string>
#include <vector>

// Readable QString values in failure messages.
inline void PrintTo(const QString& text, std::ostream* os)
{
    *os << '"' << text.toStdString() << '"';
}

namespace tessera::test {

using ScalarCallback = void (*)(sqlite3_context*, int, sqlite3_value**);
using FinalCallback = void (*)(sqlite3_context*);

// The first column of the first row of a statement, or its error.
struct SqlValue {
    int type = SQLITE_NULL; // 0 when the statement failed
    qint64 integer = 0;
    double real = 0;
    QString text;
    QByteArray blob;
    std::string error;

    std::string toString() const
    {
        switch (type) {
        case 0:
            return "error: " + error;
        case SQLITE_INTEGER:
            return std::to_string(integer);
        case SQLITE_FLOAT: {
            std::string number = QString::number(real, 'g', QLocale::FloatingPointShortest).toStdString();
            if (number.find_first_of(".en") == std::string::npos) // "inf" and "nan" have an n
                number += ".0";
            return number;
        }
        case SQLITE_TEXT:
            return "'" + text.toStdString() + "'";
        case SQLITE_BLOB:
            return "x'" + blob.toHex().toUpper().toStdString() + "'";
        default:
            return "NULL";
        }
    }
};

// Whether `value` is the one written as `expected`; reals agree to 12 digits.
inline ::testing::AssertionResult isValue(const SqlValue& value, const std::string& expected)
{
    const std::string actual = value.toString();
    if (actual == expected)
        return ::testing::AssertionSuccess();
    if (value.type == SQLITE_FLOAT && expected.find_first_of(".e") != std::string::npos) {
        char* end = nullptr;
        const double wanted = std::strtod(expected.c_str(), &end);
        if (*end == '\0' && std::abs(value.real - wanted) <= 1e-12 * std::max(std::abs(wanted), 1e-300))
            return ::testing::AssertionSuccess();
    }
    return ::testing::AssertionFailure() << "gives " << actual << ", not " << expected;
}

// One row of a table: an expression (or "expression From ...") that follows
// Select, and its value. The expression names the case in a failure.
struct SqlCase {
    std::string sql;
    std::string expected;
};

class SqlHarness {
public:
    SqlHarness()
    {
        if (sqlite3_open(":memory:", &db) != SQLITE_OK)
            ADD_FAILURE() << "cannot open an in-memory database";
    }
    ~SqlHarness() { close(); }
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

    void exec(const std::string& sql)
    {
        char* message = nullptr;
        const int rc = sqlite3_exec(db, sql.c_str(), nullptr, nullptr, &message);
        EXPECT_EQ(rc, SQLITE_OK) << sql << ": " << (message ? message : "");
        sqlite3_free(message);
    }

    SqlValue query(const std::string& sql) const
    {
        SqlValue result;
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
            if (result.type == SQLITE_BLOB)
                result.blob = QByteArray(static_cast<const char*>(sqlite3_column_blob(stmt, 0)),
                                         sqlite3_column_bytes(stmt, 0));
            else if (const void* text = sqlite3_column_text16(stmt, 0))
                result.text = QString(static_cast<const QChar*>(text), sqlite3_column_bytes16(stmt, 0) / 2);
        } else if (rc != SQLITE_DONE) {
            result.type = 0;
            result.error = sqlite3_errmsg(db);
        }
        sqlite3_finalize(stmt);
        return result;
    }

    // Every row of the table, each run as "Select <sql>".
    void expectAll(const std::vector<SqlCase>& cases) const
    {
        for (const SqlCase& c : cases)
            EXPECT_TRUE(isValue(query("Select " + c.sql), c.expected)) << c.sql;
    }

    // Typed reads of one value, failing the test on another type.
    double real(const std::string& sql) const { return typed(sql, SQLITE_FLOAT).real; }
    qint64 integer(const std::string& sql) const { return typed(sql, SQLITE_INTEGER).integer; }
    std::string text(const std::string& sql) const { return typed(sql, SQLITE_TEXT).text.toStdString(); }
    bool isNull(const std::string& sql) const
    {
        const SqlValue v = query(sql);
        EXPECT_NE(v.type, 0) << sql << ": " << v.error;
        return v.type == SQLITE_NULL;
    }
    // The error text of a statement that must fail.
    std::string error(const std::string& sql) const
    {
        const SqlValue v = query(sql);
        EXPECT_EQ(v.type, 0) << sql << " did not fail";
        return v.error;
    }

protected:
    void close()
    {
        sqlite3_close(db);
        db = nullptr;
    }

private:
    SqlValue typed(const std::string& sql, int type) const
    {
        const SqlValue v = query(sql);
        EXPECT_EQ(v.type, type) << sql << " gives " << v.toString();
        return v;
    }

    sqlite3* db = nullptr;
};

} // namespace tessera::test
