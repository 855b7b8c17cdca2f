#pragma once
// Case mapping of UTF-8 text straight into UTF-8, character by character,
// giving what QString::toLower / QString::toUpper give wherever a
// one-to-one mapping does (and ß to SS); texts that need Qt's full mapping
// (İ to i̇, Greek with ypogegrammeni, ligatures, ...) or are not strict
// UTF-8 are left to QString.

namespace tessera::engine {

// The one-to-one mapping of `code`, or -1 when Qt's full mapping of it may
// differ from any single character.
long simpleCase(char32_t code, bool upper);

// Maps `length` bytes of `text` into `out` (room for `capacity` bytes) and
// returns the bytes written; -1 when the text must go through QString.
int mapCaseUtf8(const unsigned char* text, int length, bool upper, char* out, int capacity);

} // namespace tessera::engine
