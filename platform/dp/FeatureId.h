#pragma once
// The identifier of a feature in its table: a QVariant (integer, text, uuid,
// ...). Invalid (null) when default-constructed. Ordered by utils::compare.

#include "platform/dp/DpExport.h"

#include <QMetaType>
#include <QVariant>

namespace tessera::dp {

class TESSERA_DP_EXPORT FeatureId {
public:
    FeatureId() = default;
    explicit FeatureId(QVariant value) : v(std::move(value)) {}

    bool isValid() const { return v.isValid(); }
    const QVariant& value() const { return v; }
    QVariant toVariant() const { return v; }
    QString toString() const { return v.toString(); }

    bool operator==(const FeatureId& other) const;
    bool operator!=(const FeatureId& other) const { return !(*this == other); }
    bool operator<(const FeatureId& other) const;   // utils::compare order

private:
    QVariant v;
};

} // namespace tessera::dp

Q_DECLARE_METATYPE(tessera::dp::FeatureId)
