#include "Ardo/Kiln/Formatting/Prefix.h"

#include "Ardo/Kiln/Formatting/Characters.h"
#include "Ardo/Kiln/Formatting/Prefix_p.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace Ardo::Kiln::Formatting
{

namespace
{

constexpr wchar_t Symbols[][2] = {L"f", L"p", L"n", L"\u00B5", L"m", L"", L"k", L"M", L"G", L"T", L"P", L"E"};
constexpr int Lowest = static_cast<int>(Prefix::Femto);
constexpr int Step = 3;

} // namespace

const wchar_t* PrefixSymbol(Prefix prefix) noexcept
{
    const int exponent = std::clamp(static_cast<int>(prefix), Lowest, static_cast<int>(Prefix::Exa));
    return Symbols[(exponent - Lowest) / Step];
}

int ChoosePrefix(double log, int unitExponent, Prefix minPrefix, Prefix maxPrefix) noexcept
{
    const double sign = unitExponent > 0 ? 1 : -1;
    const double power = std::abs(static_cast<double>(unitExponent));
    const double exponent = power != 0 ? std::floor(log / (Step * power)) * (Step * sign) : sign * log;
    // Compared with the bounds before the conversion to int: for a mass that overflows in grams it is infinite.
    const auto lowest = static_cast<int>(minPrefix);
    const auto highest = static_cast<int>(maxPrefix);
    if (exponent > highest)
    {
        return highest;
    }
    return exponent >= lowest ? static_cast<int>(exponent) : lowest;
}

std::optional<Prefix> PrefixFromSymbol(const std::wstring& symbol) noexcept
{
    if (symbol == L"u" || (symbol.size() == 1 && symbol.front() == Characters::GreekSmallMu))
    {
        return Prefix::Micro;
    }
    const auto* const found =
        std::find_if(std::begin(Symbols), std::end(Symbols), [&](const wchar_t* entry) { return symbol == entry; });
    if (found == std::end(Symbols))
    {
        return std::nullopt;
    }
    return static_cast<Prefix>(Lowest + Step * static_cast<int>(found - std::begin(Symbols)));
}

} // namespace Ardo::Kiln::Formatting
