#include "modules/functions/FunctionTable.h"

#include <cstring>

namespace tessera::modules {

void FunctionRegistrar::add(const FunctionEntry& entry)
{
    check(sqlite3_create_function_v2(db, entry.name, entry.arity, entry.flags, cache, entry.call, nullptr, nullptr, nullptr),
          entry.name);
}

void FunctionRegistrar::add(const AggregateEntry& entry)
{
    check(sqlite3_create_function_v2(db, entry.name, entry.arity, entry.flags, cache, nullptr, entry.step, entry.final, nullptr),
          entry.name);
}

void FunctionRegistrar::check(int rc, const char* name)
{
    if (rc == SQLITE_OK || firstError != SQLITE_OK)
        return;
    firstError = rc;
    firstErrorText = QStringLiteral("cannot register SQL function %1: %2")
                         .arg(QString::fromUtf8(name), QString::fromUtf8(sqlite3_errmsg(db)));
}

int FunctionRegistrar::finish(char** errorMessage) const
{
    if (firstError != SQLITE_OK && errorMessage) {
        const QByteArray text = firstErrorText.toUtf8();
        *errorMessage = static_cast<char*>(sqlite3_malloc(text.size() + 1));
        if (*errorMessage)
            std::memcpy(*errorMessage, text.constData(), text.size() + 1);
    }
    return firstError;
}

} // namespace tessera::modules
