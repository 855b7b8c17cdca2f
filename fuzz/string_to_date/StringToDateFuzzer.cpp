// Free text into the date reader through its SQL function.

#include "fuzz/FuzzEngine.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    auto& fuzz = tessera::fuzz::FuzzEngine::instance();
    fuzz.run("Select stringtodate(?1)", {std::string(reinterpret_cast<const char*>(data), size)});
    return 0;
}
