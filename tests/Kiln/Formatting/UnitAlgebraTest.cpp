#include "Ardo/Kiln/Formatting/UnitAlgebra.h"

#include "Ardo/Kiln/Formatting/Prefix.h"
#include "Ardo/Kiln/Formatting/SI.h"

#include <gmock/gmock.h>

#include <cmath>
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
        {L"", L""},       {L" A  m^-2 ", L"A^-1 m^2"}, {L"m/s^1", L"m^-1 s"},
        {L"m/", L"m^-1"}, {L"^-1 m", L"m^-1"},         {L"m^-2147483648", L"m^2147483648"}};
    for (const auto& [unit, inverted] : rows)
    {
        EXPECT_EQ(InvertUnit(unit), inverted) << testing::PrintToString(unit);
    }
    EXPECT_THROW(InvertUnit(L"m s^x"), std::invalid_argument);
}

TEST(PrefixTest, SymbolsBothWays)
{
    std::wstring symbols;
    for (int exponent = -15; exponent <= 18; exponent += 3)
    {
        const auto prefix = static_cast<Prefix>(exponent);
        const std::wstring symbol = PrefixSymbol(prefix);
        EXPECT_EQ(PrefixFromSymbol(symbol), prefix) << exponent;
        EXPECT_EQ(SI(std::pow(10, exponent), L"A"), L"1 " + symbol + L"A");
        symbols += symbol + L" ";
    }
    EXPECT_EQ(symbols, L"f p n \u00B5 m  k M G T P E ");
    EXPECT_EQ(PrefixFromSymbol(L"\u03BC"), Prefix::Micro);
    EXPECT_EQ(PrefixFromSymbol(L"u"), Prefix::Micro);
    EXPECT_EQ(PrefixFromSymbol(L"a"), std::nullopt);
    EXPECT_STREQ(PrefixSymbol(static_cast<Prefix>(99)), L"E");
}

} // namespace Ardo::Kiln::Formatting
