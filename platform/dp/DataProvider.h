#pragma once
// A source of tables: opens a file, a database connection or whatever its
// scheme names into a dp::Table that the host adds to the catalog. Plug-ins
// offer providers through the core's DataProviderRegistry, so that a host
// opens data without linking the code that reads it.

#include "platform/dp/DpExport.h"

#include <QString>
#include <QStringList>
#include <memory>

namespace tessera::dp {

class Table;

class TESSERA_DP_EXPORT DataProvider {
public:
    struct OpenOptions {
        QString layer;            // the source's first layer when empty
        QStringList openOptions;  // the provider's own options, KEY=VALUE
        QString name;             // the table's name; the provider's choice when empty
        bool readOnly = false;    // never open for writing
    };

    virtual ~DataProvider();
    // The scheme of the sources it opens, which also prefixes the table
    // source descriptions of its tables ("ogr").
    virtual QString scheme() const = 0;
    // A table over `source`. Throws std::exception (possibly with nested
    // reasons) when the source cannot be opened.
    virtual std::shared_ptr<Table> openTable(const QString& source, const OpenOptions& options) const = 0;
};

} // namespace tessera::dp
