#pragma once
// Strict UTF-8 decoding for the fast paths of the text functions. Anything
// that SQLite's own UTF-8 to UTF-16 conversion would read differently
// (malformed or overlong sequences, surrogates, U+FFFE and U+FFFF) is
// refused, so that callers can fall back to the text SQLite converts.

namespace tessera::engine::utf8 {

// The scalar value at `text` (with `length` bytes available) and its byte
// count in `size`; -1 when the bytes there are refused.
inline long decode(const unsigned char* text, int length, int& size)
{
    const unsigned char c = text[0];
    if (c < 0x80) {
        size = 1;
        return c;
    }
    int extra = 0;
    char32_t code = 0;
    if (c >= 0xC2 && c <= 0xDF) {
        extra = 1;
        code = c & 0x1F;
    } else if (c >= 0xE0 && c <= 0xEF) {
        extra = 2;
        code = c & 0x0F;
    } else if (c >= 0xF0 && c <= 0xF4) {
        extra = 3;
        code = c & 0x07;
    } else {
        return -1;
    }
    if (extra >= length)
        return -1;
    for (int k = 1; k <= extra; ++k) {
        if ((text[k] & 0xC0) != 0x80)
            return -1;
        code = (code << 6) | (text[k] & 0x3F);
    }
    constexpr char32_t lowest[] = {0, 0x80, 0x800, 0x10000};
    if (code < lowest[extra] || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF) || code == 0xFFFE
        || code == 0xFFFF)
        return -1;
    size = extra + 1;
    return long(code);
}

} // namespace tessera::engine::utf8
