#include "engine/Engine.h"

#include "engine/EngineCache.h"
#include "engine/TableManagement.h"
#include "engine/indices/EngineIndices.h"
#include "engine/indices/EngineIndicesSqlite.h"
#include "engine/translation/SqliteStringBuilder.h"
#include "platform/core/Core.h"
#include "platform/core/Extensions.h"
#include "platform/core/SqliteException.h"
#include "platform/cs/CoordSystem.h"
#include "platform/dp/MemoryTable.h"
#include "platform/dp/SimpleAttributeDefinition.h"
#include "platform/geometry/Geometry.h"
#include "platform/geometry/ResemblanceExtension.h"

#include "tests/support/EngineFixture.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QLocale>
#include <QSqlDriver>
#include <QSqlError>
#include <QSqlQuery>
#include <QStringList>
#include <algorithm>
#include <atomic>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <thread>

namespace tessera {
namespace {

sqlite3* handleOf(const QSqlDatabase& db)
{
    const QVariant v = db.driver()->handle();
    return *static_cast<sqlite3* const*>(v.constData());
}

class Answering final : public geometry::ResemblanceExtension {
public:
    void setup(Setup&) override {}
    geometry::ConstGeometryPtr resemblance(const geometry::ConstGeometryPtr&, const Setup&) const override {
        return answer;
    }
    geometry::ConstGeometryPtr answer = std::make_shared<const geometry::Point>(QPointF(1, 1));
};

TEST(Engine, LoadUnloadLifecycle)
{
    Core core;
    int registrations = 0;
    QObject::connect(&core, &Core::serviceRegistered, [&](QObject*) { ++registrations; });

    Engine::unload(&core);   // nothing loaded: nothing happens
    EXPECT_EQ(core.findService<Engine>(), nullptr);

    // Extensions offered before and after the engine both reach its cache.
    Answering before;
    core.extensionManager()->registerExtension(&before);

    Engine* engine = Engine::load(&core);
    ASSERT_NE(engine, nullptr);
    EXPECT_EQ(engine->parent(), &core);
    EXPECT_EQ(core.findService<Engine>(), engine);
    EXPECT_EQ(core.findService(&Engine::staticMetaObject, QStringLiteral("tessera::Engine")), engine);
    EXPECT_EQ(registrations, 1);
    EXPECT_EQ(Engine::load(&core), engine);
    EXPECT_EQ(registrations, 1) << "a second load registers nothing";

    const auto probe = std::make_shared<const geometry::LineString>(QVector<QPointF>{{0, 0}, {1, 1}});
    EXPECT_EQ(engine->cache()->tryResemblance(probe), before.answer);
    Answering after;
    core.extensionManager()->registerExtension(&after);
    EXPECT_EQ(engine->cache()->tryResemblance(probe), before.answer) << "in registration order";
    before.answer = nullptr;
    EXPECT_EQ(engine->cache()->tryResemblance(probe), after.answer);

    const QSqlDatabase db = engine->engineDatabase();
    EXPECT_EQ(db.connectionName(), QStringLiteral("TESSERAENGINE"));
    EXPECT_EQ(db.driverName(), QStringLiteral("QTSQLITE"));
    EXPECT_EQ(db.databaseName(), QStringLiteral(":memory:"));
    ASSERT_TRUE(db.isOpen());
    EXPECT_FALSE(test::scalar(db, QStringLiteral("Select spatialite_version()")).toString().isEmpty());
    EXPECT_EQ(engine->cache()->useGaiaCache(), engine::GaiaCacheNever);

    Engine::unload(&core);
    EXPECT_FALSE(engine->engineDatabase().isOpen());
    Engine::unload(&core);   // harmless
    EXPECT_EQ(core.findService<Engine>(), engine) << "still registered";
    EXPECT_EQ(Engine::load(&core), engine);
    EXPECT_FALSE(engine->engineDatabase().isOpen()) << "a later load does not reopen";
    EXPECT_EQ(registrations, 1);

    try {
        engine->loadDatabaseModule("whatever");
        ADD_FAILURE() << "no exception";
    } catch (const std::logic_error& e) {
        EXPECT_EQ(QString::fromUtf8(e.what()), QStringLiteral("Не инициализировано"));
    }
    engine->cancelQuery();   // no connection: nothing to interrupt
}

using EngineDatabase = test::EngineFixture;

TEST(EngineCollation, LocaleCollationIgnoresCaseAndFollowsTheLocale)
{
    const QLocale previous;
    QLocale::setDefault(QLocale(QLocale::Russian, QLocale::Russia));
    {
        Core core;
        Engine* engine = Engine::load(&core);
        const QSqlDatabase db = engine->engineDatabase();
        EXPECT_EQ(test::scalar(db, QStringLiteral("Select 'abc' = 'ABC' Collate Locale")).toInt(), 1);
        EXPECT_EQ(test::scalar(db, QStringLiteral("Select 'abc' = 'ABC'")).toInt(), 0);
        EXPECT_EQ(test::scalar(db, QStringLiteral("Select 'ёлка' = 'ЁЛКА' Collate Locale")).toInt(), 1);
        EXPECT_EQ(test::scalar(db, QStringLiteral("Select 'Жук' = 'жук' Collate Locale")).toInt(), 1);
        EXPECT_EQ(test::scalar(db, QStringLiteral("Select 'abc' = 'abd' Collate Locale")).toInt(), 0);

        QSqlQuery query(db);
        ASSERT_TRUE(query.exec(QStringLiteral("Create Table words(w Text)")));
        ASSERT_TRUE(query.exec(QStringLiteral(
            "Insert Into words Values ('ж'), ('b'), ('Ё'), ('C'), ('е'), ('a'), ('Я'), ('д')")));
        // Code units would put upper case first and 'ё' (U+0451) after 'ж' and 'я'.
        EXPECT_EQ(test::column(db, QStringLiteral("Select w From words Where unicode(w) < 128 Order By w Collate Locale")),
                  (QStringList{"a", "b", "C"}));
        EXPECT_EQ(test::column(db, QStringLiteral("Select w From words Where unicode(w) >= 128 Order By w Collate Locale")),
                  (QStringList{"д", "е", "Ё", "ж", "Я"}));
        EXPECT_EQ(test::column(db, QStringLiteral("Select w From words Order By w")),
                  (QStringList{"C", "a", "b", "Ё", "Я", "д", "е", "ж"}));
        // The collation works on UTF-16 text whatever the database encoding.
        EXPECT_EQ(test::scalar(db, QStringLiteral("Select Count(*) From words Where w = 'ё' Collate Locale")).toInt(), 1);
    }
    QLocale::setDefault(previous);
}

int initialisations = 0;
Core* seenCore = nullptr;
engine::EngineCache* seenCache = nullptr;

void answer(sqlite3_context* ctx, int, sqlite3_value**)
{
    sqlite3_result_int(ctx, 42);
}

int goodAdapter(sqlite3* db, char** message, Core* core, engine::EngineCache* cache)
{
    ++initialisations;
    seenCore = core;
    seenCache = cache;
    *message = nullptr;
    return sqlite3_create_function(db, "adapter_answer", 0, SQLITE_UTF8, cache, answer, nullptr, nullptr);
}

int failingAdapter(sqlite3*, char** message, Core*, engine::EngineCache*)
{
    *message = sqlite3_mprintf("модуль %s не готов", "roads");
    return SQLITE_ERROR;
}

int silentAdapter(sqlite3*, char**, Core*, engine::EngineCache*)
{
    return SQLITE_MISUSE;
}

TEST_F(EngineDatabase, TableAdapterModules)
{
    // The initialiser is a plain function: its record starts afresh on every run.
    initialisations = 0;
    seenCore = nullptr;
    seenCache = nullptr;
    engine->loadTableAdapterModule(&core, goodAdapter);
    EXPECT_EQ(initialisations, 1);
    EXPECT_EQ(seenCore, &core);
    EXPECT_EQ(seenCache, engine->cache());
    EXPECT_EQ(test::scalar(db, QStringLiteral("Select adapter_answer()")).toInt(), 42);

    try {
        engine->loadTableAdapterModule(&core, failingAdapter);
        ADD_FAILURE() << "no exception";
    } catch (const err::SqliteException& e) {
        EXPECT_EQ(e.message(), QStringLiteral("Загрузка расширения tableAdaptor: модуль roads не готов"));
        EXPECT_TRUE(QString::fromUtf8(e.what()).startsWith(e.message()));
    }
    try {
        engine->loadTableAdapterModule(&core, silentAdapter);
        ADD_FAILURE() << "no exception";
    } catch (const err::SqliteException& e) {
        EXPECT_EQ(e.message(), QStringLiteral("Загрузка расширения tableAdaptor: "));
    }
}

TEST_F(EngineDatabase, DatabaseModuleWithBadPath)
{
    const char* path = "/nonexistent/libtessera-nothing.so";
    try {
        engine->loadDatabaseModule(path);
        ADD_FAILURE() << "no exception";
    } catch (const err::SqliteException& e) {
        const QString prefix = QStringLiteral("Загрузка расширения /nonexistent/libtessera-nothing.so: ");
        EXPECT_TRUE(e.message().startsWith(prefix)) << e.message().toStdString();
        EXPECT_GT(e.message().size(), prefix.size()) << "SQLite says why";
    }
    // The connection is still fine.
    EXPECT_EQ(test::scalar(db, QStringLiteral("Select 1 + 1")).toInt(), 2);
}

TEST_F(EngineDatabase, CancelQueryInterruptsAStatementOnAnotherThread)
{
    sqlite3* raw = handleOf(db);
    std::atomic<bool> started{false};
    std::atomic<int> rc{-1};
    std::thread runner([&] {
        started = true;
        rc = sqlite3_exec(raw,
                          "With Recursive c(x) As (Select 1 Union All Select x + 1 From c) Select Count(*) From c;",
                          nullptr, nullptr, nullptr);
    });
    while (!started)
        std::this_thread::yield();
    QElapsedTimer timer;
    timer.start();
    // Interrupting before the statement runs does nothing, so keep asking.
    while (rc == -1 && timer.elapsed() < 20000) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        engine->cancelQuery();
    }
    runner.join();
    EXPECT_EQ(rc.load(), SQLITE_INTERRUPT);
    EXPECT_EQ(test::scalar(db, QStringLiteral("Select 6 * 7")).toInt(), 42);
}

TEST_F(EngineDatabase, SpatiaLiteBlobsDecodeThroughTheCache)
{
    QSqlQuery query(db);
    ASSERT_TRUE(query.exec(QStringLiteral(
        "Select GeomFromText('POINT(1 2)', 4326), AsBinary(GeomFromText('POINT(1 2)', 4326)), "
        "AsFGF(GeomFromText('POINT(1 2)', 4326), 0), GeomFromText('LINESTRING(0 0, 3 4)', 3857)")))
        << query.lastError().text().toStdString();
    ASSERT_TRUE(query.next());
    engine::EngineCache* cache = engine->cache();
    for (int i = 0; i < 3; ++i) {
        const auto g = cache->geometryInfo(query.value(i).toByteArray(), true).geometry();
        ASSERT_TRUE(g) << i;
        ASSERT_EQ(g->type(), geometry::GeometryType::Point) << i;
        EXPECT_EQ(static_cast<const geometry::Point&>(*g).point(), QPointF(1, 2)) << i;
        // Only the SpatiaLite blob carries its SRID.
        EXPECT_EQ(g->coordSystem(), i == 0 ? cache->get(4326) : nullptr) << i;
    }
    const auto line = cache->geometryInfo(query.value(3).toByteArray(), true).geometry();
    ASSERT_TRUE(line && line->coordSystem());
    EXPECT_EQ(line->coordSystem()->epsg(), 3857);
    // The engine keeps no SpatiaLite geometries.
    EXPECT_NE(cache->geometryInfo(query.value(3).toByteArray(), true).geometry(), line);
}

void noop(sqlite3_context* ctx, int, sqlite3_value**)
{
    sqlite3_result_null(ctx);
}

TEST_F(EngineDatabase, FunctionCatalogueIsWhatTheConnectionHas)
{
    // Registered in another case than the catalogue's "LambertDistance" and
    // "WtAvg"; "not_in_catalogue" is registered but unknown to the dialect.
    sqlite3* raw = handleOf(db);
    ASSERT_EQ(sqlite3_create_function(raw, "LAMBERTDISTANCE", 3, SQLITE_UTF8, nullptr, noop, nullptr, nullptr), SQLITE_OK);
    ASSERT_EQ(sqlite3_create_function(raw, "wtavg", 2, SQLITE_UTF8, nullptr, noop, nullptr, nullptr), SQLITE_OK);
    ASSERT_EQ(sqlite3_create_function(raw, "not_in_catalogue", 0, SQLITE_UTF8, nullptr, noop, nullptr, nullptr), SQLITE_OK);

    using M = sql::FunctionInfo;
    struct Case {
        const char* name;
        M::TypeMasks mask;
        bool listed;
    };
    const Case cases[] = {
        {"LambertDistance", M::Scalar, true},      // catalogue spelling, any registered case
        {"LambertDistance", M::Aggregate, false},  // mask 1 asked for 2
        {"WtAvg", M::Aggregate, true},
        {"WtAvg", M::Scalar, false},
        {"max", M::Scalar, true},                  // mask 3 by 1 ...
        {"max", M::Aggregate, true},               // ... and by 2
        {"max", M::Window, false},
        {"row_number", M::Window, true},
        {"row_number", M::Scalar | M::Aggregate, false},
        {"abs", M::Scalar | M::Window, true},
        {"LambertArea", M::Scalar, false},         // in the catalogue, not registered
        {"VincentyArea", M::Scalar, false},
        {"not_in_catalogue", M::Scalar, false},
    };
    for (const Case& c : cases) {
        const QString name = QString::fromLatin1(c.name);
        const QStringList list = engine->functionList(c.mask);
        EXPECT_EQ(list.contains(name, Qt::CaseSensitive), c.listed) << c.name << " mask " << int(c.mask);
        EXPECT_EQ(engine->functionSet(c.mask).count(name), c.listed ? 1u : 0u) << c.name;
        const auto value = sql::FunctionNameInfo::find(name);
        if (value != sql::FunctionName::None) {
            EXPECT_EQ(engine->sqlFunctionSet(c.mask).contains(value), c.listed) << c.name;
        }
    }
    // The set keeps the catalogue's mask, not the requested one.
    EXPECT_EQ(int(engine->sqlFunctionSet(M::Scalar).mask(sql::FunctionName::Max)), 3);
    // The list is the set in case-insensitive order, each name once.
    const QStringList all = engine->functionList(M::Scalar | M::Aggregate | M::Window);
    EXPECT_GT(all.size(), 100);
    EXPECT_TRUE(std::is_sorted(all.begin(), all.end(), engine::caseInsensitiveLess()));
    EXPECT_EQ(std::adjacent_find(all.begin(), all.end(), [](const QString& a, const QString& b) {
                  return a.compare(b, Qt::CaseInsensitive) == 0;
              }), all.end());
}

TEST_F(EngineDatabase, FunctionCatalogueIsEmptyWithoutAConnection)
{
    Engine::unload(&core);
    EXPECT_TRUE(engine->functionList(sql::FunctionInfo::Scalar).isEmpty());
    EXPECT_TRUE(engine->sqlFunctionSet(sql::FunctionInfo::Scalar).empty());
}

TEST_F(EngineDatabase, OperatorListLeavesOutTheUntranslatable)
{
    const sql::OperatorSet operators = engine->operatorList();
    EXPECT_EQ(operators.toBitArray().size(), 46);
    EXPECT_EQ(operators.toBitArray().count(true), 43);
    for (int code : {0, 10, 31})
        EXPECT_FALSE(operators.contains(sql::OperationCode(code))) << code;
    for (int code : {1, 9, 11, 30, 32, 45})
        EXPECT_TRUE(operators.contains(sql::OperationCode(code))) << code;
}

class Management final : public engine::TableManagement {
public:
    Management(QString name, int* destroyed, bool detachResult = true)
        : name(std::move(name)), destroyed(destroyed), detachResult(detachResult) {}
    ~Management() override { ++*destroyed; }
    bool detach() override { ++detached; return detachResult; }
    QString tableName() const override { return name; }
    void reset() override { ++resets; }
    std::shared_ptr<cs::CoordSystem> coordSystem() const override { return coordSys; }
    std::shared_ptr<dp::Table> table() const override { return nullptr; }

    QString name;
    int* destroyed;
    bool detachResult;
    int detached = 0;
    int resets = 0;
    std::shared_ptr<cs::CoordSystem> coordSys;
};

TEST_F(EngineDatabase, TableManagements)
{
    int destroyed = 0;
    auto first = std::make_unique<Management>(QStringLiteral("abc"), &destroyed);
    engine->registerManagement(std::move(first));
    EXPECT_EQ(destroyed, 0);
    auto second = std::make_unique<Management>(QStringLiteral("abc"), &destroyed, false);
    Management* kept = second.get();
    kept->coordSys = engine->cache()->get(3857);
    engine->registerManagement(std::move(second));
    EXPECT_EQ(destroyed, 1) << "the first one is replaced and destroyed";
    EXPECT_EQ(engine->findManagement(QStringLiteral("abc")), kept);

    engine->registerManagement(std::make_unique<Management>(QString(), &destroyed));
    EXPECT_EQ(destroyed, 2) << "no name: destroyed at once";
    EXPECT_EQ(engine->findManagement(QString()), nullptr);
    engine->registerManagement(nullptr);

    // Exact names for the engine, any case for the cache's lookup.
    EXPECT_EQ(engine->findManagement(QStringLiteral("ABC")), nullptr);
    EXPECT_EQ(engine->cache()->tableCoordSystem(QStringLiteral("ABC")), kept->coordSys);
    EXPECT_EQ(engine->cache()->tableCoordSystem(QStringLiteral("abc")), kept->coordSys);
    EXPECT_EQ(engine->cache()->tableCoordSystem(QStringLiteral("abcd")), nullptr);
    // An exact match wins over an earlier case-insensitive one.
    auto upper = std::make_unique<Management>(QStringLiteral("ABC"), &destroyed);
    upper->coordSys = engine->cache()->get(4326);
    engine->registerManagement(std::move(upper));
    EXPECT_EQ(engine->cache()->tableCoordSystem(QStringLiteral("abc")), kept->coordSys);
    EXPECT_EQ(engine->cache()->tableCoordSystem(QStringLiteral("ABC"))->epsg(), 4326);
    EXPECT_EQ(engine->cache()->tableCoordSystem(QStringLiteral("Abc"))->epsg(), 4326) << "first in map order";

    EXPECT_FALSE(engine->detachTable(QStringLiteral("abc")));
    EXPECT_EQ(kept->detached, 1);
    EXPECT_TRUE(engine->detachTable(QStringLiteral("ABC")));
    EXPECT_FALSE(engine->detachTable(QStringLiteral("nothing")));

    engine->unRegisterManagement(QStringLiteral("Abc"));
    EXPECT_EQ(destroyed, 2);
    engine->unRegisterManagement(QStringLiteral("abc"));
    EXPECT_EQ(destroyed, 3);
    EXPECT_EQ(engine->findManagement(QStringLiteral("abc")), nullptr);
    // The rest goes with the engine.
    delete engine;
    EXPECT_EQ(destroyed, 4);
    engine = nullptr;
}

TEST_F(EngineDatabase, IndexStoresPerTable)
{
    using dp::SimpleAttributeDefinition;
    const dp::TableSchema schema({dp::AttributeDefinitionPtr(new SimpleAttributeDefinition("name", QMetaType::QString))});
    auto roads = std::make_shared<dp::MemoryTable>(QStringLiteral("roads"), schema);
    auto rivers = std::make_shared<dp::MemoryTable>(QStringLiteral("Roads"), schema);

    EXPECT_EQ(engine->indices(nullptr), nullptr);
    engine::EngineIndices* store = engine->indices(roads);
    ASSERT_NE(store, nullptr);
    EXPECT_EQ(engine->indices(roads), store);
    EXPECT_NE(engine->indices(rivers), store) << "names are exact";
    EXPECT_FALSE(store->isCorrect()) << "made without storage";

    ASSERT_TRUE(store->createStorage(schema));
    const int index = store->addIndex({{0}});
    ASSERT_GE(index, 0);
    // The engine's settings: the "Locale" collation and case-insensitive LIKE.
    {
        auto inserter = store->getInserter(index);
        ASSERT_TRUE(inserter);
        EXPECT_TRUE(inserter->add(1, {QStringLiteral("Ёлка")}));
        EXPECT_TRUE(inserter->add(2, {QStringLiteral("ель")}));
        store->flushInserter(std::move(inserter));
    }
    using C = engine::EngineIndices::Constant;
    EXPECT_EQ(store->findRows(index, {C{0, C::Equal, {QStringLiteral("ёлка")}}}), (std::vector<std::int64_t>{1}));
    EXPECT_EQ(store->findRows(index, {C{0, C::Like, {QStringLiteral("Е%")}}}), (std::vector<std::int64_t>{2}));

    int destroyed = 0;
    auto management = std::make_unique<Management>(QStringLiteral("roads"), &destroyed);
    Management* kept = management.get();
    engine->registerManagement(std::move(management));
    const QString file = static_cast<engine::EngineIndicesSqlite*>(store)->fileName();
    EXPECT_TRUE(QFileInfo::exists(file));
    engine->clearIndices(roads);
    EXPECT_FALSE(store->isCorrect());
    EXPECT_FALSE(QFileInfo::exists(file));
    EXPECT_EQ(kept->resets, 1);
    EXPECT_EQ(engine->indices(roads), store) << "the store stays registered";
    engine->clearIndices(std::make_shared<dp::MemoryTable>(QStringLiteral("nothing"), schema));
    engine->clearIndices(nullptr);

    // Stores and their folders go with the engine.
    ASSERT_TRUE(store->createStorage(schema));
    const QString folder = QFileInfo(file).absolutePath();
    EXPECT_TRUE(QFileInfo::exists(folder));
    delete engine;
    engine = nullptr;
    EXPECT_FALSE(QFileInfo::exists(folder));
    EXPECT_EQ(destroyed, 1);
}

TEST_F(EngineDatabase, Translation)
{
    // A translated text runs on the engine connection.
    const QString sql = engine->translate(QStringLiteral("Select 6 * 7 As answer"));
    EXPECT_EQ(test::scalar(db, sql).toInt(), 42) << sql.toStdString();

    // Text that does not parse is handed back unchanged.
    const QString broken = QStringLiteral("Select From Where ((");
    EXPECT_EQ(engine->translate(broken), broken);
    EXPECT_EQ(engine->translate(std::string("Выбрать (")), QStringLiteral("Выбрать ("));

    engine::SqliteStringBuilder builder(db, QString(), nullptr);
    EXPECT_FALSE(engine->tryToTranslate("Select 1", builder, Engine::ExpressionOnly));
    EXPECT_TRUE(builder.query().empty());
    EXPECT_EQ(builder.errors().size(), 1u);
    engine::SqliteStringBuilder expression(db, QString(), nullptr);
    EXPECT_TRUE(engine->tryToTranslate("1 + 2", expression, Engine::ExpressionOnly));
    EXPECT_FALSE(expression.query().empty());
}

} // namespace
} // namespace tessera
