#include "platform/dp/DataProvider.h"

namespace tessera::dp {

DataProvider::~DataProvider() = default;

DataProvider::MessageCapture::~MessageCapture() = default;

bool DataProvider::writeFile(const QString& path, const QString&, const QStringList&, const QVector<QVector<QVariant>>&,
                             QString& error) const
{
    error = QStringLiteral("%1: the %2 provider does not write files").arg(path, scheme());
    return false;
}

std::unique_ptr<DataProvider::MessageCapture> DataProvider::captureMessages() const
{
    return nullptr;
}

} // namespace tessera::dp
