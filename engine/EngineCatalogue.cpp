#include "engine/EngineCatalogue.h"

#include <QSqlQuery>
#include <QVariant>
#include <map>
#include <utility>

namespace tessera::engine {
namespace {

struct CatalogueEntry {
    int value;
    int mask;
};

using Catalogue = std::map<QString, CatalogueEntry, caseInsensitiveLess>;

Catalogue catalogue()
{
    Catalogue result;
#define TESSERA_CATALOGUE_ENTRY(number, id, text, kinds) \
    result.emplace(QString::fromUtf8(sql::FunctionNameInfo::name(number)), CatalogueEntry{number, kinds});
    TESSERA_SQL_FUNCTION_CATALOGUE(TESSERA_CATALOGUE_ENTRY)
#undef TESSERA_CATALOGUE_ENTRY
    return result;
}

// Calls `take(catalogueName, entry)` for every row of "Pragma function_list;"
// that names a catalogue function of a kind in `mask`. SQLite lists a function
// once per arity and encoding, so a name may come several times. False when
// the pragma cannot run.
template <class Take>
bool walkRegistered(QSqlDatabase db, sql::FunctionInfo::TypeMasks mask, Take take)
{
    const Catalogue entries = catalogue();
    QSqlQuery query(db);
    query.setForwardOnly(true);
    if (!query.exec(QStringLiteral("Pragma function_list;")))
        return false;
    while (query.next()) {
        const auto it = entries.find(query.value(0).toString());
        if (it == entries.end() || (int(mask) & it->second.mask) == 0)
            continue;
        take(it->first, it->second);
    }
    return true;
}

} // namespace

sql::FunctionSet availableFunctionSet(const QSqlDatabase& db, sql::FunctionInfo::TypeMasks mask)
{
    sql::FunctionSet result;
    const bool ok = walkRegistered(db, mask, [&](const QString&, const CatalogueEntry& entry) {
        result.addMask(entry.value, entry.mask);
    });
    return ok ? result : sql::FunctionSet();
}

FunctionNameSet availableFunctionNames(const QSqlDatabase& db, sql::FunctionInfo::TypeMasks mask)
{
    FunctionNameSet result;
    const bool ok = walkRegistered(db, mask, [&](const QString& name, const CatalogueEntry&) { result.insert(name); });
    return ok ? result : FunctionNameSet();
}

sql::OperatorSet offeredOperators()
{
    QBitArray bits(sql::operationCodeCount);
    for (int code = 1; code < sql::operationCodeCount; ++code)
        bits.setBit(code);
    bits.clearBit(static_cast<int>(sql::OperationCode::SimilarTo));
    bits.clearBit(static_cast<int>(sql::OperationCode::Overlaps));
    return sql::OperatorSet(std::move(bits));
}

} // namespace tessera::engine
