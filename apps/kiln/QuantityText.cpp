#include "apps/kiln/QuantityText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

namespace Ardo::Kiln::Tool
{

std::string QuantityText(double value, std::string_view unit)
{
    constexpr std::array<std::string_view, 9> Prefixes = {"f", "p", "n", "µ", "m", "", "k", "M", "G"};
    constexpr int WithoutPrefix = 5;
    constexpr int Digits = 4;

    if (std::isnan(value))
    {
        return "-";
    }
    int prefix = WithoutPrefix;
    if (!unit.empty() && value != 0.0 && std::isfinite(value))
    {
        // Rounded to the digits shown first, so that 999.99 n becomes 1 µ.
        std::array<char, 32> rounded{};
        const auto end = std::to_chars(rounded.data(), rounded.data() + rounded.size(), std::abs(value),
                                       std::chars_format::scientific, Digits - 1)
                             .ptr;
        double shown = 0.0;
        std::from_chars(rounded.data(), end, shown);
        const int thousands = static_cast<int>(std::floor(std::log10(shown) / 3.0 + 1e-9));
        prefix = std::clamp(WithoutPrefix + thousands, 0, static_cast<int>(Prefixes.size()) - 1);
    }
    std::array<char, 32> digits{};
    const double scaled = value / std::pow(1000.0, prefix - WithoutPrefix);
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), scaled, std::chars_format::general,
                                   std::abs(scaled) >= 1000.0 ? 6 : Digits)
                         .ptr;
    std::string text(digits.data(), end);
    if (!unit.empty())
    {
        text.append(" ").append(Prefixes[static_cast<std::size_t>(prefix)]).append(unit);
    }
    return text;
}

} // namespace Ardo::Kiln::Tool
