#include "Ardo/Kiln/Formatting/SI.h"

#include "Ardo/Kiln/Formatting/NiceNumber.h"
#include "Ardo/Kiln/Formatting/Scientific.h"
#include "tests/Support/NotFinite.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <string_view>

namespace Ardo::Kiln::Formatting
{

using ::testing::Throws;
using ::testing::ThrowsMessage;

namespace
{

using Support::Infinity;
using Support::NotANumber;

} // namespace

TEST(SITest, PrefixDecimalsAndUnit)
{
    const struct
    {
        const char* shows;
        double value;
        const wchar_t* unit;
        int decimals;
        const wchar_t* text;
    } rows[] = {
        {"the sign of zero", -0.0, L"m", 1, L"-0.0 fm"},
        {"the last double below a border has the logarithm of the border", std::nextafter(1e3, 0), L"m", 1, L"1.0 km"},
        {"just below 1e9", 999999999.9e18, L"A", 0, L"1000000000 EA"},
        {"exact digits, not the shortest", 0.125, L"%", 2, L"0.12 %"},
        {"zero frames", 0.0, L"frame", 0, L"0 frames"},
        {"a whole exponent up to its decimals", 1.0, L"m/s^2.5", 0, L"1 m/s^2.5"},
        {"exponent 0: the prefix has no power", 5000.0, L"m^0", 0, L"5000 mm^0"},
        {"a mass beyond every double in grams", 1.7e308, L"kg", 0, L"\u221E Eg"},
        {"no mass in a power beyond every double", 0.0, L"kg^999", 0, L"- fg^999"},
        {"the smallest double", 5e-324, L"m", 0, L"0 fm"},
        {"negative decimals round", 1250.0, L"px", -2, L"1200 px"},
        {"and not twice", 1250.4, L"px", -2, L"1300 px"},
        {"up to the power", -51.0, L"px", -2, L"-100 px"},
        {"beyond the number", 51.0, L"px", std::numeric_limits<int>::min(), L"0 px"},
        {"in E form, coarser than the number", 6e9, L"px", -10, L"1E+10 px"},
    };
    for (const auto& row : rows)
    {
        EXPECT_EQ(SI(row.value, row.unit, row.decimals), row.text) << row.shows;
    }
    // Every digit of the smallest double, and no more memory than that takes.
    EXPECT_EQ(SI(5e-324, L"px", std::numeric_limits<int>::max()).substr(1071),
              L"65625" + std::wstring(26, L'0') + L" px");
}

TEST(SITest, BoundsResolutionAndReference)
{
    EXPECT_EQ(SI(0.0, L"m", 0, Prefix::None, Prefix::None), L"0 m");
    EXPECT_EQ(SI(1e-12, L"m", 3, Prefix::Nano, Prefix::Kilo), L"0.001 nm");
    EXPECT_EQ(SI(1e12, L"m", 0, Prefix::Nano, Prefix::Mega), L"1000000 Mm");
    EXPECT_EQ(SI(1e15, L"m", 2, Prefix::Nano, Prefix::Mega), L"1.00E+09 Mm");

    const struct
    {
        const char* shows;
        double value;
        const wchar_t* unit;
        double uncertainty;
        double reference;
        const wchar_t* text;
    } rows[] = {
        {"the sign of the uncertainty", 1234.0, L"m", -50.0, NotANumber, L"1.23 km"},
        {"a power of ten", 1234.0, L"m", 10.0, NotANumber, L"1.23 km"},
        {"an unknown uncertainty", 1.26, L"V", NotANumber, Infinity, L"1 V"},
        {"the reference picks the prefix", 0.5e-9, L"m", 2e-10, -2e-6, L"0.0005 \u00B5m"},
        {"a reference of zero", 1e-12, L"m", 1e-16, 0.0, L"1000.0 fm"},
        {"a power beyond every double", 1e-5, L"m^-99999999", 1.0, NotANumber, L"\u221E km^-99999999"},
    };
    for (const auto& row : rows)
    {
        EXPECT_EQ(SIUsingUncertainty(row.value, row.unit, row.uncertainty, row.reference), row.text) << row.shows;
    }

    const auto dropZeros = [](double value, int decimals)
    { return SI(value, L"", decimals, NotANumber, NotANumber, Prefix::Femto, Prefix::Exa, false); };
    EXPECT_EQ(dropZeros(2.5, 3), L"2.5");
    EXPECT_EQ(dropZeros(3.0, 3), L"3");
    EXPECT_EQ(dropZeros(100.0, 0), L"100");
    EXPECT_EQ(dropZeros(1.5e9, 3), L"1.500E+09");
}

TEST(SITest, OnlyMalformedUnitsAreErrors)
{
    EXPECT_THAT([] { SI(1.0, L"m^x"); }, ThrowsMessage<std::invalid_argument>("invalid stoi argument"));
    EXPECT_THAT([] { SI(1.0, L"m^2147483648"); }, ThrowsMessage<std::out_of_range>("stoi argument out of range"));
    EXPECT_THAT([] { SIUsingUncertainty(NotANumber, L"m^x", 1); }, Throws<std::invalid_argument>());
    EXPECT_EQ(SI(NotANumber, L"m^x"), L"- m^x");
}

TEST(ScientificTest, MantissaAndExponent)
{
    EXPECT_EQ(Scientific(1.2345e-5, L"m^-1", 3), L"1.234e-05 m\u02C9\u00B9");
    EXPECT_EQ(Scientific(-1e100, L"", 1), L"-1.0e+100");
    EXPECT_EQ(Scientific(45, L"\u00B0", 1), L"4.5e+01 \u00B0");
    EXPECT_EQ(Scientific(-Infinity, L"m", 2), L"- m");
    EXPECT_EQ(Scientific(NotANumber, L"^1", 2), L"-");
    EXPECT_THAT([] { Scientific(1, L"m", 0); }, ThrowsMessage<std::runtime_error>("The fraction digits must be > 0"));
}

TEST(NiceNumberTest, TheNextStepUp)
{
    const std::pair<double, double> rows[] = {{2.0, 2},       {2.001, 5},      {5.0, 5},     {9.99, 10},
                                              {10.0, 20},     {0.03, 0.05},    {1e-9, 2e-9}, {6e-7, 1e-6},
                                              {1e300, 2e300}, {3e-310, 5e-310}};
    for (const auto& [value, step] : rows)
    {
        EXPECT_DOUBLE_EQ(CreateNiceNumber(value), step) << value;
    }
}

} // namespace Ardo::Kiln::Formatting
