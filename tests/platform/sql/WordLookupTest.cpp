// The look-ups the lexer, the parser and the string builder make for every
// word, against what the plain (slower) way says.

#include "platform/sql/FunctionName.h"
#include "platform/sql/Keywords.h"
#include "platform/sql/SqlStringBuilder.h"

#include <QString>

#include <gtest/gtest.h>

using namespace tessera::sql;

TEST(WordLookupTest, reservedWords)
{
    const struct {
        const wchar_t* folded;
        bool reserved;
    } cases[] = {
        {L"as", true},        {L"in", true},   {L"intersects", true}, {L"entirely", true}, {L"xor", true},
        {L"select", true},    {L"a", false},   {L"name", false},      {L"obj", false},     {L"intersect", true},
        {L"intersectz", false}, {L"", false},  {L"selection", false}, {L"rownum", false},  {L"left", false},
        {L"averyveryverylongidentifier", false},
    };
    for (const auto& c : cases)
        EXPECT_EQ(isReservedWord(c.folded), c.reserved) << QString::fromWCharArray(c.folded).toStdString();
}

TEST(WordLookupTest, functionNamesFoundAsByTheirQString)
{
    for (const wchar_t* name : {L"abs", L"ABS", L"Area", L"left$", L"LEFT$", L"TransformToTesGeo", L"nosuchfunction", L"",
                                L"ab", L"abs2", L"\u00e1bs", L"Ar\u00e9a"}) {
        const std::wstring text(name);
        EXPECT_EQ(FunctionNameInfo::find(text), FunctionNameInfo::find(QString::fromWCharArray(name)))
            << QString::fromWCharArray(name).toStdString();
    }
    EXPECT_EQ(FunctionNameInfo::find(std::wstring(L"TRANSFORMTOSLGEO")), FunctionName(700));
}

TEST(WordLookupTest, namesQuotedWhenSqliteReadsThemOtherwise)
{
    const struct {
        const wchar_t* name;
        const wchar_t* quoted;
    } cases[] = {
        {L"name", L"name"},
        {L"Select", L"`Select`"},
        {L"ORDER", L"`ORDER`"},
        {L"current_timestamp", L"`current_timestamp`"},
        {L"Current_Timestamps", L"Current_Timestamps"},
        {L"rowid", L"rowid"},
        {L"a b", L"`a b`"},
        {L"2a", L"`2a`"},
        {L"a2$", L"a2$"},
        {L"_x", L"_x"},
        {L"\u00e9t\u00e9", L"\u00e9t\u00e9"},
        {L"\u212aey", L"`\u212aey`"},   // the Kelvin sign folds to k: "key"
        {L"a`b", L"`a``b`"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(SqlStringBuilder::quoteIdentifier(c.name), c.quoted) << QString::fromWCharArray(c.name).toStdString();
}
