#pragma once
// What the parser needs to know about the running system: which functions and
// operators exist. The engine owns one SqlRuntime for its lifetime.

#include "platform/sql/SqlExport.h"
#include "platform/sql/FunctionName.h"
#include "platform/sql/OperatorSet.h"

#include <QObject>
#include <string>

namespace tessera::sql {

class TESSERA_SQL_EXPORT ParseContext {
public:
    virtual ~ParseContext() = default;
    // The catalogue value of the function called `name` (any case), None for
    // a name outside the catalogue. The parser stores it in the call's node.
    virtual FunctionName functionName(const std::wstring& name) const;
    // Whether the parser accepts operator `code`; a refused operator is a
    // syntax error at its place. Every operator by default.
    virtual bool hasOperator(OperationCode code) const;
};

class TESSERA_SQL_EXPORT SqlRuntime : public QObject, public ParseContext {
    Q_OBJECT
public:
    explicit SqlRuntime(QObject* parent = nullptr);
    ~SqlRuntime() override;

    // The operators this runtime translates: every code but 0, 10 and 31
    // unless set otherwise.
    const OperatorSet& operators() const { return operatorSet; }
    bool hasOperator(OperationCode code) const override { return operatorSet.contains(code); }
    void setOperators(OperatorSet operators) { operatorSet = std::move(operators); }

private:
    OperatorSet operatorSet;
};

} // namespace tessera::sql
