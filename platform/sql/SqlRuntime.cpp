#include "platform/sql/SqlRuntime.h"

#include <QBitArray>

namespace tessera::sql {

FunctionName ParseContext::functionName(const std::wstring& name) const
{
    return FunctionNameInfo::find(name);
}

bool ParseContext::hasOperator(OperationCode) const
{
    return true;
}

namespace {

OperatorSet defaultOperators()
{
    QBitArray bits(operationCodeCount);
    for (int code = 1; code < operationCodeCount; ++code)
        bits.setBit(code, code != int(OperationCode::SimilarTo) && code != int(OperationCode::Overlaps));
    return OperatorSet(bits);
}

} // namespace

SqlRuntime::SqlRuntime(QObject* parent) : QObject(parent), operatorSet(defaultOperators())
{
}

SqlRuntime::~SqlRuntime() = default;

} // namespace tessera::sql
