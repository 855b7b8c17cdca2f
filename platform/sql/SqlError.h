#pragma once
// Errors of the dialect: parse failures and semantic problems found while a
// tree is translated. They are values (shared and kept by callers), so every
// class is cheap to copy and carries its final what() text.

#include "platform/sql/SqlExport.h"

#include <QString>
#include <exception>
#include <string>

namespace tessera::sql {

// Kinds of semantic errors that carry no message of their own; the number is
// what callers compare.
enum SqlErrorType : int {
    GenericError = 0,
    SyntaxErrorType = 1,
    UnexpectedParseResultType = 2,
    UnknownFunctionType = 3,
    SelectionTableIsAbsentType = 4,
    TranslationErrorType = 5,
    OrderByRowNumberType = 26,
};

class TESSERA_SQL_EXPORT SqlError : public std::exception {
public:
    SqlError() : text("Sql error") {}
    const char* what() const noexcept override { return text.c_str(); }
    virtual int errorType() const { return GenericError; }

protected:
    explicit SqlError(std::string message) : text(std::move(message)) {}

private:
    std::string text;
};

class TESSERA_SQL_EXPORT SqlSyntaxError : public SqlError {
public:
    SqlSyntaxError() : SqlError("Sql syntax error") {}
    int errorType() const override { return SyntaxErrorType; }

protected:
    explicit SqlSyntaxError(std::string message) : SqlError(std::move(message)) {}
};

class TESSERA_SQL_EXPORT SqlSemanticError : public SqlError {
public:
    SqlSemanticError() : SqlError("Sql semantic error") {}

protected:
    explicit SqlSemanticError(std::string message) : SqlError(std::move(message)) {}
};

// Text that the parser rejected, with a message for people.
class TESSERA_SQL_EXPORT GeneralSyntaxError : public SqlSyntaxError {
public:
    explicit GeneralSyntaxError(std::string message) : SqlSyntaxError(std::move(message)) {}
    explicit GeneralSyntaxError(const char* message) : SqlSyntaxError(std::string(message)) {}
    explicit GeneralSyntaxError(const QString& message) : SqlSyntaxError(message.toStdString()) {}
};

// A parse failure at a known place: the parser's own report.
class TESSERA_SQL_EXPORT ParseError : public SqlSyntaxError {
public:
    ParseError(std::string message, std::size_t offset, int line, int column, std::string expected);
    std::size_t offset() const { return at; }   // in characters from the start of the text
    int line() const { return lineNo; }         // 1-based
    int column() const { return columnNo; }     // 1-based, in characters
    const std::string& expected() const { return what_expected; }

private:
    std::size_t at;
    int lineNo;
    int columnNo;
    std::string what_expected;
};

// The text nests parentheses, sub-queries or operators deeper than the parser
// allows; refused before the stack runs out.
class TESSERA_SQL_EXPORT NestingTooDeep : public ParseError {
public:
    NestingTooDeep(std::size_t offset, int line, int column, int limit);
    int limit() const { return maximum; }

private:
    int maximum;
};

// The parse result is of another kind than the caller expected; the message
// names the expected kind.
class TESSERA_SQL_EXPORT UnexpectedParseResult : public SqlSemanticError {
public:
    explicit UnexpectedParseResult(std::string expected) : SqlSemanticError(std::move(expected)) {}
    explicit UnexpectedParseResult(const char* expected) : SqlSemanticError(std::string(expected)) {}
    explicit UnexpectedParseResult(const QString& expected) : SqlSemanticError(expected.toStdString()) {}
    int errorType() const override { return UnexpectedParseResultType; }
};

// A function that does not exist or is not allowed; the message is its name.
// The place of its first call is known when the tree came from the parser.
class TESSERA_SQL_EXPORT UnknownFunction : public SqlSemanticError {
public:
    explicit UnknownFunction(const std::wstring& name) : SqlSemanticError(QString::fromStdWString(name).toStdString()) {}
    explicit UnknownFunction(const QString& name, int line = 0, int column = 0)
        : SqlSemanticError(name.toStdString()), lineNo(line), columnNo(column)
    {
    }
    int errorType() const override { return UnknownFunctionType; }
    int line() const { return lineNo; }     // 1-based; 0 when unknown
    int column() const { return columnNo; } // 1-based; 0 when unknown

private:
    int lineNo = 0;
    int columnNo = 0;
};

// A construct that parses but cannot be translated; the message says why.
class TESSERA_SQL_EXPORT TranslationError : public SqlSemanticError {
public:
    explicit TranslationError(std::string message) : SqlSemanticError(std::move(message)) {}
    int errorType() const override { return TranslationErrorType; }
};

// The query reads the selection while there is no (or an empty) selection.
class TESSERA_SQL_EXPORT SelectionTableIsAbsent : public SqlSemanticError {
public:
    SelectionTableIsAbsent() = default;
    int errorType() const override { return SelectionTableIsAbsentType; }
};

// An error known only by its type number; the text is the base class's.
template <class Base, int type>
class CustomSqlError : public Base {
public:
    CustomSqlError() = default;
    int errorType() const override { return type; }
};

} // namespace tessera::sql
