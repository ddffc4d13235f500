#include "Ardo/Kiln/Formatting/Parse.h"

#include "Ardo/Kiln/Formatting/Scientific.h"
#include "Ardo/Kiln/Formatting/SI.h"
#include "Ardo/Kiln/Formatting/Units.h"
#include "Ardo/Kiln/Formatting/UnitWithPrefix.h"
#include "tests/Support/NotFinite.h"

#include <gmock/gmock.h>

#include <cmath>
#include <stdexcept>
#include <string>
#include <vector>

namespace Ardo::Kiln::Formatting
{

using ::testing::Throws;
using ::testing::ThrowsMessage;

namespace
{

using Support::Infinity;
const auto IsNoNumber = ThrowsMessage<std::invalid_argument>("invalid stod argument");

} // namespace

TEST(ParseTest, NumbersUnitsAndPrefixes)
{
    const struct
    {
        const char* shows;
        const wchar_t* text;
        const wchar_t* unit;
        double value;
    } rows[] = {
        {"a comma", L"1,5 nm", L"m", 1.5e-9},
        {"blanks of all kinds", L"\t\u00A0\u2009 1.5\u202F\u00A0 nm\u2009\n", L"m", 1.5e-9},
        {"signs", L"+1e-3 km", L"m", 1},
        {"hexadecimal", L"-0x1.8p1 m", L"m", -3},
        {"hexadecimal without digits", L"0x-1 m", L"m", 0},
        {"denormal", L"1e-310 m", L"m", 1e-310},
        {"infinity", L"\u221E nm", L"m", Infinity},
        {"minus infinity with a true minus", L"\u2212\u221E m", L"m", -Infinity},
        {"an exponent that is none", L"5e+ m", L"m", 5},
        {"as many digits as one likes",
         L"0.00000000000000000000000000000000000000000000000000000000000000000000012e70 m", L"m", 1.2},
    };
    for (const auto& row : rows)
    {
        EXPECT_DOUBLE_EQ(Parse(row.text, row.unit), row.value) << row.shows;
    }
}

TEST(ParseTest, MalformedNumbersAreNeverCut)
{
    for (const wchar_t* text : {L"", L"nm", L"abc", L"- m", L"+-5 m", L"--5 m", L". m", L"1.234.567 m", L"1,234.5 m",
                                L"1.5,0", L"107 nm.", L"1 m, 2 m", L"12 nm,", L"\u2212 m", L"\u00A0", L"+ m"})
    {
        double result = 42;
        EXPECT_THAT([&] { Parse(text, L"m"); }, IsNoNumber) << testing::PrintToString(text);
        EXPECT_FALSE(TryParse(text, L"m", result));
        EXPECT_EQ(result, 42);
    }
    for (const wchar_t* text : {L"1e999 m", L"-1e-999 m", L"0x1p9999 m"})
    {
        EXPECT_THAT([&] { Parse(text, L"m"); }, ThrowsMessage<std::out_of_range>("stod argument out of range"));
    }
    EXPECT_THAT([] { Parse(L"1 nm", L"m^x"); }, ThrowsMessage<std::invalid_argument>("invalid stoi argument"));

    double result = 0;
    EXPECT_TRUE(TryParse(L"2 km", L"m", result));
    EXPECT_EQ(result, 2000);
}

TEST(ParseTest, StrictlyNothingIsIgnored)
{
    for (const wchar_t* text : {L"107 nm", L"0.107\u00B5m", L"107e-9 m", L" 1,07e-7 "})
    {
        EXPECT_DOUBLE_EQ(ParseStrictly(text, L"m"), 1.07e-7) << testing::PrintToString(text);
    }
    EXPECT_DOUBLE_EQ(ParseStrictly(L"5 \u00B5m\u02C9\u00B9", L"1/m"), 5e6);
    EXPECT_EQ(ParseStrictly(L"5", L"kg"), 5);
    EXPECT_EQ(ParseStrictly(L"5 kg", L"kg"), 5);
    EXPECT_EQ(ParseStrictly(L"2 frames", L"frame"), 2);
    EXPECT_EQ(ParseStrictly(L"-\u221E m", L"m"), -Infinity);
    for (const wchar_t* text : {L"107 nV", L"107 metres", L"107 ym", L"107 nm^2", L"107 nnm"})
    {
        EXPECT_THAT([&] { ParseStrictly(text, L"m"); }, ThrowsMessage<std::invalid_argument>("unexpected unit"));
    }
    for (const wchar_t* text : {L"107 3 nm", L"107 nm 3", L"1e+ nm", L"7\u221E m", L"m", L"", L"107 nm."})
    {
        EXPECT_THAT([&] { ParseStrictly(text, L"m"); }, IsNoNumber) << testing::PrintToString(text);
    }
}

TEST(ParseTest, WhatIsWrittenIsReadBack)
{
    std::wstring all;
    std::vector<std::wstring> units = {L"1/m", L"kg^2", L"kg^-1", L"m^1", L"s m^12", L"m^-2 s^-4"};
    for (const std::wstring_view unit : Units::All)
    {
        all += units.emplace_back(unit) + L" ";
    }
    EXPECT_EQ(all,
              L" m m^2 m^3 m^-1 m/s rad rad^-1 \u00B0 \u00B0C K s A A/m^2 A/sr C/m^2 e e/\u00C5\u00B2 e/\u00C5\u00B2/s "
              L"e/\u00C5^2 e/nm^2 e/px e/px/s eV kg kg/kg mol/mol Pa V % px dB Count frame x ");

    for (const std::wstring& unit : units)
    {
        for (const double value :
             {0.0, 1.0, -2.5, 999.9996, 1e3, 0.99e-12, 3.14159e-7, 4.4e-21, -6.02e23, 1.5e33, 1e-310})
        {
            std::vector<std::wstring> texts = {Scientific(value, unit, 12)};
            if (value == 0 || std::abs(value) > 1e-300)
            {
                texts.push_back(SI(value, unit, 40));
            }
            if (std::abs(value) > 1e-300 && std::abs(value) < 1e9)
            {
                texts.push_back(SIUsingUncertainty(value, unit, value * 1e-9));
                texts.push_back(SIUsingUncertainty(value, unit, value * 1e-9, 4.2));
            }
            for (const std::wstring& text : texts)
            {
                EXPECT_NEAR(Parse(text, unit), value, std::abs(value) * 1e-8) << testing::PrintToString(text);
            }
        }
        EXPECT_EQ(Parse(SI(-Infinity, unit), unit), -Infinity) << testing::PrintToString(unit);
    }
}

TEST(ParseTest, HostileTextEndsInLinearTime)
{
    constexpr std::size_t Length = 1 << 20;
    const auto many = [](const wchar_t* piece)
    {
        std::wstring text;
        for (const std::wstring_view view = piece; text.size() < Length;)
        {
            text += view;
        }
        return text;
    };

    EXPECT_EQ(Parse(many(L" ") + L"5" + many(L"\u00A0") + L"nm" + many(L" "), L"m"), 5e-9);
    EXPECT_EQ(Parse(many(L"0") + L"1,5 m", L"m"), 1.5);
    EXPECT_EQ(Parse(L"5 " + many(L"^1"), many(L"^1")), 5);
    EXPECT_EQ(Parse(L"5 " + many(L"^-3"), L"m"), 5);
    EXPECT_EQ(Parse(L"5 " + many(L"k\xD800"), L"m"), 5000);
    EXPECT_EQ(Parse(std::wstring(L"5\0 nm", 6), L"m"), 5);
    EXPECT_EQ(Parse(std::wstring(L"5 k\0", 4), L"m"), 5000);
    EXPECT_EQ(Parse(many(L"7\u221E"), L"m"), Infinity);
    for (const wchar_t* piece : {L"^", L"-", L".", L"1.", L"\xDC00", L"\u2212", L"1^2", L"e"})
    {
        double result = 0;
        EXPECT_EQ(TryParse(many(piece), L"m", result), piece == std::wstring_view(L"1^2"))
            << testing::PrintToString(piece);
    }
    EXPECT_THAT([&] { Parse(many(L"9") + L" m", L"m"); }, Throws<std::out_of_range>());

    EXPECT_EQ(SI(5.0, L"m/" + many(L"^-3")).size(), 4 + many(L"^-3").size() / 3 * 2);
    EXPECT_EQ(Scientific(5.0, many(L"^1"), 1), L"5.0e+00");
    EXPECT_EQ(SI(5.0, std::wstring(L"k\0m\xD800", 4)), std::wstring(L"5 k\0m\xD800", 6));
    EXPECT_EQ(SplitNumberAndUnit(many(L"^")).second.size(), Length);
}

TEST(ParseTest, SplittingKeepsEverything)
{
    using Parts = std::pair<std::wstring, std::wstring>;
    EXPECT_EQ(SplitNumberAndUnit(L"5e6 m^-1"), Parts(L"5e6", L" m^-1"));
    EXPECT_EQ(SplitNumberAndUnit(L" -\u221E  m"), Parts(L" -\u221E", L"  m"));
    EXPECT_EQ(SplitNumberAndUnit(L"12 m2"), Parts(L"12 m2", L""));
    EXPECT_EQ(SplitNumberAndUnit(L"1,5nm"), Parts(L"1,5", L"nm"));
    EXPECT_EQ(SplitNumberAndUnit(L" nm^2"), Parts(L"", L" nm^2"));
}

TEST(UnitWithPrefixTest, TheUnitThatIsShown)
{
    EXPECT_EQ(RetrieveUnitWithPrefix(L"0.005 m", L"m", 0), L" mm");
    EXPECT_EQ(RetrieveUnitWithPrefix(L"5 nm^-1", L"1/nm", 2), L" nm\u02C9\u00B9");
    EXPECT_EQ(RetrieveUnitWithPrefix(L"0.5", L"\u00B0", 2), L"\u00B0");
    EXPECT_THAT([] { RetrieveUnitWithPrefix(L"m", L"m", 0); }, IsNoNumber);
}

} // namespace Ardo::Kiln::Formatting
