#pragma once
// Evaluates one SQLite expression against one feature at a time. The object
// keeps a temporary table whose columns mirror a table schema; each
// evaluation replaces the table's single row with a feature (fill) and runs
// "Select <expression> From <table>;" (exec). The expression is SQLite SQL:
// callers translate dialect text with Engine::translate and name columns
// with fieldName. The table is dropped with the object.

#include "engine/EngineExport.h"

#include <QCoreApplication>
#include <QSharedDataPointer>
#include <QSqlDatabase>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <memory>
#include <optional>

namespace tessera::dp {
class AttributeDefinition;
class Feature;
class TableSchema;
}

namespace tessera::engine {

class EngineCache;
class SchemaState;

class TESSERA_ENGINE_EXPORT EngineExpression {
    Q_DECLARE_TR_FUNCTIONS(tessera::engine::EngineExpression)
public:
    // Creates the table; failures leave the object invalid with the reason in
    // lastError(). A schema without attributes gives an object without a
    // table, which evaluates constant expressions only.
    EngineExpression(QSqlDatabase db, const dp::TableSchema& schema, EngineCache* cache);
    virtual ~EngineExpression();
    EngineExpression(const EngineExpression&) = delete;
    EngineExpression& operator=(const EngineExpression&) = delete;

    // Prepares the statement; returns (and keeps) whether it could be.
    bool setExpression(const QString& expression);
    // Makes `feature` the table's only row. False when it could not be put.
    bool fill(const std::shared_ptr<dp::Feature>& feature);
    // The expression's value for the row last filled; an invalid QVariant
    // when the statement fails or gives no row.
    QVariant exec();

    // The type of the result column (String before anything ran).
    QVariant::Type type() const;
    // The table's column names in order.
    QStringList columns() const;

    // "expr" and the id's 32 hexadecimal digits; empty without a table.
    QString tableName() const;
    // Names of the schema's first geometry and first style attribute.
    const QString& geoName() const;
    const QString& styleName() const;
    const QString& lastError() const;
    bool isValid() const;
    void setError(QString text);

    // The table's column for `attribute`: the fixed hidden names for the
    // first geometry and style attribute, the escaped name otherwise.
    QString fieldName(const QSharedDataPointer<dp::AttributeDefinition>& attribute, SchemaState& state) const;

    // `value` as an SQL literal ("'it''s'", "1", "2024-05-01"...).
    QString toStr(const QVariant& value) const;
    // `value` as something QSqlQuery binds: integers, doubles, texts (dates
    // in the engine's canonical text, booleans as 0 or 1) and geometries as
    // the engine's geometry blobs.
    QVariant toValue(const QVariant& value) const;

protected:
    // Hooks for types this class does not know: the literal text or the
    // bindable value of `value`, or nothing (nullopt, invalid QVariant).
    virtual std::optional<QString> toExtensionString(const QVariant& value) const;
    virtual QVariant toExtensionValue(const QVariant& value) const;

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace tessera::engine
