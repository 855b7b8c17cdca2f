// What a builder reads only when a statement needs it: the list of callable
// functions and the selection's row ids; and the case-blind name order that
// the function lists use.

#include "tests/support/SqlTableFixture.h"

#include "engine/translation/CaseInsensitiveLess.h"
#include "platform/dp/MemoryTable.h"
#include "platform/dp/Selection.h"

using namespace tessera;
using namespace tessera::engine;
using namespace tessera::test;

class LazyTranslationInputsTest : public SqlTableFixture {};

TEST_F(LazyTranslationInputsTest, theFunctionListIsAskedForOnlyByACall)
{
    const struct {
        const char* name;
        const char* text;
        int asked;              // times the source is called
        const char* unsupported; // "" when every call is allowed
    } cases[] = {
        {"no call", "Select a, b From t Where a > 1 Order By b", 0, ""},
        {"allowed call", "Select Abs(a) From t", 1, ""},
        {"two calls, one read", "Select Abs(a), ABS(a) + abs(a) From t", 1, ""},
        {"renamed call", "Select Round(a, 1) From t", 1, ""},
        {"unknown call", "Select Foo(a), Abs(a) From t", 1, "Foo"},
    };
    for (const auto& c : cases) {
        SqliteStringBuilder builder = makeBuilder();
        int asked = 0;
        builder.setWhiteListSource([&asked] {
            ++asked;
            return std::make_shared<const SqliteStringBuilder::NameSet>(SqliteStringBuilder::NameSet{"abs", "RoundTo"});
        });
        build(builder, c.text);
        EXPECT_EQ(asked, c.asked) << c.name;
        QStringList unsupported;
        for (const QString& name : builder.unsupportedList())
            unsupported << name;
        EXPECT_EQ(unsupported.join(','), QString::fromLatin1(c.unsupported)) << c.name;
    }
}

TEST_F(LazyTranslationInputsTest, selectionRowsAreNumberedOnlyWhenRead)
{
    const auto table = std::make_shared<dp::MemoryTable>(QStringLiteral("t"), dp::TableSchema());
    const dp::Selection selection(table, {dp::FeatureId(QStringLiteral("s1")), dp::FeatureId(QStringLiteral("s2"))});
    TestCache numbers;
    numbers.assignIdToInt(dp::FeatureId(QStringLiteral("first")));   // row 0

    SqliteStringBuilder other = makeBuilder();
    other.setSelection(selection, &numbers);
    EXPECT_EQ(build(other, "Select a From t"), "Select a From t");
    // Not read, so not numbered: the next new feature still gets row 1.
    EXPECT_EQ(numbers.assignIdToInt(dp::FeatureId(QStringLiteral("second"))), 1);

    SqliteStringBuilder reader = makeBuilder();
    reader.setSelection(selection, &numbers);
    EXPECT_NE(build(reader, "Select a From Selection").find("rowid In (2,3)"), std::string::npos);
}

TEST(CaseInsensitiveLessTest, ordersAsQtDoes)
{
    const struct {
        const char* name;
        QString a;
        QString b;
    } cases[] = {
        {"equal but case", "Abs", "aBS"},
        {"prefix", "left", "LEFT$"},
        {"underscore", "A_B", "AZB"},   // '_' (0x5F) sorts before the folded 'z'
        {"digits", "st_x2", "ST_X10"},
        {"empty", "", "a"},
        {"accented", QString::fromUtf8("élan"), "Elan"},
        {"accented later", QString::fromUtf8("abé"), QString::fromUtf8("ABÉ")},
        {"sharp s", QString::fromUtf8("straße"), "STRASSE"},
        {"ascii before non-ascii", "abc", QString::fromUtf8("abç")},
    };
    const caseInsensitiveLess less;
    for (const auto& c : cases) {
        const int qt = QString::compare(c.a, c.b, Qt::CaseInsensitive);
        EXPECT_EQ(less(c.a, c.b), qt < 0) << c.name;
        EXPECT_EQ(less(c.b, c.a), qt > 0) << c.name;
    }
}
