#pragma once
// A Core with an engine of its own for each test (the engine lives as long as
// its Core), optionally with the function module loaded, and reads of one
// value or one column on the engine's connection.

#include "tests/support/EngineApplication.h"

#include "engine/Engine.h"
#include "modules/functions/FunctionModule.h"
#include "platform/core/Core.h"

#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QStringList>
#include <QVariant>
#include <gtest/gtest.h>

namespace tessera::test {

// The first column of the first row of `sql`.
inline QVariant scalar(const QSqlDatabase& db, const QString& sql)
{
    QSqlQuery query(db);
    if (!query.exec(sql) || !query.next()) {
        ADD_FAILURE() << sql.toStdString() << ": " << query.lastError().text().toStdString();
        return {};
    }
    return query.value(0);
}

// The first column of every row of `sql`, as text.
inline QStringList column(const QSqlDatabase& db, const QString& sql)
{
    QStringList values;
    QSqlQuery query(db);
    EXPECT_TRUE(query.exec(sql)) << sql.toStdString() << ": " << query.lastError().text().toStdString();
    while (query.next())
        values << query.value(0).toString();
    return values;
}

class EngineFixture : public ::testing::Test {
protected:
    void SetUp() override
    {
        engine = Engine::load(&core);
        ASSERT_NE(engine, nullptr);
        db = engine->engineDatabase();
        ASSERT_TRUE(db.isOpen());
    }
    QVariant scalar(const QString& sql) const { return test::scalar(db, sql); }
    QStringList column(const QString& sql) const { return test::column(db, sql); }

    Core core;
    Engine* engine = nullptr;
    QSqlDatabase db;
};

// The engine with the dialect's SQL functions.
class FunctionEngineFixture : public EngineFixture {
protected:
    void SetUp() override
    {
        EngineFixture::SetUp();
        engine->loadTableAdapterModule(&core, &modules::initFunctionModule);
    }
};

} // namespace tessera::test
