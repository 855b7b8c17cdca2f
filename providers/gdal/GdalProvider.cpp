#include "providers/gdal/GdalProvider.h"

#include "providers/gdal/GdalMessages.h"
#include "providers/gdal/GdalTable.h"
#include "providers/gdal/GisWriter.h"

namespace tessera::providers {

QString GdalProvider::scheme() const
{
    return QStringLiteral("ogr");
}

std::shared_ptr<dp::Table> GdalProvider::openTable(const QString& source, const OpenOptions& options) const
{
    return GdalTable::open(source, options);
}

namespace {

class GdalMessageCapture final : public dp::DataProvider::MessageCapture {
public:
    QStringList take() override { return messages.take(); }
    QString foldInto(const QString& error) override { return messages.foldInto(error); }

private:
    GdalMessages messages;
};

} // namespace

bool GdalProvider::writeFile(const QString& path, const QString& format, const QStringList& columns,
                             const QVector<QVector<QVariant>>& rows, QString& error) const
{
    return writeGisFile(path, format, ResultSet{columns, rows}, error);
}

std::unique_ptr<dp::DataProvider::MessageCapture> GdalProvider::captureMessages() const
{
    return std::make_unique<GdalMessageCapture>();
}

} // namespace tessera::providers
