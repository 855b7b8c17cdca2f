#include "engine/functions/CaseMapping.h"

#include "engine/functions/Utf8.h"

#include <QChar>

namespace tessera::engine {

long simpleCase(char32_t code, bool upper)
{
    if (code < 0x80) {
        if (upper)
            return code >= 'a' && code <= 'z' ? long(code - ('a' - 'A')) : long(code);
        return code >= 'A' && code <= 'Z' ? long(code + ('a' - 'A')) : long(code);
    }
    if (upper) {
        // Greek extended: iota subscripts upper-case to two letters.
        if (code >= 0x1F80 && code <= 0x1FFF)
            return -1;
        const char32_t mapped = QChar::toUpper(code);
        // A lower-case letter without a simple upper case may have a full
        // one (ß, ŉ, ǰ, ligatures): only Qt knows.
        if (mapped == code && QChar::category(code) == QChar::Letter_Lowercase)
            return -1;
        return long(mapped);
    }
    // İ is the one letter whose lower case is two characters.
    if (code == 0x0130)
        return -1;
    return long(QChar::toLower(code));
}

namespace {

int encode(char32_t code, char* out)
{
    if (code < 0x80) {
        out[0] = char(code);
        return 1;
    }
    if (code < 0x800) {
        out[0] = char(0xC0 | (code >> 6));
        out[1] = char(0x80 | (code & 0x3F));
        return 2;
    }
    if (code < 0x10000) {
        out[0] = char(0xE0 | (code >> 12));
        out[1] = char(0x80 | ((code >> 6) & 0x3F));
        out[2] = char(0x80 | (code & 0x3F));
        return 3;
    }
    out[0] = char(0xF0 | (code >> 18));
    out[1] = char(0x80 | ((code >> 12) & 0x3F));
    out[2] = char(0x80 | ((code >> 6) & 0x3F));
    out[3] = char(0x80 | (code & 0x3F));
    return 4;
}

} // namespace

int mapCaseUtf8(const unsigned char* text, int length, bool upper, char* out, int capacity)
{
    int written = 0;
    for (int i = 0; i < length;) {
        int size = 0;
        const long code = utf8::decode(text + i, length - i, size);
        if (code < 0)
            return -1;
        // ß is common enough in German text to spell out its full upper
        // case here rather than hand the text to QString.
        if (upper && code == 0xDF) {
            if (written + 2 > capacity)
                return -1;
            out[written++] = 'S';
            out[written++] = 'S';
            i += size;
            continue;
        }
        const long mapped = simpleCase(char32_t(code), upper);
        if (mapped < 0 || written + 4 > capacity)
            return -1;
        written += encode(char32_t(mapped), out + written);
        i += size;
    }
    return written;
}

} // namespace tessera::engine
