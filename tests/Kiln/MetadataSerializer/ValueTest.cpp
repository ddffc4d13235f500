#include "Ardo/Kiln/MetadataSerializer/AddValue.h"
#include "Ardo/Kiln/MetadataSerializer/GetValue.h"
#include "tests/Support/NotFinite.h"

#include <boost/property_tree/ptree.hpp>
#include <gmock/gmock.h>

#include <cmath>
#include <functional>
#include <limits>
#include <stdexcept>
#include <string>

namespace Ardo::Kiln::MetadataSerializer
{

namespace
{

using boost::property_tree::ptree;
using boost::property_tree::ptree_bad_data;
using boost::property_tree::ptree_bad_path;
using namespace MetadataLib;

/// The tree in one line: names, texts and children.
std::string Dump(const ptree& tree)
{
    std::string text = tree.data();
    for (const auto& [name, child] : tree)
    {
        text += "{" + name + ":" + Dump(child) + "}";
    }
    return text;
}

ptree Text(const std::string& text)
{
    return ptree(text);
}

using Support::Infinity;

} // namespace

TEST(ValueTest, EachHelperWritesItsFormAndReadsItBack)
{
    Uuid uuid;
    uuid.bytes = {0x09, 0xAB, 0xCD, 0xEF, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 255};
    const TimePoint time(std::chrono::milliseconds(1'700'000'000'123));
    const Rectangle<std::int32_t> corners{10, 20, 110, 70};
    const TransformMatrix matrix{1, 2, 3, 4, 5, 6};
    const std::optional<Rectangle<double>> area = Rectangle<double>{-0.5, 0.25, 0.5, 0.75};
    std::string text;
#define KILN_CHECK(Name, value, expected)                                                                              \
    {                                                                                                                  \
        ptree tree;                                                                                                    \
        Add##Name(tree, "a.b", value);                                                                                 \
        EXPECT_EQ(Dump(tree), "{a:{b:" expected "}}") << #Name;                                                        \
        EXPECT_TRUE(Get##Name(tree, "a.b") == (value)) << #Name;                                                       \
        Add##Name(tree, "a.b", value);                                                                                 \
        EXPECT_EQ(Dump(tree), "{a:{b:" expected "}}") << #Name << " replaces what is there";                           \
    }
    KILN_CHECK(Int, std::numeric_limits<std::int32_t>::min(), "-2147483648");
    KILN_CHECK(Double, 0.1, "0.10000000000000001");
    KILN_CHECK(StdString, std::string(" x "), " x ");
    KILN_CHECK(StdWstring, std::wstring(L"\u65E5\u00E9"), "日é");
    KILN_CHECK(StdTimepoint, time, "2023-11-14T22:13:20.123Z");
    KILN_CHECK(Guid, uuid, "09abcdef-0001-0203-0405-060708090aff");
    KILN_CHECK(Size2dInt, (Size2D<std::int32_t>{1234567, -2}), "{Width:1234567}{Height:-2}");
    KILN_CHECK(Size2dDouble, (Size2D<double>{300000, 1e-6}), "{Width:300000}{Height:9.9999999999999995e-07}");
    KILN_CHECK(RectangleInt, corners, "{X:10}{Y:20}{Width:100}{Height:50}");
    KILN_CHECK(Vector3d, (Vector3<double>{1, -0.0, 2}), "{X:1}{Y:-0}{Z:2}");
    KILN_CHECK(OptionalBool, std::optional(true), "true");
    KILN_CHECK(OptionalInt, std::optional(7), "7");
    KILN_CHECK(OptionalLong, std::optional<long>(-7), "-7");
    KILN_CHECK(OptionalDouble, std::optional(-Infinity), "-inf");
    KILN_CHECK(OptionalStdString, std::optional<std::string>(""), "");
    KILN_CHECK(OptionalStdWstring, std::optional<std::wstring>(L"w"), "w");
    KILN_CHECK(OptionalStdTimepoint, std::optional(TimePoint()), "1970-01-01T00:00:00.000Z");
    KILN_CHECK(OptionalGuid, std::optional(uuid), "09abcdef-0001-0203-0405-060708090aff");
    KILN_CHECK(OptionalRangeDouble, std::optional(Range<double>{1, 2}), "{Begin:1}{End:2}");
    KILN_CHECK(OptionalRectangleInt, std::optional(corners), "{X:10}{Y:20}{Width:100}{Height:50}");
    KILN_CHECK(OptionalRectangleDouble, area, "{X:-0.5}{Y:0.25}{Width:1}{Height:0.5}");
    KILN_CHECK(OptionalSize2dInt, (std::optional(Size2D<std::int32_t>{1, 2})), "{Width:1}{Height:2}");
    KILN_CHECK(OptionalSize2dDouble, (std::optional(Size2D<double>{1, 2})), "{Width:1}{Height:2}");
    KILN_CHECK(OptionalVector2d, (std::optional(Vector2<double>{1, 2})), "{X:1}{Y:2}");
    KILN_CHECK(OptionalTransformMatrix, std::optional(matrix), "{a11:1}{a12:2}{a13:3}{a21:4}{a22:5}{a23:6}");
#undef KILN_CHECK

    ptree node;
    node.put("t.old", "1");
    node.put("g.old", "1");
    node.put("v.old", "1");
    node.put("i.old", "1");
    AddStdTimepoint(node, "t", TimePoint());
    AddGuid(node, "g", {});
    AddVector3d(node, "v", {});
    AddInt(node, "i", 2);
    EXPECT_EQ(Dump(node), "{t:1970-01-01T00:00:00.000Z}{g:00000000-0000-0000-0000-000000000000}{v:{X:0}{Y:0}{Z:0}}"
                          "{i:2{old:1}}");
    // An empty path is the tree itself, for values of several parts, too.
    AddVector3d(node, "", {1, 2, 3});
    EXPECT_EQ(Dump(node), "{X:1}{Y:2}{Z:3}");
    EXPECT_TRUE(GetVector3d(node, "") == (Vector3<double>{1, 2, 3}));
    AddOptionalRectangleInt(node, "", corners);
    EXPECT_EQ(Dump(node), "{X:10}{Y:20}{Width:100}{Height:50}");
    AddGuid(node, "", {});
    EXPECT_EQ(Dump(node), "00000000-0000-0000-0000-000000000000");

    ptree empty;
    AddOptionalInt(empty, "a", std::nullopt);
    AddOptionalVector2d(empty, "b", std::nullopt);
    EXPECT_EQ(Dump(empty), "");
    AddDouble(empty, "", 0.5);
    AddInt(empty, "X.<xmlattr>.unit", 3);
    EXPECT_EQ(Dump(empty), "0.5{X:{<xmlattr>:{unit:3}}}");
    EXPECT_EQ(GetDouble(empty, ""), 0.5);
}

TEST(ValueTest, NumbersAreReadAsPeopleWriteThemAndNothingElse)
{
    const struct
    {
        const char* text;
        std::optional<double> value;
    } doubles[] = {
        {" 1.5\n", 1.5},
        {"+5", 5.0},
        {"1e3", 1000.0},
        {".5", 0.5},
        {"5.", 5.0},
        {"1E-2", 0.01},
        {"-0", -0.0},
        {"inf", Infinity},
        {"-inf", -Infinity},
        {"1e-400", 0.0},
        {"1e999", {}},
        {"-1e999", {}},
        {"0.0e999999999", 0},
        {"1,5", {}},
        {"1.000,5", {}},
        {"", {}},
        {" ", {}},
        {"1e", {}},
        {"0x10", {}},
        {"5 m", {}},
        {"infinity", Infinity},
        {"-INF", -Infinity},
        {"infinite", {}},
        {"nano", {}},
        {"--1", {}},
        {"+-1", {}},
        {"1e-99999999999999999999", 0.0},
        {"0.0000001e-400", 0.0},
    };
    for (const auto& [text, value] : doubles)
    {
        EXPECT_EQ(GetOptionalDouble(Text(text), ""), value) << '"' << text << '"';
    }
    EXPECT_TRUE(std::isnan(GetDouble(Text("nan"), "")));
    EXPECT_TRUE(std::signbit(GetDouble(Text("-nan"), "")));

    const struct
    {
        const char* text;
        std::optional<std::int32_t> value;
    } integers[] = {{"\t+007 ", 7},     {"-2147483648", std::numeric_limits<std::int32_t>::min()},
                    {"2147483648", {}}, {"-2147483649", {}},
                    {"1.0", {}},        {"1.234", {}},
                    {"-", {}},          {"99999999999999999999", {}}};
    for (const auto& [text, value] : integers)
    {
        EXPECT_EQ(GetOptionalInt(Text(text), ""), value) << '"' << text << '"';
    }

    const struct
    {
        const char* text;
        std::optional<bool> value;
    } booleans[] = {{"1", true},  {"0", false}, {" true ", true}, {"false", false}, {"yes", {}},
                    {"TRUE", {}}, {"2", {}},    {"", {}},         {"1true", {}}};
    for (const auto& [text, value] : booleans)
    {
        EXPECT_EQ(GetOptionalBool(Text(text), ""), value) << '"' << text << '"';
    }

    for (const char* text : {"09abcdef-0001-0203-0405-060708090af", "09abcdef00010203-0405-0607-08090aff",
                             "09abcdef-0001-0203-0405-060708090agg", "{9abcdef-0001-0203-0405-060708090aff", ""})
    {
        EXPECT_EQ(GetOptionalGuid(Text(text), ""), std::nullopt) << text;
    }
    EXPECT_EQ(GetGuid(Text(" 09ABCDEF-0001-0203-0405-060708090AFF\n"), "").bytes[3], 0xEF);
    for (const char* text :
         {"yesterday", "", "2023-02-30T00:00:00Z", "1970-01-01x", "1969-12-31-", "0001-01-01T00:00:00+01:00"})
    {
        EXPECT_EQ(GetOptionalStdTimepoint(Text(text), ""), std::nullopt) << text;
    }
}

TEST(ValueTest, WhatIsMissingOrDoesNotConvertIsTheTreesOwnError)
{
    ptree tree;
    tree.put("word", "x");
    tree.put("half.X", "1");
    tree.put("wide.X", "2147483647");
    tree.put("wide.Y", "0");
    tree.put("wide.Width", "1");
    tree.put("wide.Height", "1");

    EXPECT_EQ(GetOptionalVector2d(tree, "none"), std::nullopt);
    EXPECT_THROW(GetOptionalVector2d(tree, "half"), ptree_bad_path);
    EXPECT_THROW(GetOptionalVector2d(tree, "word"), ptree_bad_path);
    EXPECT_THROW(GetRectangleInt(tree, "wide"), ptree_bad_data);
    EXPECT_THROW(AddRectangleInt(tree, "r", {-2147483647, 0, 2, 0}), ptree_bad_data);
    EXPECT_THROW(AddStdTimepoint(tree, "t", TimePoint::max()), ptree_bad_data);
    EXPECT_THROW(GetStdWstring(Text("\xFF"), ""), std::range_error);
    try
    {
        GetDouble(tree, "word");
        ADD_FAILURE();
    }
    catch (const ptree_bad_data& error)
    {
        EXPECT_STREQ(error.what(),
                     (std::string("conversion of data to type \"") + typeid(double).name() + "\" failed").c_str());
        EXPECT_EQ(error.data<std::string>(), "x");
    }
    try
    {
        GetInt(tree, "none");
        ADD_FAILURE();
    }
    catch (const ptree_bad_path& error)
    {
        EXPECT_STREQ(error.what(), "No such node (none)");
    }
}

} // namespace Ardo::Kiln::MetadataSerializer
