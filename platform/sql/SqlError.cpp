#include "platform/sql/SqlError.h"

namespace tessera::sql {

ParseError::ParseError(std::string message, std::size_t offset, int line, int column, std::string expected)
    : SqlSyntaxError(std::move(message)), at(offset), lineNo(line), columnNo(column), what_expected(std::move(expected))
{
}

} // namespace tessera::sql
