#pragma once
// An attribute of plain values (numbers, texts, dates, decimals, ...), with
// its size: a length for texts or a precision for decimals, a scale (15 bits,
// 0 to 32767) and a unique flag.

#include "platform/dp/DpExport.h"
#include "platform/dp/AttributeDefinition.h"

#include <QtGlobal>

namespace tessera::dp {

class TESSERA_DP_EXPORT SimpleAttributeDefinition : public AttributeDefinition {
public:
    static constexpr int maxScale = 0x7fff;

    SimpleAttributeDefinition(QString name, int type, int size = 0, int scale = 0, bool unique = false);

    SimpleAttributeDefinition* clone() const override;

    // Length and precision are the same number, read as it suits the type.
    virtual int length() const { return size; }
    virtual int precision() const { return size; }
    virtual int scale() const { return scaleBits; }
    virtual bool isUnique() const { return uniqueBit; }

    void setSize(int value) { size = value; }
    // Clamped to 0 ... maxScale.
    void setScale(int value);
    void setUnique(bool value) { uniqueBit = value; }

protected:
    SimpleAttributeDefinition(const SimpleAttributeDefinition&) = default;

private:
    int size;
    quint16 scaleBits : 15;
    quint16 uniqueBit : 1;
};

} // namespace tessera::dp
