#pragma once
// The data providers of a core, by scheme: a service that provider plug-ins
// fill and hosts open sources through. Safe to use from several threads.

#include "platform/dp/DataProvider.h"
#include "platform/dp/DpExport.h"

#include <QObject>
#include <memory>

namespace tessera::dp {

class TESSERA_DP_EXPORT DataProviderRegistry : public QObject {
    Q_OBJECT
public:
    explicit DataProviderRegistry(QObject* parent = nullptr);
    ~DataProviderRegistry() override;

    // False (and nothing changes) for a null provider or a scheme already
    // served: the first provider of a scheme stays.
    bool addProvider(std::shared_ptr<const DataProvider> provider);
    // Tables already opened keep working; new ones cannot be opened.
    void removeProvider(const QString& scheme);

    // Case-insensitive; empty if none.
    std::shared_ptr<const DataProvider> findProvider(const QString& scheme) const;

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace tessera::dp
