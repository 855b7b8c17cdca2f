// Number and time patterns: the input up to its first newline is the value,
// the rest the pattern, given to formatNumberByPattern and formatTime.

#include "fuzz/FuzzEngine.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    auto& fuzz = tessera::fuzz::FuzzEngine::instance();
    const std::string input(reinterpret_cast<const char*>(data), size);
    const std::size_t cut = input.find('\n');
    const std::string value = cut == std::string::npos ? std::string("1234.5678") : input.substr(0, cut);
    const std::string pattern = cut == std::string::npos ? input : input.substr(cut + 1);
    fuzz.run("Select formatnumberbypattern(?1, ?2), formatnumberbypattern(CAST(?1 AS REAL), ?2), "
             "formatnumberbypattern(CAST(?1 AS INTEGER), ?2)",
             {value, pattern});
    fuzz.run("Select formattime(?1, ?2), formattime(time(?1), ?2), formattime(datetime(?1), ?2)", {value, pattern});
    return 0;
}
