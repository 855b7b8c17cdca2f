#include "modules/tables/FeatureValues.h"

#include "engine/EngineCache.h"
#include "engine/functions/ValueConversions.h"
#include "engine/geometry/GeometryConversions.h"
#include "platform/dp/GeometryValue.h"

#include <QDate>
#include <QDateTime>
#include <QTime>
#include <limits>

namespace tessera::modules {

void resultValue(sqlite3_context* ctx, const QVariant& v, engine::EngineCache* cache)
{
    if (!v.isValid() || v.isNull()) {
        sqlite3_result_null(ctx);
        return;
    }
    if (dp::holdsGeometry(v)) {
        engine::toTesGeo(dp::geometryFromVariant(v), ctx, cache, true);
        return;
    }
    switch (v.userType()) {
    case QMetaType::Bool: case QMetaType::Int: case QMetaType::UInt: case QMetaType::LongLong:
    case QMetaType::Short: case QMetaType::UShort: case QMetaType::Char: case QMetaType::UChar:
        sqlite3_result_int64(ctx, v.toLongLong());
        return;
    case QMetaType::ULongLong:
        if (v.toULongLong() > quint64(std::numeric_limits<qint64>::max()))
            sqlite3_result_double(ctx, v.toDouble());
        else
            sqlite3_result_int64(ctx, v.toLongLong());
        return;
    case QMetaType::Double: case QMetaType::Float:
        sqlite3_result_double(ctx, v.toDouble());
        return;
    case QMetaType::QByteArray: {
        const QByteArray bytes = v.toByteArray();
        sqlite3_result_blob(ctx, bytes.constData(), bytes.size(), SQLITE_TRANSIENT);
        return;
    }
    default: break;
    }
    QString text;
    switch (v.userType()) {
    case QMetaType::QDate: text = engine::toString(v.toDate()); break;
    case QMetaType::QTime: text = engine::toString(v.toTime()); break;
    case QMetaType::QDateTime: text = engine::toString(v.toDateTime()); break;
    default:
        // Decimals and the like: as a number when they read as one.
        if (v.canConvert<double>() && v.userType() != QMetaType::QString) {
            bool ok = false;
            const double d = v.toDouble(&ok);
            if (ok) {
                sqlite3_result_double(ctx, d);
                return;
            }
        }
        text = v.toString();
    }
    sqlite3_result_text16(ctx, text.utf16(), text.size() * int(sizeof(QChar)), SQLITE_TRANSIENT);
}

bool toAttributeValue(sqlite3_value* value, const dp::AttributeDefinitionPtr& attribute, engine::EngineCache* cache,
                      QVariant& result)
{
    if (sqlite3_value_type(value) == SQLITE_NULL) {
        result = engine::isGeometry(attribute) ? dp::geometryToVariant(nullptr) : QVariant();
        return true;
    }
    if (engine::isGeometry(attribute)) {
        const void* data = sqlite3_value_blob(value);
        const int size = sqlite3_value_bytes(value);
        const auto geometry = data && size > 0 ? cache->geometryInfo(data, unsigned(size), true).geometry() : nullptr;
        result = dp::geometryToVariant(geometry);
        return geometry != nullptr;
    }
    if (engine::isStyle(attribute)) {
        result = engine::toQString(value);
        return true;
    }
    bool ok = true;
    const int type = attribute->type();
    switch (type) {
    case QMetaType::Int: case QMetaType::UInt: case QMetaType::LongLong: case QMetaType::ULongLong:
    case QMetaType::Short: case QMetaType::UShort: case QMetaType::Bool: {
        result = static_cast<qlonglong>(engine::toInt64(value, &ok));
        break;
    }
    case QMetaType::Double: case QMetaType::Float:
        result = engine::toDouble(value, &ok);
        break;
    case QMetaType::QDate: result = engine::toDate(value); ok = result.toDate().isValid(); break;
    case QMetaType::QTime: result = engine::toTime(value); ok = result.toTime().isValid(); break;
    case QMetaType::QDateTime: result = engine::toDateTime(value); ok = result.toDateTime().isValid(); break;
    case QMetaType::QByteArray:
        result = QByteArray(static_cast<const char*>(sqlite3_value_blob(value)), sqlite3_value_bytes(value));
        break;
    default:
        result = engine::toQString(value);
        break;
    }
    if (ok && result.userType() != type && type != QMetaType::UnknownType)
        ok = result.convert(type);
    return ok;
}

} // namespace tessera::modules
