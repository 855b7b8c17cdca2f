// The SQLite index store: the checked operations, storage that fails to
// build, look-ups against a brute-force scan of the same rows, index choice
// and statistics.

#include "engine/functions/MatchingFunctions.h"
#include "engine/indices/EngineIndicesFactory.h"
#include "engine/indices/EngineIndicesSetup.h"
#include "engine/indices/EngineIndicesSqlite.h"
#include "platform/dp/GeometryAttributeDefinition.h"
#include "platform/dp/SimpleAttributeDefinition.h"
#include "tests/support/EngineApplication.h"
#include "tests/support/EngineTestCache.h"

#include <QDir>
#include <QLocale>
#include <QTemporaryDir>
#include <algorithm>
#include <gtest/gtest.h>
#include <set>

namespace tessera::engine {
namespace {

using C = EngineIndices::Constant;
using Rows = std::vector<std::int64_t>;

dp::AttributeDefinitionPtr simple(const char* name, int type)
{
    return dp::AttributeDefinitionPtr(new dp::SimpleAttributeDefinition(QString::fromUtf8(name), type));
}

// name, n, x and a geometry, which cannot be a key.
dp::TableSchema tableSchema()
{
    return dp::TableSchema({simple("name", QMetaType::QString), simple("n", QMetaType::LongLong),
                            simple("x", QMetaType::Double),
                            dp::AttributeDefinitionPtr(new dp::GeometryAttributeDefinition("shape"))});
}

EngineIndicesSetup engineSetup(const QString& folder = QString())
{
    EngineIndicesSetup setup;
    setup.set("Collate", QStringLiteral("Locale"));
    setup.set("UseCaseInsensitiveLike", true);
    setup.set("UseCaseInsensitiveGlob", true);
    if (!folder.isEmpty())
        setup.set("Folder", folder);
    return setup;
}

QStringList filesIn(const QString& folder)
{
    return QDir(folder).entryList(QDir::Files);
}

TEST(EngineIndicesSetup, ValueIsExactWithDefault)
{
    EngineIndicesSetup setup;
    setup.set("Collate", QStringLiteral("Locale"));
    EXPECT_EQ(setup.value("Collate").toString(), QStringLiteral("Locale"));
    EXPECT_EQ(setup.value("collate", 7).toInt(), 7);
    EXPECT_FALSE(setup.value("Folder").isValid());
}

TEST(EngineIndicesStore, UnusableStoreAnswersNothing)
{
    test::TestCache cache;
    auto store = EngineIndicesFactory::instance().construct(engineSetup(), cache);
    ASSERT_TRUE(store);
    EXPECT_FALSE(store->isCorrect());
    EngineIndices::Conformance conformance{0.5, true};
    EXPECT_EQ(store->findIndex({{0}}, &conformance), -1);
    EXPECT_EQ(conformance.measure, 0.5) << "untouched";
    EXPECT_EQ(store->findIndex({{0}}, nullptr), -1);
    EXPECT_EQ(store->addIndex({{0}}), -1);
    EXPECT_FALSE(store->getInserter(1));
    EXPECT_TRUE(store->findRows(1, {C{0, C::Equal, {1}}}).empty());
    EXPECT_FALSE(store->statistics(1));
    EXPECT_EQ(store->estimateRows(1, {{0}}), 0u);
    store->setQuantity(10);
    EXPECT_EQ(store->quantity(), 0u);
    EXPECT_EQ(store->enumColumns(1, [](int) { return EngineIndices::Status::Continue; }), EngineIndices::Status::Error);
    EXPECT_EQ(store->enumUnique(1, [](const QList<QVariant>&) { return EngineIndices::Status::Continue; }),
              EngineIndices::Status::Error);
    store->dropIndex(1);
    store->clearIndex(1);
    const auto supports = store->supports();
    EXPECT_FALSE(supports->persistent() || supports->rowUpdates() || supports->concurrentReads() || supports->spatialKeys());
}

TEST(EngineIndicesStore, BadSetupsAndSchemasLeaveNothing)
{
    test::TestCache cache;
    EngineIndicesSetup unknownCollation;
    unknownCollation.set("Collate", QStringLiteral("Klingon"));
    EXPECT_THROW(EngineIndicesFactory::instance().construct(unknownCollation, cache), std::invalid_argument);
    QTemporaryDir folder;
    ASSERT_TRUE(folder.isValid());
    EXPECT_THROW(EngineIndicesSqlite(engineSetup(folder.filePath("missing")), cache), std::runtime_error);
    EXPECT_THROW(EngineIndicesSqlite(engineSetup(QStringLiteral("/dev/null")), cache), std::runtime_error);

    EngineIndicesSqlite store(engineSetup(folder.path()), cache);
    struct Case {
        const char* name;
        dp::TableSchema schema;
    };
    const Case rejected[] = {
        {"empty", dp::TableSchema()},
        {"geometry only", dp::TableSchema({dp::AttributeDefinitionPtr(new dp::GeometryAttributeDefinition("shape"))})},
        {"no SQL form", dp::TableSchema({simple("p", QMetaType::QPointF)})},
    };
    for (const Case& c : rejected) {
        ASSERT_TRUE(store.createStorage(tableSchema())) << c.name;
        EXPECT_EQ(store.addIndex({{0}}), 1);
        EXPECT_FALSE(filesIn(folder.path()).isEmpty());
        EXPECT_FALSE(store.createStorage(c.schema)) << c.name;
        EXPECT_FALSE(store.isCorrect()) << c.name;
        EXPECT_EQ(store.findIndex({{0}}, nullptr), -1) << c.name;
        EXPECT_TRUE(filesIn(folder.path()).isEmpty()) << c.name << ": " << filesIn(folder.path()).join(' ').toStdString();
    }
    // Columns that cannot be keys.
    ASSERT_TRUE(store.createStorage(tableSchema()));
    EXPECT_EQ(store.addIndex({{3}}), -1) << "geometry";
    EXPECT_EQ(store.addIndex({{4}}), -1) << "no such attribute";
    EXPECT_EQ(store.addIndex({{0}, {0}}), -1) << "twice";
    EXPECT_EQ(store.addIndex({}), -1);
}

TEST(EngineIndicesStore, FillsThatAreNotHandedBackLeaveNothing)
{
    test::TestCache cache;
    EngineIndicesSqlite store(engineSetup(), cache);
    ASSERT_TRUE(store.createStorage(tableSchema()));
    const int index = store.addIndex({{1}});
    const std::vector<C> five{C{0, C::Equal, {5}}};
    auto fill = [&](std::int64_t row) {
        auto inserter = store.getInserter(index);
        return inserter && inserter->add(row, {QVariant(), 5});
    };
    ASSERT_TRUE(fill(1));   // dropped unflushed: rolled back
    EXPECT_TRUE(store.findRows(index, five).empty());

    for (std::int64_t row : {2, 3}) {   // into an empty index, then into a filled one
        auto inserter = store.getInserter(index);
        ASSERT_TRUE(inserter && inserter->add(row, {QVariant(), 5}));
        store.flushInserter(std::move(inserter));
    }
    EXPECT_EQ(store.findRows(index, five), (Rows{2, 3}));

    // A fill whose storage is rebuilt meanwhile stores nothing anywhere.
    auto stale = store.getInserter(index);
    ASSERT_TRUE(store.createStorage(tableSchema()));
    EXPECT_FALSE(stale->add(4, {QVariant(), 5}));
    store.flushInserter(std::move(stale));
    EXPECT_TRUE(store.isCorrect());
    EXPECT_EQ(store.addIndex({{1}}), 1);
    EXPECT_TRUE(store.findRows(1, five).empty());
}

TEST(EngineIndicesStore, SetupDecidesTheTextRules)
{
    struct Case {
        const char* name;
        const char* collate;
        bool caseInsensitive;   // LIKE and GLOB
        C condition;
        Rows expected;
    };
    auto text = [](const char* t) { return QVariant(QString::fromUtf8(t)); };
    const Case cases[] = {
        {"binary equal", "BINARY", true, C{0, C::Equal, {text("abc")}}, {1}},
        {"locale equal", "Locale", true, C{0, C::Equal, {text("abc")}}, {1, 2}},
        {"nocase equal", "NOCASE", false, C{0, C::Equal, {text("abc")}}, {1, 2}},
        {"case-sensitive like", "BINARY", false, C{0, C::Like, {text("ab%")}}, {1}},
        {"case-insensitive like", "BINARY", true, C{0, C::Like, {text("ab%")}}, {1, 2}},
        {"case-insensitive cyrillic like", "BINARY", true, C{0, C::Like, {text("юж%")}}, {3, 4}},
        {"case-sensitive glob", "Locale", false, C{0, C::Glob, {text("A*")}}, {2}},
        {"case-insensitive glob", "Locale", true, C{0, C::Glob, {text("A*")}}, {1, 2}},
    };
    for (const Case& c : cases) {
        test::TestCache cache;
        EngineIndicesSetup setup;
        setup.set("Collate", QString::fromLatin1(c.collate));
        setup.set("UseCaseInsensitiveLike", c.caseInsensitive);
        setup.set("UseCaseInsensitiveGlob", c.caseInsensitive);
        EngineIndicesSqlite store(setup, cache);
        ASSERT_TRUE(store.createStorage(tableSchema())) << c.name;
        const int index = store.addIndex({{0}});
        auto inserter = store.getInserter(index);
        ASSERT_TRUE(inserter) << c.name;
        const char* names[] = {"abc", "ABC", "Южный", "южный", "b"};
        for (std::int64_t row = 1; row <= 5; ++row)
            inserter->add(row, {text(names[row - 1])});
        store.flushInserter(std::move(inserter));
        EXPECT_EQ(store.findRows(index, {c.condition}), c.expected) << c.name;
    }
}

// LIKE and GLOB by hand, ignoring case.
bool sameLetter(QChar a, QChar b)
{
    return QString(a).toCaseFolded() == QString(b).toCaseFolded();
}

bool matches(QStringView pattern, QStringView text, bool glob, QChar escape = QChar())
{
    if (pattern.isEmpty())
        return text.isEmpty();
    const QChar p = pattern.front();
    if (!glob && !escape.isNull() && p == escape && pattern.size() > 1)
        return !text.isEmpty() && sameLetter(pattern[1], text.front()) && matches(pattern.mid(2), text.mid(1), glob, escape);
    if (p == (glob ? '*' : '%')) {
        for (int i = 0; i <= text.size(); ++i)
            if (matches(pattern.mid(1), text.mid(i), glob, escape))
                return true;
        return false;
    }
    if (p == (glob ? '?' : '_'))
        return !text.isEmpty() && matches(pattern.mid(1), text.mid(1), glob, escape);
    return !text.isEmpty() && sameLetter(p, text.front()) && matches(pattern.mid(1), text.mid(1), glob, escape);
}

struct Row {
    std::int64_t id;
    QVariant name;
    QVariant n;
};

std::vector<Row> sampleRows()
{
    const char* names[] = {"Äpfel", "apfel", "Apfelbaum", "Öl", "ol", "Ölung", "straße", "Strasse", "Ёжик",
                           "ежевика", "Ель", "ель", "Жук", "жук", "50% off", "50_50", "5000", "a_b", "aXb",
                           "a%c", "", nullptr, "zebra", "Zürich", "Москва", "москва-река", nullptr, "Ярославль"};
    std::vector<Row> rows;
    std::int64_t id = 100;
    for (const char* name : names) {
        const std::int64_t i = static_cast<std::int64_t>(rows.size());
        const QVariant n = i % 7 == 3 ? QVariant() : QVariant(static_cast<qlonglong>((i * 5) % 11 - 4));
        rows.push_back({id, name ? QVariant(QString::fromUtf8(name)) : QVariant(), n});
        id += 3;
    }
    return rows;
}

// Does the value meet the condition? Text by the collator, numbers as numbers.
bool meets(const QVariant& value, const C& c, const QCollator& collator)
{
    if (c.comparison == C::IsNull)
        return value.isNull();
    if (value.isNull() || (c.comparison <= C::GreaterOrEqual && c.values[0].isNull()))
        return false;   // NULL meets no comparison
    auto compare = [&](const QVariant& operand) {
        if (value.userType() == QMetaType::QString)
            return collator.compare(value.toString(), operand.toString());
        const double a = value.toDouble(), b = operand.toDouble();
        return a < b ? -1 : a > b ? 1 : 0;
    };
    switch (c.comparison) {
    case C::Equal: return compare(c.values[0]) == 0;
    case C::Less: return compare(c.values[0]) < 0;
    case C::LessOrEqual: return compare(c.values[0]) <= 0;
    case C::Greater: return compare(c.values[0]) > 0;
    case C::GreaterOrEqual: return compare(c.values[0]) >= 0;
    case C::Between: return compare(c.values[0]) >= 0 && compare(c.values[1]) <= 0;
    case C::In: return std::any_of(c.values.begin(), c.values.end(), [&](const QVariant& v) { return compare(v) == 0; });
    case C::Like:
        return matches(c.values[0].toString(), value.toString(), false, c.values.size() > 1 ? c.values[1].toString().at(0) : QChar());
    case C::Glob: return matches(c.values[0].toString(), value.toString(), true);
    case C::IsNull: break;
    }
    return false;
}

class FilledStore : public ::testing::TestWithParam<const char*> {
protected:
    void SetUp() override
    {
        previous = QLocale();
        QLocale::setDefault(QLocale(QString::fromLatin1(GetParam())));
        store = std::make_unique<EngineIndicesSqlite>(engineSetup(), cache);
        ASSERT_TRUE(store->createStorage(tableSchema()));
        byName = store->addIndex({{0}});
        byNumber = store->addIndex({{1}});
        byNameAndNumber = store->addIndex({{0}, {1}});
        ASSERT_GT(byName, 0);
        ASSERT_GT(byNumber, 0);
        ASSERT_GT(byNameAndNumber, 0);
        for (int index : {byName, byNumber, byNameAndNumber}) {
            auto inserter = store->getInserter(index);
            ASSERT_TRUE(inserter);
            EXPECT_FALSE(store->getInserter(index)) << "one fill at a time";
            for (const Row& row : rows)
                ASSERT_TRUE(inserter->add(row.id, {row.name, row.n, 1.5, QVariant()}));
            store->flushInserter(std::move(inserter));
        }
    }
    void TearDown() override { QLocale::setDefault(previous); }

    Rows bruteForce(const std::vector<C>& conditions, const std::vector<int>& attributes) const
    {
        Rows result;
        for (const Row& row : rows) {
            const bool all = std::all_of(conditions.begin(), conditions.end(), [&](const C& c) {
                const int attribute = attributes[static_cast<std::size_t>(c.column)];
                return meets(attribute == 0 ? row.name : row.n, c, collator);
            });
            if (all)
                result.push_back(row.id);
        }
        return result;
    }

    QLocale previous;
    test::TestCache cache;
    std::unique_ptr<EngineIndicesSqlite> store;
    QCollator collator = engine::collator();
    std::vector<Row> rows = sampleRows();
    int byName = -1, byNumber = -1, byNameAndNumber = -1;
};

TEST_P(FilledStore, FindRowsAgreesWithAScan)
{
    collator = engine::collator();
    const QString s = QStringLiteral("\\");
    struct Case {
        const char* name;
        std::vector<C> conditions;
    };
    auto text = [](const char* t) { return QVariant(QString::fromUtf8(t)); };
    const Case textCases[] = {
        {"equal ignoring case", {C{0, C::Equal, {text("ЁЖИК")}}}},
        {"equal umlaut", {C{0, C::Equal, {text("öl")}}}},
        {"less", {C{0, C::Less, {text("Ж")}}}},
        {"less or equal", {C{0, C::LessOrEqual, {text("жук")}}}},
        {"greater", {C{0, C::Greater, {text("Öl")}}}},
        {"greater or equal", {C{0, C::GreaterOrEqual, {text("straße")}}}},
        {"between", {C{0, C::Between, {text("a"), text("Ё")}}}},
        {"in", {C{0, C::In, {text("ель"), text("ZÜRICH"), text("nothing")}}}},
        {"empty in", {C{0, C::In, {}}}},
        {"is null", {C{0, C::IsNull, {}}}},
        {"like prefix", {C{0, C::Like, {text("ап%")}}}},
        {"like prefix latin", {C{0, C::Like, {text("APF%")}}}},
        {"like umlaut", {C{0, C::Like, {text("ö%")}}}},
        {"like cyrillic", {C{0, C::Like, {text("е%")}}}},
        {"like yo", {C{0, C::Like, {text("ё%")}}}},
        {"like underscore", {C{0, C::Like, {text("50_%")}}}},
        {"like escaped percent", {C{0, C::Like, {text("50\\%%"), s}}}},
        {"like escaped underscore", {C{0, C::Like, {text("a\\_b"), s}}}},
        {"like inner wildcard", {C{0, C::Like, {text("a_b")}}}},
        {"like suffix", {C{0, C::Like, {text("%ик")}}}},
        {"like middle", {C{0, C::Like, {text("Е_ь")}}}},
        {"like empty", {C{0, C::Like, {text("")}}}},
        {"like everything", {C{0, C::Like, {text("%")}}}},
        {"glob", {C{0, C::Glob, {text("Ё*")}}}},
        {"glob one", {C{0, C::Glob, {text("?ль")}}}},
        {"two conditions", {C{0, C::Greater, {text("a")}}, C{0, C::Like, {text("%a%")}}}},
    };
    for (const Case& c : textCases) {
        EXPECT_EQ(store->findRows(byName, c.conditions), bruteForce(c.conditions, {0})) << c.name;
        // The two-column index answers for its leading column alone too.
        EXPECT_EQ(store->findRows(byNameAndNumber, c.conditions), bruteForce(c.conditions, {0, 1})) << c.name;
    }
    const Case numberCases[] = {
        {"equal", {C{0, C::Equal, {3}}}},
        {"real operand", {C{0, C::Greater, {2.5}}}},
        {"less", {C{0, C::Less, {0}}}},
        {"less or equal", {C{0, C::LessOrEqual, {-1}}}},
        {"greater or equal", {C{0, C::GreaterOrEqual, {5}}}},
        {"between", {C{0, C::Between, {-2, 5}}}},
        {"in", {C{0, C::In, {1, 2, 99}}}},
        {"is null", {C{0, C::IsNull, {}}}},
        {"null operand", {C{0, C::Equal, {QVariant()}}}},
    };
    for (const Case& c : numberCases)
        EXPECT_EQ(store->findRows(byNumber, c.conditions), bruteForce(c.conditions, {1})) << c.name;
    const Case bothCases[] = {
        {"both equal", {C{0, C::Equal, {text("ель")}}, C{1, C::Equal, {-3}}}},
        {"range and in", {C{0, C::Less, {text("Ж")}}, C{1, C::In, {0, 1, 2, 3}}}},
        {"second only", {C{1, C::Less, {0}}}},
    };
    for (const Case& c : bothCases)
        EXPECT_EQ(store->findRows(byNameAndNumber, c.conditions), bruteForce(c.conditions, {0, 1})) << c.name;

    // Malformed conditions find nothing.
    EXPECT_TRUE(store->findRows(byName, {C{1, C::Equal, {1}}}).empty()) << "no second column";
    EXPECT_TRUE(store->findRows(byName, {C{0, C::Between, {1}}}).empty());
    EXPECT_TRUE(store->findRows(byName, {C{0, C::Like, {text("a%"), text("ab")}}}).empty());
    EXPECT_TRUE(store->findRows(99, {}).empty());
}

TEST_P(FilledStore, StatisticsAreRealCounts)
{
    collator = engine::collator();
    std::uint64_t nulls = 0;
    std::vector<QString> distinct;
    for (const Row& row : rows) {
        if (row.name.isNull()) {
            ++nulls;
            continue;
        }
        const QString name = row.name.toString();
        if (std::none_of(distinct.begin(), distinct.end(), [&](const QString& d) { return collator.compare(d, name) == 0; }))
            distinct.push_back(name);
    }
    const auto stats = store->statistics(byName);
    ASSERT_TRUE(stats);
    EXPECT_EQ(stats->rows, rows.size());
    EXPECT_EQ(stats->nullKeys, nulls);
    EXPECT_EQ(stats->distinctKeys, distinct.size() + 1) << "NULL is one key";
    std::uint64_t bucketRows = 0, bucketKeys = 0;
    for (const auto& bucket : stats->histogram) {
        bucketRows += bucket.rows;
        bucketKeys += bucket.keys;
    }
    EXPECT_EQ(bucketRows, rows.size() - nulls);
    EXPECT_EQ(bucketKeys, distinct.size());
    EXPECT_LE(stats->histogram.size(), 16u);
    EXPECT_EQ(store->estimateRows(byName, {{0}}), (rows.size() + distinct.size()) / (distinct.size() + 1));
    EXPECT_EQ(store->estimateRows(byName, {{1}}), rows.size()) << "no leading column";

    std::uint64_t unique = 0;
    EXPECT_EQ(store->enumUnique(byName, [&](const QList<QVariant>&) { ++unique; return EngineIndices::Status::Continue; }),
              EngineIndices::Status::Continue);
    EXPECT_EQ(unique, distinct.size() + 1);
    EXPECT_EQ(store->enumUnique(byName, [](const QList<QVariant>&) { return EngineIndices::Status::Stop; }),
              EngineIndices::Status::Stop);

    // Counts follow changes.
    store->clearIndex(byName);
    EXPECT_EQ(store->statistics(byName)->rows, 0u);
    EXPECT_TRUE(store->findRows(byName, {C{0, C::IsNull, {}}}).empty());
    store->setQuantity(1234);
    EXPECT_EQ(store->quantity(), 1234u);
}

TEST_P(FilledStore, IndexChoiceByLeadingColumns)
{
    struct Case {
        const char* name;
        std::vector<EngineIndices::Column> columns;
        int expected;   // 0 name, 1 number, 2 name and number, -1 none
        double measure;
        bool exact;
    };
    const Case cases[] = {
        {"one column, narrowest", {{0}}, 0, 1.0, true},
        {"number", {{1}}, 1, 1.0, true},
        {"both in order", {{0}, {1}}, 2, 1.0, true},
        {"both reversed", {{1}, {0}}, 2, 1.0, false},
        {"leading plus other", {{0}, {2}}, 0, 0.5, false},
        {"not indexed", {{2}}, -1, 0.0, false},
    };
    const int ids[] = {byName, byNumber, byNameAndNumber};
    for (const Case& c : cases) {
        EngineIndices::Conformance conformance;
        const int found = store->findIndex(c.columns, &conformance);
        EXPECT_EQ(found, c.expected < 0 ? -1 : ids[c.expected]) << c.name;
        EXPECT_DOUBLE_EQ(conformance.measure, c.measure) << c.name;
        EXPECT_EQ(conformance.exact, c.exact) << c.name;
    }
    EXPECT_EQ(store->addIndex({{1}, {0}}), byNameAndNumber) << "a full match is reused";
    std::vector<int> columns;
    store->enumColumns(byNameAndNumber, [&](int c) { columns.push_back(c); return EngineIndices::Status::Continue; });
    EXPECT_EQ(columns, (std::vector<int>{0, 1}));

    store->dropIndex(byName);
    EXPECT_EQ(store->findIndex({{0}}, nullptr), byNameAndNumber);
    EXPECT_TRUE(store->findRows(byName, {C{0, C::IsNull, {}}}).empty());
    const int again = store->addIndex({{0}, {2}});
    EXPECT_GT(again, byNameAndNumber) << "ids are not reused";
}

INSTANTIATE_TEST_SUITE_P(Locales, FilledStore, ::testing::Values("C", "de_DE", "ru_RU", "sv_SE"));

} // namespace
} // namespace tessera::engine
