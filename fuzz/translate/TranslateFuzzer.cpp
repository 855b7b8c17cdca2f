// Dialect text in: the translator gives SQLite text or errors, never a crash;
// the SQLite text then runs on the engine's connection with every function.

#include "engine/translation/SqliteStringBuilder.h"
#include "fuzz/FuzzEngine.h"
#include "platform/sql/SqlStrings.h"

#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    auto& fuzz = tessera::fuzz::FuzzEngine::instance();
    const std::string text(reinterpret_cast<const char*>(data), size);
    tessera::engine::SqliteStringBuilder builder(fuzz.engine().engineDatabase(), QString(), nullptr);
    if (!fuzz.engine().tryToTranslate(text, builder, tessera::Engine::AnyResult))
        return 0;
    fuzz.runAll(tessera::sql::fromSqlString(builder.query()).toStdString());
    return 0;
}
