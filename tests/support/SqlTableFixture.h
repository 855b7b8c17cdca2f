#pragma once
// A Qt SQLite connection of its own with small tables that have the hidden
// geometry and style columns and the "Locale" collation, a parse runtime, an
// engine cache and helpers that translate and run dialect texts.

#include "tests/support/EngineApplication.h"

#include "tests/support/EngineTestCache.h"
#include "engine/translation/SqliteStringBuilder.h"
#include "platform/sql/SqlStrings.h"
#include "engine/translation/TranslationEntry.h"
#include "platform/sql/SqlParser.h"
#include "platform/sql/SqlRuntime.h"

#include <QSqlDatabase>
#include <QSqlDriver>
#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QUuid>
#include <QVariant>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <memory>
#include <string>
#include <vector>

namespace tessera::test {

using engine::SqliteStringBuilder;
using engine::translateQuery;

inline std::string utf8(const std::wstring& text)
{
    return sql::fromSqlString(text).toStdString();
}

inline std::wstring wide(const std::string& text)
{
    return QString::fromStdString(text).toStdWString();
}

inline const std::string geo = "cd750f8a9a2b4fac9b9b05eb53795d97";
inline const std::string sty = "d39f65c319974aa198a899a89b1240c7";

class SqlTableFixture : public ::testing::Test {
protected:
    void SetUp() override
    {
        connection = QUuid::createUuid().toString(QUuid::Id128);
        db = QSqlDatabase::addDatabase("QSQLITE", connection);
        db.setDatabaseName(":memory:");
        ASSERT_TRUE(db.open()) << db.lastError().text().toStdString();
        const QVariant handle = db.driver()->handle();
        ASSERT_STREQ(handle.typeName(), "sqlite3*");
        sqlite3* sqlite = *static_cast<sqlite3* const*>(handle.constData());
        ASSERT_EQ(sqlite3_create_collation(sqlite, "Locale", SQLITE_UTF16, nullptr, &compareLocale), SQLITE_OK);
        exec("Create Table t(a Integer, b Text Collate Locale, name Text, " + geo + " Blob, " + sty + " Text)");
        exec("Insert Into t(rowid, a, b, name, " + geo + ", " + sty +
             ") Values (1, 1, 'x', 'Alpha', X'01', 'red'), (2, 2, 'y', 'beta', Null, 'blue'),"
             " (3, 3, 'z', 'Gamma', X'03', Null), (4, 4, 'w', 'delta', X'04', 'red')");
        exec("Create Table u(a Integer, d Text)");
        exec("Insert Into u Values (1, 'one'), (3, 'three')");
    }

    void TearDown() override
    {
        db.close();
        db = QSqlDatabase();
        QSqlDatabase::removeDatabase(connection);
    }

    void exec(const std::string& sql)
    {
        QSqlQuery query(db);
        EXPECT_TRUE(query.exec(QString::fromStdString(sql))) << sql << ": " << query.lastError().text().toStdString();
    }

    // Every row of `sql`, its columns joined by "|", NULL as "-".
    std::vector<std::string> rows(const std::string& sql)
    {
        std::vector<std::string> result;
        QSqlQuery query(db);
        if (!query.exec(QString::fromStdString(sql))) {
            ADD_FAILURE() << sql << ": " << query.lastError().text().toStdString();
            return result;
        }
        const int columns = query.record().count();
        while (query.next()) {
            QStringList values;
            for (int i = 0; i < columns; ++i)
                values << (query.isNull(i) ? QStringLiteral("-") : query.value(i).toString());
            result.push_back(values.join('|').toStdString());
        }
        return result;
    }

    SqliteStringBuilder makeBuilder(const QString& collate = QString()) { return SqliteStringBuilder(db, collate, nullptr); }

    // The SQLite text of a dialect text, or "" when translation fails.
    std::string translate(SqliteStringBuilder& builder, const std::string& text, bool expressionOnly = false)
    {
        return translateQuery(&runtime, text, builder, expressionOnly) ? utf8(builder.query()) : std::string();
    }

    std::string translate(const std::string& text, bool expressionOnly = false)
    {
        SqliteStringBuilder builder = makeBuilder();
        const std::string sql = translate(builder, text, expressionOnly);
        EXPECT_FALSE(sql.empty()) << text << ": " << (builder.errors().empty() ? "" : builder.errors().front()->what());
        return sql;
    }

    // The builder's text without the translation entry (no forced collation,
    // errors do not suppress the text).
    std::string build(SqliteStringBuilder& builder, const std::string& text)
    {
        sql::SqlParser parser(&runtime);
        if (!parser.parse(text)) {
            ADD_FAILURE() << "cannot parse " << text;
            return {};
        }
        return utf8(builder.buildString(*parser.root()));
    }

    QSqlDatabase db;
    QString connection;
    sql::SqlRuntime runtime;
    TestCache cache;

private:
    // Case-insensitive, so that tests see whether a comparison used it.
    static int compareLocale(void*, int n1, const void* s1, int n2, const void* s2)
    {
        const QString a = QString::fromUtf16(static_cast<const ushort*>(s1), n1 / 2);
        const QString b = QString::fromUtf16(static_cast<const ushort*>(s2), n2 / 2);
        return QString::compare(a, b, Qt::CaseInsensitive);
    }
};

} // namespace tessera::test
