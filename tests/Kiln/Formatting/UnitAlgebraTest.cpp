#include "Ardo/Kiln/Formatting/UnitAlgebra.h"

#include "Ardo/Kiln/Formatting/Prefix.h"

#include <gmock/gmock.h>

#include <stdexcept>

namespace Ardo::Kiln::Formatting
{

using ::testing::ThrowsMessage;

TEST(UnitAlgebraTest, PrefixExponent)
{
    const std::pair<const wchar_t*, int> rows[] = {
        {L"m", 1},     {L"m^2", 2},   {L"m^-1", -1}, {L"e/nm^2", 1},  {L"A/m^2", 1},
        {L"", 1},      {L"m^", 1},    {L"m^ 2", 1},  {L"m s^2", 1},   {L"m^+3x", 3},
        {L"m^2^3", 2}, {L"m^1/2", 1}, {L"m^0", 0},   {L"m^\t-4", -4}, {L"m^-2147483648", -2147483647 - 1}};
    for (const auto& [unit, exponent] : rows)
    {
        EXPECT_EQ(PrefixExponent(unit), exponent) << testing::PrintToString(unit);
    }
    for (const wchar_t* unit : {L"m^x", L"m^-", L"m^--1", L"m^\u00B2", L"^^2", L"m^\u0662"})
    {
        EXPECT_THAT([&] { PrefixExponent(unit); }, ThrowsMessage<std::invalid_argument>("invalid stoi argument"));
    }
    EXPECT_THAT([&] { PrefixExponent(std::wstring(L"m^\0002", 4)); }, testing::Throws<std::invalid_argument>());
    EXPECT_THAT([] { PrefixExponent(L"m^" + std::wstring(1 << 22, L'9')); },
                ThrowsMessage<std::out_of_range>("stoi argument out of range"));
}

TEST(UnitAlgebraTest, Inversion)
{
    const std::pair<const wchar_t*, const wchar_t*> rows[] = {
        {L"", L""},
        {L"m", L"m^-1"},
        {L"m^-1", L"m"},
        {L"m^2", L"m^-2"},
        {L"rad", L"rad^-1"},
        {L"1/m^2", L"m^2"},
        {L"A/m^2", L"A^-1 m^2"},
        {L" A  m^-2 ", L"A^-1 m^2"},
        {L"A/m^2 s", L"A^-1 m^2 s"},
        {L"e/\u00C5\u00B2/s", L"e^-1 \u00C5\u00B2 s"},
        {L"m/s^1", L"m^-1 s"},
        {L"m/", L"m^-1"},
        {L"^-1 m", L"m^-1"},
        {L"m^-2147483648", L"m^2147483648"},
    };
    for (const auto& [unit, inverted] : rows)
    {
        EXPECT_EQ(InvertUnit(unit), inverted) << testing::PrintToString(unit);
    }
    EXPECT_THROW(InvertUnit(L"m s^x"), std::invalid_argument);
}

TEST(UnitAlgebraTest, ReciprocalUnits)
{
    const std::pair<const wchar_t*, const wchar_t*> rows[] = {
        {L"1/m", L"m^-1"}, {L"1/nm", L"m^-1"}, {L"1/mrad", L"rad^-1"}, {L"rad 1/m", L"m^-1"},
        {L"1/", L"m^-1"},  {L"m^-1", L"m^-1"}, {L"e/nm^2", L"e/nm^2"}, {L"", L""}};
    for (const auto& [unit, reciprocal] : rows)
    {
        EXPECT_EQ(FormatIfReciprocalUnit(unit), reciprocal) << testing::PrintToString(unit);
    }
}

TEST(PrefixTest, SymbolsBothWays)
{
    for (int exponent = -15; exponent <= 18; exponent += 3)
    {
        const auto prefix = static_cast<Prefix>(exponent);
        EXPECT_EQ(PrefixFromSymbol(PrefixSymbol(prefix)), prefix) << exponent;
    }
    EXPECT_EQ(PrefixFromSymbol(L"\u03BC"), Prefix::Micro);
    EXPECT_EQ(PrefixFromSymbol(L"u"), Prefix::Micro);
    EXPECT_EQ(PrefixFromSymbol(L"a"), std::nullopt);
    EXPECT_STREQ(PrefixSymbol(static_cast<Prefix>(99)), L"E");
}

} // namespace Ardo::Kiln::Formatting
