#include "tools/tessera-sql/TableImporter.h"

#include "engine/Engine.h"
#include "engine/EngineCache.h"
#include "engine/SchemaColumns.h"
#include "engine/functions/ValueConversions.h"
#include "engine/geometry/GeometryConversions.h"
#include "platform/dp/MemoryTable.h"
#include "providers/gdal/GdalTableReader.h"

#include <QFileInfo>
#include <QSqlError>
#include <QSqlQuery>
#include <QStringList>

namespace tessera::shell {
namespace {

// The value as the engine stores it: dates and times as canonical text,
// geometries as TesGeo blobs.
QVariant storedValue(const QVariant& value, const dp::AttributeDefinitionPtr& attribute, engine::EngineCache* cache)
{
    if (engine::isGeometry(attribute)) {
        const auto geometry = dp::geometryFromVariant(value);
        return geometry ? QVariant(engine::toTesGeo(geometry, cache)) : QVariant(QVariant::ByteArray);
    }
    switch (value.userType()) {
    case QMetaType::QDate: return engine::toString(value.toDate());
    case QMetaType::QTime: return engine::toString(value.toTime());
    case QMetaType::QDateTime: return engine::toString(value.toDateTime());
    default: return value;
    }
}

// The column name at the start of a column definition: a quoted name (with
// doubled quotes inside) or a bare word.
QString columnName(const QString& definition)
{
    if (!definition.startsWith('"'))
        return definition.left(definition.indexOf(' '));
    int i = 1;
    while (i < definition.size()) {
        if (definition.at(i) == '"') {
            if (i + 1 < definition.size() && definition.at(i + 1) == '"') {
                i += 2;
                continue;
            }
            return definition.left(i + 1);
        }
        ++i;
    }
    return definition;
}

} // namespace

bool importTable(Engine& engine, const QString& path, const QString& name, QString& error, std::shared_ptr<dp::Table>* imported)
{
    std::shared_ptr<dp::MemoryTable> table;
    try {
        const QString tableName = name.isEmpty() ? dp::DataObject::makeValidObjectName(QFileInfo(path).completeBaseName()) : name;
        table = providers::GdalTableReader::read(path, tableName);
    } catch (const std::exception& e) {
        error = QString::fromUtf8(e.what());
        return false;
    }

    engine::EngineCache* cache = engine.cache();
    const dp::TableSchema schema = table->schema();
    const auto attributes = schema.attributes();
    engine::SchemaState state;
    QStringList columns, names, placeholders;
    for (const auto& attribute : attributes) {
        const QString column = engine::toString(attribute, state, cache, '"');
        columns << column;
        names << columnName(column);
        placeholders << QStringLiteral("?");
    }

    QSqlDatabase db = engine.engineDatabase();
    const QString quotedTable = engine::escapeString(table->name(), '"');
    QSqlQuery create(db);
    if (!create.exec(QStringLiteral("Create Table %1 (%2)").arg(quotedTable, columns.join(QLatin1String(", "))))) {
        error = QStringLiteral("cannot create table %1: %2").arg(table->name(), create.lastError().databaseText());
        return false;
    }

    db.transaction();
    QSqlQuery insert(db);
    insert.prepare(QStringLiteral("Insert Into %1 (rowid, %2) Values (?, %3)")
                       .arg(quotedTable, names.join(QLatin1String(", ")), placeholders.join(QLatin1String(", "))));
    auto cursor = table->features();
    while (auto feature = cursor->next()) {
        insert.addBindValue(static_cast<qlonglong>(cache->assignIdToInt(feature->id())));
        for (int i = 0; i < attributes.size(); ++i)
            insert.addBindValue(storedValue(feature->getAttribute(i), attributes[i], cache));
        if (!insert.exec()) {
            error = QStringLiteral("cannot fill table %1: %2").arg(table->name(), insert.lastError().databaseText());
            db.rollback();
            QSqlQuery(db).exec(QStringLiteral("Drop Table If Exists %1").arg(quotedTable));
            return false;
        }
    }
    db.commit();
    if (imported)
        *imported = table;
    return true;
}

} // namespace tessera::shell
