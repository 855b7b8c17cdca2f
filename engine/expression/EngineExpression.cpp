#include "engine/expression/EngineExpression.h"

#include "engine/SchemaColumns.h"
#include "engine/functions/ValueConversions.h"
#include "engine/geometry/GeometryConversions.h"
#include "platform/core/QDecNumber.h"
#include "platform/dp/Feature.h"
#include "platform/dp/GeometryAttributeDefinition.h"
#include "platform/dp/RenditionAttributeDefinition.h"
#include "platform/dp/TableSchema.h"

#include <QLoggingCategory>
#include <QSqlDriver>
#include <QSqlError>
#include <QSqlField>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QUuid>
#include <exception>

namespace tessera::engine {

namespace {

Q_LOGGING_CATEGORY(expressionLog, "tessera.expression")

QString quoted(QString text)
{
    return QLatin1Char('\'') + text.replace(QLatin1Char('\''), QLatin1String("''")) + QLatin1Char('\'');
}

QString firstName(const std::shared_ptr<const dp::TableSchema::AttributePlan>& plan)
{
    return plan && !plan->isEmpty() ? plan->front()->name() : QString();
}

} // namespace

struct EngineExpression::Private {
    QUuid id;
    QSqlDatabase db;
    QSqlQuery query;
    QString lastError;
    QString geoName;
    QString styleName;
    bool valid = true;
    EngineCache* cache = nullptr;

    explicit Private(QSqlDatabase database)
        : id(QUuid::createUuid()), db(std::move(database)), query(db) {}

    // Runs one statement of the fill transaction.
    bool run(const QString& sql) const
    {
        QSqlQuery q(db);
        q.setForwardOnly(true);
        return q.exec(sql);
    }
};

EngineExpression::EngineExpression(QSqlDatabase db, const dp::TableSchema& schema, EngineCache* cache)
    : d(std::make_unique<Private>(std::move(db)))
{
    d->cache = cache;
    if (schema.isEmpty()) {
        d->id = QUuid();
        return;
    }
    try {
        QSqlQuery create(d->db);
        create.setForwardOnly(true);
        QString sql = QLatin1String("Create Temporary Table ") + tableName();
        SchemaState state;
        QChar separator = QLatin1Char('(');
        for (const auto& attribute : schema.attributes()) {
            sql += separator + toString(attribute, state, cache, '\'');
            separator = QLatin1Char(',');
        }
        sql += QLatin1String(");");
        d->valid = create.exec(sql);
        d->lastError = create.lastError().text();
    } catch (const std::exception& e) {
        d->valid = false;
        d->lastError = tr("Ошибка создания таблицы для оценки выражений: ") + QString::fromUtf8(e.what());
    }
    if (d->valid) {
        d->geoName = firstName(schema.attributePlan<dp::GeometryAttributeDefinition>());
        d->styleName = firstName(schema.attributePlan<dp::RenditionAttributeDefinition>());
    } else {
        qCWarning(expressionLog).noquote() << "Expression creation error: " + d->lastError;
    }
}

EngineExpression::~EngineExpression()
{
    // The prepared statement must go before its table can be dropped.
    d->query = QSqlQuery();
    if (!tableName().isEmpty() && d->db.isOpen())
        d->run(QLatin1String("Drop Table If Exists ") + tableName());
}

bool EngineExpression::setExpression(const QString& expression)
{
    QString sql = QLatin1String("Select ") + expression;
    if (!tableName().isEmpty())
        sql += QLatin1String(" From ") + tableName();
    sql += QLatin1Char(';');
    d->valid = d->query.prepare(sql);
    d->lastError = d->query.lastError().text();
    return d->valid;
}

bool EngineExpression::fill(const std::shared_ptr<dp::Feature>& feature)
{
    if (tableName().isEmpty() || !feature)
        return false;
    if (!d->run(QLatin1String("Begin Transaction;")))
        return false;
    try {
        d->run(QLatin1String("Delete From ") + tableName() + QLatin1Char(';'));

        const auto& attributes = feature->schema().attributes();
        const int count = feature->numAttributes();
        SchemaState state;
        QStringList names;
        QStringList marks;
        for (int i = 0; i < count && i < attributes.size(); ++i) {
            names << fieldName(attributes.at(i), state);
            marks << QStringLiteral("?");
        }
        QSqlQuery insert(d->db);
        insert.setForwardOnly(true);
        insert.prepare(QLatin1String("Insert Into ") + tableName() + QLatin1Char('(') + names.join(QLatin1Char(','))
                       + QLatin1String(") Values(") + marks.join(QLatin1Char(',')) + QLatin1String(");"));
        for (int i = 0; i < names.size(); ++i)
            insert.bindValue(i, toValue(feature->getAttribute(i)));
        const bool inserted = insert.exec();
        if (!inserted)
            qCWarning(expressionLog).noquote() << "Expression error: " + insert.lastError().text();
        d->run(QLatin1String("Commit;"));
        return inserted;
    } catch (...) {
        d->run(QLatin1String("Rollback;"));
        return false;
    }
}

QVariant EngineExpression::exec()
{
    d->query.setForwardOnly(true);
    if (d->query.exec() && d->query.next())
        return d->query.value(0);
    qCWarning(expressionLog).noquote() << "Expression exec error: " + d->query.lastError().text();
    return QVariant();
}

QVariant::Type EngineExpression::type() const
{
    const QSqlRecord record = d->query.record();
    return record.isEmpty() ? QVariant::String : record.field(0).type();
}

QStringList EngineExpression::columns() const
{
    QStringList names;
    const QSqlRecord record = d->db.record(tableName());
    for (int i = 0; i < record.count(); ++i)
        names << record.fieldName(i);
    return names;
}

QString EngineExpression::tableName() const
{
    return d->id.isNull() ? QString() : QLatin1String("expr") + d->id.toString(QUuid::Id128);
}

const QString& EngineExpression::geoName() const { return d->geoName; }
const QString& EngineExpression::styleName() const { return d->styleName; }
const QString& EngineExpression::lastError() const { return d->lastError; }
bool EngineExpression::isValid() const { return d->valid; }

void EngineExpression::setError(QString text)
{
    d->lastError = std::move(text);
    d->valid = false;
}

QString EngineExpression::fieldName(const QSharedDataPointer<dp::AttributeDefinition>& attribute,
                                    SchemaState& state) const
{
    const QString& name = attribute->name();
    if (dynamic_cast<const dp::GeometryAttributeDefinition*>(attribute.constData())
        && !state.test(SchemaState::GeometryColumnNamed)) {
        state.set(SchemaState::GeometryColumnNamed);
        return QLatin1String(geometryColumnName);
    }
    if (dynamic_cast<const dp::RenditionAttributeDefinition*>(attribute.constData())
        && !state.test(SchemaState::StyleColumnNamed)) {
        state.set(SchemaState::StyleColumnNamed);
        return QLatin1String(styleColumnName);
    }
    return d->db.driver()->escapeIdentifier(name, QSqlDriver::FieldName);
}

QString EngineExpression::toStr(const QVariant& value) const
{
    switch (value.userType()) {
    case QMetaType::Bool:
        return value.toBool() ? QStringLiteral("1") : QStringLiteral("0");
    case QMetaType::Int:
    case QMetaType::Short:
        return QString::number(value.toInt(), 10);
    case QMetaType::UInt:
    case QMetaType::UShort:
    case QMetaType::UChar:
        return QString::number(value.toUInt(), 10);
    case QMetaType::LongLong:
    case QMetaType::Long:
        return QString::number(value.toLongLong(), 10);
    case QMetaType::ULongLong:
    case QMetaType::ULong:
        return QString::number(value.toULongLong(), 10);
    case QMetaType::Double:
    case QMetaType::Float:
        return QString::number(value.toDouble(), 'g', 6);
    case QMetaType::QDate:
        return quoted(toString(value.toDate()));
    case QMetaType::QTime:
        return quoted(toString(value.toTime()));
    case QMetaType::QDateTime:
        return quoted(toString(value.toDateTime()));
    default:
        break;
    }
    if (value.userType() == QDecNumber::metaTypeId())
        return value.value<QDecNumber>().toString();
    if (auto text = toExtensionString(value))
        return quoted(*text);
    if (dp::holdsGeometry(value)) {
        // A geometry has no text of its own: its blob, as a blob literal.
        const QByteArray blob = toTesGeo(dp::geometryFromVariant(value), d->cache);
        return blob.isEmpty() ? QStringLiteral("Null") : QLatin1String("X'") + QString::fromLatin1(blob.toHex()) + QLatin1Char('\'');
    }
    return quoted(value.toString());
}

QVariant EngineExpression::toValue(const QVariant& value) const
{
    switch (value.userType()) {
    case QMetaType::Bool:
    case QMetaType::Int:
    case QMetaType::Short:
        return QVariant(value.toInt());
    case QMetaType::UInt:
    case QMetaType::UShort:
    case QMetaType::UChar:
        return QVariant(value.toUInt());
    case QMetaType::LongLong:
    case QMetaType::Long:
        return QVariant(value.toLongLong());
    case QMetaType::ULongLong:
    case QMetaType::ULong:
        return QVariant(value.toULongLong());
    case QMetaType::Double:
    case QMetaType::Float:
        return QVariant(value.toDouble());
    case QMetaType::QDate:
        return QVariant(toString(value.toDate()));
    case QMetaType::QTime:
        return QVariant(toString(value.toTime()));
    case QMetaType::QDateTime:
        return QVariant(toString(value.toDateTime()));
    default:
        break;
    }
    if (value.userType() == QDecNumber::metaTypeId())
        return QVariant(value.value<QDecNumber>().toDouble());
    if (QVariant extension = toExtensionValue(value); extension.isValid())
        return extension;
    if (dp::holdsGeometry(value)) {
        // The geometry column holds the engine's blob, as in the GIS's tables;
        // its text would be empty and every geometry function would see NULL.
        const QByteArray blob = toTesGeo(dp::geometryFromVariant(value), d->cache);
        return blob.isEmpty() ? QVariant(QVariant::ByteArray) : QVariant(blob);
    }
    return QVariant(value.toString());
}

std::optional<QString> EngineExpression::toExtensionString(const QVariant&) const
{
    return std::nullopt;
}

QVariant EngineExpression::toExtensionValue(const QVariant&) const
{
    return QVariant();
}

} // namespace tessera::engine
