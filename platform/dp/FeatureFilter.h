#pragma once
// Conditions a reader may hand to a table so that the table's source (a
// database server, an indexed file) skips features early. A table answers a
// superset: the reader still tests every feature it gets.

#include <QRectF>
#include <QVariant>
#include <QVector>

namespace tessera::dp {

struct AttributeCondition {
    enum Op { Equal, NotEqual, Less, LessOrEqual, Greater, GreaterOrEqual };
    int attribute = -1;   // position in the table's schema
    Op op = Equal;
    QVariant value;
};

struct FeatureFilter {
    QVector<AttributeCondition> conditions;   // all must hold
    QRectF bounds;                            // when valid: features whose geometry may meet it
    bool geometries = true;                   // false: the reader needs no geometry values

    bool isEmpty() const { return conditions.isEmpty() && !bounds.isValid() && geometries; }
};

} // namespace tessera::dp
