#pragma once
// One feature (row) of a table: its identifier, the schema it follows and one
// QVariant per attribute, by position in the schema. Geometry attributes hold
// geometry variants (GeometryValue.h: std::shared_ptr<const
// geometry::Geometry> in a QVariant); rendition attributes hold their style
// text; an invalid QVariant is a missing (NULL) value.

#include "platform/dp/DpExport.h"
#include "platform/dp/FeatureId.h"
#include "platform/dp/GeometryValue.h"
#include "platform/dp/TableSchema.h"

#include <QVariant>
#include <QVector>

namespace tessera::dp {

class TESSERA_DP_EXPORT Feature {
public:
    Feature() = default;
    // Every value starts missing.
    explicit Feature(TableSchema schema, FeatureId id = {});

    const FeatureId& id() const { return featureId; }
    void setId(FeatureId id) { featureId = std::move(id); }

    const TableSchema& schema() const { return featureSchema; }
    int numAttributes() const { return values.size(); }

    // An invalid QVariant outside 0 ... numAttributes() - 1.
    QVariant getAttribute(int i) const;
    // By attribute name (TableSchema::indexOf); invalid when there is none.
    QVariant getAttribute(const QString& name) const;
    // False (and nothing changes) when there is no such attribute.
    bool setAttribute(int i, QVariant value);
    bool setAttribute(const QString& name, QVariant value);

    // The geometry of attribute i, or an empty pointer.
    ConstGeometryPtr geometry(int i) const { return geometryFromVariant(getAttribute(i)); }
    bool setGeometry(int i, ConstGeometryPtr geometry) { return setAttribute(i, geometryToVariant(std::move(geometry))); }
    // The geometry of the schema's first geometry attribute, or empty.
    ConstGeometryPtr geometry() const;

    const QVector<QVariant>& attributeValues() const { return values; }

private:
    FeatureId featureId;
    TableSchema featureSchema;
    QVector<QVariant> values;
};

} // namespace tessera::dp
