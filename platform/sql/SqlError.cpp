#include "platform/sql/SqlError.h"

namespace tessera::sql {

ParseError::ParseError(std::string message, std::size_t offset, int line, int column, std::string expected)
    : SqlSyntaxError(std::move(message)), at(offset), lineNo(line), columnNo(column), what_expected(std::move(expected))
{
}

NestingTooDeep::NestingTooDeep(std::size_t offset, int line, int column, int limit)
    : ParseError("line " + std::to_string(line) + ", column " + std::to_string(column) + ": nesting deeper than " + std::to_string(limit)
                     + " levels",
                 offset, line, column, "at most " + std::to_string(limit) + " nested levels"),
      maximum(limit)
{
}

} // namespace tessera::sql
