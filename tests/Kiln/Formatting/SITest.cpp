#include "Ardo/Kiln/Formatting/SI.h"

#include "Ardo/Kiln/Formatting/NiceNumber.h"
#include "Ardo/Kiln/Formatting/Scientific.h"

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

constexpr double Infinite = std::numeric_limits<double>::infinity();
constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

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
        {"zero gets the smallest prefix", 0.0, L"m", 0, L"0 fm"},
        {"the sign of zero", -0.0, L"m", 1, L"-0.0 fm"},
        {"below femto", 2e-18, L"m", 4, L"0.0020 fm"},
        {"below a border that rounds to it", 999.999, L"m", 0, L"1000 m"},
        {"the last double below a border has the logarithm of the border", std::nextafter(1e3, 0), L"m", 1, L"1.0 km"},
        {"well below a border", 999.9999999, L"m", 3, L"1000.000 m"},
        {"femto", 1e-15, L"A", 0, L"1 fA"},
        {"pico", 1e-12, L"A", 0, L"1 pA"},
        {"nano", 1e-9, L"A", 0, L"1 nA"},
        {"micro, with the micro sign", 5e-6, L"m", 1, L"5.0 \u00B5m"},
        {"milli", 1e-3, L"A", 0, L"1 mA"},
        {"none", 1.0, L"A", 0, L"1 A"},
        {"kilo", 1234.5, L"m", 2, L"1.23 km"},
        {"mega", 1e6, L"A", 0, L"1 MA"},
        {"giga", -1e9, L"A", 0, L"-1 GA"},
        {"tera", 1e12, L"A", 0, L"1 TA"},
        {"peta", 1e15, L"A", 0, L"1 PA"},
        {"exa", 1e18, L"A", 0, L"1 EA"},
        {"above exa", 5e22, L"A", 0, L"50000 EA"},
        {"1e9 and more in E form", 1.5e27, L"A", 2, L"1.50E+09 EA"},
        {"just below 1e9", 999999999.9e18, L"A", 0, L"1000000000 EA"},
        {"half to even", 2.5, L"V", 0, L"2 V"},
        {"exact digits, not the shortest", 0.125, L"%", 2, L"0.12 %"},
        {"no prefix: none", 12345.0, L"", 1, L"12345.0"},
        {"no prefix: pixel", 12345.0, L"px", 0, L"12345 px"},
        {"no prefix: decibel", 0.001, L"dB", 3, L"0.001 dB"},
        {"degree follows at once", 45.0, L"\u00B0", 1, L"45.0\u00B0"},
        {"degree Celsius does not", 20.0, L"\u00B0C", 0, L"20 \u00B0C"},
        {"frames", 2.0, L"frame", 0, L"2 frames"},
        {"zero frames", 0.0, L"frame", 0, L"0 frames"},
        {"one frame", 1.005, L"frame", 3, L"1.005 frame"},
        {"no longer one frame", 1.0101, L"frame", 4, L"1.0101 frames"},
        {"mass on the gram", 0.005, L"kg", 0, L"5 g"},
        {"tonne", 1000.0, L"kg", 1, L"1.0 Mg"},
        {"squared mass", 5e-6, L"kg^2", 0, L"5 g\u00B2"},
        {"reciprocal mass", 2.0, L"kg^-1", 0, L"2 kg\u02C9\u00B9"},
        {"weight fraction", 0.5, L"kg/kg", 0, L"500 g/kg"},
        {"area steps by 1e6", 2.5e-12, L"m^2", 1, L"2.5 \u00B5m\u00B2"},
        {"area just below a step", 0.99e-12, L"m^2", 0, L"990000 nm\u00B2"},
        {"volume", 3e-27, L"m^3", 0, L"3 nm\u00B3"},
        {"reciprocal turns the prefix", 5e6, L"m^-1", 0, L"5 \u00B5m\u02C9\u00B9"},
        {"zero of a reciprocal", 0.0, L"m^-1", 0, L"0 Pm\u02C9\u00B9"},
        {"one over", 5e6, L"1/m", 0, L"5 \u00B5m\u02C9\u00B9"},
        {"only the numerator counts", 2.5e3, L"e/nm^2", 1, L"2.5 ke/nm\u00B2"},
        {"a whole exponent only", 1.0, L"m/s^12", 0, L"1 m/s^12"},
        {"a whole exponent up to its decimals", 1.0, L"m/s^2.5", 0, L"1 m/s^2.5"},
        {"exponent 1 is left out", 1.0, L"m^1 s^-2 K^-4", 0, L"1 m s\u02C9\u00B2 K^-4"},
        {"exponent 0: the prefix has no power", 5000.0, L"m^0", 0, L"5000 mm^0"},
        {"not a number", NaN, L"m", 2, L"- m"},
        {"infinity", Infinite, L"m^2", 2, L"\u221E m\u00B2"},
        {"minus infinity", -Infinite, L"m", 2, L"-\u221E m"},
        {"infinite degrees", Infinite, L"\u00B0", 2, L"\u221E\u00B0"},
        {"not a number of frames", NaN, L"frame", 0, L"- frame"},
        {"a mass beyond every double in grams", 1.7e308, L"kg", 0, L"\u221E Eg"},
        {"the smallest double", 5e-324, L"m", 0, L"0 fm"},
        {"negative decimals round", 1250.0, L"px", -2, L"1200 px"},
        {"and not twice", 1250.4, L"px", -2, L"1300 px"},
        {"to zero", 44.0, L"px", -2, L"0 px"},
        {"up to the power", -51.0, L"px", -2, L"-100 px"},
        {"beyond the number", 51.0, L"px", std::numeric_limits<int>::min(), L"0 px"},
        {"in E form", 2.25e9, L"px", -5, L"2E+09 px"},
        {"in E form, coarser than the number", 6e9, L"px", -10, L"1E+10 px"},
    };
    for (const auto& row : rows)
    {
        EXPECT_EQ(SI(row.value, row.unit, row.decimals), row.text) << row.shows;
    }
    EXPECT_EQ(SI(2.0, L"frame"), L"2 frames");
    // Every digit of the smallest double, and no more memory than that takes.
    EXPECT_EQ(SI(5e-324, L"px", std::numeric_limits<int>::max()).substr(1071),
              L"65625" + std::wstring(26, L'0') + L" px");
}

TEST(SITest, BoundsResolutionAndReference)
{
    EXPECT_EQ(SI(1234.5, L"m", 2, Prefix::None), L"1234.50 m");
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
        {"as many digits as justified", 1234.0, L"m", 50.0, NaN, L"1.23 km"},
        {"the sign of the uncertainty", 1234.0, L"m", -50.0, NaN, L"1.23 km"},
        {"a power of ten", 1234.0, L"m", 10.0, NaN, L"1.23 km"},
        {"coarser than the prefix", 123.4e3, L"m", 4e4, NaN, L"120 km"},
        {"no uncertainty", 1.26, L"V", 0.0, NaN, L"1 V"},
        {"an unknown uncertainty", 1.26, L"V", NaN, Infinite, L"1 V"},
        {"the reference picks the prefix", 0.5e-9, L"m", 2e-10, -2e-6, L"0.0005 \u00B5m"},
        {"a reference of zero", 1e-12, L"m", 1e-16, 0.0, L"1000.0 fm"},
        {"in grams too", 0.0123456, L"kg", 1e-6, 5.0, L"0.012346 kg"},
        {"reciprocal", 5.4321e9, L"m^-1", 1e7, NaN, L"5.43 nm\u02C9\u00B9"},
        {"no prefix", 12.3456, L"%", 0.02, NaN, L"12.35 %"},
        {"a power beyond every double", 1e-5, L"m^-99999999", 1.0, NaN, L"\u221E km^-99999999"},
    };
    for (const auto& row : rows)
    {
        EXPECT_EQ(SIUsingUncertainty(row.value, row.unit, row.uncertainty, row.reference), row.text) << row.shows;
    }

    const auto dropZeros = [](double value, int decimals)
    { return SI(value, L"", decimals, NaN, NaN, Prefix::Femto, Prefix::Exa, false); };
    EXPECT_EQ(dropZeros(2.5, 3), L"2.5");
    EXPECT_EQ(dropZeros(3.0, 3), L"3");
    EXPECT_EQ(dropZeros(100.0, 0), L"100");
    EXPECT_EQ(dropZeros(1.5e9, 3), L"1.500E+09");
}

TEST(SITest, OnlyMalformedUnitsAreErrors)
{
    EXPECT_THAT([] { SI(1.0, L"m^x"); }, ThrowsMessage<std::invalid_argument>("invalid stoi argument"));
    EXPECT_THAT([] { SI(1.0, L"m^2147483648"); }, ThrowsMessage<std::out_of_range>("stoi argument out of range"));
    EXPECT_THAT([] { SIUsingUncertainty(NaN, L"m^x", 1); }, Throws<std::invalid_argument>());
    EXPECT_EQ(SI(NaN, L"m^x"), L"- m^x");
}

TEST(ScientificTest, MantissaAndExponent)
{
    EXPECT_EQ(Scientific(1.2345e-5, L"m^-1", 3), L"1.234e-05 m\u02C9\u00B9");
    EXPECT_EQ(Scientific(-1e100, L"", 1), L"-1.0e+100");
    EXPECT_EQ(Scientific(45, L"\u00B0", 1), L"4.5e+01 \u00B0");
    EXPECT_EQ(Scientific(-Infinite, L"m", 2), L"- m");
    EXPECT_EQ(Scientific(NaN, L"^1", 2), L"-");
    EXPECT_THAT([] { Scientific(1, L"m", 0); }, ThrowsMessage<std::runtime_error>("The fraction digits must be > 0"));
}

TEST(NiceNumberTest, TheNextStepUp)
{
    const std::pair<double, double> rows[] = {{1.0, 2},   {2.0, 2},     {2.001, 5},     {3.0, 5},        {5.0, 5},
                                              {7.0, 10},  {9.99, 10},   {10.0, 20},     {0.03, 0.05},    {1e-9, 2e-9},
                                              {5e8, 5e8}, {6e-7, 1e-6}, {1e300, 2e300}, {3e-310, 5e-310}};
    for (const auto& [value, step] : rows)
    {
        EXPECT_DOUBLE_EQ(CreateNiceNumber(value), step) << value;
    }
}

} // namespace Ardo::Kiln::Formatting
