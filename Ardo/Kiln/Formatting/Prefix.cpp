#include "Ardo/Kiln/Formatting/Prefix.h"

#include "Ardo/Kiln/Formatting/Characters.h"

#include <algorithm>
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
