#pragma once
// A source of tables: opens a file, a database connection or whatever its
// scheme names into a dp::Table that the host adds to the catalog. Plug-ins
// offer providers through the core's DataProviderRegistry, so that a host
// opens data without linking the code that reads it.

#include "platform/dp/DpExport.h"

#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVector>
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

    // Writes `rows` (cells in the order of `columns`; geometries as geometry
    // variants, GeometryValue.h) to the file `path`, replacing it, in
    // `format` (the provider's name of a file format) or, when it is empty,
    // the format of the path's extension. False with the reason in `error`;
    // by default a provider writes nothing.
    virtual bool writeFile(const QString& path, const QString& format, const QStringList& columns,
                           const QVector<QVector<QVariant>>& rows, QString& error) const;

    // The provider's own warnings and errors on this thread while it lives,
    // so that a host folds them into its error texts.
    class TESSERA_DP_EXPORT MessageCapture {
    public:
        virtual ~MessageCapture();
        // The messages so far, oldest first, each once; clears the list.
        virtual QStringList take() = 0;
        // `error`, followed by the messages so far it does not already contain.
        virtual QString foldInto(const QString& error) = 0;
    };
    // Null when the provider has no messages of its own (the default).
    virtual std::unique_ptr<MessageCapture> captureMessages() const;
};

} // namespace tessera::dp
