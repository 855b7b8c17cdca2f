#pragma once
// A catalog that also keeps the user's current selection. SQL reads the
// selection under the reserved table name "Selection".

#include "platform/dp/DpExport.h"
#include "platform/dp/DataCatalog.h"
#include "platform/dp/Selection.h"

namespace tessera::dp {

class TESSERA_DP_EXPORT DataCatalogWithSelection : public DataCatalog {
    Q_OBJECT
public:
    explicit DataCatalogWithSelection(QObject* parent = nullptr);
    ~DataCatalogWithSelection() override;

    static QString selectionTableName();

    const Selection& selection() const { return current; }
    // Emits selectionChanged. Closing the selection's table clears the
    // selection.
    void setSelection(Selection selection);

signals:
    void selectionChanged();

private:
    Selection current;
};

} // namespace tessera::dp
