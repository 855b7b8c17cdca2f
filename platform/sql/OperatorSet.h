#pragma once
// The operators that a runtime can translate, one bit per OperationCode.

#include "platform/sql/SqlExport.h"
#include "platform/sql/OperationCode.h"

#include <QBitArray>

namespace tessera::sql {

class TESSERA_SQL_EXPORT OperatorSet {
public:
    OperatorSet() : bits(operationCodeCount) {}
    explicit OperatorSet(QBitArray codes) : bits(std::move(codes)) {}

    bool contains(OperationCode code) const
    {
        const int i = static_cast<int>(code);
        return i > 0 && i < bits.size() && bits.testBit(i);
    }
    const QBitArray& toBitArray() const { return bits; }

private:
    QBitArray bits;
};

} // namespace tessera::sql
