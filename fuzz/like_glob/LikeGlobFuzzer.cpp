// Differential: the engine's LIKE and GLOB (through their SQL entry points on
// the engine connection) against SQLite's own on ASCII input. The engine's
// versions ignore case, so GLOB input is lower-cased first (SQLite's GLOB
// does not ignore case); SQLite's LIKE already ignores ASCII case.
//
// Input: a mode byte (0 LIKE, 1 LIKE with the next byte as escape, 2 GLOB),
// then pattern and text separated by the byte 0x01.

#include "fuzz/FuzzEngine.h"

#include <cstdio>
#include <cstdlib>
#include <sqlite3.h>
#include <string>

namespace {

sqlite3* plainSqlite()
{
    static sqlite3* db = [] {
        sqlite3* handle = nullptr;
        sqlite3_open(":memory:", &handle);
        return handle;
    }();
    return db;
}

std::string plainAnswer(const std::string& sql, const std::string& a, const std::string& b, const std::string& c)
{
    sqlite3_stmt* stmt = nullptr;
    if (sqlite3_prepare_v2(plainSqlite(), sql.c_str(), -1, &stmt, nullptr) != SQLITE_OK)
        return "<error>";
    sqlite3_bind_text(stmt, 1, a.data(), static_cast<int>(a.size()), SQLITE_TRANSIENT);
    sqlite3_bind_text(stmt, 2, b.data(), static_cast<int>(b.size()), SQLITE_TRANSIENT);
    sqlite3_bind_text(stmt, 3, c.data(), static_cast<int>(c.size()), SQLITE_TRANSIENT);
    std::string answer = "<error>";
    if (sqlite3_step(stmt) == SQLITE_ROW) {
        const unsigned char* text = sqlite3_column_text(stmt, 0);
        answer = text ? reinterpret_cast<const char*>(text) : "<null>";
    }
    sqlite3_finalize(stmt);
    return answer;
}

// Whether every bracket of a GLOB pattern is closed and no range is reversed
// ([h-d]). On other patterns the two differ by design (see the dialect
// reference): SQLite tests the first character of a reversed range, the
// engine's matcher matches nothing with it; and a range that spans capitals
// ([&-d]) holds their small letters too when case is ignored. Those patterns
// are left out.
bool wellFormedGlob(const std::string& pattern)
{
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        if (pattern[i] != '[')
            continue;
        std::size_t k = i + 1;
        if (k < pattern.size() && pattern[k] == '^')
            ++k;
        if (k < pattern.size() && pattern[k] == ']')
            ++k;
        for (; k < pattern.size() && pattern[k] != ']'; ++k) {
            if (k + 2 < pattern.size() && pattern[k + 1] == '-' && pattern[k + 2] != ']') {
                if (pattern[k] > pattern[k + 2])
                    return false;
                // A range over capitals also holds the small letters to the
                // engine, whose GLOB ignores case.
                if (pattern[k] <= 'Z' && pattern[k + 2] >= 'A')
                    return false;
                k += 2;
            }
        }
        if (k >= pattern.size())
            return false;
        i = k;
    }
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 2)
        return 0;
    const int mode = data[0] % 3;
    std::string escape;
    std::size_t from = 1;
    if (mode == 1) {
        if (data[1] == 0 || data[1] >= 0x80 || data[1] == 1)
            return 0;
        escape = std::string(1, static_cast<char>(data[1]));
        from = 2;
    }
    std::string input;
    for (std::size_t i = from; i < size; ++i) {
        char c = static_cast<char>(data[i]);
        if (data[i] == 0 || data[i] >= 0x80)
            return 0;   // ASCII without NUL only
        if (mode == 2 && c >= 'A' && c <= 'Z')
            c = static_cast<char>(c + 32);
        input += c;
    }
    const std::size_t cut = input.find('\x01');
    if (cut == std::string::npos)
        return 0;
    const std::string pattern = input.substr(0, cut);
    const std::string text = input.substr(cut + 1);
    if (escape.size() && escape[0] >= 'A' && escape[0] <= 'Z')
        return 0;   // an upper-case escape is matched by its lower-case letter too in the engine
    if (mode == 2 && !wellFormedGlob(pattern))
        return 0;

    static const char* const statements[] = {"Select ?2 Like ?1", "Select ?2 Like ?1 Escape ?3", "Select ?2 Glob ?1"};
    const std::string sql = statements[mode];
    auto& fuzz = tessera::fuzz::FuzzEngine::instance();
    const std::string engine = fuzz.run(sql, {pattern, text, escape});
    const std::string sqlite = plainAnswer(sql, pattern, text, escape);
    if (engine != sqlite) {
        std::fprintf(stderr, "%s: pattern \"%s\" text \"%s\" escape \"%s\": engine %s, SQLite %s\n", sql.c_str(), pattern.c_str(),
                     text.c_str(), escape.c_str(), engine.c_str(), sqlite.c_str());
        std::abort();
    }
    return 0;
}
