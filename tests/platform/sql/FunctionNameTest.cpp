#include "platform/sql/FunctionName.h"
#include "platform/sql/FunctionSet.h"
#include "platform/sql/OperatorSet.h"
#include "platform/sql/SqlRuntime.h"

#include <QSet>

#include <gtest/gtest.h>

using namespace tessera::sql;

TEST(FunctionCatalogue, FixedValuesAndDenseNumbering)
{
    EXPECT_STREQ(FunctionNameInfo::name(68), "TransformToTesGeo");
    EXPECT_STREQ(FunctionNameInfo::name(700), "TransformToSLGeo");
    EXPECT_EQ(FunctionNameInfo::find("transformtotesgeo"), FunctionName(68));
    EXPECT_EQ(FunctionNameInfo::find("TRANSFORMTOSLGEO"), FunctionName(700));
    EXPECT_EQ(FunctionName::TransformToTesGeo, FunctionName(68));

    const int n = FunctionNameInfo::count();
    EXPECT_GT(n, 700);
    EXPECT_STREQ(FunctionNameInfo::name(0), "");
    EXPECT_STREQ(FunctionNameInfo::name(n + 1), "");
    EXPECT_STREQ(FunctionNameInfo::name(-1), "");
    EXPECT_EQ(FunctionNameInfo::mask(FunctionName(n + 1)), FunctionInfo::TypeMasks());

    // Every value from 1 to n has a distinct name that finds it again, in any
    // case, and a mask of one of the four kinds.
    QSet<QString> seen;
    int windows = 0;
    for (int v = 1; v <= n; ++v) {
        const QString name = QString::fromUtf8(FunctionNameInfo::name(v));
        ASSERT_FALSE(name.isEmpty()) << v;
        EXPECT_FALSE(seen.contains(name.toLower())) << name.toStdString();
        seen.insert(name.toLower());
        EXPECT_EQ(FunctionNameInfo::find(name.toUpper()), FunctionName(v)) << name.toStdString();
        EXPECT_EQ(FunctionNameInfo::find(name.toLower()), FunctionName(v)) << name.toStdString();
        const int mask = int(FunctionNameInfo::mask(FunctionName(v)));
        EXPECT_TRUE(mask == 1 || mask == 2 || mask == 3 || mask == 8) << name.toStdString() << " " << mask;
        windows += mask == 8;
    }
    EXPECT_EQ(windows, 12); // SQLite's eleven window functions and rownum
    EXPECT_EQ(FunctionNameInfo::find("no_such_function"), FunctionName::None);
    EXPECT_EQ(FunctionNameInfo::find(""), FunctionName::None);
}

TEST(FunctionCatalogue, KindsAndNames)
{
    const std::pair<const char*, int> kinds[] = {
        {"abs", FunctionInfo::Scalar}, {"Count", FunctionInfo::Aggregate}, {"group_concat", FunctionInfo::Aggregate},
        {"WtAvg", FunctionInfo::Aggregate}, {"wtavgsafe", FunctionInfo::Aggregate}, {"max", FunctionInfo::ScalarAggregate},
        {"MIN", FunctionInfo::ScalarAggregate}, {"row_number", FunctionInfo::Window}, {"ntile", FunctionInfo::Window},
        {"st_union", FunctionInfo::ScalarAggregate},
    };
    for (const auto& [name, kind] : kinds)
        EXPECT_EQ(int(FunctionNameInfo::mask(FunctionNameInfo::find(name))), kind) << name;

    // The names under which the engine's functions are called, and the
    // dialect names that the translator renames.
    for (const char* name :
         {"concat", "xor", "divide", "quotient", "modulo", "involution", "chr", "asc", "instr", "lcase", "ucase", "ltrim", "rtrim", "len",
          "left$", "right$", "mid", "val", "proper", "space", "repeat", "str", "sqrt", "sign", "minimum", "maximum", "truncate", "floor",
          "roundto", "roundby", "curdate", "curtime", "curdatetime", "stringtodate", "numbertodate", "day", "month", "year", "weekday",
          "hour", "minute", "second", "getdate", "gettime", "formatdate", "formattime", "formatnumber", "deformat",
          "formatnumberbypattern", "like", "glob", "regexp", "casesensitivecompare", "localecompare", "ObjectArea", "ObjectPerimeter",
          "ObjectLen", "ObjectDistance", "CentroidDistance", "CartesianArea", "SphericalPerimeter", "EllipsoidalObjectLen",
          "LambertDistance", "VincentyObjectDistance", "CentroidX", "CentroidY", "Centroid", "GeometryIntersects", "GeometryContains",
          "GeometryWithin", "ContainsCentroid", "CentroidWithin", "NearestPoints", "MakeValidGeo", "Resemblance", "RetrieveCS",
          "RetrieveTableCS", "ToTesGeo", "FromTesGeo", "FromMif", "Area", "Perimeter", "Distance", "Round", "MakeValid", "Left", "Right",
          "rownum", "date", "strftime", "julianday", "coalesce", "ifnull", "substr", "typeof", "printf", "st_area", "st_intersects",
          "st_buffer", "geomfromtext", "astext", "makepoint", "transform", "json_extract", "lag", "lead", "first_value"})
        EXPECT_NE(FunctionNameInfo::find(name), FunctionName::None) << name;

    // The catalogue keeps the spelling of the names.
    EXPECT_STREQ(FunctionNameInfo::name(FunctionNameInfo::find("objectarea")), "ObjectArea");
    EXPECT_STREQ(FunctionNameInfo::name(FunctionName::WtAvg), "WtAvg");
}

TEST(FunctionSet, AddMaskCollectsKinds)
{
    FunctionSet set;
    EXPECT_TRUE(set.empty());
    const FunctionName max = FunctionNameInfo::find("max");
    set.addMask(max, FunctionInfo::Scalar);
    set.addMask(max, FunctionInfo::Scalar); // SQLite lists a name once per arity
    EXPECT_EQ(set.size(), 1u);
    EXPECT_EQ(set.mask(max), FunctionInfo::TypeMasks(FunctionInfo::Scalar));
    set.addMask(int(max), int(FunctionInfo::Aggregate));
    EXPECT_EQ(set.mask(max), FunctionInfo::TypeMasks(FunctionInfo::ScalarAggregate));
    set.addMask(FunctionName(68), FunctionInfo::Scalar);
    EXPECT_TRUE(set.contains(FunctionName(68)));
    EXPECT_FALSE(set.contains(FunctionName(700)));
    EXPECT_EQ(set.mask(FunctionName(700)), FunctionInfo::TypeMasks());
    const std::vector<FunctionName> names = set.names();
    ASSERT_EQ(names.size(), 2u);
    EXPECT_EQ(names[0], FunctionName(68)); // value order
    EXPECT_EQ(names[1], max);
}

TEST(OperatorSet, BitsAndRuntimeDefault)
{
    QBitArray bits(operationCodeCount);
    bits.setBit(int(OperationCode::Plus));
    bits.setBit(0);
    const OperatorSet set(bits);
    EXPECT_TRUE(set.contains(OperationCode::Plus));
    EXPECT_FALSE(set.contains(OperationCode::Minus));
    EXPECT_FALSE(set.contains(OperationCode::None)); // code 0 is never an operator
    EXPECT_FALSE(set.contains(OperationCode(operationCodeCount + 5)));
    EXPECT_EQ(set.toBitArray(), bits);
    EXPECT_FALSE(OperatorSet().contains(OperationCode::Plus));

    const SqlRuntime runtime;
    const QBitArray offered = runtime.operators().toBitArray();
    ASSERT_EQ(offered.size(), 46);
    for (int code = 0; code < 46; ++code)
        EXPECT_EQ(offered.testBit(code), code != 0 && code != 10 && code != 31) << code;
    EXPECT_EQ(offered.count(true), 43); // and no bit past the last code
    EXPECT_TRUE(runtime.hasOperator(OperationCode::EntirelyWithin));
    EXPECT_FALSE(runtime.hasOperator(OperationCode::SimilarTo));
    EXPECT_EQ(runtime.functionName(L"ROUND"), FunctionNameInfo::find("round"));
    EXPECT_EQ(runtime.functionName(L"nope"), FunctionName::None);
}
