#include "platform/core/SqlTypes.h"

#include "platform/core/QDecNumber.h"

#include <QMetaType>

namespace tessera {

QString sqlName(int metaTypeId)
{
    if (isPlainInt(metaTypeId))
        return QStringLiteral("Integer");
    switch (metaTypeId) {
    case QMetaType::Bool:
        return QStringLiteral("Boolean");
    case QMetaType::Double:
    case QMetaType::Float:
        return QStringLiteral("Real");
    case QMetaType::QString:
    case QMetaType::QChar:
    case QMetaType::QStringList:
    case QMetaType::QUuid:
    case QMetaType::QUrl:
        return QStringLiteral("Text");
    case QMetaType::QDate:
        return QStringLiteral("Date");
    case QMetaType::QTime:
        return QStringLiteral("Time");
    case QMetaType::QDateTime:
        return QStringLiteral("DateTime");
    case QMetaType::QByteArray:
        return QStringLiteral("Blob");
    default:
        break;
    }
    if (metaTypeId == QDecNumber::metaTypeId())
        return QStringLiteral("Decimal");
    return QStringLiteral("Blob");
}

bool isPlainInt(int metaTypeId)
{
    switch (metaTypeId) {
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Long:
    case QMetaType::ULong:
    case QMetaType::Char:
    case QMetaType::SChar:
    case QMetaType::UChar:
        return true;
    default:
        return false;
    }
}

} // namespace tessera
