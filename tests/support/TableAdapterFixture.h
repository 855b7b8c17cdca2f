#pragma once
// An engine with the function module and the table adapter, following a data
// catalog through the adapter's extension.

#include "engine/Engine.h"
#include "engine/SchemaColumns.h"
#include "modules/functions/FunctionModule.h"
#include "modules/tables/TableAdapterExtension.h"
#include "modules/tables/TableAdapterModule.h"
#include "platform/core/Core.h"
#include "platform/dp/DataCatalog.h"
#include "tests/support/EngineApplication.h"

#include <QSqlError>
#include <QSqlQuery>
#include <QStringList>
#include <gtest/gtest.h>

namespace tessera::test {

class TableAdapterFixture : public ::testing::Test {
protected:
    void SetUp() override
    {
        engine = Engine::load(&core);
        core.registerService(&catalog);
        engine->loadTableAdapterModule(&core, &modules::initFunctionModule);
        engine->loadTableAdapterModule(&core, &modules::initTableAdapterModule);
        extension.dependencyManager().setCore(&core);
        extension.linkDataCatalog();
    }
    void TearDown() override
    {
        for (const auto& object : catalog.dataObjects())
            catalog.closeDataObject(object->id());
        Engine::unload(&core);
    }

    // The first column of every row, as text; a failing statement fails the test.
    QStringList column(const QString& sql) const
    {
        QStringList values;
        QSqlQuery query(engine->engineDatabase());
        EXPECT_TRUE(query.exec(sql)) << sql.toStdString() << ": " << query.lastError().text().toStdString();
        while (query.next())
            values << query.value(0).toString();
        return values;
    }
    bool run(const QString& sql, QString* error = nullptr) const
    {
        QSqlQuery query(engine->engineDatabase());
        const bool ok = query.exec(sql);
        if (error)
            *error = query.lastError().databaseText();
        return ok;
    }
    static QString g() { return QString::fromLatin1(engine::geometryColumnName); }

    Core core;
    Engine* engine = nullptr;
    dp::DataCatalog catalog;
    modules::TableAdapterExtension extension;
};

} // namespace tessera::test
