#include "platform/dp/DataProviderRegistry.h"

#include <QMutex>
#include <algorithm>
#include <vector>

namespace tessera::dp {

struct DataProviderRegistry::Private {
    mutable QMutex mutex;
    std::vector<std::shared_ptr<const DataProvider>> providers;

    auto find(const QString& scheme) const
    {
        return std::find_if(providers.begin(), providers.end(), [&](const auto& p) {
            return p->scheme().compare(scheme, Qt::CaseInsensitive) == 0;
        });
    }
};

DataProviderRegistry::DataProviderRegistry(QObject* parent)
    : QObject(parent), d(std::make_unique<Private>())
{
}

DataProviderRegistry::~DataProviderRegistry() = default;

bool DataProviderRegistry::addProvider(std::shared_ptr<const DataProvider> provider)
{
    if (!provider)
        return false;
    QMutexLocker locker(&d->mutex);
    if (d->find(provider->scheme()) != d->providers.end())
        return false;
    d->providers.push_back(std::move(provider));
    return true;
}

void DataProviderRegistry::removeProvider(const QString& scheme)
{
    QMutexLocker locker(&d->mutex);
    const auto it = d->find(scheme);
    if (it != d->providers.end())
        d->providers.erase(it);
}

std::shared_ptr<const DataProvider> DataProviderRegistry::findProvider(const QString& scheme) const
{
    QMutexLocker locker(&d->mutex);
    const auto it = d->find(scheme);
    return it != d->providers.end() ? *it : nullptr;
}

} // namespace tessera::dp
